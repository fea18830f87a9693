#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "reference/mark.hpp"
#include "support/guarded_buffer.hpp"
#include "tlux/mark.h"

namespace tlux::test {
namespace {

constexpr std::uint32_t kMarkable[] = {TLUX_FMT_YCBCR422_P, TLUX_FMT_YCBCR420_P,
                                       TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR420_YPVU,
                                       TLUX_FMT_CBYCRY};

// An image of random samples that ends at the last byte it describes, with rows longer than needed.
class Picture {
 public:
  Picture(std::uint32_t format, int width, int height, std::uint32_t seed)
      : buffer_(static_cast<std::size_t>(layOut(format, width, height))) {
    std::uint32_t state = seed;
    for (std::uint8_t& byte : buffer_.bytes()) {
      byte = static_cast<std::uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    }
    std::ptrdiff_t offset = 0;
    for (int i = 0; i < 3; ++i) {
      image_.plane[i] = rows_[i] > 0 ? buffer_.data() + offset : nullptr;
      offset += std::ptrdiff_t{rows_[i]} * image_.pitch[i];
    }
  }

  TLUX_IMAGE& image() { return image_; }
  std::vector<std::uint8_t> bytes() { return {buffer_.data(), buffer_.data() + buffer_.size()}; }

 private:
  std::ptrdiff_t layOut(std::uint32_t format, int width, int height) {
    image_.format = format;
    image_.width = width;
    image_.height = height;
    const bool packed = format == TLUX_FMT_CBYCRY;
    const bool interleaved = (format & 0xFF00) == 0x800;
    const bool planar = (format & 0xFF00) == 0x600;
    image_.pitch[0] = (packed ? 2 * width : width) + 6;
    rows_[0] = height;
    image_.pitch[1] = (planar ? width / 2 : width) + 2;
    image_.pitch[2] = width / 2 + 10;
    const int chromaRows = format == TLUX_FMT_YCBCR422_P ? height : height / 2;
    rows_[1] = planar || interleaved ? chromaRows : 0;
    rows_[2] = planar ? chromaRows : 0;
    std::ptrdiff_t bytes = 0;
    for (int i = 0; i < 3; ++i)
      bytes += std::ptrdiff_t{rows_[i]} * image_.pitch[i];
    return bytes;
  }

  int rows_[3] = {};
  TLUX_IMAGE image_{};
  GuardedBuffer buffer_;
};

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
      Picture marked(format, width, height, 1);
      Picture expected(format, width, height, 1);
      EXPECT_EQ(TLUX_EmbeddedMark(&marked.image()), TLUX_OK);
      reference::embedMark(expected.image());
      EXPECT_TRUE(marked.bytes() == expected.bytes());
    }
  }
}

TEST(Mark, GrowsWithTheFrameAndStaysInItsCorner) {
  for (const auto& [size, k] : {std::pair{Size{640, 480}, 1},
                                {Size{1920, 1080}, 2},
                                {Size{900, 900}, 2},
                                {Size{4000, 3000}, 7},
                                {Size{8000, 6000}, 8}}) {
    const auto [width, height] = size;
    SCOPED_TRACE(testing::Message() << width << 'x' << height);
    const auto area = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::uint8_t> frame(area * 3 / 2, 128);
    TLUX_IMAGE image{
        TLUX_FMT_YCBCR420_YPVU, width, height, {frame.data(), frame.data() + area}, {width, width}};
    TLUX_EmbeddedMark(&image);
    int left = width;
    int right = -1;
    int top = height;
    int bottom = -1;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        if (frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)] == 128) {
          continue;
        }
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
      }
    }
    // The strokes fill the mark but for a column or row or two.
    EXPECT_NEAR(left, width - 122 * k, 2 * k);
    EXPECT_NEAR(right, width - 20 * k - 1, 2 * k);
    EXPECT_NEAR(top, height - 42 * k, 3 * k);
    EXPECT_NEAR(bottom, height - 10 * k - 1, 3 * k);
  }
}

TEST(Mark, LeavesWhatItCannotMark) {
  const auto isUntouched = [](std::uint32_t format, int width, int height, auto&& damage) {
    Picture picture(format, width, height, 2);
    const auto before = picture.bytes();
    damage(picture.image());
    return TLUX_EmbeddedMark(&picture.image()) == TLUX_OK && picture.bytes() == before;
  };
  const auto nothing = [](TLUX_IMAGE&) {};
  for (const std::uint32_t format : {TLUX_FMT_GRAY, TLUX_FMT_YCBCR444_P, TLUX_FMT_YCBYCR,
                                     TLUX_FMT_YCBCR422_YPUV, TLUX_FMT_BGR24}) {
    EXPECT_TRUE(isUntouched(format, 320, 240, nothing)) << format;
  }
  for (const std::uint32_t format : kMarkable) {
    for (const auto& [width, height] :
         {Size{121, 42}, Size{122, 41}, Size{1280, 83}, Size{243, 1280}, Size{2, 2}}) {
      EXPECT_TRUE(isUntouched(format, width, height, nothing)) << width << 'x' << height;
    }
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.plane[0] = nullptr; }));
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.pitch[0] = 319; }));
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.width = -320; }));
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.width = 0x7FFFFFFE; }));
    if (format == TLUX_FMT_CBYCRY) continue;
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.plane[1] = nullptr; }));
    EXPECT_TRUE(isUntouched(format, 320, 240, [](TLUX_IMAGE& i) { i.pitch[1] = 12; }));
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

TEST(Mark, KeepsNothingBetweenThreads) {
  Picture reference(TLUX_FMT_YCBCR420_YPVU, 1920, 1080, 3);
  TLUX_EmbeddedMark(&reference.image());
  const auto mark = [&reference](int width, int height, bool compare) {
    for (int i = 0; i < 5; ++i) {
      Picture picture(TLUX_FMT_YCBCR420_YPVU, width, height, 3);
      TLUX_EmbeddedMark(&picture.image());
      if (compare) {
        EXPECT_TRUE(picture.bytes() == reference.bytes());
      }
    }
  };
  std::thread other([&mark] { mark(2600, 800, false); });
  mark(1920, 1080, true);
  other.join();
}

} // namespace
} // namespace tlux::test
