#include <gtest/gtest.h>

#include <limits>

#include "image/picture.hpp"
#include "support/pool.hpp"
#include "tlux/copy.h"

namespace tlux::test {
namespace {

// What a copy of the rectangle into a new image of its size, of these pitches, would hold.
Picture expectedPart(const TLUX_IMAGE& created, const Picture& picture, const TLUX_RECT& rect) {
  Picture expected{picture.format, created.width, created.height, {}};
  const auto extents = extentsOf(picture.format, created.width, created.height);
  for (std::size_t i = 0; i < extents.size(); ++i)
    expected.planes[i] = {Bytes(created.pitch[i] * extents[i].rows), created.pitch[i]};
  PictureCopy(expected, {0, 0, created.width, created.height}, picture, rect).plain();
  return expected;
}

// Rows of 5 bytes that become rows of 8 are moved from the top down, over rows not yet moved.
TEST(Crop, WidensPitchesFromTheTop) {
  Random random(9);
  Frame frame({5, 8, 0, 0, TLUX_FMT_GRAY}, random);
  Bytes bytes = frame.bytes(0);
  const TLUX_RECT rect{0, 0, 5, 5};
  EXPECT_EQ(TLUX_CropImage_IMK(frame.get(), &rect), TLUX_OK);
  EXPECT_EQ(frame->pitch[0], 8);
  for (int y = 0; y < 5; ++y) {
    const Bytes row(bytes.begin() + 5 * y, bytes.begin() + 5 * y + 5);
    std::ranges::copy(row, bytes.begin() + 8 * y);
  }
  EXPECT_EQ(frame.bytes(0), bytes);
}

TEST(Clone, CopiesPixelsAndClearsWhatCopiesLeaveOut) {
  Random random(7);
  const Pool pool(8192);
  for (const std::uint32_t format : kCopied) {
    const Picture picture = randomPicture(random, format, 22, 10, 3);
    Frame source = frameOf(picture);
    const TLUX_RECT whole{0, 0, 22, 10};
    const TLUX_RECT part{2, 4, 13, 10};
    for (const TLUX_RECT* rect : {&whole, &part}) {
      TLUX_IMAGE* clone = nullptr;
      ASSERT_EQ(rect == &whole ? TLUX_CloneImage_IMK(&clone, source.get(), pool)
                               : TLUX_CloneImageROI_IMK(&clone, source.get(), rect, pool),
                TLUX_OK);
      EXPECT_EQ(clone->width, rect->right - rect->left);
      EXPECT_EQ(clone->height, rect->bottom - rect->top);
      EXPECT_TRUE(hasRowsOf(*clone, expectedPart(*clone, picture, *rect),
                            extentsOf(format, clone->width, clone->height)))
          << std::hex << format;
      TLUX_FreeImage_IMK(&clone, pool);
    }
  }
  EXPECT_TRUE(pool.isWhole());
}

TEST(Clone, ReportsWhatFails) {
  Random random(8);
  Frame source({16, 8}, random);
  TLUX_IMAGE* const mark = source.get();
  TLUX_IMAGE* clone = mark;
  const TLUX_RECT whole{0, 0, 16, 8};
  EXPECT_EQ(TLUX_CloneImage_IMK(nullptr, source.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImage_IMK(&clone, nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImageROI_IMK(nullptr, source.get(), &whole, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, nullptr, &whole, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, source.get(), nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(clone, mark);

  constexpr int kMax = std::numeric_limits<int>::max();
  struct Case {
    std::uint32_t format;
    TLUX_RECT rect;
    std::uint32_t result;
    bool isMade; // what is wrong is found by the copy, after the image was made
  };
  for (const Case& c : {Case{TLUX_FMT_YCBCR420_YPVU, {4, 0, 2, 8}, TLUX_ERR_NO_MEMORY, false},
                        {TLUX_FMT_YCBCR420_YPVU, {0, 9, 4, 8}, TLUX_ERR_NO_MEMORY, false},
                        {TLUX_FMT_YCBCR420_YPVU, {-kMax, 0, kMax, 1}, TLUX_ERR_NO_MEMORY, false},
                        {TLUX_FMT_YCBCR420_YPVU, {0, 0, 17, 8}, TLUX_ERR_INVALID_PARAM, true},
                        {TLUX_FMT_BAYER, {0, 0, 16, 8}, TLUX_ERR_UNSUPPORTED, true},
                        {0x804, {0, 0, 16, 8}, TLUX_ERR_UNSUPPORTED, false}}) {
    const long live = liveAllocations();
    source->format = c.format;
    EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, source.get(), &c.rect, nullptr), c.result);
    EXPECT_EQ(clone != nullptr, c.isMade);
    TLUX_FreeImage_IMK(&clone, nullptr);
    EXPECT_EQ(liveAllocations(), live);
  }
}

} // namespace
} // namespace tlux::test
