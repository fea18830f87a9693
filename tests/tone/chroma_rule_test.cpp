#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "reference/chroma.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/tone.h"
#include "tone/chroma_rule.hpp"

namespace tlux::test {
namespace {

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
  std::vector<std::uint8_t> oldLuma(2 * kSums);
  std::vector<std::uint8_t> newLuma(2 * kSums);
  std::vector<std::uint8_t> chroma(2 * kSums);
  std::vector<std::uint8_t> scaled(2 * kSums);
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

TEST(ChromaRule, IsTheFormulaForEveryRatio) {
  expectTheFormulaForEveryRatio<kNeutralZone>();
  expectTheFormulaForEveryRatio<kWideNeutralZone>();
}

// Every chroma value at every distinct ratio.
template <int kZone>
void expectTheFormulaForEveryChroma() {
  std::vector<bool> seen(510 * 1024 + 1);
  std::vector<std::uint8_t> chroma(256);
  for (std::size_t i = 0; i < chroma.size(); ++i) {
    chroma[i] = static_cast<std::uint8_t>(i);
  }
  std::vector<std::uint8_t> oldLuma(256);
  std::vector<std::uint8_t> newLuma(256);
  std::vector<std::uint8_t> scaled(256);
  for (int oldSum = 0; oldSum < 511; oldSum += 1 + oldSum / 16) {
    for (int newSum = 0; newSum < 511; ++newSum) {
      const int ratio = reference::chromaRatio(oldSum, newSum);
      if (seen[static_cast<std::size_t>(ratio)]) continue;
      seen[static_cast<std::size_t>(ratio)] = true;
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

TEST(ChromaRule, IsTheFormulaForEveryChroma) {
  expectTheFormulaForEveryChroma<kNeutralZone>();
  expectTheFormulaForEveryChroma<kWideNeutralZone>();
}

// A semi-planar frame whose planes end at protected pages.
struct GuardedFrame {
  GuardedFrame(int width, int height, int lumaPitch, int chromaPitch, Random& random)
      : luma(static_cast<std::size_t>(lumaPitch) * static_cast<std::size_t>(height)),
        chroma(static_cast<std::size_t>(chromaPitch) * static_cast<std::size_t>(height / 2)),
        image{TLUX_FMT_YCBCR420_YPVU,
              width,
              height,
              {luma.data(), chroma.data()},
              {lumaPitch, chromaPitch}} {
    random.fill(luma.bytes());
    random.fill(chroma.bytes());
  }

  GuardedBuffer luma;
  GuardedBuffer chroma;
  TLUX_IMAGE image;
};

TEST(ChromaRule, WalksFramesOfAnyPitchWithinTheirPlanes) {
  struct Pitches {
    int luma;
    int chroma;
  };
  Random random(7);
  for (int width = 1; width <= 19; ++width) {
    for (const int height : {1, 2, 3, 6, 9}) {
      const int rounded = (width + 3) / 4 * 4;
      const Pitches all[] = {
          {rounded, rounded}, {width, width}, {rounded + 8, rounded + 8}, {rounded + 8, rounded}};
      for (const Pitches in : all) {
        for (const Pitches out : all) {
          SCOPED_TRACE(testing::Message() << width << "x" << height << " pitch " << in.luma << "/"
                                          << in.chroma << " to " << out.luma << "/" << out.chroma);
          GuardedFrame source(width, height, in.luma, in.chroma, random);
          GuardedFrame output(width, height, out.luma, out.chroma, random);
          std::vector<std::uint8_t> expected(output.chroma.bytes().begin(),
                                             output.chroma.bytes().end());
          TLUX_IMAGE model = output.image;
          model.plane[1] = expected.data();
          reference::scaleChroma(source.image, model);
          scaleChromaByLumaRatio(source.image, output.image);
          ASSERT_TRUE(std::equal(expected.begin(), expected.end(), output.chroma.data()));
          EXPECT_TRUE(output.chroma.isIntact());
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
    GuardedFrame source(width, 6, pitch, pitch, random);
    GuardedFrame output(width, 6, pitch, pitch, random);
    scaleChromaByLumaRatio(source.image, output.image);
    NV21NV12_Tone(source.luma.data(), source.chroma.data(), output.luma.data(),
                  source.chroma.data(), 6, width, pitch);
    EXPECT_TRUE(std::equal(source.chroma.bytes().begin(), source.chroma.bytes().end(),
                           output.chroma.bytes().begin()))
        << width;
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

TEST(ChromaRule, EmptyAndNullFramesAreLeftAlone) {
  std::uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto before = std::to_array(bytes);
  NV21NV12_Tone(bytes, bytes, bytes, bytes, 1, 4, 4);
  NV21NV12_Tone(bytes, bytes, bytes, bytes, -2, 4, 4);
  NV21NV12_Tone(bytes, bytes, bytes, bytes, 2, 0, 4);
  NV21NV12_Tone(bytes, bytes, nullptr, bytes, 2, 4, 4);
  EXPECT_EQ(std::to_array(bytes), before);
}

} // namespace
} // namespace tlux::test
