#include "tlux/simple_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>

#include "support/fault_injection.hpp"
#include "support/pool.hpp"

namespace tlux::test {
namespace {

constexpr int kMax = std::numeric_limits<int>::max();

TEST(SimpleImage, StartsAsZerosWithRowsOfWholeWords) {
  constexpr int kCases[][5] = {{3, 5, 8, 1, 4},   {4, 5, 8, 1, 4},   {5, 2, 8, 3, 16},
                               {7, 3, 32, 1, 28}, {1, 1, 32, 3, 12}, {0, 0, 8, 1, 0}};
  const long live = liveAllocations();
  for (const auto& [width, height, depth, channels, stride] : kCases) {
    img* image = createimg(nullptr, width, height, depth, channels);
    ASSERT_NE(image, nullptr);
    const img expected{width,    height, stride,      stride * height,
                       channels, depth,  image->data, image->rows};
    EXPECT_EQ(MMemCmp(image, &expected, sizeof expected), 0);
    const auto isZero = [&] {
      return std::all_of(image->data, image->data + image->size, [](auto v) { return v == 0; });
    };
    EXPECT_TRUE(isZero());
    for (int y = 0; y < height; ++y) {
      EXPECT_EQ(image->rows[y], image->data + y * stride);
      std::fill(image->rows[y], image->rows[y] + stride, std::uint8_t{9});
    }
    clear_img(image);
    EXPECT_TRUE(isZero());
    release_img(nullptr, &image);
    EXPECT_EQ(image, nullptr);
  }
  EXPECT_EQ(liveAllocations(), live);
}

TEST(SimpleImage, RefusesSizesThatTheRecordCannotHold) {
  const long asked = allocationCount();
  constexpr int kSizes[][4] = {{-1, 1, 8, 1},
                               {1, -1, 8, 1},
                               {1, 1, -8, 1},
                               {1, 1, 8, -1},
                               {-1, -1, 8, 1},
                               {kMax, 1, 8, 1},
                               {kMax, kMax, kMax, kMax},
                               {65536, 65536, 8, 1},
                               {46341, 46341, 8, 1}};
  for (const auto& [width, height, depth, channels] : kSizes)
    EXPECT_EQ(createimg(nullptr, width, height, depth, channels), nullptr);
  std::uint8_t byte = 0;
  EXPECT_EQ(createimg_pesudo(nullptr, &byte, 1, 65536, 8, 1, 65536), nullptr);
  EXPECT_EQ(createimg_pesudo(nullptr, nullptr, 1, 1, 8, 1, 1), nullptr);
  EXPECT_EQ(cloneimg(nullptr, nullptr), nullptr);
  EXPECT_EQ(allocationCount(), asked);
}

TEST(SimpleImage, PseudoImageLeavesItsPixelsAlone) {
  std::uint8_t pixels[3 * 7];
  std::fill(std::begin(pixels), std::end(pixels), std::uint8_t{7});
  const long live = liveAllocations();
  img* image = createimg_pesudo(nullptr, pixels, 5, 3, 8, 1, 7);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->size, 21);
  EXPECT_EQ(image->rows[2], pixels + 14);
  img* clone = cloneimg(nullptr, image);
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(MMemCmp(clone, image, offsetof(img, data)), 0);
  EXPECT_NE(clone->data, image->data);
  EXPECT_EQ(MMemCmp(clone->data, pixels, sizeof pixels), 0);
  EXPECT_EQ(clone->rows[2], clone->data + 14);
  release_img(nullptr, &clone);
  release_img_pesudo(nullptr, &image);
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(pixels[20], 7);

  // Rows stored bottom up.
  img* reversed = createimg_pesudo(nullptr, pixels + 14, 5, 3, 8, 1, -7);
  ASSERT_NE(reversed, nullptr);
  EXPECT_EQ(reversed->rows[2], pixels);
  EXPECT_EQ(cloneimg(nullptr, reversed), nullptr);
  img none{0, 0, 0, 0, 1, 8, nullptr, nullptr};
  clone = cloneimg(nullptr, &none); // no bytes are no reason to refuse
  EXPECT_NE(clone, nullptr);
  release_img(nullptr, &clone);
  none.size = 1;
  EXPECT_EQ(cloneimg(nullptr, &none), nullptr);
  release_img_pesudo(nullptr, &reversed);

  release_img(nullptr, nullptr);
  release_img(nullptr, &image);
  release_img_pesudo(nullptr, nullptr);
  release_img_pesudo(nullptr, &image);
  clear_img(nullptr);
  EXPECT_EQ(liveAllocations(), live);
}

// Of pixel block and row table, one that could be had stays with the pool when the other could not;
// the record never does.
TEST(SimpleImage, CreationKeepsTheOneOfTwoBlocks) {
  constexpr int kRecord = sizeof(img);
  constexpr int kPixels = 64 * 16;
  constexpr int kRows = 16 * 8;
  constexpr int kHeader = 16;
  struct Case {
    int payload; // of a pool that is one free block
    int left;    // largest free block after the failure
  };
  for (const Case& c : {Case{kRecord - 8, kRecord - 8},       // no record
                        {kRecord + kHeader + kRows, kRecord}, // no pixels, but rows
                        {kRecord + kHeader + kPixels + kHeader + kRows - 8, kRows - 8}}) {
    const Pool pool(c.payload + 2 * kHeader);
    EXPECT_EQ(createimg(pool, 64, 16, 8, 1), nullptr);
    EXPECT_EQ(pool.largestFree(), c.left) << c.payload;
  }
  const Pool pool(8192);
  img* image = createimg(pool, 64, 16, 8, 1);
  ASSERT_NE(image, nullptr);
  release_img(pool, &image);
  EXPECT_TRUE(pool.isWhole());
}

} // namespace
} // namespace tlux::test
