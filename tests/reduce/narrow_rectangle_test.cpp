#include <gtest/gtest.h>

#include "support/guarded_buffer.hpp"
#include "tlux/resample.h"

namespace tlux::test {
namespace {

// The last column of a packed frame is half a group: it gives no output, and the other half, which
// would be behind the plane, is not looked at.
TEST(ResampleMembers, ReadNoPairInARectangleOfOneColumn) {
  constexpr int kWidth = 9;
  constexpr int kHeight = 4;
  GuardedBuffer plane(2 * kWidth * kHeight);
  std::uint8_t output[3] = {7, 7, 7};
  const TLUX_IMAGE source{TLUX_FMT_YCBYCR, kWidth, kHeight, {plane.data()}, {2 * kWidth}};
  TLUX_IMAGE destination{0, 0, 0, {&output[0], &output[1], &output[2]}, {}};
  const TLUX_CROP_RECT lastColumn{kWidth - 1, 0, kWidth - 1, kHeight - 1};
  for (const auto widen : {TLUX_ResampleImage1_YCBYCR, TLUX_ResampleImage1_BAYER}) {
    widen(&source, &destination, &lastColumn);
    // Also at the left edge, where the group is used instead of the one before it.
    TLUX_IMAGE column = source;
    column.plane[0] += 2 * (kWidth - 1);
    column.width = 1;
    const TLUX_CROP_RECT onlyColumn{0, 0, 0, kHeight - 1};
    widen(&column, &destination, &onlyColumn);
  }
  for (const std::uint8_t sample : output) {
    EXPECT_EQ(sample, 7);
  }
}

} // namespace
} // namespace tlux::test
