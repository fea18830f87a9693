#include "gain/line_tone.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "reference/gain_lines.hpp"
#include "support/random.hpp"
#include "support/widths.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

using namespace detail;

using Bytes = std::vector<std::uint8_t>;

void toneLine(int row, Bytes& luma, Bytes& chroma, int width,
              const std::vector<std::uint16_t>& gains) {
  AME_NV21NV12_LineTone(row, luma.data(), chroma.data(), width, gains.data(), TLUX_Degamma_Table,
                        TLUX_Gamma_Table8);
}

// Every code with every gain, in rows of 256 codes.
TEST(LineTone, LumaMatchesTheFormulaForEveryCodeAndGain) {
  Bytes luma(256);
  Bytes chroma(256);
  for (int gain = 0; gain < 65536; gain += gain < 5000 ? 1 : 61) {
    const std::vector<std::uint16_t> gains(256, static_cast<std::uint16_t>(gain));
    std::iota(luma.begin(), luma.end(), std::uint8_t{0});
    toneLine(1, luma, chroma, 256, gains);
    for (int code = 0; code < 256; ++code) {
      ASSERT_EQ(luma[code], reference::mapLuma(code, gain)) << gain;
    }
  }
}

TEST(LineTone, LumaRatioIsTheTruncatedQuotient) {
  for (int oldSum = 0; oldSum <= 510; ++oldSum) {
    for (int newSum = 0; newSum <= 510; ++newSum) {
      ASSERT_EQ(lumaRatio(newSum, oldSum), oldSum == 0 ? 1024 : newSum * 1024 / oldSum);
    }
  }
}

// Tables of the test's own turn any luma into any other: each code has linear light 4, which a gain
// of 256·n makes n.
TEST(LineTone, ChromaMatchesTheFormulaForEveryCode) {
  const std::vector<std::uint16_t> degamma(256, 4);
  Bytes gamma(4096);
  std::iota(gamma.begin(), gamma.end(), std::uint8_t{0});
  const int width = 512;
  Bytes chroma(width);
  Bytes luma(width);
  std::vector<std::uint16_t> gains(width);
  for (int oldSum = 0; oldSum <= 510; ++oldSum) {
    for (int newSum = 8; newSum <= 510; newSum += 7 + oldSum % 5) {
      for (int k = 0; k < width / 2; ++k) {
        luma[2 * k] = static_cast<std::uint8_t>(oldSum / 2);
        luma[2 * k + 1] = static_cast<std::uint8_t>(oldSum - oldSum / 2);
        gains[2 * k] = static_cast<std::uint16_t>(256 * (newSum / 2));
        gains[2 * k + 1] = static_cast<std::uint16_t>(256 * (newSum - newSum / 2));
        chroma[2 * k] = static_cast<std::uint8_t>(k);
        chroma[2 * k + 1] = static_cast<std::uint8_t>(255 - k);
      }
      AME_NV21NV12_LineTone(0, luma.data(), chroma.data(), width, gains.data(), degamma.data(),
                            gamma.data());
      ASSERT_EQ(luma[0] + luma[1], newSum);
      for (int k = 0; k < width / 2; ++k) {
        ASSERT_EQ(chroma[2 * k], reference::tonedChroma(k, oldSum, newSum));
        ASSERT_EQ(chroma[2 * k + 1], reference::tonedChroma(255 - k, oldSum, newSum));
      }
    }
  }
}

TEST(LineTone, WorksInGroupsOfFourAndLeavesOddRowsTheirChroma) {
  Random random(2);
  for (const int width : widthsAround({3, 128})) {
    for (const int row : {0, 1, 2, 7}) {
      Bytes luma = random.values<std::uint8_t>(width + 8);
      Bytes chroma = random.values<std::uint8_t>(width + 8);
      const auto gains = random.values<std::uint16_t>(width + 8, 0, 4096);
      Bytes expectedLuma = luma;
      Bytes expectedChroma = chroma;
      const int touched = (width + 3) / 4 * 4;
      for (int x = 0; x < touched; ++x) {
        expectedLuma[x] = reference::mapLuma(luma[x], gains[x]);
      }
      for (int x = 0; row % 2 == 0 && x < touched; ++x) {
        const int k = x / 2 * 2;
        expectedChroma[x] = reference::tonedChroma(chroma[x], luma[k] + luma[k + 1],
                                                   expectedLuma[k] + expectedLuma[k + 1]);
      }
      toneLine(row, luma, chroma, width, gains);
      EXPECT_EQ(luma, expectedLuma);
      EXPECT_EQ(chroma, expectedChroma);
    }
  }
}

} // namespace
} // namespace tlux::test
