#include <gtest/gtest.h>

#include "reference/labels.hpp"
#include "region/region_masks.hpp"
#include "tlux/region.h"

namespace tlux::test {
namespace {

std::uint32_t label(int connectivity, const std::uint8_t* mask, int pitch, int width, int height,
                    std::uint32_t* labels, int labelPitch, std::uint32_t* count) {
  const auto function = connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
  return function(nullptr, mask, pitch, width, height, labels, labelPitch, count);
}

// Labels a copy inside planes whose rows end with padding that must stay.
void expectFloodLabels(const MaskGrid& mask) {
  for (const int connectivity : {4, 8}) {
    SCOPED_TRACE(testing::Message() << mask.width << "x" << mask.height << ", " << connectivity);
    PaddedMask in(mask, mask.height % 4);
    PaddedGrid<std::uint32_t> out({mask.width, mask.height}, mask.height % 4);
    std::uint32_t count = 0;
    ASSERT_EQ(label(connectivity, in.data(), in.pitch(), mask.width, mask.height, out.data(),
                    out.pitch(), &count),
              TLUX_OK);
    const reference::Labelling expected = reference::floodLabels(mask, connectivity);
    ASSERT_EQ(count, expected.count);
    ASSERT_TRUE(out.holds(expected.labels));
    ASSERT_TRUE(in.holds(mask));
  }
}

TEST(RegionLabel, EqualsAFloodFillOnEveryTinyMask) {
  for (const auto& [width, height] : {std::pair{1, 1}, {8, 1}, {1, 8}, {3, 3}, {4, 3}, {2, 5}}) {
    for (int bits = 0; bits < 1 << (width * height); ++bits) {
      const int pitch = width;
      const MaskGrid mask =
          drawMask(width, height, [=](int x, int y) { return (bits >> (y * pitch + x) & 1) != 0; });
      expectFloodLabels(mask);
    }
  }
}

// Widths around the words that runs are searched in.
TEST(RegionLabel, EqualsAFloodFillOnShapesOfAnyWidth) {
  for (const int width : {1, 2, 3, 7, 8, 9, 31, 63, 64, 65, 127, 128, 129, 192, 333}) {
    for (const int height : {1, 2, 5, 64, 97}) {
      for (const MaskGrid& mask : shapedMasks(width, height)) {
        expectFloodLabels(mask);
      }
    }
  }
}

TEST(RegionLabel, CountsTheKnownCases) {
  constexpr int kSize = 1000;
  std::vector<std::uint32_t> labels(kSize * kSize);
  const auto countOf = [&](const MaskGrid& mask, int connectivity) {
    std::uint32_t count = 0;
    EXPECT_EQ(label(connectivity, mask.values.data(), kSize, kSize, kSize, labels.data(), 4 * kSize,
                    &count),
              TLUX_OK);
    return count;
  };
  const MaskGrid checkers = drawMask(kSize, kSize, [](int x, int y) { return (x + y) % 2 == 0; });
  EXPECT_EQ(countOf(checkers, 8), 1u);
  EXPECT_EQ(countOf(checkers, 4), unsigned{kSize * kSize / 2});
  EXPECT_EQ(labels[0], 1u);
  EXPECT_EQ(labels[1], 0u);
  EXPECT_EQ(labels[2], 2u);
  EXPECT_EQ(labels.back(), unsigned{kSize * kSize / 2});
  const MaskGrid winding = spiral(kSize, kSize);
  EXPECT_GT(std::count(winding.values.begin(), winding.values.end(), 128), kSize * kSize * 2 / 5);
  EXPECT_EQ(countOf(winding, 4), 1u);
}

} // namespace
} // namespace tlux::test
