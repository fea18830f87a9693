#include <gtest/gtest.h>

#include <array>
#include <numeric>

#include "chroma/chroma_row.hpp"
#include "chroma/chroma_rule.hpp"
#include "reference/chroma.hpp"
#include "support/frame.hpp"
#include "tlux/tone.h"

namespace tlux::test {
namespace {

using namespace detail;

// Luma pair with the given sum 0 … 510.
std::array<std::uint8_t, 2> pairOf(int sum) {
  return {static_cast<std::uint8_t>(sum / 2), static_cast<std::uint8_t>(sum - sum / 2)};
}

// All pairs of luma sums against all chroma values would be 67 million samples; the ratio takes
// every pair of sums, with the two chroma values that show its low bits best, and every chroma
// value meets a ratio of every size.
template <int kZone>
void expectTheFormulaForEveryRatio() {
  constexpr int kSums = 511;
  Bytes oldLuma(2 * kSums);
  Bytes newLuma(2 * kSums);
  Bytes chroma(2 * kSums);
  Bytes scaled(2 * kSums);
  for (int oldSum = 0; oldSum < kSums; ++oldSum) {
    for (int newSum = 0; newSum < kSums; ++newSum) {
      const auto before = pairOf(oldSum);
      const auto after = pairOf(newSum);
      const auto at = static_cast<std::size_t>(2 * newSum);
      for (std::size_t i = 0; i < 2; ++i) {
        oldLuma[at + i] = before[i];
        newLuma[at + i] = after[1 - i];
      }
      chroma[at] = static_cast<std::uint8_t>(oldSum + newSum);
      chroma[at + 1] = static_cast<std::uint8_t>(128 + (oldSum * 7 + newSum) % (2 * kZone) - kZone);
    }
    scaleChromaRow<kZone>(oldLuma.data(), newLuma.data(), chroma.data(), scaled.data(), kSums);
    for (std::size_t i = 0; i < scaled.size(); ++i) {
      const int ratio = reference::chromaRatio(oldSum, static_cast<int>(i / 2));
      ASSERT_EQ(scaled[i], reference::scaleChromaSample(chroma[i], ratio, kZone))
          << oldSum << " -> " << i / 2 << ", chroma " << int{chroma[i]};
    }
  }
}

// Every chroma value at every distinct ratio.
template <int kZone>
void expectTheFormulaForEveryChroma() {
  std::vector<bool> seen(510 * 1024 + 1);
  Bytes chroma(256);
  std::iota(chroma.begin(), chroma.end(), std::uint8_t{0});
  Bytes oldLuma(256);
  Bytes newLuma(256);
  Bytes scaled(256);
  for (int oldSum = 0; oldSum < 511; oldSum += 1 + oldSum / 16) {
    for (int newSum = 0; newSum < 511; ++newSum) {
      const int ratio = reference::chromaRatio(oldSum, newSum);
      if (seen[ratio]) continue;
      seen[ratio] = true;
      for (std::size_t i = 0; i < chroma.size(); ++i) {
        oldLuma[i] = pairOf(oldSum)[i % 2];
        newLuma[i] = pairOf(newSum)[i % 2];
      }
      scaleChromaRow<kZone>(oldLuma.data(), newLuma.data(), chroma.data(), scaled.data(), 128);
      for (std::size_t i = 0; i < scaled.size(); ++i) {
        ASSERT_EQ(scaled[i], reference::scaleChromaSample(chroma[i], ratio, kZone))
            << "ratio " << ratio << ", chroma " << i;
      }
    }
  }
}

TEST(ChromaRule, IsTheFormulaForEveryRatioAndEveryChroma) {
  expectTheFormulaForEveryRatio<kNeutralZone>();
  expectTheFormulaForEveryRatio<kWideNeutralZone>();
  expectTheFormulaForEveryChroma<kNeutralZone>();
  expectTheFormulaForEveryChroma<kWideNeutralZone>();
}

TEST(ChromaRule, WalksFramesOfAnyPitchWithinTheirPlanes) {
  Random random(7);
  for (int width = 1; width <= 19; ++width) {
    for (const int height : {1, 2, 3, 6, 9}) {
      const int rounded = (width + 3) / 4 * 4;
      const std::pair<int, int> pitches[] = {
          {rounded, rounded}, {width, width}, {rounded + 8, rounded + 8}, {rounded + 8, rounded}};
      for (const auto& [lumaIn, chromaIn] : pitches) {
        for (const auto& [lumaOut, chromaOut] : pitches) {
          Frame source({width, height, lumaIn, chromaIn}, random);
          Frame output({width, height, lumaOut, chromaOut}, random);
          Frame expected = output.copy();
          reference::scaleChroma(source.image(), expected.image());
          scaleChromaByLumaRatio(source.image(), output.image());
          ASSERT_TRUE(output == expected) << width << "x" << height << " pitch " << lumaIn << "/"
                                          << chromaIn << " to " << lumaOut << "/" << chromaOut;
        }
      }
    }
  }
}

// The exported walk is the bounded one wherever the frame is as the library creates it, and may
// work in place.
TEST(ChromaRule, ExportedFormIsTheBoundedOneForRoundedPitches) {
  Random random(11);
  for (const int width : {1, 4, 30, 260, 1030}) {
    const int pitch = (width + 3) / 4 * 4;
    Frame source({width, 6, pitch}, random);
    Frame output({width, 6, pitch}, random);
    scaleChromaByLumaRatio(source.image(), output.image());
    NV21NV12_Tone(source.row(0, 0), source.row(1, 0), output.row(0, 0), source.row(1, 0), 6, width,
                  pitch);
    EXPECT_EQ(source.bytes(1), output.bytes(1)) << width;
  }
}

// With a pitch above the rounded width, chroma rows lie a rounded width apart and luma rows a pitch
// and a rounded width.
TEST(ChromaRule, ExportedFormStepsByTheRoundedWidth) {
  constexpr int kWidth = 6;
  constexpr int kRounded = 8;
  constexpr int kPitch = 11;
  constexpr int kHeight = 5;
  Random random(3);
  GuardedBuffer oldLuma(kRounded + kPitch + kRounded);
  GuardedBuffer newLuma(oldLuma.size());
  GuardedBuffer chroma(2 * kRounded);
  GuardedBuffer scaled(2 * kRounded);
  for (GuardedBuffer* buffer : {&oldLuma, &newLuma, &chroma}) {
    random.fill(buffer->bytes());
  }
  NV21NV12_Tone(oldLuma.data(), chroma.data(), newLuma.data(), scaled.data(), kHeight, kWidth,
                kPitch);
  for (int i = 0; i < 2 * kRounded; ++i) {
    const int luma = i / kRounded * (kRounded + kPitch) + i % kRounded / 2 * 2;
    const int ratio = reference::chromaRatio(oldLuma.data()[luma] + oldLuma.data()[luma + 1],
                                             newLuma.data()[luma] + newLuma.data()[luma + 1]);
    EXPECT_EQ(scaled.data()[i], reference::scaleChromaSample(chroma.data()[i], ratio)) << i;
  }
}

} // namespace
} // namespace tlux::test
