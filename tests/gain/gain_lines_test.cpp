#include <gtest/gtest.h>

#include <numeric>

#include "reference/gain_lines.hpp"
#include "support/frame.hpp"
#include "support/null_arguments.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

using Gains = std::vector<std::uint16_t>;

Gains randomMapping(std::uint32_t seed) {
  return Random(seed).values<std::uint16_t>(65536);
}

const struct Member {
  decltype(&TLUX_AME_TonemapExposure_Line8) call;
  int step;
  int slack;
} kMembers[] = {{TLUX_AME_TonemapExposure_Line8, 8, 8}, {AME_TonemapExposure_Line, 4, 0}};

// Every row of a band, coarse rows chosen as the mapping of a frame does.
TEST(GainLine, InterpolatesBetweenCoarseGains) {
  const Gains mapping = randomMapping(1);
  for (const auto& [call, step, slack] : kMembers) {
    for (const int width : {1, 3, 4, 7, 8, 15, 16, 17, 100, 129}) {
      SCOPED_TRACE(testing::Message() << step << " " << width);
      const int columns = std::max(width / step, 1);
      const int rows = 4;
      GuardedBuffer coarse(static_cast<std::size_t>(columns * rows) * 2);
      auto* gains = reinterpret_cast<std::uint16_t*>(coarse.data());
      Random(2).fill(coarse.bytes());
      GuardedBuffer memory(static_cast<std::size_t>(3 * (width + slack)) * 2, 0x77);
      auto* lines = reinterpret_cast<std::uint16_t*>(memory.data());
      for (int y = 0; y < rows * step; ++y) {
        const int row = std::min(y / step + (y % step == 0 ? 0 : 1), rows - 1);
        // The row is not read when the next line only moves up.
        const auto* given = y > 0 && y % step != 1 ? mapping.data() : gains + row * columns;
        EXPECT_EQ(call(5, y, width, lines, nullptr, given, mapping.data(), 2, 16), lines);
        for (int x = 0; x < width + slack; ++x) {
          const int expected = reference::gainAt(x, y, step, columns, rows, [&](int k, int r) {
            return mapping[gains[r * columns + k]];
          });
          ASSERT_EQ(lines[x], expected) << x << "," << y;
        }
      }
      EXPECT_TRUE(memory.isIntact());
    }
  }
}

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

struct MappedFrame {
  int width;
  int height;
  int lumaPitch;
  int chromaPitch;
  int gainWidth;
  int gainHeight;
};

// Whole frames in one and in several bands, compared pixel by pixel; columns past the frame within
// the rounded width follow the same rule, everything else stays.
TEST(SingleThreadMapping, MapsEveryPixelByItsInterpolatedGain) {
  const Gains mapping = randomMapping(4);
  for (const MappedFrame& f : {MappedFrame{32, 24, 32, 32, 4, 3},
                               {50, 34, 64, 52, 7, 5},
                               {9, 9, 9, 8, 2, 1},
                               {6, 17, 6, 6, 1, 2},
                               {130, 8, 130, 130, 3, 4}}) {
    for (const int band : {8, 64}) {
      SCOPED_TRACE(testing::Message() << f.width << "x" << f.height << " " << band);
      GuardedBuffer coarse(f.gainWidth * f.gainHeight * 2);
      Random random(5);
      random.fill(coarse.bytes());
      const auto* gains = reinterpret_cast<const std::uint16_t*>(coarse.data());
      Frame before({f.width, f.height, f.lumaPitch, f.chromaPitch}, random);
      Frame after = before.copy();
      Frame expected = before.copy();
      GuardedBuffer lines(3 * (f.width + 8) * 2);
      const TLUX_MAPPING_STATE state = {gains,
                                        TLUX_Degamma_Table,
                                        TLUX_Gamma_Table8,
                                        reinterpret_cast<std::uint16_t*>(lines.data()),
                                        mapping.data(),
                                        f.gainWidth,
                                        f.gainHeight};
      for (int first = 0; first < f.height; first += band) {
        const TLUX_MAPPING_CONTEXT context = {first, first + band, after.get(), &state};
        ASSERT_EQ(SingleThreadMapping(&context), TLUX_OK);
      }

      const int columns = std::min(std::max(f.width / 8, 1), f.gainWidth);
      const int touched = std::min((f.width + 3) / 4 * 4, f.lumaPitch);
      forEachPixel(touched, f.height, [&](int x, int y) {
        const int gain = reference::gainAt(x, y, 8, columns, f.gainHeight, [&](int k, int r) {
          return mapping[gains[r * f.gainWidth + k]];
        });
        expected.row(0, y)[x] = reference::mapLuma(before.row(0, y)[x], gain);
      });
      forEachPixel(std::min(touched, f.chromaPitch) / 2 * 2, f.height / 2, [&](int x, int y) {
        const std::uint8_t* oldPair = before.row(0, 2 * y) + x / 2 * 2;
        const std::uint8_t* newPair = expected.row(0, 2 * y) + x / 2 * 2;
        expected.row(1, y)[x] = reference::tonedChroma(before.row(1, y)[x], oldPair[0] + oldPair[1],
                                                       newPair[0] + newPair[1]);
      });
      ASSERT_TRUE(after == expected);
    }
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
