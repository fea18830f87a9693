#pragma once

#include "tlux/image.h"

namespace tlux {

// Writes the chroma of the output from the source's luma and chroma and the output's luma, without
// touching a byte outside pitch × rows of any plane.
//
// With equal pitches the rows are walked as NV21NV12_Tone() does; what it would do past the end of
// a plane is left out. Otherwise each plane is walked by its own pitch.
void scaleChromaByLumaRatio(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

} // namespace tlux
