#include <gtest/gtest.h>

#include <cstdlib>

#include "reference/loops.hpp"
#include "reference/mask.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/mask.h"

namespace tlux::test {
namespace {

using reference::Mask;

constexpr int kRadii[] = {1, 2, 3, 7, 8, 31, 50, 64, 127, 128, 200, 252, 253};

enum class Kind { kErode, kDilate };
constexpr Kind kKinds[] = {Kind::kErode, Kind::kDilate};

// `stray` pixels in a thousand differ from `most`, and any value but 0 is set.
Mask makeMask(int width, int height, Random& random, bool mostSet, int stray) {
  Mask mask{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * height))};
  for (std::uint8_t& pixel : mask.pixels) {
    const bool set = mostSet != (random.intBetween(0, 999) < stray);
    pixel = set ? static_cast<std::uint8_t>(random.intBetween(1, 255)) : std::uint8_t{0};
  }
  return mask;
}

std::uint32_t runReference(Kind kind, Mask& mask, int radius) {
  return kind == Kind::kErode ? reference::erodeByPasses(mask, radius)
                              : reference::dilateByPasses(mask, radius);
}

std::uint32_t run(Kind kind, std::uint8_t* mask, int pitch, int width, int height, int radius,
                  const TLUX_MASK_RECT* rect = nullptr) {
  const auto w = static_cast<std::uint32_t>(width);
  const auto h = static_cast<std::uint32_t>(height);
  return kind == Kind::kErode
             ? TLUX_ErodeEx(mask, pitch, w, h, radius, rect)
             : TLUX_DilateEx(mask, static_cast<std::uint32_t>(pitch), w, h, radius, rect);
}

// Runs on a copy inside a guarded plane and compares every byte and the count.
void expectLikeReference(Kind kind, const Mask& original, int radius) {
  SCOPED_TRACE(testing::Message() << (kind == Kind::kErode ? "erode " : "dilate ") << original.width
                                  << "x" << original.height << " by " << radius);
  // The last row has no padding.
  const int pitch = original.width + original.height % 3;
  GuardedBuffer plane((original.height - 1) * pitch + original.width, 0xA5);
  for (int y = 0; y < original.height; ++y)
    std::copy_n(&original.pixels[y * original.width], original.width, plane.data() + y * pitch);
  Mask expected = original;
  const std::uint32_t changed = runReference(kind, expected, radius);
  EXPECT_EQ(run(kind, plane.data(), pitch, original.width, original.height, radius), changed);
  for (int at = 0; at < static_cast<int>(plane.size()); ++at) {
    const int x = at % pitch;
    const int y = at / pitch;
    ASSERT_EQ(plane.data()[at], x < original.width ? expected.at(x, y) : 0xA5) << x << "," << y;
  }
  EXPECT_TRUE(plane.isIntact());
}

TEST(MaskReference, PassesAndDefinitionAgree) {
  Random random(1);
  for (int i = 0; i < 60; ++i) {
    const int width = random.intBetween(1, 24);
    const int height = random.intBetween(1, 24);
    const Mask mask = makeMask(width, height, random, i % 2 == 0, random.intBetween(0, 60));
    for (const int radius : {1, 2, 5, 30}) {
      Mask passes = mask;
      Mask distances = reference::bruteDistances(mask, false, true);
      EXPECT_EQ(reference::erodeByPasses(passes, radius),
                reference::thresholdMask(distances, radius, 0, 255));
      EXPECT_EQ(passes.pixels, distances.pixels);
      passes = mask;
      distances = reference::bruteDistances(mask, true, false);
      EXPECT_EQ(reference::dilateByPasses(passes, radius),
                reference::thresholdMask(distances, radius, 255, 0));
      EXPECT_EQ(passes.pixels, distances.pixels);
    }
  }
}

TEST(Morphology, EqualsTheRasterPassesOfAnySize) {
  Random random(2);
  for (int width = 1; width <= 40; width += width < 4 ? 1 : 5) {
    for (int height = 1; height <= 40; height += height < 4 ? 1 : 7) {
      for (const int stray : {0, 10, 300}) {
        const Mask mask = makeMask(width, height, random, stray != 300, stray);
        const Mask inverse = makeMask(width, height, random, stray == 300, stray);
        for (const int radius : {1, 2, 3, 7, 12, 253}) {
          for (const Kind kind : kKinds) {
            expectLikeReference(kind, mask, radius);
            expectLikeReference(kind, inverse, radius);
          }
        }
      }
    }
  }
}

TEST(Morphology, EqualsTheRasterPassesForEveryRadius) {
  Random random(3);
  const Mask set = makeMask(600, 540, random, true, 0);
  Mask holes = set;
  holes.at(2, 3) = holes.at(590, 300) = 0;
  const Mask sparse = makeMask(600, 540, random, false, 0);
  Mask dots = sparse;
  dots.at(2, 3) = dots.at(590, 300) = 9;
  for (const int radius : kRadii) {
    expectLikeReference(Kind::kErode, holes, radius);
    expectLikeReference(Kind::kDilate, dots, radius);
  }
  const Mask noise = makeMask(300, 3, random, false, 6);
  for (int radius = 1; radius <= 253; ++radius) {
    expectLikeReference(Kind::kErode, noise, radius);
    expectLikeReference(Kind::kDilate, noise, radius);
  }
}

// Rows longer than any block that the implementation may work in.
TEST(Morphology, EqualsTheRasterPassesOnLongRows) {
  Random random(4);
  for (const int width : {4095, 4096, 4097, 4349, 8192, 8447, 9001}) {
    const Mask dots = makeMask(width, 2, random, false, 2);
    const Mask holes = makeMask(width, 3, random, true, 1);
    for (const int radius : {1, 8, 100, 253}) {
      expectLikeReference(Kind::kDilate, dots, radius);
      expectLikeReference(Kind::kErode, holes, radius);
    }
  }
}

TEST(Morphology, WorksInsideTheRectangleAlone) {
  Random random(5);
  const Mask whole = makeMask(50, 40, random, true, 30);
  const TLUX_MASK_RECT rects[] = {
      {0, 0, 50, 40}, {3, 2, 4, 3}, {7, 0, 50, 1}, {49, 5, 50, 40}, {10, 11, 37, 29}};
  for (const TLUX_MASK_RECT& rect : rects) {
    for (const Kind kind : kKinds) {
      Mask expected = whole;
      Mask inside{
          static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top), {}};
      for (auto y = rect.top; y < rect.bottom; ++y) {
        const auto row = whole.pixels.begin() + y * 50;
        inside.pixels.insert(inside.pixels.end(), row + rect.left, row + rect.right);
      }
      const std::uint32_t changed = runReference(kind, inside, 4);
      reference::forEachPixel(inside.width, inside.height, [&](int x, int y) {
        expected.pixels[(y + rect.top) * 50 + x + rect.left] = inside.at(x, y);
      });
      Mask actual = whole;
      EXPECT_EQ(run(kind, actual.pixels.data(), 50, 1, 1, 4, &rect), changed);
      EXPECT_EQ(actual.pixels, expected.pixels);
    }
  }
}

TEST(Morphology, ErosionTakesBottomUpMasks) {
  Random random(6);
  const Mask mask = makeMask(33, 21, random, true, 20);
  Mask flipped = mask;
  reference::forEachPixel(33, 21, [&](int x, int y) { flipped.at(x, y) = mask.at(x, 20 - y); });
  Mask expected = mask;
  const std::uint32_t changed = reference::erodeByPasses(expected, 3);
  EXPECT_EQ(TLUX_ErodeEx(&flipped.at(0, mask.height - 1), -33, 33, 21, 3, nullptr), changed);
  reference::forEachPixel(
      33, 21, [&](int x, int y) { ASSERT_EQ(flipped.at(x, 20 - y), expected.at(x, y)); });
}

TEST(Morphology, LeavesTheMaskAloneWhenThereIsNothingToDo) {
  Random random(7);
  const Mask original = makeMask(8, 8, random, true, 400);
  const TLUX_MASK_RECT whole{0, 0, 8, 8};
  const TLUX_MASK_RECT empty[] = {{4, 0, 4, 8}, {0, 8, 8, 8}, {6, 0, 5, 8}, {0, 6, 8, 2}};
  for (const Kind kind : kKinds) {
    Mask mask = original;
    for (const int radius : {-1000, -1, 0, 254, 255, 100000}) {
      EXPECT_EQ(run(kind, mask.pixels.data(), 8, 8, 8, radius, &whole), 0u);
    }
    for (const TLUX_MASK_RECT& rect : empty) {
      EXPECT_EQ(run(kind, mask.pixels.data(), 8, 8, 8, 2, &rect), 0u);
    }
    EXPECT_EQ(run(kind, mask.pixels.data(), 8, 0, 8, 2), 0u);
    EXPECT_EQ(run(kind, nullptr, 8, 8, 8, 2), 0u);
    EXPECT_EQ(mask.pixels, original.pixels);
  }
}

TEST(Morphology, CountsTheKnownCases) {
  std::vector<std::uint8_t> mask(100, 1);
  EXPECT_EQ(TLUX_ErodeEx(mask.data(), 10, 10, 10, 1, nullptr), 36u);
  mask.assign(100, 7);
  EXPECT_EQ(TLUX_ErodeEx(mask.data(), 10, 10, 10, 5, nullptr), 100u);
  mask.assign(100, 0);
  EXPECT_EQ(TLUX_DilateEx(mask.data(), 10, 10, 10, 253, nullptr), 0u);
  EXPECT_EQ(mask, std::vector<std::uint8_t>(100, 0));
  mask[44] = 1;
  EXPECT_EQ(TLUX_DilateEx(mask.data(), 10, 10, 10, 2, nullptr), 12u);
  for (int i = 0; i < 100; ++i) {
    const bool near = std::abs(i % 10 - 4) + std::abs(i / 10 - 4) <= 2;
    EXPECT_EQ(mask[static_cast<std::size_t>(i)], near ? 255 : 0) << i;
  }
}

} // namespace
} // namespace tlux::test
