// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "filter/guided_planes.hpp"

#include "tlux/smoothing.h"

using namespace tlux::detail;

uint32_t TLUX_GuidedFilter1D(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                             const uint8_t* input, int32_t inputPitch, uint8_t* output,
                             int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                             int32_t eps) noexcept {
  return codeOf(filterGuided<PlaneModel<1, 1>>(manager,
                                               {{guide, width, height, guidePitch},
                                                {input, width, height, inputPitch},
                                                {output, width, height, outputPitch}},
                                               {radius, eps}));
}

uint32_t GuidedFilter1D_3C(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                           const uint8_t* input, int32_t inputPitch, uint8_t* output,
                           int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                           int32_t eps) noexcept {
  return codeOf(filterGuided<PlaneModel<1, 3>>(manager,
                                               {{guide, width, height, guidePitch},
                                                {input, width, height, inputPitch},
                                                {output, width, height, outputPitch}},
                                               {radius, eps}));
}

uint32_t GuidedFilter3D(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                        const uint8_t* input, int32_t inputPitch, uint8_t* output,
                        int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                        int32_t eps) noexcept {
  return codeOf(filterGuided<PlaneModel<3, 1>>(manager,
                                               {{guide, width, height, guidePitch},
                                                {input, width, height, inputPitch},
                                                {output, width, height, outputPitch}},
                                               {radius, eps}));
}
