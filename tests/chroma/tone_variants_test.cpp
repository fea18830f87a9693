#include <gtest/gtest.h>

#include <array>

#include "reference/chroma.hpp"
#include "reference/guided_filter_fast.hpp"
#include "support/frame.hpp"
#include "tlux/tone.h"

namespace tlux::test {
namespace {

// Padding between the rows, and none after the last one.
FrameShape padded(int width, int height, int padding) {
  FrameShape shape{width, height, width + padding, width + padding + 2};
  shape.isTight = true;
  return shape;
}

// Scales the chroma of `before` by the change of luma to that of `after`, in the first columns and
// rows of luma.
void scaleChroma(Frame& after, Frame& before, int zone, int columns, int rows) {
  forEachPixel(columns / 2 * 2, rows / 2, [&](int x, int y) {
    const std::uint8_t* oldPair = before.row(0, 2 * y) + x / 2 * 2;
    const std::uint8_t* newPair = after.row(0, 2 * y) + x / 2 * 2;
    const int ratio = reference::chromaRatio(oldPair[0] + oldPair[1], newPair[0] + newPair[1]);
    after.row(1, y)[x] = reference::scaleChromaSample(before.row(1, y)[x], ratio, zone);
  });
}

std::uint8_t changed(int base, int change) {
  return static_cast<std::uint8_t>(std::clamp(base + change - 128, 0, 255));
}

TEST(ToneLines, OddRowsAndEmptyWidthsAreSkipped) {
  std::uint8_t newY[4] = {200, 200, 200, 200};
  std::uint8_t oldY[4] = {100, 100, 100, 100};
  std::uint8_t uv[4] = {10, 140, 131, 250};
  std::uint8_t out[4] = {1, 2, 3, 4};
  ToneNV21Line(1, newY, out, oldY, uv, 4);
  ToneNV21Line(0, newY, out, oldY, uv, 0);
  ToneNV21Line(0, newY, out, nullptr, uv, 4);
  EXPECT_EQ(std::to_array(out), (std::array<std::uint8_t, 4>{1, 2, 3, 4}));
  ToneNV21Line(2, newY, out, oldY, uv, 3); // one pair
  // 140: distance 12 doubled; 10: below black.
  EXPECT_EQ(std::to_array(out), (std::array<std::uint8_t, 4>{0, 152, 3, 4}));
  ToneNV21Line(2, newY, uv, oldY, uv, 4);
  // 131: distance 3 doubled, three eighths of the way.
  EXPECT_EQ(std::to_array(uv), (std::array<std::uint8_t, 4>{0, 152, 132, 255}));
}

// A frame to be changed by a low-resolution delta.
struct GuidedFrame {
  GuidedFrame(int width, int height, int lowWidth, int lowHeight, Random& random)
      : source(padded(width, height, 2), random),
        output(padded(width, height, 5), random),
        lowW(lowWidth),
        lowH(lowHeight),
        delta(random.values<std::uint8_t>(lowWidth * lowHeight, 60, 200)),
        guide(random.values<std::uint8_t>(lowWidth * lowHeight)) {}

  std::uint32_t tone(Frame& destination) {
    return MultiThreadGuideTone(nullptr, source.get(), destination.get(), delta.data(),
                                guide.data(), lowW, lowH, lowW, kRadius, kEps);
  }

  static constexpr int kRadius = 3;
  static constexpr int kEps = 20;
  Frame source;
  Frame output;
  int lowW;
  int lowH;
  Bytes delta;
  Bytes guide;
};

TEST(GuideTone, AppliesTheFilteredDeltaToLumaAndChroma) {
  Random random(44);
  for (const auto [width, height, lowW, lowH] :
       {std::array{8, 8, 1, 1}, {34, 50, 4, 6}, {40, 83, 5, 9}, {2060, 17, 257, 2}}) {
    GuidedFrame frame(width, height, lowW, lowH, random);
    for (Frame* target : {&frame.output, &frame.source}) { // the second in place
      Frame expected = target->copy();
      int rows = 0;
      reference::guidedUpsampling(frame.delta.data(), frame.guide.data(), frame.source.row(0, 0),
                                  lowW, lowH, lowW, frame.source->pitch[0], GuidedFrame::kRadius,
                                  GuidedFrame::kEps, [&](int x, int y, int value) {
                                    expected.row(0, y)[x] = changed(frame.source.row(0, y)[x],
                                                                    std::clamp(value, 0, 255));
                                    rows = y + 1;
                                  });
      scaleChroma(expected, frame.source, 8, 8 * lowW, rows);
      ASSERT_EQ(frame.tone(*target), TLUX_OK);
      EXPECT_TRUE(*target == expected) << width << "x" << height;
    }
  }
}

} // namespace
} // namespace tlux::test
