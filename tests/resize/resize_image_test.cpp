#include <gtest/gtest.h>

#include "support/components.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

constexpr std::pair<int, int> kSizes[] = {{1, 1},  {1, 6},   {2, 2},   {3, 5},
                                          {16, 9}, {37, 22}, {4102, 3}};

bool isResized(std::uint32_t format) {
  return format < TLUX_FMT_YCBYCR_5 || format > TLUX_FMT_YCBYCR_8;
}

using ResizeImage = uint32_t(const TLUX_IMAGE*, TLUX_IMAGE*);

TEST(ResizeImage, CopiesEveryByteOfEqualSizes) {
  Random random(2);
  for (const std::uint32_t format : kCopied) {
    if (!isResized(format)) continue;
    for (const auto& [width, height] : kSizes) {
      // Interleaved chroma of odd width has a byte after its last pair.
      if ((format >> 8) == 8 && width % 2 != 0) continue;
      Frame in = randomFrame(random, format, width, height, 0);
      for (ResizeImage* resize : {asfImageResize_NN, asfImageResize_BL}) {
        Frame out = randomFrame(random, format, width, height, 0);
        ASSERT_EQ(resize(in.get(), out.get()), TLUX_OK);
        ASSERT_TRUE(out == in) << std::hex << format;
      }
    }
  }
}

} // namespace
} // namespace tlux::test
