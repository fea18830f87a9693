#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "score/contents.hpp"
#include "score/smooth_double_blend.hpp"
#include "support/guarded_buffer.hpp"
#include "tlux/statistics.h"

namespace tlux::test {
namespace {

using namespace detail;

using reference::LogPlane;
using Samples = std::vector<std::int16_t>;

constexpr std::int16_t kUntouched = 0x5555;

// Scratch that ends at an inaccessible page.
class ScratchRows {
 public:
  explicit ScratchRows(std::size_t samples) : memory_(samples * sizeof(std::int16_t), 0x5A) {}
  std::int16_t* data() { return reinterpret_cast<std::int16_t*>(memory_.data()); }
  bool isIntact() const { return memory_.isIntact(); }

 private:
  GuardedBuffer memory_;
};

TEST(SmoothDoubleBlend, MatchesTheFormulaForAnyPairOfSizes) {
  const struct {
    int small[2];
    int large[2];
  } sizes[] = {{{1, 1}, {1, 1}},    {{1, 1}, {2, 2}},     {{1, 1}, {9, 7}},   {{2, 1}, {3, 2}},
               {{3, 3}, {6, 5}},    {{5, 2}, {9, 4}},     {{8, 9}, {16, 18}}, {{17, 6}, {33, 12}},
               {{40, 5}, {79, 9}},  {{130, 4}, {260, 8}}, {{9, 4}, {30, 20}}, {{9, 9}, {5, 3}},
               {{70, 3}, {139, 6}}, {{129, 3}, {257, 5}}};
  const std::pair<double, double> weights[] = {
      {0.1, 0.9}, {1, 0}, {0.415, -3.7}, {2e6, -1e5}, {1e300, std::nan("")}};
  for (const auto& [small, large] : sizes) {
    for (const auto& [enlargedWeight, largeWeight] : weights) {
      SCOPED_TRACE(testing::Message() << small[0] << "x" << small[1] << " to " << large[0] << "x"
                                      << large[1] << " " << enlargedWeight);
      const LogPlane s = makePlane(Content::kExtremes, small[0], small[1], -32768, 32767);
      const LogPlane l = makePlane(Content::kNoise, large[0], large[1], -32768, 32767);
      const LogPlane expected = reference::smoothDoubleBlend(s, l, enlargedWeight, largeWeight);
      ScratchRows scratch(6 * (static_cast<std::size_t>(small[0]) + 4));
      LogPlane apart(large[0], large[1]);
      AME_SmoothDoubleBlend(s.samples.data(), small[0], small[1], l.samples.data(),
                            apart.samples.data(), large[0], large[1], scratch.data(),
                            enlargedWeight, largeWeight);
      EXPECT_EQ(apart.samples, expected.samples);
      LogPlane inPlace = l;
      AME_SmoothDoubleBlend(s.samples.data(), small[0], small[1], inPlace.samples.data(),
                            inPlace.samples.data(), large[0], large[1], scratch.data(),
                            enlargedWeight, largeWeight);
      EXPECT_EQ(inPlace.samples, expected.samples);
      // In bands, none of which finds in the scratch what another left.
      LogPlane inBands(large[0], large[1]);
      for (int first = 0; first < large[1]; first += 3) {
        std::fill_n(scratch.data(), smoothDoubleScratch(small[0]), kUntouched);
        smoothDoubleBlend(packedPlane(s.samples.data(), small[0], small[1]),
                          packedPlane(l.samples.data(), large[0], large[1]),
                          packedPlane(inBands.samples.data(), large[0], large[1]),
                          {first, std::min(first + 3, large[1])}, scratch.data(), enlargedWeight,
                          largeWeight);
      }
      EXPECT_EQ(inBands.samples, expected.samples);
      EXPECT_TRUE(scratch.isIntact());
    }
  }
}

struct Filtered {
  LogPlane output;
  std::array<std::uint32_t, 3> statistics{1, 2, 3};
};

Filtered filter(const LogPlane& source, int scratchSamples, MMemMgr manager = nullptr) {
  Filtered result{LogPlane(source.width, source.height)};
  std::fill(result.output.samples.begin(), result.output.samples.end(), kUntouched);
  ScratchRows scratch(static_cast<std::size_t>(scratchSamples));
  AME_PyramidFilter(manager, result.statistics.data(), source.samples.data(), source.width,
                    source.height, result.output.samples.data(), source.width, source.height,
                    scratch.data(), scratchSamples);
  EXPECT_TRUE(scratch.isIntact());
  return result;
}

void expectStatistics(const Filtered& actual, const reference::Statistics& expected) {
  EXPECT_EQ(static_cast<std::int32_t>(actual.statistics[0]), expected.mean);
  EXPECT_EQ(static_cast<std::int32_t>(actual.statistics[1]), expected.minimum);
  EXPECT_EQ(static_cast<std::int32_t>(actual.statistics[2]), expected.maximum);
}

TEST(PyramidFilter, MatchesTheFormula) {
  const std::pair<int, int> sizes[] = {{2, 2},   {3, 2},     {2, 3},    {5, 3},    {16, 16},
                                       {31, 2},  {2, 57},    {64, 32},  {45, 45},  {61, 47},
                                       {97, 33}, {250, 190}, {401, 40}, {402, 21}, {812, 30}};
  for (const auto& [width, height] : sizes) {
    for (const Content content : kContents) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << int(content));
      for (const auto& [low, high] :
           {std::pair{-5000, 4000}, {3480, 8520}, {0, 32767}, {-32768, 32767}, {-2, 2}}) {
        const LogPlane source = makePlane(content, width, height, low, high);
        reference::Statistics statistics;
        const int scratch = std::max(width * height, 1024);
        const auto expected = reference::pyramidBase(source, scratch, &statistics);
        ASSERT_TRUE(expected);
        const Filtered actual = filter(source, scratch);
        EXPECT_EQ(actual.output.samples, expected->samples);
        expectStatistics(actual, statistics);
      }
    }
  }
}

TEST(PyramidFilter, WorksInPlaceAndWithoutStatistics) {
  LogPlane plane = makePlane(Content::kNoise, 75, 50, 0, 30000);
  const auto expected = reference::pyramidBase(plane, 4000);
  Samples scratch(4000);
  AME_PyramidFilter(nullptr, nullptr, plane.samples.data(), 75, 50, plane.samples.data(), 75, 50,
                    scratch.data(), 4000);
  EXPECT_EQ(plane.samples, expected->samples);
}

// With any shortage the output and the statistics stay as they were; the least scratch that the
// formula asks for is enough.
TEST(PyramidFilter, NeedsTheScratchThatItStates) {
  for (const auto& [width, height] : {std::pair{13, 9}, {40, 3}, {3, 40}}) {
    const LogPlane source = makePlane(Content::kNoise, width, height, -500, 500);
    int shortages = 0;
    for (int samples = 0; samples < 400; ++samples) {
      const auto expected = reference::pyramidBase(source, samples);
      const Filtered actual = filter(source, samples);
      if (expected) {
        ASSERT_EQ(actual.output.samples, expected->samples) << samples;
      } else {
        ++shortages;
        ASSERT_EQ(actual.output.samples, Samples(source.samples.size(), kUntouched));
        ASSERT_EQ(actual.statistics, (std::array<std::uint32_t, 3>{1, 2, 3}));
      }
    }
    EXPECT_GT(shortages, 0);
    EXPECT_LT(shortages, 400);
  }
}

TEST(PyramidFilter, SkipsWhatHasNoLevelsOrPlanes) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 50}, {50, 1}}) {
    const Filtered actual = filter(makePlane(Content::kNoise, width, height, 1, 9), 100);
    EXPECT_EQ(actual.output.samples[0], kUntouched);
    expectStatistics(actual, {});
  }
}

} // namespace
} // namespace tlux::test
