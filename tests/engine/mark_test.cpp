#include <gtest/gtest.h>

#include <algorithm>

#include "reference/mark.hpp"
#include "support/frame.hpp"
#include "tlux/mark.h"

namespace tlux::test {
namespace {

constexpr std::uint32_t kMarkable[] = {TLUX_FMT_YCBCR422_P, TLUX_FMT_YCBCR420_P,
                                       TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR420_YPVU,
                                       TLUX_FMT_CBYCRY};

// An image of random bytes, with padding between its rows.
Frame picture(std::uint32_t format, int width, int height, std::uint32_t seed) {
  Random random(seed);
  Frame frame(format, width, height, Frame::NoPlanes());
  int extra = 6;
  for (const auto& [bytes, rows] : extentsOf(format, width, height)) {
    const int pitch = bytes + (extra = 8 - extra);
    frame.addPlane(pitch, rows, pitch - bytes);
    random.fill(frame.plane(frame.planeCount() - 1).bytes());
  }
  return frame;
}

struct Size {
  int width;
  int height;
};

// Every factor, both orientations, smallest sizes that hold it, odd sizes, and the corners where
// one of the two side rules decides.
constexpr Size kSizes[] = {{122, 42},   {674, 100},   {675, 474},  {900, 900},  {901, 1125},
                           {250, 1999}, {1080, 1920}, {2001, 500}, {3001, 169}, {3600, 211},
                           {4400, 253}, {5200, 294},  {6000, 337}, {9001, 341}};

TEST(Mark, EqualsTheFormulaForEveryFormatAndFactor) {
  for (const std::uint32_t format : kMarkable) {
    for (const auto& [width, height] : kSizes) {
      SCOPED_TRACE(testing::Message()
                   << std::hex << format << std::dec << ' ' << width << 'x' << height);
      Frame marked = picture(format, width, height, 1);
      Frame expected = marked.copy();
      EXPECT_EQ(TLUX_EmbeddedMark(&marked.image()), TLUX_OK);
      reference::embedMark(expected.image());
      EXPECT_TRUE(marked == expected);
    }
  }
}

// Discreet: at most a quarter opaque.
TEST(Mark, LetsThePictureThrough) {
  EXPECT_LE(*std::ranges::max_element(gTolMarkDataA), 255 / 4);
}

TEST(Mark, LeavesWhatItCannotMark) {
  const auto isUntouched = [](std::uint32_t format, int width, int height, auto&& damage) {
    Frame frame = picture(format, width, height, 2);
    const Frame before = frame.copy();
    damage(frame.image());
    return TLUX_EmbeddedMark(frame.get()) == TLUX_OK && frame == before;
  };
  void (*const nothing)(TLUX_IMAGE&) = [](TLUX_IMAGE&) {};
  for (const std::uint32_t format : {TLUX_FMT_GRAY, TLUX_FMT_YCBCR444_P, TLUX_FMT_YCBYCR,
                                     TLUX_FMT_YCBCR422_YPUV, TLUX_FMT_BGR24}) {
    EXPECT_TRUE(isUntouched(format, 320, 240, nothing)) << format;
  }
  for (const std::uint32_t format : kMarkable) {
    for (const auto& [width, height] :
         {Size{121, 42}, Size{122, 41}, Size{1280, 83}, Size{243, 1280}, Size{2, 2}}) {
      EXPECT_TRUE(isUntouched(format, width, height, nothing)) << width << 'x' << height;
    }
    const bool packed = format == TLUX_FMT_CBYCRY;
    const bool planar = format >> 8 == 6;
    for (const auto& damage :
         {+[](TLUX_IMAGE& i) { i.plane[0] = nullptr; }, +[](TLUX_IMAGE& i) { i.pitch[0] = 319; },
          +[](TLUX_IMAGE& i) { i.width = -320; }, +[](TLUX_IMAGE& i) { i.width = 0x7FFFFFFE; },
          packed ? nothing : +[](TLUX_IMAGE& i) { i.plane[1] = nullptr; },
          packed ? nothing : +[](TLUX_IMAGE& i) { i.pitch[1] = 12; },
          planar ? +[](TLUX_IMAGE& i) { i.plane[2] = nullptr; } : nothing,
          planar ? +[](TLUX_IMAGE& i) { i.pitch[2] = 12; } : nothing}) {
      EXPECT_TRUE(damage == nothing || isUntouched(format, 320, 240, damage));
    }
  }
  EXPECT_EQ(TLUX_EmbeddedMark(nullptr), TLUX_OK);
}

// Every value of frame and mark meets every opacity the mark has.
TEST(Mark, BlendsExactly) {
  for (int value = 0; value < 256; ++value) {
    std::vector<std::uint8_t> frame(std::size_t{122} * 42 * 2, static_cast<std::uint8_t>(value));
    auto expected = frame;
    TLUX_IMAGE image{TLUX_FMT_CBYCRY, 122, 42, {frame.data()}, {244}};
    TLUX_EmbeddedMark(&image);
    image.plane[0] = expected.data();
    reference::embedMark(image);
    ASSERT_EQ(frame, expected) << value;
  }
}

} // namespace
} // namespace tlux::test
