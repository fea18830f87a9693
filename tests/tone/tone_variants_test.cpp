#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "reference/chroma.hpp"
#include "reference/guided_filter_fast.hpp"
#include "support/fault_injection.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/tone.h"

namespace tlux::test {
namespace {

// A semi-planar frame with guard bytes around every row of random samples.
struct Frame {
  Frame(int width, int height, int padding, Random& random)
      : luma(width, height, width + padding),
        chroma(width / 2 * 2, height / 2, width + padding + 2),
        image{TLUX_FMT_YCBCR420_YPVU,
              width,
              height,
              {luma.data(), chroma.data()},
              {luma.pitch(), chroma.pitch()}} {
    fill(random);
  }

  void fill(Random& random) {
    for (int y = 0; y < image.height; ++y) {
      random.fill(std::span(y_(y), static_cast<std::size_t>(image.width)));
    }
    for (int y = 0; y < image.height / 2; ++y) {
      random.fill(std::span(uv(y), static_cast<std::size_t>(image.width / 2 * 2)));
    }
  }

  std::uint8_t* y_(int row) { return luma.data() + row * luma.pitch(); }
  std::uint8_t* uv(int row) { return chroma.data() + row * chroma.pitch(); }
  bool isIntact() const { return luma.isIntact() && chroma.isIntact(); }

  GuardedPlane luma;
  GuardedPlane chroma;
  TLUX_IMAGE image;
};

using Samples = std::vector<std::uint8_t>;

Samples lumaOf(Frame& frame) {
  Samples samples;
  for (int y = 0; y < frame.image.height; ++y) {
    samples.insert(samples.end(), frame.y_(y), frame.y_(y) + frame.image.width);
  }
  return samples;
}

Samples chromaOf(Frame& frame) {
  Samples samples;
  for (int y = 0; y < frame.image.height / 2; ++y) {
    samples.insert(samples.end(), frame.uv(y), frame.uv(y) + frame.image.width / 2 * 2);
  }
  return samples;
}

// Chroma of a frame whose luma changed to newLuma, both packed.
Samples expectedChroma(Frame& before, const Samples& newLuma, int zone) {
  const int width = before.image.width;
  Samples scaled = chromaOf(before);
  for (int j = 0; j < before.image.height / 2; ++j) {
    for (int x = 0; x < width / 2 * 2; ++x) {
      const std::uint8_t* oldPair = before.y_(2 * j) + x / 2 * 2;
      const std::uint8_t* newPair = newLuma.data() + 2 * j * width + x / 2 * 2;
      const int ratio = reference::chromaRatio(oldPair[0] + oldPair[1], newPair[0] + newPair[1]);
      std::uint8_t& sample = scaled[static_cast<std::size_t>(j * (width / 2 * 2) + x)];
      sample = reference::scaleChromaSample(sample, ratio, zone);
    }
  }
  return scaled;
}

std::uint8_t changed(int base, int change) {
  return static_cast<std::uint8_t>(std::clamp(base + change - 128, 0, 255));
}

TEST(ToneThreads, ScaleTheChromaOfWholeFrames) {
  Random random(41);
  for (int height = 1; height <= 17; ++height) {
    const int width = 1 + height * 5 % 23;
    Frame before(width, height, height % 3, random);
    Frame after(width, height, height % 5, random);
    const Samples expected = expectedChroma(before, lumaOf(after), 8);
    ASSERT_EQ(NV21NV12_ToneMT(&before.image, &after.image), TLUX_OK);
    EXPECT_EQ(chromaOf(after), expected) << width << "x" << height;
    EXPECT_TRUE(after.isIntact());
  }
}

TEST(ToneThreads, ReportAThreadThatCannotBeStarted) {
  Random random(42);
  Frame before(8, 8, 0, random);
  Frame after(8, 8, 0, random);
  EXPECT_EQ(sweepFaults(failThreadStart,
                        [&] {
                          const auto result = NV21NV12_ToneMT(&before.image, &after.image);
                          EXPECT_EQ(result, faultFired() ? TLUX_ERR_THREAD : TLUX_OK);
                        }),
            4);
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

TEST(ToneLines, BaseAndDetailMakeAFrame) {
  Random random(43);
  for (const auto [width, height] : {std::array{1, 1}, {6, 3}, {31, 8}, {700, 4}}) {
    Frame base(width, height, 1, random);
    Frame detail(width, height, 4, random);
    Frame output(width, height, 0, random);
    Samples luma = lumaOf(base);
    const Samples change = lumaOf(detail);
    std::ranges::transform(luma, change, luma.begin(), changed);
    const Samples chroma = expectedChroma(base, luma, 32);
    ASSERT_EQ(NV21NV12_ToneMap(&output.image, &base.image, &detail.image), TLUX_OK);
    EXPECT_EQ(lumaOf(output), luma) << width;
    EXPECT_EQ(chromaOf(output), chroma) << width;
    EXPECT_TRUE(output.isIntact());

    ASSERT_EQ(NV21NV12_ToneMap(&base.image, &base.image, &detail.image), TLUX_OK);
    EXPECT_EQ(lumaOf(base), luma) << width << " in place";
    EXPECT_EQ(chromaOf(base), chroma) << width << " in place";
  }
}

// A frame to be changed by a low-resolution delta.
struct GuidedFrame {
  GuidedFrame(int width, int height, int lowWidth, int lowHeight, Random& random)
      : source(width, height, 2, random),
        output(width, height, 5, random),
        lowW(lowWidth),
        lowH(lowHeight),
        delta(static_cast<std::size_t>(lowWidth * lowHeight)),
        guide(delta.size()) {
    random.fill(std::span(delta), 60, 200);
    random.fill(std::span(guide));
  }

  std::uint32_t tone(MMemMgr manager, Frame& destination) {
    return MultiThreadGuideTone(manager, &source.image, &destination.image, delta.data(),
                                guide.data(), lowW, lowH, lowW, kRadius, kEps);
  }

  static constexpr int kRadius = 3;
  static constexpr int kEps = 20;
  Frame source;
  Frame output;
  int lowW;
  int lowH;
  Samples delta;
  Samples guide;
};

TEST(GuideTone, AppliesTheFilteredDeltaToLumaAndChroma) {
  Random random(44);
  for (const auto [width, height, lowW, lowH] :
       {std::array{8, 8, 1, 1}, {34, 50, 4, 6}, {40, 83, 5, 9}, {80, 160, 10, 20}}) {
    GuidedFrame frame(width, height, lowW, lowH, random);
    Samples luma = lumaOf(frame.output);
    Samples lumaForChroma = lumaOf(frame.source);
    std::vector<bool> covered(luma.size());
    reference::guidedUpsampling(frame.delta.data(), frame.guide.data(), frame.source.y_(0), lowW,
                                lowH, lowW, frame.source.image.pitch[0], GuidedFrame::kRadius,
                                GuidedFrame::kEps, [&, w = width](int x, int y, int value) {
                                  const auto at = static_cast<std::size_t>(y * w + x);
                                  luma[at] =
                                      changed(frame.source.y_(y)[x], std::clamp(value, 0, 255));
                                  lumaForChroma[at] = luma[at];
                                  covered[at] = true;
                                });
    Samples chroma = chromaOf(frame.output);
    const Samples scaled = expectedChroma(frame.source, lumaForChroma, 8);
    for (std::size_t i = 0; i < chroma.size(); ++i) {
      const std::size_t row = i / static_cast<std::size_t>(width);
      if (covered[i + row * static_cast<std::size_t>(width)]) chroma[i] = scaled[i];
    }

    ASSERT_EQ(frame.tone(nullptr, frame.output), TLUX_OK);
    EXPECT_EQ(lumaOf(frame.output), luma) << width << "x" << height;
    EXPECT_EQ(chromaOf(frame.output), chroma) << width << "x" << height;
    EXPECT_TRUE(frame.output.isIntact());

    if (std::ranges::find(covered, false) == covered.end()) { // in place is the same
      ASSERT_EQ(frame.tone(nullptr, frame.source), TLUX_OK);
      EXPECT_EQ(lumaOf(frame.source), luma);
      EXPECT_EQ(chromaOf(frame.source), chroma);
    }
  }
}

TEST(GuideTone, NoChangeLeavesAUniformFrameAlone) {
  Random random(45);
  GuidedFrame frame(32, 32, 4, 4, random);
  for (int y = 0; y < 32; ++y) {
    std::fill_n(frame.source.y_(y), 32, std::uint8_t{93});
  }
  std::ranges::fill(frame.guide, 93);
  std::ranges::fill(frame.delta, 128);
  ASSERT_EQ(frame.tone(nullptr, frame.output), TLUX_OK);
  EXPECT_EQ(lumaOf(frame.output), lumaOf(frame.source));
  EXPECT_EQ(chromaOf(frame.output), chromaOf(frame.source));
}

TEST(GuideTone, ReportsMissingMemoryAndThreadsAndLeavesNothingBehind) {
  Random random(46);
  GuidedFrame frame(16, 16, 2, 2, random);
  const Samples before = lumaOf(frame.output);
  const long live = liveAllocations();
  EXPECT_EQ(sweepFaults(failAllocation,
                        [&] {
                          const std::uint32_t result = frame.tone(nullptr, frame.output);
                          EXPECT_EQ(result, faultFired() ? TLUX_ERR_NO_MEMORY : TLUX_OK);
                          EXPECT_EQ(lumaOf(frame.output) == before, faultFired());
                          EXPECT_EQ(liveAllocations(), live);
                        }),
            9);
  EXPECT_EQ(sweepFaults(failThreadStart,
                        [&] {
                          const std::uint32_t result = frame.tone(nullptr, frame.output);
                          EXPECT_EQ(result, faultFired() ? TLUX_ERR_THREAD : TLUX_OK);
                          EXPECT_EQ(liveAllocations(), live);
                        }),
            4);
}

TEST(ToneVariants, RefuseBadArguments) {
  Random random(47);
  GuidedFrame frame(16, 16, 2, 2, random);
  Frame small(14, 16, 2, random);
  Frame& good = frame.source;
  TLUX_IMAGE planar = good.image;
  planar.format = TLUX_FMT_YCBCR420_P;
  TLUX_IMAGE narrow = good.image;
  narrow.pitch[1] = 15;
  TLUX_IMAGE incomplete = good.image;
  incomplete.plane[1] = nullptr;

  const Samples luma = lumaOf(frame.output);
  const Samples chroma = chromaOf(frame.output);
  TLUX_IMAGE* output = &frame.output.image;
  const auto guided = [&](const TLUX_IMAGE* source, int lowW, int lowH) {
    return MultiThreadGuideTone(nullptr, source, output, frame.delta.data(), frame.guide.data(),
                                lowW, lowH, 2, 3, 20);
  };
  struct Case {
    const TLUX_IMAGE* image;
    std::uint32_t result;
  };
  for (const Case c :
       {Case{nullptr, TLUX_ERR_INVALID_PARAM}, Case{&planar, TLUX_ERR_UNSUPPORTED},
        Case{&narrow, TLUX_ERR_INVALID_PARAM}, Case{&incomplete, TLUX_ERR_INVALID_PARAM}}) {
    EXPECT_EQ(NV21NV12_ToneMT(c.image, output), c.result);
    EXPECT_EQ(NV21NV12_ToneMap(output, c.image, &good.image), c.result);
    EXPECT_EQ(guided(c.image, 2, 2), c.result);
  }
  EXPECT_EQ(NV21NV12_ToneMT(&good.image, &small.image), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(NV21NV12_ToneMap(output, &good.image, &small.image), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(guided(&small.image, 2, 2), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(guided(&good.image, 2, 3), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(guided(&good.image, 2, -1), TLUX_ERR_NO_MEMORY);
  EXPECT_EQ(guided(&good.image, 0, 2), TLUX_OK);
  SingleThreadGuideTone(nullptr);
  EXPECT_EQ(NV21NV12_ToneSingleThread(nullptr), 0u);
  GuideToneNV21Line(0, frame.output.y_(0), nullptr, good.y_(0), good.uv(0), good.y_(0), 16);
  EXPECT_EQ(lumaOf(frame.output), luma);
  EXPECT_EQ(chromaOf(frame.output), chroma);
}

} // namespace
} // namespace tlux::test
