#include <gtest/gtest.h>

#include <vector>

#include "score/contents.hpp"
#include "tlux/statistics.h"

namespace tlux::test {
namespace {

using reference::LogPlane;

// The wide planes make row sums wrap: their truncated means follow the wrapped sums.
TEST(Means, FollowTheRowMeansOfTheFormula) {
  const std::pair<int, int> sizes[] = {{1, 1}, {1, 9}, {9, 1}, {37, 5}, {200, 3}, {70001, 2}};
  for (const auto& [width, height] : sizes) {
    for (const Content content : kContents) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << int(content));
      for (const auto& [low, high] : {std::pair{-32768, 32767}, {-32768, -32000}, {3480, 9900}}) {
        const LogPlane plane = makePlane(content, width, height, low, high);
        const auto [min, max] = std::minmax_element(plane.samples.begin(), plane.samples.end());
        std::uint32_t minimum = 0;
        std::uint32_t maximum = 0;
        EXPECT_EQ(AME_ImageMean(plane.samples.data(), width, height, &minimum, &maximum),
                  reference::mean(plane));
        EXPECT_EQ(static_cast<std::int32_t>(minimum), *min);
        EXPECT_EQ(static_cast<std::int32_t>(maximum), *max);
        EXPECT_EQ(AME_ImageMeanNoMax(plane.samples.data(), width, height), reference::mean(plane));
      }
    }
  }
}

TEST(Means, OfAnEmptyPlaneAreZero) {
  const std::int16_t sample = 7;
  for (const auto& [data, width, height] : {std::tuple{&sample, 1, 0},
                                            {&sample, 0, 1},
                                            {&sample, 1, -1},
                                            {&sample, -1, 1},
                                            {static_cast<const std::int16_t*>(nullptr), 4, 4}}) {
    std::uint32_t minimum = 1;
    std::uint32_t maximum = 1;
    EXPECT_EQ(AME_ImageMean(data, width, height, &minimum, &maximum), 0);
    EXPECT_EQ(static_cast<std::int32_t>(minimum), 2000000000);
    EXPECT_EQ(static_cast<std::int32_t>(maximum), -2000000000);
    EXPECT_EQ(AME_ImageMean(data, width, height, nullptr, nullptr), 0);
    EXPECT_EQ(AME_ImageMeanNoMax(data, width, height), 0);
  }
}

TEST(Downscale, MatchesTheFormulaForOddAndEvenSizes) {
  for (const int width : {2, 3, 5, 16, 33, 131}) {
    for (const int height : {1, 2, 3, 8, 21}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height);
      const LogPlane source = makePlane(Content::kNoise, width, height, -32768, 32767);
      double average = 0;
      const LogPlane expected = reference::halved(source, average);
      LogPlane actual(expected.width, expected.height);
      double mean = 0;
      AME_Downscale2x2(source.samples.data(), width, height, actual.samples.data(), actual.width,
                       actual.height, &mean);
      EXPECT_EQ(actual.samples, expected.samples);
      EXPECT_EQ(mean, average);
    }
  }
}

// A destination wider than half the source gets one column from the last two of the source; what
// lies behind is left alone, and so is everything when the destination is too small.
TEST(Downscale, WritesNoMoreThanItCan) {
  using Samples = std::vector<std::int16_t>;
  const Samples source = {0, 10, 20, 30, 40, 50, 60, 70};
  Samples output(10, -1);
  double mean = 0;
  AME_Downscale2x2(source.data(), 4, 2, output.data(), 5, 2, &mean);
  EXPECT_EQ(Samples(output.begin(), output.begin() + 5), (Samples{25, 45, 50, -1, -1}));
  mean = -3;
  output.assign(10, -1);
  AME_Downscale2x2(source.data(), 4, 2, output.data(), 1, 2, &mean);
  AME_Downscale2x2(source.data(), 4, 2, output.data(), 2, 0, &mean);
  EXPECT_EQ(output, Samples(10, -1));
  EXPECT_EQ(mean, -3);
  AME_Downscale2x2(source.data(), 1, 2, output.data(), 1, 1, nullptr);
  EXPECT_EQ(output[0], 5);
  // Sums are signed, means rounded down.
  const std::int16_t rows[2][4] = {{-5, -6, 100, 101}, {-7, -9, 102, 104}};
  for (const auto& [count, sum] : {std::pair{2, 94}, {1, -7}, {0, 0}}) {
    std::uint32_t actual = 1;
    AME_Downscale2x2_lines(rows[0], rows[1], count, output.data(), &actual);
    EXPECT_EQ(static_cast<std::int32_t>(actual), sum);
    EXPECT_EQ(output[0], -7); // −6.75
  }
}

TEST(Conversions, ReplaceEverySampleAndReturnTheMean) {
  const auto table = Random(3).values<std::uint32_t>(16384);
  for (const auto& [width, height] : {std::pair{1, 1}, {31, 7}, {130, 2}}) {
    const LogPlane source = makePlane(Content::kNoise, width, height, 0, 16383);
    LogPlane expected = source;
    for (std::int16_t& v : expected.samples) {
      v = static_cast<std::int16_t>(table[static_cast<std::size_t>(v)]);
    }
    LogPlane inPlace = source;
    LogPlane apart(width, height);
    for (LogPlane* to : {&apart, &inPlace}) {
      const LogPlane& from = to == &apart ? source : inPlace;
      EXPECT_EQ(AME_LogTable_mageMean(from.samples.data(), to->samples.data(), table.data(), width,
                                      height),
                reference::mean(expected));
      EXPECT_EQ(to->samples, expected.samples);
    }

    const auto roots = Random(4).values<std::uint32_t>(32832);
    LogPlane energy = makePlane(Content::kNoise, width, height, -32768, 32767);
    energy.samples.back() = 32767;
    expected = energy;
    for (std::int16_t& v : expected.samples) {
      v = static_cast<std::int16_t>(roots[static_cast<std::size_t>(std::max<int>(v, 0)) + 64]);
    }
    // Little-endian: the low half of an entry comes first.
    EXPECT_EQ(
        AME_LogTable_mageMean2(energy.samples.data(),
                               reinterpret_cast<const std::uint16_t*>(roots.data()), width, height),
        reference::mean(expected));
    EXPECT_EQ(energy.samples, expected.samples);
  }
}

TEST(Conversions, ShiftWrapsIn16Bits) {
  for (const std::int32_t value : {0, 1, -1, 40000, -32768, 1 << 20, -2147483647 - 1}) {
    LogPlane plane = makePlane(Content::kExtremes, 37, 3, -32768, 32767);
    LogPlane expected = plane;
    for (std::int16_t& v : expected.samples) {
      v = reference::low16(std::int64_t{v} - value);
    }
    AME_Adjust_meanLogLum(plane.samples.data(), value, 37, 3);
    EXPECT_EQ(plane.samples, expected.samples);
  }
}

// Over the whole range of its inputs, products that leave 32 bits included, and in place.
TEST(Score, MatchesTheFormula) {
  auto reciprocals = Random(5).values<std::uint32_t>(65536);
  for (int d = 1; d < 6000; ++d) {
    reciprocals[static_cast<std::size_t>(d)] = 524288u / static_cast<unsigned>(d);
  }
  for (const std::int32_t contrast : {256, 1024, 5798, 0, -7, 2147483647}) {
    for (const int low : {-32768, 256}) {
      const int width = 301;
      const int height = 3;
      const LogPlane log = makePlane(Content::kNoise, width, height, -32768, 32767, 6);
      const LogPlane base = makePlane(Content::kNoise, width, height, -32768, 32767, 7);
      const LogPlane deviation = makePlane(Content::kNoise, width, height, low, 5798, 8);
      std::vector<std::uint16_t> expected(log.samples.size());
      for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto r = static_cast<std::int32_t>(
            reciprocals[static_cast<std::uint16_t>(deviation.samples[i])]);
        expected[i] = reference::score(log.samples[i], base.samples[i], r, contrast);
      }
      std::vector<std::uint16_t> actual(expected.size());
      AME_Generate_Score(log.samples.data(), base.samples.data(), actual.data(),
                         deviation.samples.data(), reciprocals.data(), width, height, contrast);
      EXPECT_EQ(actual, expected);
      LogPlane inPlace = log;
      auto* output = reinterpret_cast<std::uint16_t*>(inPlace.samples.data());
      AME_Generate_Score(inPlace.samples.data(), base.samples.data(), output,
                         deviation.samples.data(), reciprocals.data(), width, height, contrast);
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), output));
    }
  }
}

} // namespace
} // namespace tlux::test
