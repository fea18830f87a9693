#include <gtest/gtest.h>

#include <limits>

#include "reference/resample.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

struct Conversion {
  void (*convert)(const std::uint8_t*, std::int32_t, std::int32_t, std::uint8_t*);
  int factor;
  std::vector<int> rows;
  std::vector<int> columns;
};

const Conversion kConversions[] = {{BGRToYCbCr444, 1, {0}, {0}},
                                   {ResampleImage4_BGRToYCbCr444, 4, {0, 2}, {0, 2}},
                                   {ResampleImage8_BGRToYCbCr444, 8, {0, 4}, {0, 2, 4, 6}}};

constexpr int align4(int bytes) {
  return (bytes + 3) / 4 * 4;
}

// Each sample that is converted has its formula's value, and no other byte of the planes changes.
// Source and destination end at their last described byte.
TEST(BgrConversion, EqualsItsFormula) {
  constexpr std::uint8_t kUntouched = 0x5A;
  Random random(30);
  for (const Conversion& conversion : kConversions) {
    const auto pieces = widthsAround({256}); // of the destination
    for (std::size_t trial = 0; trial < 40 + pieces.size(); ++trial) {
      const bool isWide = trial >= 40;
      const int width = isWide ? conversion.factor * pieces[trial - 40] : random.intBetween(1, 70);
      const int height = random.intBetween(1, isWide ? conversion.factor : 40);
      const int sourcePitch = align4(3 * width);
      GuardedBuffer source(static_cast<std::size_t>(sourcePitch * height));
      random.noise(source.bytes());
      if (trial % 4 == 0) { // saturated colours
        for (auto& byte : source.bytes()) {
          byte = byte < 128 ? 0 : 255;
        }
      }
      const int w = width / conversion.factor;
      const int h = height / conversion.factor;
      const int planeBytes = align4(w) * h;
      GuardedBuffer actual(static_cast<std::size_t>(3 * planeBytes), kUntouched);
      std::vector<std::uint8_t> expected(actual.size(), kUntouched);
      const bool sparse = conversion.factor == 1; // every second row, whole pairs
      for (int y = 0; y < h; y += sparse ? 2 : 1) {
        for (int x = 0; x < (sparse ? w / 2 * 2 : w); ++x) {
          const auto channel = [&](int c) {
            return int{
                reference::meanOver(conversion.rows, conversion.columns, [&](int dx, int dy) {
                  return source.data()[(y * conversion.factor + dy) * sourcePitch +
                                       3 * (x * conversion.factor + dx) + c];
                })};
          };
          const auto pixel = reference::ycbcr(channel(0), channel(1), channel(2));
          for (int plane = 0; plane < 3; ++plane) {
            expected[static_cast<std::size_t>(plane * planeBytes + y * align4(w) + x)] =
                pixel[static_cast<std::size_t>(plane)];
          }
        }
      }
      conversion.convert(source.data(), width, height, actual.data());
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), actual.data()))
          << "by " << conversion.factor << ", " << width << "x" << height;
      ASSERT_TRUE(actual.isIntact());
    }
    std::uint8_t byte = kUntouched;
    conversion.convert(nullptr, 16, 16, &byte);
    conversion.convert(&byte, 16, 16, nullptr);
    conversion.convert(&byte, 0, 16, &byte);
    conversion.convert(&byte, 16, -16, &byte);
    EXPECT_EQ(byte, kUntouched);
  }
}

struct Line {
  int width = 64;
  int height = 16;
  int accumulatorX = 0;
  int accumulatorY = 0;
  int stepX = 0;
  int stepY = 0;
  int firstX = 0;
  int y = 3;
  int endX = 64;
  int shift = 8;
};

constexpr int kLinePitch = 40;

std::vector<std::uint8_t> blendLine(const Line& l, const std::uint8_t* source) {
  std::vector<std::uint8_t> line(64, 0xEE);
  AMF_BlendingImage422_P_UV_Line_256_x(l.width, l.height, l.accumulatorX, l.accumulatorY, l.stepX,
                                       l.stepY, l.firstX, l.y, l.endX, kLinePitch, source,
                                       line.data(), l.shift);
  return line;
}

int nearest(std::int64_t position, std::int64_t displacement, int size) {
  const std::int64_t sixteenths = 16 * position - displacement;
  std::int64_t sample = sixteenths < 0 ? 0 : sixteenths / 16;
  if (sample >= size - 1) sample = size - 2;
  return static_cast<int>(std::max<std::int64_t>(sample, 0));
}

TEST(ChromaLine, SamplesTheNearestPositionInsideTheSource) {
  constexpr int kHigh = std::numeric_limits<int>::max();
  Random random(31);
  GuardedBuffer source(16 * kLinePitch);
  random.fill(source.bytes());
  std::vector<Line> lines = {
      {},
      {.accumulatorX = 5 << 12, .stepX = -700, .stepY = 300, .firstX = 6, .endX = 41},
      {.width = 1, .height = 1},
      {.accumulatorX = kHigh, .accumulatorY = -kHigh, .stepX = kHigh, .stepY = kHigh, .shift = 0},
      {.firstX = kHigh - 9, .y = kHigh, .endX = kHigh},
      {.firstX = -20, .y = -kHigh, .endX = 10, .shift = 31},
      {.firstX = 10, .endX = 10}};
  for (int trial = 0; trial < 200; ++trial) {
    lines.push_back({.width = random.intBetween(1, 80),
                     .height = random.intBetween(1, 16),
                     .accumulatorX = random.intBetween(-200000, 200000),
                     .accumulatorY = random.intBetween(-200000, 200000),
                     .stepX = random.intBetween(-2000, 2000),
                     .stepY = random.intBetween(-2000, 2000),
                     .firstX = random.intBetween(-5, 70),
                     .y = random.intBetween(-3, 20),
                     .endX = random.intBetween(-5, 90),
                     .shift = random.intBetween(0, 12)});
  }
  for (const Line& l : lines) {
    std::vector<std::uint8_t> expected(64, 0xEE);
    auto x32 = static_cast<std::uint32_t>(l.accumulatorX);
    auto y32 = static_cast<std::uint32_t>(l.accumulatorY);
    std::size_t count = 0;
    for (std::int64_t x = l.firstX; x < l.endX; x += 2) {
      const int sx = nearest(x, static_cast<std::int32_t>(x32) >> l.shift, l.width);
      const int sy = nearest(l.y, static_cast<std::int32_t>(y32) >> l.shift, l.height);
      expected[count++] = source.data()[sx / 2 + kLinePitch * sy];
      x32 += 2 * static_cast<std::uint32_t>(l.stepX);
      y32 += 2 * static_cast<std::uint32_t>(l.stepY);
    }
    ASSERT_EQ(blendLine(l, source.data()), expected);
  }
  const std::vector<std::uint8_t> untouched(64, 0xEE);
  EXPECT_EQ(blendLine({.shift = -1}, source.data()), untouched);
  EXPECT_EQ(blendLine({.shift = 32}, source.data()), untouched);
  EXPECT_EQ(blendLine({}, nullptr), untouched);
}

} // namespace
} // namespace tlux::test
