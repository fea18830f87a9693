#include <gtest/gtest.h>

#include <numeric>

#include "reference/gain_lines.hpp"
#include "support/frame.hpp"
#include "support/null_arguments.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

using Gains = std::vector<std::uint16_t>;

const struct Member {
  decltype(&TLUX_AME_TonemapExposure_Line8) call;
  int step;
  int slack;
} kMembers[] = {{TLUX_AME_TonemapExposure_Line8, 8, 8}, {AME_TonemapExposure_Line, 4, 0}};

// Gains g at brightness 2048 turn into unity at 4096, along a line that is exact in Q11.
TEST(GainLine, RollsOffInHighlights) {
  Gains mapping(65536);
  std::iota(mapping.begin(), mapping.end(), std::uint16_t{0});
  const int stride = 3;
  for (const int shift : {0, 2, 4, 31}) {
    for (const std::uint16_t g : {0, 300, 1024, 4000, 65535}) {
      for (const std::uint32_t bright : {0, 2047, 2048, 2049, 3000, 4095, 4096, 16380, 65535}) {
        const Gains gains(2, g);
        const Gains brightness = {static_cast<std::uint16_t>(bright), 0, 0,
                                  static_cast<std::uint16_t>(bright)};
        Gains lines(3 * 8);
        AME_TonemapExposure_Line(0, 0, 8, lines.data(), brightness.data(), gains.data(),
                                 mapping.data(), shift, stride);
        const std::uint32_t t = bright >> shift;
        const std::uint32_t rolled = ((t << 10) - 2097152u + g * (4096u - t)) >> 11;
        const auto expected = t > 2048 ? static_cast<std::uint16_t>(rolled) : g;
        EXPECT_EQ(Gains(lines.begin(), lines.begin() + 8), Gains(8, expected)) << shift << " " << g;
        EXPECT_TRUE(t != 4096 || expected == 1024);
      }
    }
  }
}

TEST(GainLine, TakesNullAndEmptyRows) {
  Gains table(65536, 1);
  Gains lines(64, 9);
  for (const auto& member : kMembers) {
    const auto expectNothing = [&](auto... arguments) {
      EXPECT_EQ(member.call(arguments...), nullptr);
    };
    callWithEachNull(expectNothing, 0, 0, 4, lines.data(), nullptr, table.data(), table.data(), 0,
                     0);
    expectNothing(0, 0, 0, lines.data(), nullptr, table.data(), table.data(), 0, 0);
    EXPECT_EQ(lines, Gains(64, 9));
  }
}

TEST(SingleThreadMapping, AnswersForWhatIsMissing) {
  Gains table(65536, 1024);
  Gains lines(3 * 16);
  Frame frame({8, 8});
  const TLUX_MAPPING_STATE good = {
      table.data(), TLUX_Degamma_Table, TLUX_Gamma_Table8, lines.data(), table.data(), 1, 1};
  const auto run = [&](const TLUX_MAPPING_STATE& state, int first = 0, int end = 8) {
    const TLUX_MAPPING_CONTEXT context = {first, end, frame.get(), &state};
    return SingleThreadMapping(&context);
  };
  EXPECT_EQ(run(good), TLUX_OK);
  EXPECT_EQ(run(good, 8, 8), TLUX_OK);
  EXPECT_EQ(run(good, 3, 2), TLUX_OK);
  EXPECT_EQ(run(good, -8, 8), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(SingleThreadMapping(nullptr), TLUX_ERR_INVALID_PARAM);
  TLUX_MAPPING_STATE bad = good;
  bad.lineBuffer = nullptr;
  EXPECT_EQ(run(bad), TLUX_ERR_NO_MEMORY);
  EXPECT_EQ(run(bad, 8, 8), TLUX_ERR_NO_MEMORY);
  for (const auto& spoil : {+[](TLUX_MAPPING_STATE& s) { s.gains = nullptr; },
                            +[](TLUX_MAPPING_STATE& s) { s.degamma = nullptr; },
                            +[](TLUX_MAPPING_STATE& s) { s.gamma = nullptr; },
                            +[](TLUX_MAPPING_STATE& s) { s.mapping = nullptr; },
                            +[](TLUX_MAPPING_STATE& s) { s.gainWidth = 0; },
                            +[](TLUX_MAPPING_STATE& s) { s.gainHeight = -1; }}) {
    bad = good;
    spoil(bad);
    EXPECT_EQ(run(bad), TLUX_ERR_INVALID_PARAM);
  }
  frame->plane[1] = nullptr;
  EXPECT_EQ(run(good), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test
