#include <gtest/gtest.h>

#include <cstdlib>

#include "reference/labels.hpp"
#include "region/region_masks.hpp"
#include "tlux/region.h"

namespace tlux::test {
namespace {

constexpr std::uint32_t kNever = 0xDEAD;

// A diamond of pixels that touch at their corners encloses something only when it is 8-connected.
TEST(FillHoles, ConnectsHolesTheOtherWay) {
  const MaskGrid ring =
      drawMask(5, 5, [](int x, int y) { return std::abs(x - 2) + std::abs(y - 2) == 2; });
  for (const auto& [connectivity, holes] : {std::pair{8u, 5u}, {4u, 0u}}) {
    MaskGrid mask = ring;
    std::uint32_t filled = kNever;
    EXPECT_EQ(
        TLUX_TRegionLabel_FillHoles(nullptr, mask.values.data(), 5, 5, 5, connectivity, &filled),
        TLUX_OK);
    EXPECT_EQ(filled, holes);
  }
}

// The host may have changed the labels: the plane may contain any value.
TEST(RegionStatistics, IgnoresLabelsWithoutARecord) {
  std::vector<std::uint32_t> labels = {0, 3, 3, 0xFFFFFFFF, 2, 2, 2, 3, 0x80000000, 0, 4, 3};
  TLUX_REGION regions[4] = {};
  regions[3].area = kNever;
  ASSERT_EQ(TLUX_TRegionLabel_Statistics(labels.data(), 16, 4, 3, regions, 3), TLUX_OK);
  EXPECT_EQ(regions[0].area, 0u);
  EXPECT_EQ(regions[1].area, 3u);
  EXPECT_EQ(regions[2].area, 4u);
  EXPECT_EQ(regions[2].centroidX, 2.25);
  EXPECT_EQ(regions[3].area, kNever);
  EXPECT_EQ(TLUX_TRegionLabel_Statistics(labels.data(), 16, 4, 3, nullptr, 0), TLUX_OK);
}

TEST(MaskCompare, TakesOneMaskTwice) {
  const MaskGrid mask = drawMask(10, 4, [](int x, int) { return x < 3; });
  const std::uint8_t* data = mask.values.data();
  TLUX_MASK_AGREEMENT same;
  ASSERT_EQ(TLUX_TRegionLabel_Compare(data, 10, data, 10, 10, 4, &same), TLUX_OK);
  EXPECT_EQ(same.both, 12u);
  EXPECT_EQ(same.none, 28u);
  EXPECT_EQ(same.overlap, 1.0);
  const MaskGrid clear{10, 4};
  ASSERT_EQ(TLUX_TRegionLabel_Compare(clear.values.data(), 10, clear.values.data() + 30, -10, 10, 4,
                                      &same),
            TLUX_OK);
  EXPECT_EQ(same.overlap, 1.0);
}

} // namespace
} // namespace tlux::test
