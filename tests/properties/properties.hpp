#pragma once

#include "properties/input.hpp"

// Properties of any input: tests draw inputs at random, fuzzers search for them.
namespace tlux::properties {

void checkPool(Input& input);
void checkImage(Input& input);
void checkPlane(Input& input);
void checkResample(Input& input);
void checkResize(Input& input);
void checkRun(Input& input);
void checkStream(Input& input);
void checkTone(Input& input);
void checkFilter(Input& input);
void checkHistogram(Input& input);
void checkMask(Input& input);

} // namespace tlux::properties
