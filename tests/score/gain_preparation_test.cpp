#include <gtest/gtest.h>

#include <vector>

#include "reference/retinex.hpp"
#include "support/fault_injection.hpp"
#include "support/frame.hpp"
#include "tlux/platform.h"
#include "tlux/retinex.h"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

using Samples = std::vector<std::int16_t>;
using Scores = std::vector<std::uint16_t>;

constexpr int kWidth = 61;
constexpr int kHeight = 40;
constexpr int kPitch = 67;

struct Context {
  Context() { Random(1).fill(frame.plane(0).bytes()); }
  // The first rows of `pitch` bytes through a function.
  template <class ToLinear>
  Samples linear(int pitch, ToLinear&& toLinear) {
    return mapPixels(kWidth, kHeight, [&](int x, int y) {
      return static_cast<std::int16_t>(toLinear(frame.row(0, 0)[y * pitch + x]));
    });
  }

  Frame frame{{kWidth, kHeight, kPitch, 0, TLUX_FMT_GRAY}};
  TLUX_TONEMAP_CONTEXT context{frame.get(), kWidth, kHeight, TLUX_Degamma_Table, nullptr, nullptr};
};

TEST(GenerateTonemapping, ScoresPackedRowsIn10Bits) {
  Context frame;
  const Samples linear =
      frame.linear(kWidth, [](int code) { return (TLUX_Degamma_Table[code] + 2) >> 2; });
  Samples expectedLog;
  const Scores expected = reference::retinexScore(linear, kWidth, kHeight, &expectedLog);
  ASSERT_EQ(GenerateTonemapping(nullptr, &frame.context), TLUX_OK);
  EXPECT_EQ(Scores(frame.context.gains, frame.context.gains + expected.size()), expected);
  EXPECT_EQ(Samples(frame.context.logLuma, frame.context.logLuma + expected.size()), expectedLog);
  MMemFree(nullptr, frame.context.gains);
  MMemFree(nullptr, frame.context.logLuma);
}

TEST(GenerateTonemappingBayer, ScoresTheMosaicTimes16) {
  Context frame;
  const Samples linear = frame.linear(kPitch, [](int sample) { return sample * 16; });
  const Scores expected = reference::retinexScore(linear, kWidth, kHeight);
  // Without memory for the score itself, every score is 0.
  int attempt = 0;
  sweepFaults(failAllocation, [&] {
    const bool planeFails = ++attempt <= 2;
    EXPECT_EQ(TLUX_GenerateTonemappingBayer(nullptr, &frame.context),
              planeFails ? TLUX_ERR_NO_MEMORY : TLUX_OK);
    if (planeFails) return;
    EXPECT_EQ(Scores(frame.context.gains, frame.context.gains + expected.size()),
              faultFired() ? Scores(expected.size(), 0) : expected);
    MMemFree(nullptr, std::exchange(frame.context.gains, nullptr));
  });
  EXPECT_GT(attempt, 3);
  EXPECT_EQ(frame.context.logLuma, nullptr);
}

TEST(GainPreparation, RefusesWhatPassesTheImage) {
  for (const auto call : {GenerateTonemapping, TLUX_GenerateTonemappingBayer}) {
    const long live = liveAllocations();
    for (const auto& spoil :
         {+[](Context& f) { f.context.source = nullptr; },
          +[](Context& f) { f.frame->plane[0] = nullptr; },
          +[](Context& f) { f.context.width = 0; }, +[](Context& f) { f.context.height = -1; },
          +[](Context& f) { f.context.width = 68; }, +[](Context& f) { f.frame->height = 20; }}) {
      Context frame;
      spoil(frame);
      EXPECT_EQ(call(nullptr, &frame.context), TLUX_ERR_INVALID_PARAM);
      EXPECT_EQ(frame.context.gains, nullptr);
    }
    EXPECT_EQ(call(nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(liveAllocations(), live);
  }
  Context frame;
  frame.context.codeToLinear = nullptr;
  EXPECT_EQ(GenerateTonemapping(nullptr, &frame.context), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test
