#include "tlux/guided_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "filter/test_image.hpp"
#include "reference/guided_filter.hpp"
#include "support/fault_injection.hpp"
#include "support/random.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Filter = void (*)(MMemMgr, const img*, const img*, img*, std::int32_t);

struct Member {
  const char* name;
  Filter filter;
  int channels;
  bool worksInPlace;
};

const Member kMembers[] = {
    {"guided_filter_1d", guided_filter_1d, 1, true},
    {"guided_filter_1dI", guided_filter_1dI, 1, true},
    {"guided_filter_3d", guided_filter_3d, 3, true},
    {"guided_filter_bin_blocks3d", guided_filter_bin_blocks3d, 3, false},
    {"each_guided", each_guided, 3, false},
};

Bytes randomBytes(Random& random, std::size_t count, int low = 0, int high = 255) {
  Bytes bytes(count);
  random.fill(std::span(bytes), low, high);
  return bytes;
}

// The filter by its plain formula, for a radius that may be huge.
Bytes expected(const Bytes& guide, const Bytes& input, int width, int height, int channels,
               int radius) {
  const reference::Size size{width, height};
  radius = std::min(radius, std::max(width, height));
  if (channels == 1) {
    return reference::applyCoefficients<1>(
        reference::guidedCoefficients(guide, input, size, radius), guide, size, radius);
  }
  return reference::applyCoefficients<3>(reference::guidedCoefficients3(guide, input, size, radius),
                                         guide, size, radius);
}

// Three channels are compared with a more precise solution, which may be truncated differently.
void expectFormula(const Bytes& actual, const Bytes& formula, int channels) {
  const int tolerance = channels == 1 ? 0 : 1;
  ASSERT_EQ(actual.size(), formula.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ASSERT_NEAR(actual[i], formula[i], tolerance) << "pixel " << i;
  }
}

// A few values give windows without variance, the full range gives the largest coefficients.
constexpr std::pair<int, int> kRanges[] = {{0, 255}, {0, 1}, {253, 255}, {7, 7}};

TEST(GuidedFilter, EqualsTheFormulaForAllSmallSizesAndRadii) {
  Random random(1);
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 1}, {1, 7}, {3, 3}, {5, 4}, {9, 2}, {17, 13}, {40, 9}}) {
    const auto pixels = static_cast<std::size_t>(width * height);
    for (const int radius : {0, 1, 2, 3, 4, 8, 20, std::numeric_limits<int>::max()}) {
      for (const auto& [low, high] : kRanges) {
        for (const Member& member : kMembers) {
          SCOPED_TRACE(testing::Message() << member.name << " " << width << "x" << height
                                          << " radius " << radius << " from " << low);
          const auto channels = static_cast<std::size_t>(member.channels);
          const Bytes guide = randomBytes(random, pixels * channels, low, high);
          const Bytes input = randomBytes(random, pixels);
          TestImage I(width, height, member.channels, guide, 3);
          TestImage p(width, height, 1, input, 1, true);
          TestImage q(width, height, 1, 8, 5);
          member.filter(nullptr, &I.record, &p.record, &q.record, radius);
          expectFormula(q.pixels(), expected(guide, input, width, height, member.channels, radius),
                        member.channels);
          ASSERT_TRUE(q.isIntact());
          ASSERT_EQ(I.pixels(), guide);
          ASSERT_EQ(p.pixels(), input);
        }
      }
    }
  }
}

// Smooth content with an edge, as the filter meets it; wide enough for all vector lengths.
TEST(GuidedFilter, EqualsTheFormulaOnAnEdge) {
  constexpr int kWidth = 150;
  constexpr int kHeight = 40;
  Bytes guide;
  Bytes input;
  Random random(3);
  for (int i = 0; i < kWidth * kHeight; ++i) {
    const int edge = i % kWidth > 70 ? 120 : 0;
    guide.push_back(static_cast<std::uint8_t>(edge + i % kWidth / 4 + i / kWidth));
    input.push_back(static_cast<std::uint8_t>(edge + random.intBetween(0, 40)));
  }
  for (const int radius : {1, 8, 13}) {
    TestImage I(kWidth, kHeight, 1, guide);
    TestImage p(kWidth, kHeight, 1, input);
    for (const Filter filter : {guided_filter_1d, guided_filter_1dI}) {
      TestImage q(kWidth, kHeight, 1, 8);
      filter(nullptr, &I.record, &p.record, &q.record, radius);
      EXPECT_EQ(q.pixels(), expected(guide, input, kWidth, kHeight, 1, radius)) << radius;
    }
  }
}

TEST(GuidedFilter, MayOverwriteItsInputOrItsGuide) {
  constexpr int kWidth = 37;
  constexpr int kHeight = 29;
  Random random(4);
  for (const Member& member : kMembers) {
    for (const int radius : {0, 1, 5, 12}) {
      SCOPED_TRACE(testing::Message() << member.name << " radius " << radius);
      const auto channels = static_cast<std::size_t>(member.channels);
      const Bytes guide = randomBytes(random, kWidth * kHeight * channels);
      const Bytes input = randomBytes(random, kWidth * kHeight);
      TestImage I(kWidth, kHeight, member.channels, guide);
      TestImage p(kWidth, kHeight, 1, input);
      TestImage q(kWidth, kHeight, 1, 8);
      member.filter(nullptr, &I.record, &p.record, &q.record, radius);
      const Bytes result = q.pixels();
      member.filter(nullptr, &I.record, &p.record, &p.record, radius);
      EXPECT_EQ(p.pixels(), member.worksInPlace ? result : input);
      if (member.channels == 1) {
        p.setPixels(input);
        member.filter(nullptr, &I.record, &p.record, &I.record, radius);
        EXPECT_EQ(I.pixels(), result);
      }
    }
  }
}

// Several blocks in each direction, at their smallest side and at one that grows with the radius.
TEST(GuidedFilter, GivesTheSameInBlocks) {
  Random random(5);
  for (const auto& [width, height, radius] :
       {std::tuple{600, 20, 3}, {20, 600, 3}, {300, 270, 8}, {700, 30, 70}, {520, 1, 255}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " radius " << radius);
    const auto pixels = static_cast<std::size_t>(width * height);
    TestImage I(width, height, 3, randomBytes(random, 3 * pixels));
    TestImage p(width, height, 1, randomBytes(random, pixels));
    TestImage whole(width, height, 1, 8);
    TestImage blocks(width, height, 1, 8);
    guided_filter_3d(nullptr, &I.record, &p.record, &whole.record, radius);
    guided_filter_bin_blocks3d(nullptr, &I.record, &p.record, &blocks.record, radius);
    EXPECT_EQ(whole.pixels(), blocks.pixels());
  }
}

// Blue and red of one brightness: a grey guide has no edge there, one with channels does.
TEST(GuidedFilter, ThreeChannelsKeepAnEdgeOfColour) {
  constexpr int kWidth = 24;
  constexpr int kHeight = 12;
  Bytes colour;
  Bytes input;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    const bool right = i % kWidth >= kWidth / 2;
    for (const int value : {right ? 200 : 50, 100, right ? 50 : 200}) {
      colour.push_back(static_cast<std::uint8_t>(value));
    }
    input.push_back(right ? 220 : 20);
  }
  TestImage I(kWidth, kHeight, 3, colour);
  TestImage grey(kWidth, kHeight, 1, Bytes(input.size(), 100));
  TestImage p(kWidth, kHeight, 1, input);
  TestImage kept(kWidth, kHeight, 1, 8);
  TestImage blurred(kWidth, kHeight, 1, 8);
  guided_filter_3d(nullptr, &I.record, &p.record, &kept.record, 3);
  guided_filter_1d(nullptr, &grey.record, &p.record, &blurred.record, 3);
  const std::size_t edge = 6 * kWidth + kWidth / 2;
  EXPECT_GT(kept.pixels()[edge] - kept.pixels()[edge - 1], 190);
  EXPECT_LT(blurred.pixels()[edge] - blurred.pixels()[edge - 1], 60);
}

TEST(GuidedFilter, WithoutMemoryLeavesTheOutputAloneAndReleasesWhatItHad) {
  Random random(6);
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.name);
    const auto channels = static_cast<std::size_t>(member.channels);
    TestImage I(12, 9, member.channels, randomBytes(random, 12 * 9 * channels));
    TestImage p(12, 9, 1, randomBytes(random, 12 * 9));
    TestImage q(12, 9, 1, 8);
    member.filter(nullptr, &I.record, &p.record, &q.record, 2);
    const Bytes done = q.pixels();
    const Bytes untouched(done.size(), 0);
    const long live = liveAllocations();
    const auto attempt = [&] {
      q.setPixels(untouched);
      member.filter(nullptr, &I.record, &p.record, &q.record, 2);
    };
    const int faults = sweepFaults(failAllocation, [&] {
      attempt();
      EXPECT_EQ(q.pixels(), faultFired() ? untouched : done);
    });
    EXPECT_EQ(faults, 2);
    const int threads = sweepFaults(failThreadStart, [&] {
      attempt();
      EXPECT_EQ(q.pixels(), done);
    });
    EXPECT_EQ(threads, member.filter == guided_filter_1dI ? 8 : 0);
    EXPECT_EQ(liveAllocations(), live);
  }
}

TEST(GuidedFilter, TakesItsMemoryFromThePool) {
  std::vector<std::uint64_t> memory(4000);
  const MMemMgr pool = MMemMgrCreate(memory.data(), memory.size() * sizeof(std::uint64_t));
  const auto whole = GetMaxAllocMemSize(pool);
  Random random(7);
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.name);
    const auto channels = static_cast<std::size_t>(member.channels);
    TestImage I(16, 9, member.channels, randomBytes(random, 16 * 9 * channels));
    TestImage p(16, 9, 1, randomBytes(random, 16 * 9));
    TestImage q(16, 9, 1, 8);
    TestImage other(16, 9, 1, 8);
    member.filter(nullptr, &I.record, &p.record, &q.record, 2);
    const long asked = allocationCount();
    member.filter(pool, &I.record, &p.record, &other.record, 2);
    EXPECT_EQ(allocationCount(), asked);
    EXPECT_EQ(q.pixels(), other.pixels());
    EXPECT_EQ(GetMaxAllocMemSize(pool), whole);
  }
}

TEST(GuidedFilter, WritesNothingForImagesItDoesNotTake) {
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.name);
    TestImage I(6, 5, member.channels, 8);
    TestImage p(6, 5, 1, 8);
    TestImage q(6, 5, 1, Bytes(30, 9));
    const auto expectUntouched = [&](const img* guide, const img* input, img* output, int radius) {
      member.filter(nullptr, guide, input, output, radius);
      EXPECT_EQ(q.pixels(), Bytes(30, 9));
    };
    expectUntouched(&I.record, &p.record, &q.record, -1);
    expectUntouched(&I.record, &p.record, nullptr, 1);
    expectUntouched(nullptr, &p.record, &q.record, 1);
    expectUntouched(&I.record, nullptr, &q.record, 1);
    for (TestImage* image : {&I, &p, &q}) {
      const img original = image->record;
      const auto expectUntouchedWith = [&](auto img::*field, auto value) {
        image->record.*field = value;
        expectUntouched(&I.record, &p.record, &q.record, 1);
        image->record = original;
      };
      for (const int width : {5, 7, 0, -6}) {
        expectUntouchedWith(&img::width, width);
      }
      expectUntouchedWith(&img::height, 4);
      expectUntouchedWith(&img::channels, 2);
      expectUntouchedWith(&img::depth, 32);
      expectUntouchedWith(&img::rows, nullptr);
    }
    for (TestImage* image : {&I, &p, &q}) {
      image->record.width = 1 << 20;
      image->record.height = 1 << 20;
    }
    expectUntouched(&I.record, &p.record, &q.record, 1);
  }
  EXPECT_EQ(guided_filter_bin_max3d(-5), -5);
}

} // namespace
} // namespace tlux::test
