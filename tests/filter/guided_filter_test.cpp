#include "tlux/guided_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <tuple>
#include <vector>

#include "reference/guided_filter.hpp"
#include "support/null_arguments.hpp"
#include "support/simple_image.hpp"

namespace tlux::test {
namespace {

using Bytes = TestImage::Bytes;
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

TEST(GuidedFilter, MayOverwriteItsInputOrItsGuide) {
  constexpr int kWidth = 37;
  constexpr int kHeight = 29;
  Random random(4);
  for (const Member& member : kMembers) {
    for (const int radius : {0, 1, 5, 12}) {
      SCOPED_TRACE(testing::Message() << member.name << " radius " << radius);
      TestImage I(random, kWidth, kHeight, member.channels);
      TestImage p(random, kWidth, kHeight, 1);
      const Bytes input = p.given();
      TestImage q(kWidth, kHeight, 1, 8);
      member.filter(nullptr, I, p, q, radius);
      const Bytes result = q.pixels();
      member.filter(nullptr, I, p, p, radius);
      EXPECT_EQ(p.pixels(), member.worksInPlace ? result : input);
      if (member.channels == 1) {
        p.setPixels(input);
        member.filter(nullptr, I, p, I, radius);
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
    TestImage I(random, width, height, 3);
    TestImage p(random, width, height, 1);
    TestImage whole(width, height, 1, 8);
    TestImage blocks(width, height, 1, 8);
    guided_filter_3d(nullptr, I, p, whole, radius);
    guided_filter_bin_blocks3d(nullptr, I, p, blocks, radius);
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
  guided_filter_3d(nullptr, I, p, kept, 3);
  guided_filter_1d(nullptr, grey, p, blurred, 3);
  const std::size_t edge = 6 * kWidth + kWidth / 2;
  EXPECT_GT(kept.pixels()[edge] - kept.pixels()[edge - 1], 190);
  EXPECT_LT(blurred.pixels()[edge] - blurred.pixels()[edge - 1], 60);
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
    expectUntouched(I, p, q, -1);
    callWithEachNull(expectUntouched, &I.record, &p.record, &q.record, 1);
    for (TestImage* image : {&I, &p, &q}) {
      const img original = image->record;
      const auto expectUntouchedWith = [&](auto img::*field, auto value) {
        image->record.*field = value;
        expectUntouched(I, p, q, 1);
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
    expectUntouched(I, p, q, 1);
  }
  EXPECT_EQ(guided_filter_bin_max3d(-5), -5);
}

} // namespace
} // namespace tlux::test
