#include <gtest/gtest.h>

#include <vector>

#include "region/region_masks.hpp"
#include "support/pool.hpp"
#include "tlux/region.h"

// What all functions have in common: where their memory comes from.
namespace tlux::test {
namespace {

TEST(RegionContract, TheCountOfChangesMayBeNull) {
  MaskGrid ring = drawMask(5, 5, [](int x, int y) { return x != 2 || y != 2; });
  EXPECT_EQ(TLUX_TRegionLabel_FillHoles(nullptr, ring.values.data(), 5, 5, 5, 8, nullptr), TLUX_OK);
  EXPECT_EQ(ring.at(2, 2), 255);
  EXPECT_EQ(TLUX_TRegionLabel_RemoveSmall(nullptr, ring.values.data(), 5, 5, 5, 8, 26, nullptr),
            TLUX_OK);
  EXPECT_EQ(ring.values, std::vector<std::uint8_t>(25, 0));
}

// The size of a pool that serves every mask is published; these masks need the most.
TEST(RegionContract, WorksInThePublishedPoolAlone) {
  for (const auto& [width, height] :
       {std::pair{1, 1}, {1, 300}, {300, 1}, {2, 50}, {63, 64}, {65, 9}}) {
    for (const int first : {0, 1}) {
      const auto isChecker = [=](int x, int y) { return (x + y) % 2 == first; };
      const auto isColumn = [=](int x, int) { return x % 2 == first; };
      for (const MaskGrid& mask :
           {drawMask(width, height, isChecker), drawMask(width, height, isColumn)}) {
        const auto expectPublished = [&, w = width, h = height](auto call) {
          MaskGrid copy = mask;
          std::vector<std::uint32_t> labels(copy.values.size());
          std::uint32_t count = 0;
          expectLivesInPool(h * (9 * w + 24) + 256, [&](MMemMgr pool) {
            return call(pool, copy.values.data(), w, w, h, labels.data(), &count);
          });
        };
        expectPublished(
            [](MMemMgr pool, auto* pixels, int pitch, int w, int h, auto* labels, auto* count) {
              return TRegionLabel_RegionLabel4(pool, pixels, pitch, w, h, labels, 4 * pitch, count);
            });
        expectPublished(
            [](MMemMgr pool, auto* pixels, int pitch, int w, int h, auto* labels, auto* count) {
              return TRegionLabel_RegionLabel8(pool, pixels, pitch, w, h, labels, 4 * pitch, count);
            });
        expectPublished(
            [](MMemMgr pool, auto* pixels, int pitch, int w, int h, auto*, auto* count) {
              return TLUX_TRegionLabel_RemoveSmall(pool, pixels, pitch, w, h, 4, 10, count);
            });
        expectPublished(
            [](MMemMgr pool, auto* pixels, int pitch, int w, int h, auto*, auto* count) {
              return TLUX_TRegionLabel_FillHoles(pool, pixels, pitch, w, h, 8, count);
            });
      }
    }
  }
}

} // namespace
} // namespace tlux::test
