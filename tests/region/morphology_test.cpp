#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <span>

#include "reference/mask.hpp"
#include "region/region_masks.hpp"
#include "tlux/mask.h"

namespace tlux::test {
namespace {

constexpr int kRadii[] = {1, 2, 3, 7, 8, 31, 50, 64, 127, 128, 200, 252, 253};

enum class Kind { kErode, kDilate };
constexpr Kind kKinds[] = {Kind::kErode, Kind::kDilate};

std::uint32_t run(Kind kind, std::uint8_t* mask, int pitch, int width, int height, int radius,
                  const TLUX_MASK_RECT* rect = nullptr) {
  return kind == Kind::kErode ? TLUX_ErodeEx(mask, pitch, width, height, radius, rect)
                              : TLUX_DilateEx(mask, pitch, width, height, radius, rect);
}

// By its definition, in one radius after the other.
class Definition {
 public:
  Definition(Kind kind, const MaskGrid& mask)
      : isErosion_(kind == Kind::kErode),
        distances_(reference::distancesTo(!isErosion_, isErosion_, mask)) {}

  MaskGrid at(int radius, std::uint32_t& changed) const {
    return isErosion_ ? reference::thresholded(distances_, radius, 0, 255, changed)
                      : reference::thresholded(distances_, radius, 255, 0, changed);
  }

 private:
  bool isErosion_;
  MaskGrid distances_;
};

// Every byte and the count.
void expectDefinition(Kind kind, const MaskGrid& mask, std::span<const int> radii) {
  const Definition definition(kind, mask);
  for (const int radius : radii) {
    SCOPED_TRACE(testing::Message() << (kind == Kind::kErode ? "erode " : "dilate ") << mask.width
                                    << "x" << mask.height << " by " << radius);
    PaddedMask actual(mask, mask.height % 3);
    std::uint32_t changed = 0;
    const MaskGrid expected = definition.at(radius, changed);
    ASSERT_EQ(run(kind, actual.data(), actual.pitch(), mask.width, mask.height, radius), changed);
    ASSERT_TRUE(actual.holds(expected));
  }
}

TEST(Morphology, EqualsItsDefinitionForEveryRadius) {
  const auto isDot = [](int x, int y) { return (x == 2 && y == 3) || (x == 590 && y == 300); };
  expectDefinition(Kind::kDilate, drawMask(600, 540, isDot), kRadii);
  expectDefinition(Kind::kErode, drawMask(600, 540, std::not_fn(isDot)), kRadii);
  std::vector<int> all(253);
  std::iota(all.begin(), all.end(), 1);
  Random random(3);
  const MaskGrid noise = randomMask(random, 300, 3, 6);
  for (const Kind kind : kKinds)
    expectDefinition(kind, noise, all);
}

// Rows longer than any block that the implementation may work in.
TEST(Morphology, EqualsItsDefinitionOnLongRows) {
  constexpr int kSome[] = {1, 8, 100, 253};
  Random random(4);
  for (const int width : {4095, 4096, 4097, 4349, 8192, 8447, 9001}) {
    expectDefinition(Kind::kDilate, randomMask(random, width, 2, 2), kSome);
    expectDefinition(Kind::kErode, randomMask(random, width, 3, 999), kSome);
  }
}

TEST(Morphology, LeavesTheMaskAloneWhenThereIsNothingToDo) {
  Random random(7);
  const MaskGrid original = randomMask(random, 8, 8, 600);
  const TLUX_MASK_RECT whole{0, 0, 8, 8};
  const TLUX_MASK_RECT empty[] = {{4, 0, 4, 8}, {0, 8, 8, 8}, {6, 0, 5, 8}, {0, 6, 8, 2}};
  for (const Kind kind : kKinds) {
    MaskGrid mask = original;
    for (const int radius : {-1000, -1, 0, 254, 255, 100000}) {
      EXPECT_EQ(run(kind, mask.row(0), 8, 8, 8, radius, &whole), 0u);
    }
    for (const TLUX_MASK_RECT& rect : empty) {
      EXPECT_EQ(run(kind, mask.row(0), 8, 8, 8, 2, &rect), 0u);
    }
    EXPECT_EQ(run(kind, mask.row(0), 8, 0, 8, 2), 0u);
    EXPECT_EQ(run(kind, nullptr, 8, 8, 8, 2), 0u);
    EXPECT_EQ(mask.values, original.values);
  }
}

} // namespace
} // namespace tlux::test
