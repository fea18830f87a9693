#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <span>

#include "region/region_masks.hpp"
#include "support/null_arguments.hpp"
#include "support/pool.hpp"
#include "tlux/region.h"

// What all functions have in common: which arguments they take, and where their memory comes from.
namespace tlux::test {
namespace {

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::uint32_t kMark = 7777;

// Planes for each kind of argument, and the means to see whether one was written.
struct Planes {
  explicit Planes(const MaskGrid& from)
      : original(from), mask(from), other(from), marks(from), labels(from.values.size(), kMark) {}

  bool areUntouched() const {
    return mask.values == original.values && marks.values == original.values &&
           labels == std::vector(labels.size(), kMark) && count == kMark && region.area == kMark &&
           agreement.both == kMark;
  }

  MaskGrid original;
  MaskGrid mask;
  MaskGrid other;
  MaskGrid marks;
  std::vector<std::uint32_t> labels;
  std::uint32_t count = kMark;
  TLUX_REGION region = {0, kMark, 0, 0, 0, 0, 0.0, 0.0};
  TLUX_MASK_AGREEMENT agreement = {kMark, 0, 0, 0, 0.0};
};

// The pitch is in pixels here.
using Call = std::function<std::uint32_t(MMemMgr, Planes&, std::int32_t pitch, std::uint32_t width,
                                         std::uint32_t height)>;

const Call kAllocating[] = {
    [](MMemMgr manager, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TRegionLabel_RegionLabel4(manager, p.mask.values.data(), pitch, width, height,
                                       p.labels.data(), 4 * p.mask.width, &p.count);
    },
    [](MMemMgr manager, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TRegionLabel_RegionLabel8(manager, p.mask.values.data(), pitch, width, height,
                                       p.labels.data(), 4 * p.mask.width, &p.count);
    },
    [](MMemMgr manager, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_RemoveSmall(manager, p.mask.values.data(), pitch, width, height, 4,
                                           10, &p.count);
    },
    [](MMemMgr manager, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_FillHoles(manager, p.mask.values.data(), pitch, width, height, 8,
                                         &p.count);
    },
};

const Call kOthers[] = {
    [](MMemMgr, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_Boundary(p.mask.values.data(), pitch, width, height, 4,
                                        p.marks.values.data(), p.mask.width);
    },
    [](MMemMgr, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_Boundary(p.mask.values.data(), p.mask.width, width, height, 8,
                                        p.marks.values.data(), pitch);
    },
    [](MMemMgr, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_Compare(p.mask.values.data(), pitch, p.other.values.data(),
                                       p.mask.width, width, height, &p.agreement);
    },
    [](MMemMgr, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      return TLUX_TRegionLabel_Compare(p.mask.values.data(), p.mask.width, p.other.values.data(),
                                       pitch, width, height, &p.agreement);
    },
    [](MMemMgr, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      const std::int32_t bytes = pitch > kMin / 4 ? 4 * pitch : kMin;
      return TLUX_TRegionLabel_Statistics(p.labels.data(), bytes, width, height, &p.region, 1);
    },
    [](MMemMgr manager, Planes& p, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
      const std::int32_t bytes = pitch > kMin / 4 ? 4 * pitch : kMin;
      return TRegionLabel_RegionLabel8(manager, p.mask.values.data(), p.mask.width, width, height,
                                       p.labels.data(), bytes, &p.count);
    },
};

TEST(RegionContract, RejectsSizesAndPitches) {
  const MaskGrid mask = drawMask(16, 8, [](int x, int y) { return x * y % 3 == 0; });
  struct Case {
    std::int32_t pitch;
    std::uint32_t width;
    std::uint32_t height;
  };
  const Case cases[] = {{16, 0, 8},
                        {16, 16, 0},
                        {15, 16, 8},
                        {-15, 16, 8},
                        {0, 16, 8},
                        {16, 0x80000000u, 8},
                        {16, 16, 0x80000000u},
                        {0, 1, 1},
                        {16, ~0u, 1},
                        {16, 1, ~0u},
                        {kMin, 16, 0x10000000u},
                        {65536, 65536, 32768}};
  Planes planes(mask);
  for (const Case& c : cases) {
    for (const std::span<const Call> calls : {std::span<const Call>(kAllocating), {kOthers}}) {
      for (const Call& call : calls)
        EXPECT_EQ(call(nullptr, planes, c.pitch, c.width, c.height), TLUX_ERR_INVALID_PARAM);
    }
  }
  EXPECT_TRUE(planes.areUntouched());
}

TEST(RegionContract, RejectsNullAndOddArguments) {
  const MaskGrid grid = drawMask(16, 8, [](int x, int y) { return x * y % 3 == 0; });
  Planes p(grid);
  std::uint8_t* mask = p.mask.values.data();
  std::uint8_t* marks = p.marks.values.data();
  std::uint32_t* labels = p.labels.data();
  auto* odd = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(labels) + 2);
  for (const auto label : {TRegionLabel_RegionLabel4, TRegionLabel_RegionLabel8}) {
    expectRefusesEachNull(label, nullptr, mask, 16, 16, 8, labels, 64, &p.count);
    EXPECT_EQ(label(nullptr, mask, 16, 16, 8, odd, 64, &p.count), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(label(nullptr, mask, 16, 15, 8, labels, 62, &p.count), TLUX_ERR_INVALID_PARAM);
  }
  expectRefusesEachNull(TLUX_TRegionLabel_Statistics, labels, 64, 16, 8, &p.region, 1);
  expectRefusesEachNull(TLUX_TRegionLabel_RemoveSmall, nullptr, mask, 16, 16, 8, 8, 1, nullptr);
  expectRefusesEachNull(TLUX_TRegionLabel_FillHoles, nullptr, mask, 16, 16, 8, 8, nullptr);
  expectRefusesEachNull(TLUX_TRegionLabel_Boundary, mask, 16, 16, 8, 8, marks, 16);
  expectRefusesEachNull(TLUX_TRegionLabel_Compare, mask, 16, marks, 16, 16, 8, &p.agreement);
  for (const std::uint32_t connectivity : {0u, 1u, 5u, 6u, 7u, 9u, 260u, ~0u}) {
    EXPECT_EQ(TLUX_TRegionLabel_RemoveSmall(nullptr, mask, 16, 16, 8, connectivity, 9, &p.count),
              TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(TLUX_TRegionLabel_FillHoles(nullptr, mask, 16, 16, 8, connectivity, &p.count),
              TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(TLUX_TRegionLabel_Boundary(mask, 16, 16, 8, connectivity, marks, 16),
              TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_TRUE(p.areUntouched());
}

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
        for (const Call& call : kAllocating) {
          Planes planes(mask);
          expectLivesInPool(
              height * (9 * width + 24) + 256,
              [&, w = width, h = height](MMemMgr pool) { return call(pool, planes, w, w, h); });
        }
      }
    }
  }
}

} // namespace
} // namespace tlux::test
