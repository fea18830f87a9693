#include <gtest/gtest.h>

#include <limits>

#include "image/picture.hpp"
#include "support/fault_injection.hpp"
#include "tlux/copy.h"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

TEST(Crop, RepacksTheRectangleInPlace) {
  Random random(5);
  for (const std::uint32_t format : kCopied) {
    for (int trial = 0; trial < 20; ++trial) {
      const int width = random.intBetween(4, 40);
      const int height = random.intBetween(2, 12);
      Picture picture = randomPicture(random, format, width, height, 0);
      for (auto& plane : picture.planes) { // pitches of a created image, or a little more
        if (plane.pitch == 0) continue;
        const auto rows = plane.bytes.size() / static_cast<unsigned>(plane.pitch);
        plane.pitch = (plane.pitch + 3) / 4 * 4 + (trial % 2) * 8;
        plane.bytes.resize(rows * static_cast<unsigned>(plane.pitch));
        random.fill(std::span(plane.bytes));
      }
      const TLUX_RECT rect = randomRect(random, picture, random.intBetween(0, width),
                                        random.intBetween(0, height) & ~1);
      if (readsCbHalfARowLow(format, rect)) continue;
      SCOPED_TRACE(testing::Message() << std::hex << format << std::dec << " " << width << "x"
                                      << height << " {" << rect.left << "," << rect.top << ","
                                      << rect.right << "," << rect.bottom << "}");

      TLUX_IMAGE* created = nullptr; // tells the pitches of the cropped image
      ASSERT_EQ(TLUX_CreateImage_IMK(&created, rect.right - rect.left, rect.bottom - rect.top,
                                     format, nullptr),
                TLUX_OK);
      Picture expected = picture;
      expected.width = created->width;
      expected.height = created->height;
      for (int i = 0; i < 3; ++i) {
        expected.planes[i].pitch = created->pitch[i];
      }
      PictureCopy(expected, {0, 0, created->width, created->height}, picture, rect).plain();

      Frame frame(picture);
      const TLUX_IMAGE before = *frame.get();
      ASSERT_EQ(TLUX_CropImage_IMK(frame.get(), &rect), TLUX_OK);
      EXPECT_EQ(TLUX_IsImageEqual_IMK(frame.get(), created), 1);
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(frame->pitch[i], created->pitch[i]);
        EXPECT_EQ(frame->plane[i], before.plane[i]);
      }
      // Overlapping rows leave other bytes behind the cropped ones: compare what was copied.
      for (int i = 0; i < 3; ++i) {
        const auto extents = extentsOf(format, created->width, created->height);
        if (i >= static_cast<int>(extents.size())) break;
        for (int y = 0; y < extents[static_cast<unsigned>(i)].rows; ++y) {
          const int copied = (format == TLUX_FMT_BGR32 || format == TLUX_FMT_BGR32_B)
                                 ? 3 * created->width
                                 : extents[static_cast<unsigned>(i)].bytes;
          const std::ptrdiff_t start = std::ptrdiff_t{y} * created->pitch[i];
          EXPECT_TRUE(std::equal(frame->plane[i] + start, frame->plane[i] + start + copied,
                                 expected.planes[i].bytes.begin() + start));
        }
      }
      TLUX_FreeImage_IMK(&created, nullptr);
      if (HasFailure()) return;
    }
  }
}

// Rows of 5 bytes that become rows of 8 are moved from the top down, over rows not yet moved.
TEST(Crop, WidensPitchesFromTheTop) {
  Random random(9);
  Picture picture = randomPicture(random, TLUX_FMT_GRAY, 5, 8, 0);
  Frame frame(picture);
  const TLUX_RECT rect{0, 0, 5, 5};
  EXPECT_EQ(TLUX_CropImage_IMK(frame.get(), &rect), TLUX_OK);
  EXPECT_EQ(frame->pitch[0], 8);
  auto& bytes = picture.planes[0].bytes;
  for (int y = 0; y < 5; ++y) {
    std::copy_n(std::vector(bytes.begin() + 5 * y, bytes.begin() + 5 * y + 5).begin(), 5,
                bytes.begin() + 8 * y);
  }
  EXPECT_TRUE(frame.holds(picture));
}

TEST(Crop, LeavesTheImageAloneWhenItCannotCrop) {
  Random random(6);
  const auto expectRefused = [&](Picture picture, const TLUX_RECT& rect, std::uint32_t code) {
    Frame frame(picture);
    const TLUX_IMAGE before = *frame.get();
    EXPECT_EQ(TLUX_CropImage_IMK(frame.get(), &rect), code);
    EXPECT_EQ(MMemCmp(frame.get(), &before, sizeof before), 0);
    EXPECT_TRUE(frame.holds(picture));
  };
  // Rows of 5 bytes become rows of 8, which do not all fit.
  expectRefused(randomPicture(random, TLUX_FMT_GRAY, 5, 4, 0), {0, 0, 5, 4},
                TLUX_ERR_INVALID_PARAM);
  expectRefused(randomPicture(random, TLUX_FMT_GRAY, 5, 8, 0), {0, 0, 5, 6},
                TLUX_ERR_INVALID_PARAM);
  expectRefused(randomPicture(random, TLUX_FMT_GRAY, 8, 4, 0), {0, 0, 9, 4},
                TLUX_ERR_INVALID_PARAM);
  expectRefused(randomPicture(random, TLUX_FMT_BAYER, 8, 4, 0), {0, 0, 4, 4}, TLUX_ERR_UNSUPPORTED);
  expectRefused(randomPicture(random, 0x609, 8, 4, 0), {0, 0, 4, 4}, TLUX_ERR_UNSUPPORTED);

  Frame frame(randomPicture(random, TLUX_FMT_GRAY, 8, 4, 0));
  const TLUX_RECT rect{0, 0, 4, 4};
  EXPECT_EQ(TLUX_CropImage_IMK(nullptr, &rect), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CropImage_IMK(frame.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  frame->plane[0] = nullptr;
  EXPECT_EQ(TLUX_CropImage_IMK(frame.get(), &rect), TLUX_ERR_INVALID_PARAM);
}

TEST(Clone, CopiesPixelsAndClearsWhatCopiesLeaveOut) {
  Random random(7);
  std::vector<std::uint64_t> memory(1024, ~std::uint64_t{0});
  MMemMgr pool = MMemMgrCreate(memory.data(), memory.size() * 8);
  const auto unused = GetMaxAllocMemSize(pool);
  for (const std::uint32_t format : kCopied) {
    const Picture picture = randomPicture(random, format, 22, 10, 3);
    Frame source(picture);
    const TLUX_RECT whole{0, 0, 22, 10};
    const TLUX_RECT part{2, 4, 13, 10};
    for (const TLUX_RECT* rect : {&whole, &part}) {
      TLUX_IMAGE* clone = nullptr;
      ASSERT_EQ(rect == &whole ? TLUX_CloneImage_IMK(&clone, source.get(), pool)
                               : TLUX_CloneImageROI_IMK(&clone, source.get(), rect, pool),
                TLUX_OK);
      const int width = rect->right - rect->left;
      const int height = rect->bottom - rect->top;
      EXPECT_EQ(clone->width, width);
      EXPECT_EQ(clone->height, height);
      Picture expected{format, width, height, {}};
      const auto extents = extentsOf(format, width, height);
      for (std::size_t i = 0; i < extents.size(); ++i) {
        expected.planes[i].pitch = clone->pitch[i];
        expected.planes[i].bytes.resize(
            static_cast<std::size_t>(clone->pitch[i] * extents[i].rows));
      }
      PictureCopy(expected, {0, 0, width, height}, picture, *rect).plain();
      for (std::size_t i = 0; i < extents.size(); ++i) {
        for (int y = 0; y < extents[i].rows; ++y) {
          const std::ptrdiff_t start = std::ptrdiff_t{y} * clone->pitch[i];
          EXPECT_TRUE(std::equal(clone->plane[i] + start,
                                 clone->plane[i] + start + extents[i].bytes,
                                 expected.planes[i].bytes.begin() + start))
              << std::hex << format;
        }
      }
      TLUX_FreeImage_IMK(&clone, pool);
    }
  }
  EXPECT_EQ(GetMaxAllocMemSize(pool), unused);
}

TEST(Clone, ReportsWhatFails) {
  Random random(8);
  Frame source(randomPicture(random, TLUX_FMT_YCBCR420_YPVU, 16, 8, 0));
  const long live = liveAllocations();
  const int faults = sweepFaults(failAllocation, [&] {
    TLUX_IMAGE* clone = nullptr;
    const std::uint32_t result = TLUX_CloneImage_IMK(&clone, source.get(), nullptr);
    EXPECT_EQ(result, faultFired() ? TLUX_ERR_NO_MEMORY : TLUX_OK);
    EXPECT_EQ(clone == nullptr, faultFired());
    TLUX_FreeImage_IMK(&clone, nullptr);
  });
  EXPECT_EQ(faults, 2);

  TLUX_IMAGE* const mark = source.get();
  TLUX_IMAGE* clone = mark;
  EXPECT_EQ(TLUX_CloneImage_IMK(&clone, nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, source.get(), nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_CloneImage_IMK(nullptr, source.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(clone, mark);

  constexpr int kMax = std::numeric_limits<int>::max();
  for (const TLUX_RECT& rect : {TLUX_RECT{4, 0, 2, 8}, {0, 9, 4, 8}, {-kMax, 0, kMax, 1}}) {
    EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, source.get(), &rect, nullptr), TLUX_ERR_NO_MEMORY);
    EXPECT_EQ(clone, nullptr);
  }
  // Too wide for the source: found by the copy, after the image was made.
  const TLUX_RECT wide{0, 0, 17, 8};
  EXPECT_EQ(TLUX_CloneImageROI_IMK(&clone, source.get(), &wide, nullptr), TLUX_ERR_INVALID_PARAM);
  ASSERT_NE(clone, nullptr);
  TLUX_FreeImage_IMK(&clone, nullptr);

  source->format = TLUX_FMT_BAYER;
  EXPECT_EQ(TLUX_CloneImage_IMK(&clone, source.get(), nullptr), TLUX_ERR_UNSUPPORTED);
  ASSERT_NE(clone, nullptr);
  TLUX_FreeImage_IMK(&clone, nullptr);
  source->format = 0x804;
  EXPECT_EQ(TLUX_CloneImage_IMK(&clone, source.get(), nullptr), TLUX_ERR_UNSUPPORTED);
  EXPECT_EQ(clone, nullptr);
  EXPECT_EQ(liveAllocations(), live);
}

} // namespace
} // namespace tlux::test
