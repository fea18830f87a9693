/**
 * @file tone.h
 * @brief Applying a tone change to the chroma of NV21 and NV12 frames.
 */
#ifndef TLUX_TONE_H
#define TLUX_TONE_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup tone Tone application
 *
 * Once the luma of a frame has been changed its chroma must follow, or lifted shadows look grey and
 * darkened highlights over-saturated. Every chroma sample c is scaled about neutral grey by the
 * luma ratio of its pixel pair. With s and d the sums of the two old and the two new luma samples:
 *
 *     ratio = d · 1024 / s              truncated; 1024 when s is 0
 *     t     = (ratio · (c − 128) >> 10) + 128
 *     t     = (c · (8 − e) + t · e) / 8    when e = |c − 128| is below 8
 *     c'    = t clamped to 0 … 255
 *
 * The third line leaves nearly neutral chroma mostly as it is, so that noise on grey does not turn
 * into colour. The ratio is that of the upper luma row of each 2×2 block. Both bytes of an
 * interleaved pair are treated alike, so NV21 and NV12 are the same to these functions. Frames are
 * 4:2:0: `height` luma rows and `height / 2` chroma rows of `width / 2` pairs; an odd last luma row
 * has no chroma row.
 *
 * Output chroma may be the input chroma. A null plane makes a function without result do nothing.
 * @{
 */

/**
 * Scales the chroma of a whole frame on the calling thread.
 *
 * Intended: rows are processed in whole groups of four pixels, so that up to three bytes beyond
 * @p width are read and written in each plane, and the walk is by that rounded width R: two luma
 * rows are R + @p pitch apart, two chroma rows R. The rule is exact for frames whose pitch is the
 * rounded width, as the library creates them; other frames are walked askew.
 * @param srcY,dstY luma before and after the tone change, read only.
 * @param srcUV chroma that belongs to @p srcY.
 * @param dstUV receives the chroma that belongs to @p dstY.
 * @param height,width of the luma in pixels; a height below 2 or a width below 1 does nothing.
 * @param pitch bytes from one luma row to the next, of both luma planes.
 */
TLUX_API void NV21NV12_Tone(const uint8_t* srcY, const uint8_t* srcUV, const uint8_t* dstY,
                            uint8_t* dstUV, int32_t height, int32_t width,
                            int32_t pitch) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_TONE_H */
