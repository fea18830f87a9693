#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "reference/labels.hpp"
#include "region/region_masks.hpp"
#include "support/widths.hpp"
#include "tlux/region.h"

namespace tlux::test {
namespace {

constexpr int kConnectivities[] = {4, 8};
constexpr std::uint32_t kNever = 0xDEAD;

// Noise around the densities where most regions and holes are, and every drawn shape.
void forMasks(const std::function<void(const MaskGrid&)>& check) {
  Random random(11);
  for (const int density : {100, 400, 500, 600, 700, 900}) {
    for (int i = 0; i < 12; ++i) {
      check(randomMask(random, random.intBetween(1, 150), random.intBetween(1, 40), density));
    }
  }
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 3}, {1, 9}, {9, 1}, {64, 33}, {131, 20}}) {
    for (const MaskGrid& mask : shapedMasks(width, height)) {
      check(mask);
    }
  }
}

TEST(RemoveSmall, LeavesTheLargeRegions) {
  forMasks([](const MaskGrid& mask) {
    for (const int connectivity : kConnectivities) {
      for (const std::uint32_t area : {0u, 1u, 2u, 3u, 7u, 60u, 0x80000000u, 0xFFFFFFFFu}) {
        PaddedMask actual(mask);
        std::uint32_t removed = kNever;
        ASSERT_EQ(
            TLUX_TRegionLabel_RemoveSmall(nullptr, actual.data(), actual.pitch(), actual.width(),
                                          actual.height(), connectivity, area, &removed),
            TLUX_OK);
        MaskGrid expected = mask;
        ASSERT_EQ(removed, reference::removeSmall(expected, connectivity, area));
        ASSERT_TRUE(actual.holds(expected));
      }
    }
  });
}

TEST(FillHoles, SetsWhatIsEnclosed) {
  forMasks([](const MaskGrid& mask) {
    for (const int connectivity : kConnectivities) {
      PaddedMask actual(mask);
      std::uint32_t filled = kNever;
      ASSERT_EQ(TLUX_TRegionLabel_FillHoles(nullptr, actual.data(), actual.pitch(), actual.width(),
                                            actual.height(), connectivity, &filled),
                TLUX_OK);
      MaskGrid expected = mask;
      ASSERT_EQ(filled, reference::fillHoles(expected, connectivity));
      ASSERT_TRUE(actual.holds(expected));
    }
  });
}

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

TEST(RegionBoundary, MarksPixelsBesideClearOnes) {
  forMasks([](const MaskGrid& mask) {
    for (const int connectivity : kConnectivities) {
      PaddedMask in(mask);
      PaddedMask out({mask.width, mask.height});
      ASSERT_EQ(TLUX_TRegionLabel_Boundary(in.data(), in.pitch(), in.width(), in.height(),
                                           connectivity, out.data(), out.pitch()),
                TLUX_OK);
      ASSERT_TRUE(out.holds(reference::boundary(mask, connectivity)));
      ASSERT_TRUE(in.holds(mask));
    }
  });
}

TEST(RegionStatistics, EqualsTheListOfPixelsOfEachRegion) {
  forMasks([](const MaskGrid& mask) {
    if (mask.values.size() > 2000) return; // the list is slow
    const reference::Labelling regions = reference::floodLabels(mask, 8);
    // One record less than there are labels, and one more.
    for (const std::uint32_t count :
         {regions.count - (regions.count > 0 ? 1 : 0), regions.count + 1}) {
      std::vector<TLUX_REGION> actual(count);
      ASSERT_EQ(TLUX_TRegionLabel_Statistics(regions.labels.row(0), 4 * mask.width, mask.width,
                                             mask.height, actual.data(), count),
                TLUX_OK);
      for (std::uint32_t label = 1; label <= count; ++label) {
        const TLUX_REGION& region = actual[label - 1];
        const auto pixels = reference::pixelsOf(regions.labels, label);
        ASSERT_EQ(region.label, label);
        ASSERT_EQ(region.area, pixels.size());
        std::int64_t sumX = 0;
        std::int64_t sumY = 0;
        TLUX_REGION box = {0, 0, UINT32_MAX, UINT32_MAX, 0, 0, 0.0, 0.0};
        if (pixels.empty()) box.left = box.top = 0;
        for (const auto& [x, y] : pixels) {
          sumX += x;
          sumY += y;
          box.left = std::min(box.left, static_cast<std::uint32_t>(x));
          box.top = std::min(box.top, static_cast<std::uint32_t>(y));
          box.right = std::max(box.right, static_cast<std::uint32_t>(x + 1));
          box.bottom = std::max(box.bottom, static_cast<std::uint32_t>(y + 1));
        }
        ASSERT_EQ(region.left, box.left);
        ASSERT_EQ(region.top, box.top);
        ASSERT_EQ(region.right, box.right);
        ASSERT_EQ(region.bottom, box.bottom);
        const double area = std::max(1.0, static_cast<double>(pixels.size()));
        ASSERT_EQ(region.centroidX, static_cast<double>(sumX) / area);
        ASSERT_EQ(region.centroidY, static_cast<double>(sumY) / area);
      }
    }
  });
}

// The labels are the host's by then: any value may stand in the plane.
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

TEST(MaskCompare, CountsPixelByPixel) {
  Random random(12);
  for (const int width : widthsAround({3, 240, 256})) {
    for (const int density : {0, 10, 500, 1000}) {
      const MaskGrid a = randomMask(random, width, 7, density);
      const MaskGrid b = randomMask(random, width, 7, 300);
      PaddedMask paddedA(a);
      PaddedMask paddedB(b);
      TLUX_MASK_AGREEMENT actual;
      ASSERT_EQ(TLUX_TRegionLabel_Compare(paddedA.data(), paddedA.pitch(), paddedB.data(),
                                          paddedB.pitch(), paddedA.width(), 7, &actual),
                TLUX_OK);
      std::uint32_t counts[2][2] = {};
      for (std::size_t i = 0; i < a.values.size(); ++i) {
        ++counts[a.values[i] != 0][b.values[i] != 0];
      }
      EXPECT_EQ(actual.both, counts[1][1]);
      EXPECT_EQ(actual.onlyA, counts[1][0]);
      EXPECT_EQ(actual.onlyB, counts[0][1]);
      EXPECT_EQ(actual.none, counts[0][0]);
      const std::uint32_t either = counts[1][1] + counts[1][0] + counts[0][1];
      EXPECT_EQ(actual.overlap, either == 0 ? 1.0 : static_cast<double>(counts[1][1]) / either);
    }
  }
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
