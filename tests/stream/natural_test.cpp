#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

#include "chroma/chroma_row.hpp"
#include "guided_upsampling/fine_fit.hpp"
#include "stream/scoped_stream.hpp"
#include "stream/threads.hpp"
#include "support/random.hpp"

namespace tlux::test {
namespace {

using namespace detail;

// Mean over the window of (x, y), 16 samples up and left, 15 down and right, edges repeated.
template <class SampleAt>
double windowMean(int width, int height, int x, int y, SampleAt sampleAt) {
  double sum = 0;
  for (int dy = -16; dy < 16; ++dy) {
    for (int dx = -16; dx < 16; ++dx) {
      sum += sampleAt(std::clamp(x + dx, 0, width - 1), std::clamp(y + dy, 0, height - 1));
    }
  }
  return sum / 1024;
}

// Steps of the fit in double precision, against maps in Q10.
TEST(FineFit, EqualsItsFormulaInDoublePrecision) {
  constexpr int kEps = 20;
  Random random(3);
  for (const auto& size : {std::pair{40, 34}, {2, 50}, {77, 2}, {1, 1}}) {
    const int width = size.first;
    const int height = size.second;
    for (const int range : {1, 3, 255}) {
      const auto pixels = static_cast<std::size_t>(width * height);
      const auto guide = random.values<std::uint8_t>(pixels, 255 - range, 255);
      const auto input = random.values<std::uint8_t>(pixels, 200 - range / 2, 200);
      std::vector<std::int32_t> a(pixels), b(pixels), smoothA(pixels), smoothB(pixels);
      const Plane<const std::uint8_t> in = packedPlane(input.data(), width, height);
      const Plane<const std::uint8_t> of = packedPlane(guide.data(), width, height);
      const Band all = {0, height};
      ASSERT_EQ(fitFinely(nullptr, all, in, of, kEps, a.data(), b.data()), Result::kOk);
      ASSERT_EQ(smoothFinely(nullptr, all, packedPlane(a.data(), width, height),
                             packedPlane(b.data(), width, height), smoothA.data(), smoothB.data()),
                Result::kOk);
      std::vector<double> slope(pixels), offset(pixels);
      forEachPixel(width, height, [&](int x, int y) {
        const auto mean = [&](auto of2) {
          return windowMean(width, height, x, y, [&](int i, int j) {
            const auto at = static_cast<std::size_t>(j * width + i);
            return of2(double{1} * guide[at], double{1} * input[at]);
          });
        };
        const double i = mean([](double g, double) { return g; });
        const double p = mean([](double, double q) { return q; });
        const double variance = mean([](double g, double) { return g * g; }) - i * i;
        const auto at = static_cast<std::size_t>(y * width + x);
        slope[at] = (mean([](double g, double q) { return g * q; }) - i * p) / (variance + kEps);
        offset[at] = p - slope[at] * i;
      });
      constexpr double kRounding = 610; // of b; see fine_fit.cpp
      forEachPixel(width, height, [&](int x, int y) {
        const auto at = static_cast<std::size_t>(y * width + x);
        const auto in2 = [&](const std::vector<double>& map) {
          return windowMean(width, height, x, y, [&](int i, int j) {
            return map[static_cast<std::size_t>(j * width + i)];
          });
        };
        EXPECT_NEAR(smoothA[at], 1024 * in2(slope), 1.01);
        // Where the guide is 0: what the slope lost comes back at its mean.
        EXPECT_NEAR(smoothB[at] - kRounding, 1024 * in2(offset), 0.51 * 255 + 4);
      });
    }
  }
}

TEST(ChromaRule, EqualsItsFormula) {
  Random random(5);
  for (const ChromaRule rule : {ChromaRule{0, 100}, {0, 50}, {16, 100}, {16, 33}, {0, 0}, {0, 1}}) {
    for (const int pairs : {1, 31, 32, 500, 515}) {
      const auto samples = static_cast<std::size_t>(2 * pairs);
      for (const int darkest : {0, 15}) {
        const auto before = random.values<std::uint8_t>(samples, darkest, 255);
        const auto after = random.values<std::uint8_t>(samples);
        const auto chroma = random.values<std::uint8_t>(samples);
        std::vector<std::uint8_t> out(samples);
        scaleChromaRow(rule, before.data(), after.data(), chroma.data(), out.data(), pairs);
        for (std::size_t i = 0; i < samples; ++i) {
          const std::size_t k = i / 2 * 2;
          const int low = std::max(before[k] + before[k + 1] - 2 * rule.black, 0);
          const int high = std::max(after[k] + after[k + 1] - 2 * rule.black, 0);
          const std::int64_t change = low == 0 ? 0 : high * 1024 / low - 1024;
          const std::int64_t part = (change * ((32768 * rule.percent + 50) / 100)) >> 15;
          const int d = chroma[i] - 128;
          const std::int64_t moved = (part * d) >> 10;
          const std::int64_t expected = chroma[i] + ((std::min(std::abs(d), 8) * moved) >> 3);
          ASSERT_EQ(out[i], std::clamp<std::int64_t>(expected, 0, 255))
              << low << ' ' << high << ' ' << int{chroma[i]} << ' ' << rule.percent;
        }
      }
    }
  }
}

// The same picture with any threads, any pitches, in place or not.
TEST(NaturalStream, IsTheSamePictureForAnyThreadsPitchAndPlace) {
  Random random(11);
  const auto kinds = everyKindOfThreads(TLUX_TONES_NATURAL);
  for (const auto& [width, height] : {std::pair{322, 246}, {16, 2}, {50, 1030}, {1030, 50}}) {
    for (const std::uint32_t range : {TLUX_RANGE_FULL, TLUX_RANGE_LIMITED}) {
      const FrameShape packed{width, height};
      const FrameShape padded{width, height, width + 13, width + 64};
      const std::uint32_t seed = random.bits();
      Frame source(packed, Scene::kWindow, seed);
      Bytes luma, chroma;
      for (TLUX_STREAM_OPTIONS options : kinds) {
        options.range = range;
        ScopedStream stream(options);
        Frame output(padded);
        ASSERT_EQ(stream.run(source, output, 60), TLUX_OK);
        TLUX_ResetStream(stream.get());
        Frame inPlace(padded, Scene::kWindow, seed);
        ASSERT_EQ(stream.run(inPlace, inPlace, 60), TLUX_OK);
        if (luma.empty()) luma = output.samples(0), chroma = output.samples(1);
        EXPECT_EQ(output.samples(0), luma);
        EXPECT_EQ(output.samples(1), chroma);
        EXPECT_EQ(inPlace.samples(0), luma);
        EXPECT_EQ(inPlace.samples(1), chroma);
        EXPECT_TRUE(output.isIntact() && inPlace.isIntact());
      }
    }
  }
}

// Two streams at once, each with its own threads.
TEST(NaturalStream, RunsBesideAnother) {
  const FrameShape shape{320, 180};
  Frame expected(shape);
  Frame source(shape, Scene::kWindow);
  ScopedStream alone(TLUX_TONES_NATURAL);
  ASSERT_EQ(alone.run(source, expected, 50), TLUX_OK);
  const auto work = [&] {
    TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_NATURAL);
    options.threads = 3;
    ScopedStream stream(options);
    for (int i = 0; i < 10; ++i) {
      Frame output(shape);
      EXPECT_EQ(stream.run(source, output, 50), TLUX_OK);
      EXPECT_TRUE(output == expected);
    }
  };
  std::thread other(work);
  work();
  other.join();
}

// A smooth bright area stays smooth: no arcs, no specks.
TEST(NaturalStream, KeepsSmoothAreasSmooth) {
  const FrameShape shape{640, 320};
  Frame source(shape);
  forEachPixel(shape.width, shape.height, [&](int x, int y) { // a faint ramp with a code of noise
    source.row(0, y)[x] = static_cast<std::uint8_t>(215 + x / 160 + (x * 7 + y * 13) % 3 / 2);
  });
  for (int y = 0; y < shape.height / 2; ++y)
    std::fill_n(source.row(1, y), shape.width, std::uint8_t{128});
  Frame output(shape);
  ScopedStream stream(TLUX_TONES_NATURAL);
  ASSERT_EQ(stream.run(source, output, 50), TLUX_OK);
  for (int top = 0; top + 64 <= 256; top += 64) { // above the mark
    for (int left = 0; left + 64 <= shape.width; left += 64) {
      int low = 255, high = 0;
      forEachPixel(64, 64, [&](int x, int y) {
        low = std::min<int>(low, output.row(0, top + y)[left + x]);
        high = std::max<int>(high, output.row(0, top + y)[left + x]);
      });
      EXPECT_LE(high - low, 3) << left << ',' << top;
    }
  }
}

TEST(NaturalStream, PinsItsBytes) {
  struct Pinned {
    FrameShape shape;
    std::uint32_t range;
    std::uint64_t hash;
  };
  for (const Pinned& pinned : {Pinned{{640, 480}, TLUX_RANGE_FULL, 0x8801E84846F9A164},
                               {{1280, 720}, TLUX_RANGE_FULL, 0x2021B02967F626A4},
                               {{322, 246}, TLUX_RANGE_LIMITED, 0x94FE39937988419B}}) {
    TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_NATURAL);
    options.range = pinned.range;
    ScopedStream stream(options);
    Frame first(pinned.shape, Scene::kWindow);
    Frame second(pinned.shape, Scene::kGradient);
    Frame output(pinned.shape);
    ASSERT_EQ(stream.run(first, output, 30), TLUX_OK);
    ASSERT_EQ(stream.run(second, output, 30), TLUX_OK);
    EXPECT_EQ(output.hash(pinned.shape.height * 9 / 10), pinned.hash)
        << std::hex << output.hash(pinned.shape.height * 9 / 10);
  }
}

} // namespace
} // namespace tlux::test
