#include <gtest/gtest.h>

#include <thread>

#include "support/components.hpp"
#include "support/null_arguments.hpp"
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

TEST(ResizeImage, PiecesMakeTheWholeOnThreadsOfTheHost) {
  Random random(3);
  for (const std::uint32_t format :
       {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR440_P, TLUX_FMT_YCBYCR}) {
    for (const auto& [width, height] : {std::pair{40, 31}, {33, 1}, {5, 24}, {9, 14}}) {
      Frame in = randomFrame(random, format, 33, 24, 5);
      Frame whole = randomFrame(random, format, width, height, 5);
      Frame pieces = whole.copy();
      ASSERT_EQ(asfImageResize_BL(in.get(), whole.get()), TLUX_OK);
      const int middle = random.intBetween(0, height);
      const auto piece = [&](int first, int end) {
        EXPECT_EQ(asfImageResize_BL_Piece(in.get(), pieces.get(), first, end), TLUX_OK);
      };
      std::thread below(piece, middle, height);
      piece(0, middle);
      below.join();
      ASSERT_TRUE(whole == pieces);
    }
  }
}

TEST(ResizeImage, RefusesWhatItCannotResize) {
  using Image = TLUX_IMAGE;
  const FrameShape small{8, 6};
  const FrameShape large{12, 10};
  const auto expectOutcome = [&](std::uint32_t outcome, auto change) {
    Frame in(small);
    Frame out(large);
    change(in.image(), out.image());
    EXPECT_EQ(asfImageResize_BL(in.get(), out.get()), outcome);
    EXPECT_EQ(asfImageResize_NN(in.get(), out.get()), outcome);
    EXPECT_EQ(asfImageResize_BL_Piece(in.get(), out.get(), 0, 0), outcome);
    EXPECT_TRUE(out == Frame(large));
  };
  for (const auto& spoil :
       {+[](Image&in, Image&) { in.format = TLUX_FMT_YCBCR420_YPUV; },
        +[](Image&in, Image&) { in.plane[1] = nullptr; },
        +[](Image&, Image&out) { out.plane[0] = nullptr; },
        +[](Image&in, Image&) { in.pitch[0] = 7; }, +[](Image&, Image&out) { out.pitch[1] = 11; },
        +[](Image&in, Image&) { in.width = 0; }}) {
    expectOutcome(TLUX_ERR_INVALID_PARAM, spoil);
  }
  for (const std::uint32_t format : {TLUX_FMT_BAYER, TLUX_FMT_YCBYCR_5, 0x300u}) {
    expectOutcome(TLUX_ERR_UNSUPPORTED,
                  [&](Image& in, Image& out) { in.format = out.format = format; });
  }
  Frame in(small);
  Frame out(large);
  expectRefusesEachNull(asfImageResize_NN, in.get(), out.get());
  expectRefusesEachNull(asfImageResize_BL, in.get(), out.get());
  for (const auto& [first, end] : {std::pair(-1, 2), {3, 2}, {0, 11}}) {
    EXPECT_EQ(asfImageResize_BL_Piece(in.get(), out.get(), first, end), TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_TRUE(out == Frame(large));
}

} // namespace
} // namespace tlux::test
