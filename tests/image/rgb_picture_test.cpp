#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/frame.hpp"
#include "tlux/rgb.h"

namespace tlux::test {
namespace {

constexpr struct Layout {
  std::uint32_t code;
  int bytes;
  int red;
} kLayouts[] = {{TLUX_RGB, 3, 0}, {TLUX_RGBA, 4, 0}, {TLUX_BGR, 3, 2}, {TLUX_BGRA, 4, 2}};

// Around one and two stretches of the kernels, odd sides, single pixels.
constexpr std::pair<int, int> kSizes[] = {{1, 1},   {2, 2},   {7, 3},   {255, 2},
                                          {256, 3}, {257, 2}, {513, 3}, {514, 4}};

// A picture in a guarded block, its last row ending with its last pixel.
class TestPicture {
 public:
  TestPicture(const Layout& layout, int width, int height, int padding, bool isUpsideDown = false)
      : layout_(layout),
        pitch_(width * layout.bytes + padding),
        block_(static_cast<std::size_t>(pitch_) * (height - 1) + width * layout.bytes, 0x5A),
        record_{block_.data(), pitch_, width, height, layout.code, 0} {
    if (!isUpsideDown) return;
    record_.pixels += std::ptrdiff_t{pitch_} * (height - 1);
    record_.pitch = -pitch_;
  }

  TLUX_PICTURE* get() { return &record_; }
  GuardedBuffer& block() { return block_; }
  std::uint8_t& at(int x, int y, int component) {
    const int byte = component == 1 ? 1 : (component == 0 ? layout_.red : 2 - layout_.red);
    return record_.pixels[y * record_.pitch + std::ptrdiff_t{x} * layout_.bytes + byte];
  }
  int width() const { return record_.width; }
  int height() const { return record_.height; }

 private:
  Layout layout_;
  int pitch_;
  GuardedBuffer block_;
  TLUX_PICTURE record_;
};

FrameShape frameShapeFor(int width, int height, bool isNv12) {
  const int evenWidth = (width + 1) / 2 * 2;
  return {evenWidth, (height + 1) / 2 * 2, evenWidth + 6, evenWidth + 10,
          isNv12 ? TLUX_FMT_YCBCR420_YPUV : TLUX_FMT_YCBCR420_YPVU};
}

// Chroma sample (0: Cb, 1: Cr), the index clamped to the plane.
int chromaOf(Frame& frame, int component, int i, int j) {
  const int byte = frame->format == TLUX_FMT_YCBCR420_YPUV ? component : 1 - component;
  const int column = std::clamp(i, 0, frame->width / 2 - 1);
  return frame.row(1, std::clamp(j, 0, frame->height / 2 - 1))[2 * column + byte];
}

double rounded(double value) {
  return std::clamp(std::floor(value + 0.5), 0.0, 255.0);
}

// The difference that weights of 14 to 16 bits may make.
constexpr double kRounding = 1;
// Rounding to a code, and weights of 16 bits.
constexpr double kRounded = 0.51;

TEST(RgbPicture, BecomesAFrameByTheFormula) {
  Random random(1);
  for (const Layout& layout : kLayouts) {
    for (const auto& [width, height] : kSizes) {
      TestPicture picture(layout, width, height, 5, height % 2 == 0);
      random.fill(picture.block().bytes());
      Frame frame(frameShapeFor(width, height, width % 2 == 0));
      ASSERT_EQ(TLUX_PictureToFrame(picture.get(), frame.get()), TLUX_OK);

      const auto sample = [&](int x, int y, int c) {
        return picture.at(std::min(x, picture.width() - 1), std::min(y, picture.height() - 1), c);
      };
      const auto luma = [&](int x, int y) {
        return 0.299 * sample(x, y, 0) + 0.587 * sample(x, y, 1) + 0.114 * sample(x, y, 2);
      };
      forEachPixel(frame->width, frame->height, [&](int x, int y) {
        ASSERT_NEAR(frame.row(0, y)[x], luma(x, y), kRounded) << x << ' ' << y;
      });
      forEachPixel(frame->width / 2, frame->height / 2, [&](int i, int j) {
        const auto mean = [&](auto f) {
          return (f(2 * i, 2 * j) + f(2 * i + 1, 2 * j) + f(2 * i, 2 * j + 1) +
                  f(2 * i + 1, 2 * j + 1)) /
                 4;
        };
        const double blue = mean([&](int x, int y) { return sample(x, y, 2) - luma(x, y); });
        const double red = mean([&](int x, int y) { return sample(x, y, 0) - luma(x, y); });
        ASSERT_NEAR(chromaOf(frame, 0, i, j), blue / 1.772 + 128, kRounded);
        ASSERT_NEAR(chromaOf(frame, 1, i, j), red / 1.402 + 128, kRounded);
      });
      for (int y = 0; y < frame->height; ++y) {
        ASSERT_EQ(frame.row(0, y)[frame->width], Frame::kBlank) << "padding";
      }
    }
  }
}

TEST(RgbPicture, ComesBackByTheFormulaBesideItsAlphaAndPadding) {
  Random random(2);
  for (const Layout& layout : kLayouts) {
    for (const auto& [width, height] : kSizes) {
      Frame frame(frameShapeFor(width, height, width % 2 == 0), random);
      TestPicture picture(layout, width, height, 5, height % 2 == 1);
      const Bytes before(picture.block().bytes().begin(), picture.block().bytes().end());
      ASSERT_EQ(TLUX_FrameToPicture(frame.get(), picture.get()), TLUX_OK);

      std::ptrdiff_t written = 0;
      forEachPixel(width, height, [&](int x, int y) {
        const auto chroma = [&](int c) {
          const int i = x / 2;
          const int j = y / 2;
          const int farI = x % 2 == 0 ? i - 1 : i + 1;
          const int farJ = y % 2 == 0 ? j - 1 : j + 1;
          return (9 * chromaOf(frame, c, i, j) + 3 * chromaOf(frame, c, farI, j) +
                  3 * chromaOf(frame, c, i, farJ) + chromaOf(frame, c, farI, farJ)) /
                     16.0 -
                 128;
        };
        const double luma = frame.row(0, y)[x];
        const double blue = luma + 1.772 * chroma(0);
        const double red = luma + 1.402 * chroma(1);
        const double green = luma - (0.299 * 1.402 * chroma(1) + 0.114 * 1.772 * chroma(0)) / 0.587;
        ASSERT_NEAR(picture.at(x, y, 0), rounded(red), kRounding);
        ASSERT_NEAR(picture.at(x, y, 1), rounded(green), kRounding);
        ASSERT_NEAR(picture.at(x, y, 2), rounded(blue), kRounding);
        for (int c = 0; c < 3; ++c)
          written += picture.at(x, y, c) != 0x5A ? 1 : 0;
      });
      const std::span<std::uint8_t> after = picture.block().bytes();
      std::ptrdiff_t changed = 0;
      for (std::size_t i = 0; i < before.size(); ++i)
        changed += after[i] != before[i] ? 1 : 0;
      EXPECT_EQ(changed, written) << "alpha or padding was written";
      EXPECT_TRUE(picture.block().isIntact());
    }
  }
}

TEST(RgbPicture, KeepsGrayToTheCode) {
  TestPicture picture(kLayouts[0], 256, 2, 0);
  forEachPixel(256, 2, [&](int x, int y) {
    for (int c = 0; c < 3; ++c)
      picture.at(x, y, c) = static_cast<std::uint8_t>(x);
  });
  Frame frame(frameShapeFor(256, 2, true));
  TestPicture back(kLayouts[0], 256, 2, 0);
  ASSERT_EQ(TLUX_PictureToFrame(picture.get(), frame.get()), TLUX_OK);
  ASSERT_EQ(TLUX_FrameToPicture(frame.get(), back.get()), TLUX_OK);
  EXPECT_TRUE(std::ranges::equal(picture.block().bytes(), back.block().bytes()));
}

} // namespace
} // namespace tlux::test
