#include "tlux/copy.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "image/picture.hpp"

namespace tlux::test {
namespace {

// Copies with both functions and compares all bytes of both images with the byte-wise rules.
void expectCopied(const Picture& target, const TLUX_RECT& to, Picture source,
                  const TLUX_RECT& from) {
  const std::uint32_t format = source.format;
  SCOPED_TRACE(testing::Message() << std::hex << format << std::dec << " from " << source.width
                                  << "x" << source.height << " at " << from.left << "," << from.top
                                  << " to " << target.width << "x" << target.height << " at "
                                  << to.left << "," << to.top << " size " << to.right - to.left
                                  << "x" << to.bottom - to.top);
  if (readsCbHalfARowLow(format, from)) { // one more row, for what is read past the plane
    auto& cb = source.planes[1];
    cb.bytes.resize(cb.bytes.size() + cb.pitch, 0x77);
  }
  Frame sourceFrame = frameOf(source);
  Frame plain = frameOf(target);
  Picture expected = target;
  PictureCopy(expected, to, source, from).plain();
  EXPECT_EQ(TLUX_CopyImageROI_IMK(plain.get(), &to, sourceFrame.get(), &from), TLUX_OK);
  EXPECT_TRUE(plain == frameOf(expected));

  Frame odd = frameOf(target);
  const bool orderUnknown = format >= TLUX_FMT_YCBYCR_5 && format <= TLUX_FMT_YCBYCR_8;
  expected = target;
  if (!orderUnknown) PictureCopy(expected, to, source, from).oddRect();
  EXPECT_EQ(TLUX_CopyImageROIOddRect_IMK(odd.get(), &to, sourceFrame.get(), &from),
            orderUnknown ? TLUX_ERR_UNSUPPORTED : TLUX_OK);
  EXPECT_TRUE(odd == frameOf(expected));
  EXPECT_TRUE(sourceFrame == frameOf(source));
}

// All columns of tiny images without padding: the last chroma pair may be past the plane.
TEST(Copy, FollowsTheByteWiseRulesAtTheLastByteOfAPlane) {
  Random random(10);
  for (const std::uint32_t format : kCopied) {
    const Picture target = randomPicture(random, format, 5, 2, 0);
    for (int sourceWidth = 1; sourceWidth <= 4; ++sourceWidth) {
      const Picture source = randomPicture(random, format, sourceWidth, 2, 0);
      for (int left = 0; left < sourceWidth; ++left) {
        for (int right = left + 1; right <= sourceWidth; ++right) {
          for (int to = 0; to <= 5 - (right - left); ++to) {
            expectCopied(target, {to, 0, to + right - left, 2}, source, {left, 0, right, 2});
            if (HasFailure()) return;
          }
        }
      }
    }
  }
}

Picture flipped(Picture picture) {
  for (auto& [bytes, pitch] : picture.planes) {
    for (auto top = bytes.begin(), end = bytes.end(); end - top > pitch; top += pitch, end -= pitch)
      std::swap_ranges(top, top + pitch, end - pitch);
  }
  return picture;
}

// The frame from its last row to its first.
TLUX_IMAGE bottomUp(Frame& frame) {
  TLUX_IMAGE image = frame.image();
  for (int i = 0; i < frame.planeCount(); ++i) {
    const int rows = static_cast<int>(frame.plane(i).size()) / image.pitch[i];
    if (rows > 0) image.plane[i] = frame.row(i, rows - 1);
    image.pitch[i] = -image.pitch[i];
  }
  return image;
}

// With enough padding that the pair after a row never belongs to another row.
TEST(Copy, TakesPicturesThatAreStoredBottomUp) {
  Random random(11);
  for (const std::uint32_t format : kCopied) {
    if (format >= TLUX_FMT_YCBYCR_5 && format <= TLUX_FMT_YCBYCR_8) continue;
    for (int trial = 0; trial < 60; ++trial) {
      const int width = random.intBetween(1, 12);
      const int height = random.intBetween(1, 6);
      const Picture source = randomPicture(random, format, width, height, 9, 4);
      const Picture target = randomPicture(random, format, width + 1, height + 1, 9, 4);
      const TLUX_RECT from =
          randomRect(random, source, random.intBetween(0, width), random.intBetween(0, height));
      const TLUX_RECT to =
          randomRect(random, target, from.right - from.left, from.bottom - from.top);
      if (readsCbHalfARowLow(format, from)) continue;
      Picture expected = target;
      PictureCopy(expected, to, source, from).oddRect();
      Frame sourceFrame = frameOf(flipped(source));
      Frame targetFrame = frameOf(flipped(target));
      const TLUX_IMAGE in = bottomUp(sourceFrame);
      TLUX_IMAGE out = bottomUp(targetFrame);
      ASSERT_EQ(TLUX_CopyImageROIOddRect_IMK(&out, &to, &in, &from), TLUX_OK);
      ASSERT_TRUE(targetFrame == frameOf(flipped(expected))) << std::hex << format;
      PictureCopy(expected, to, source, from).plain();
      ASSERT_EQ(TLUX_CopyImageROI_IMK(&out, &to, &in, &from), TLUX_OK);
      ASSERT_TRUE(targetFrame == frameOf(flipped(expected))) << std::hex << format;
    }
  }
}

TEST(Copy, TakesWholeImagesOfEqualSizeOnly) {
  Random random(2);
  for (const std::uint32_t format : kCopied) {
    const Picture source = randomPicture(random, format, 37, 11, 5);
    Picture target = randomPicture(random, format, 37, 11, 5);
    Frame sourceFrame = frameOf(source);
    Frame targetFrame = frameOf(target);
    EXPECT_EQ(TLUX_CopyImage_IMK(targetFrame.get(), sourceFrame.get()), TLUX_OK);
    PictureCopy(target, {0, 0, 37, 11}, source, {0, 0, 37, 11}).plain();
    EXPECT_TRUE(targetFrame == frameOf(target)) << std::hex << format;
    targetFrame->height = 10;
    EXPECT_EQ(TLUX_CopyImage_IMK(targetFrame.get(), sourceFrame.get()), TLUX_ERR_INVALID_PARAM);
  }
}

TEST(Copy, AcceptsRectanglesByTheirExtentAlone) {
  // One row of 20 pixels in the middle of memory that is the test's own.
  Bytes memory(100);
  TLUX_IMAGE source{TLUX_FMT_GRAY, 20, 2, {memory.data()}, {50}};
  std::uint8_t bytes[15] = {};
  TLUX_IMAGE target{TLUX_FMT_GRAY, 15, 1, {bytes}, {15}};
  constexpr int kMax = std::numeric_limits<int>::max();

  memory[24] = 9;
  const TLUX_RECT sticksOut{10, 0, 25, 1};
  EXPECT_EQ(TLUX_CopyImageROI_IMK(&target, nullptr, &source, &sticksOut), TLUX_OK);
  EXPECT_EQ(bytes[14], 9);
  for (const auto copy : {TLUX_CopyImageROI_IMK, TLUX_CopyImageROIOddRect_IMK}) {
    const TLUX_RECT nothing{kMax, kMax, kMax, kMax};
    EXPECT_EQ(copy(&target, &nothing, &source, &nothing), TLUX_OK);
  }
}

TEST(Copy, AnswersWhatItCannotCopy) {
  Random random(4);
  for (const auto copy : {&TLUX_CopyImageROI_IMK, &TLUX_CopyImageROIOddRect_IMK}) {
    // Unknown planar codes have at least a luma plane; other unknown codes and raw frames nothing.
    for (const auto& [format, copiesLuma] : {std::pair{0x600u, true},
                                             {0x609u, true},
                                             {0x804u, true},
                                             {0x300u, false},
                                             {0x405u, false},
                                             {0x509u, false},
                                             {0x702u, false},
                                             {TLUX_FMT_BAYER, false}}) {
      const Picture source = randomPicture(random, format, 9, 4, 2);
      Picture target = randomPicture(random, format, 9, 4, 2);
      Frame from = frameOf(source);
      Frame to = frameOf(target);
      EXPECT_EQ(copy(to.get(), nullptr, from.get(), nullptr), TLUX_ERR_UNSUPPORTED);
      if (copiesLuma) PictureCopy(target, {0, 0, 9, 4}, source, {0, 0, 9, 4}).plain();
      EXPECT_TRUE(to == frameOf(target)) << std::hex << format;
    }
  }
  // A plane of which nothing is copied may be missing.
  std::uint8_t luma[2] = {1, 2};
  TLUX_IMAGE from{TLUX_FMT_YCBCR420_P, 1, 1, {luma}, {1}};
  TLUX_IMAGE to{TLUX_FMT_YCBCR420_P, 1, 1, {luma + 1}, {1}};
  EXPECT_EQ(TLUX_CopyImage_IMK(&to, &from), TLUX_OK);
  EXPECT_EQ(luma[1], 1);
}

TEST(IsImageEqual, ComparesGeometryAlone) {
  std::uint8_t pixel = 0;
  const TLUX_IMAGE a{TLUX_FMT_YCBCR420_YPVU, 8, 4, {&pixel}, {8}};
  for (const auto& [format, width, height, equal] : {std::tuple{TLUX_FMT_YCBCR420_YPVU, 8, 4, 1},
                                                     {TLUX_FMT_YCBCR420_YPUV, 8, 4, 0},
                                                     {TLUX_FMT_YCBCR420_YPVU, 7, 4, 0},
                                                     {TLUX_FMT_YCBCR420_YPVU, 8, 5, 0}}) {
    const TLUX_IMAGE b{format, width, height, {}, {}};
    EXPECT_EQ(TLUX_IsImageEqual_IMK(&a, &b), equal);
  }
  EXPECT_EQ(TLUX_IsImageEqual_IMK(nullptr, &a), 0);
  EXPECT_EQ(TLUX_IsImageEqual_IMK(&a, nullptr), 0);
}

} // namespace
} // namespace tlux::test
