#include "tlux/guided_filter.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "reference/guided_filter.hpp"
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

} // namespace
} // namespace tlux::test
