#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "reference/gain_lines.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

using Gains = std::vector<std::uint16_t>;

Gains randomMapping(std::uint32_t seed) {
  Gains mapping(65536);
  Random(seed).fill(std::span(mapping));
  return mapping;
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
  const Gains mapping = [] {
    Gains identity(65536);
    for (std::size_t i = 0; i < identity.size(); ++i) {
      identity[i] = static_cast<std::uint16_t>(i);
    }
    return identity;
  }();
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
    const auto call = member.call;
    EXPECT_EQ(call(0, 0, 4, nullptr, nullptr, table.data(), table.data(), 0, 0), nullptr);
    EXPECT_EQ(call(0, 0, 4, lines.data(), nullptr, nullptr, table.data(), 0, 0), nullptr);
    EXPECT_EQ(call(0, 0, 4, lines.data(), nullptr, table.data(), nullptr, 0, 0), nullptr);
    EXPECT_EQ(call(0, 0, 0, lines.data(), nullptr, table.data(), table.data(), 0, 0), nullptr);
    EXPECT_EQ(lines, Gains(64, 9));
  }
}

struct Nv21Frame {
  Nv21Frame(int width, int height, int lumaPitch, int chromaPitch, std::uint32_t seed)
      : luma(static_cast<std::size_t>(lumaPitch) * static_cast<std::size_t>(height)),
        chroma(static_cast<std::size_t>(chromaPitch) * static_cast<std::size_t>(height / 2)) {
    Random random(seed);
    random.fill(luma.bytes());
    random.fill(chroma.bytes());
    image = {TLUX_FMT_YCBCR420_YPVU,
             width,
             height,
             {luma.data(), chroma.data()},
             {lumaPitch, chromaPitch}};
  }

  GuardedBuffer luma;
  GuardedBuffer chroma;
  TLUX_IMAGE image{};
};

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
      GuardedBuffer coarse(static_cast<std::size_t>(f.gainWidth * f.gainHeight) * 2);
      Random(5).fill(coarse.bytes());
      const auto* gains = reinterpret_cast<const std::uint16_t*>(coarse.data());
      Nv21Frame before(f.width, f.height, f.lumaPitch, f.chromaPitch, 6);
      Nv21Frame after(f.width, f.height, f.lumaPitch, f.chromaPitch, 6);
      GuardedBuffer lines(static_cast<std::size_t>(3 * (f.width + 8)) * 2);
      const TLUX_MAPPING_STATE state = {gains,
                                        TLUX_Degamma_Table,
                                        TLUX_Gamma_Table8,
                                        reinterpret_cast<std::uint16_t*>(lines.data()),
                                        mapping.data(),
                                        f.gainWidth,
                                        f.gainHeight};
      for (int first = 0; first < f.height; first += band) {
        const TLUX_MAPPING_CONTEXT context = {first, first + band, &after.image, &state};
        ASSERT_EQ(SingleThreadMapping(&context), TLUX_OK);
      }

      const int columns = std::min(std::max(f.width / 8, 1), f.gainWidth);
      const int touched = std::min((f.width + 3) / 4 * 4, f.lumaPitch);
      for (int y = 0; y < f.height; ++y) {
        const auto* oldRow = before.luma.data() + y * f.lumaPitch;
        const auto* newRow = after.luma.data() + y * f.lumaPitch;
        for (int x = 0; x < f.lumaPitch; ++x) {
          const int gain = reference::gainAt(x, y, 8, columns, f.gainHeight, [&](int k, int r) {
            return mapping[gains[r * f.gainWidth + k]];
          });
          ASSERT_EQ(newRow[x], x < touched ? reference::tonedLuma(oldRow[x], gain) : oldRow[x])
              << x << "," << y;
        }
        if (y % 2 != 0 || y / 2 >= f.height / 2) continue;
        const auto* oldChroma = before.chroma.data() + y / 2 * f.chromaPitch;
        const auto* newChroma = after.chroma.data() + y / 2 * f.chromaPitch;
        for (int x = 0; x < f.chromaPitch; ++x) {
          const int k = x / 2 * 2;
          const int oldSum = oldRow[k] + oldRow[k + 1];
          const int newSum = newRow[k] + newRow[k + 1];
          const bool scaled = x < touched / 2 * 2;
          ASSERT_EQ(newChroma[x],
                    scaled ? reference::tonedChroma(oldChroma[x], oldSum, newSum) : oldChroma[x])
              << x << "," << y;
        }
      }
    }
  }
}

TEST(SingleThreadMapping, AnswersForWhatIsMissing) {
  Gains table(65536, 1024);
  Gains lines(3 * 16);
  Nv21Frame frame(8, 8, 8, 8, 1);
  const TLUX_MAPPING_STATE good = {
      table.data(), TLUX_Degamma_Table, TLUX_Gamma_Table8, lines.data(), table.data(), 1, 1};
  const auto run = [&](const TLUX_MAPPING_STATE& state, int first = 0, int end = 8) {
    const TLUX_MAPPING_CONTEXT context = {first, end, &frame.image, &state};
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
  frame.image.plane[1] = nullptr;
  EXPECT_EQ(run(good), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test
