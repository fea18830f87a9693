#include "tlux/copy.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <utility>

#include "image/picture.hpp"
#include "tlux/platform.h"

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
  if (readsCbHalfARowLow(format, from)) { // one more row for what lies behind the plane
    auto& cb = source.planes[1];
    cb.bytes.resize(cb.bytes.size() + static_cast<std::size_t>(cb.pitch), 0x77);
  }
  Frame sourceFrame(source);
  Frame plainFrame(target);
  Picture expected = target;
  PictureCopy(expected, to, source, from).plain();
  EXPECT_EQ(TLUX_CopyImageROI_IMK(plainFrame.get(), &to, sourceFrame.get(), &from), TLUX_OK);
  EXPECT_TRUE(plainFrame.holds(expected));

  Frame oddFrame(target);
  const bool orderUnknown = format >= TLUX_FMT_YCBYCR_5 && format <= TLUX_FMT_YCBYCR_8;
  expected = target;
  if (!orderUnknown) PictureCopy(expected, to, source, from).oddRect();
  EXPECT_EQ(TLUX_CopyImageROIOddRect_IMK(oddFrame.get(), &to, sourceFrame.get(), &from),
            orderUnknown ? TLUX_ERR_UNSUPPORTED : TLUX_OK);
  EXPECT_TRUE(oddFrame.holds(expected));
  EXPECT_TRUE(sourceFrame.holds(source));
}

// Rectangles of any corners and sizes between images of any pitches land where the byte-wise rules
// put them, and nowhere else.
TEST(Copy, FollowsTheByteWiseRulesForEveryFormat) {
  Random random(1);
  for (const std::uint32_t format : kCopied) {
    for (int trial = 0; trial < 150; ++trial) {
      const int maxExtra = trial % 3 == 0 ? 0 : 7;
      const Picture source = randomPicture(random, format, random.intBetween(1, 40),
                                           random.intBetween(1, 12), maxExtra);
      const Picture target = randomPicture(random, format, random.intBetween(1, 40),
                                           random.intBetween(1, 12), maxExtra);
      const int width = random.intBetween(0, std::min(source.width, target.width));
      const int height = random.intBetween(0, std::min(source.height, target.height));
      const TLUX_RECT from = randomRect(random, source, width, height);
      const TLUX_RECT to = randomRect(random, target, width, height);
      expectCopied(target, to, source, from);
      if (HasFailure()) return;
    }
  }
}

// All columns of tiny images without padding: the last chroma pair may lie behind the plane.
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

TEST(Copy, TakesWholeImagesOfEqualSizeOnly) {
  Random random(2);
  for (const std::uint32_t format : kCopied) {
    for (const int extra : {0, 5}) {
      Picture source = randomPicture(random, format, 37, 11, extra);
      Picture target = randomPicture(random, format, 37, 11, extra);
      Frame sourceFrame(source);
      Frame targetFrame(target);
      EXPECT_EQ(TLUX_CopyImage_IMK(targetFrame.get(), sourceFrame.get()), TLUX_OK);
      PictureCopy(target, {0, 0, 37, 11}, source, {0, 0, 37, 11}).plain();
      EXPECT_TRUE(targetFrame.holds(target)) << std::hex << format;
    }
  }
  Frame small(randomPicture(random, TLUX_FMT_GRAY, 8, 8, 0));
  Frame large(randomPicture(random, TLUX_FMT_GRAY, 8, 9, 0));
  EXPECT_EQ(TLUX_CopyImage_IMK(large.get(), small.get()), TLUX_ERR_INVALID_PARAM);
}

// A created frame has tight planes, which are moved as one block each; one row fewer than all of it
// shows that the block ends where the rows end.
TEST(Copy, MovesTightPlanesWhole) {
  Random random(3);
  const Picture source = randomPicture(random, TLUX_FMT_YCBCR420_YPVU, 64, 40, 0);
  Picture target = randomPicture(random, TLUX_FMT_YCBCR420_YPVU, 64, 40, 0);
  Frame sourceFrame(source);
  Frame targetFrame(target);
  const TLUX_RECT part{0, 2, 64, 38};
  EXPECT_EQ(TLUX_CopyImageROI_IMK(targetFrame.get(), &part, sourceFrame.get(), &part), TLUX_OK);
  PictureCopy(target, part, source, part).plain();
  EXPECT_TRUE(targetFrame.holds(target));
}

TEST(Copy, AcceptsRectanglesByTheirExtentAlone) {
  // One row of 20 pixels in the middle of memory that is the test's own.
  std::vector<std::uint8_t> memory(100);
  std::uint8_t* plane = memory.data();
  const int pitch = 50;
  TLUX_IMAGE source{};
  TLUX_SetImage_IMK(&source, 20, 2, TLUX_FMT_GRAY, &plane, &pitch);
  std::uint8_t bytes[15] = {};
  std::uint8_t* targetPlane = bytes;
  const int targetPitch = 15;
  TLUX_IMAGE target{};
  TLUX_SetImage_IMK(&target, 15, 1, TLUX_FMT_GRAY, &targetPlane, &targetPitch);
  constexpr int kMax = std::numeric_limits<int>::max();
  constexpr int kMin = std::numeric_limits<int>::min();

  memory[24] = 9;
  const TLUX_RECT sticksOut{10, 0, 25, 1};
  EXPECT_EQ(TLUX_CopyImageROI_IMK(&target, nullptr, &source, &sticksOut), TLUX_OK);
  EXPECT_EQ(bytes[14], 9);
  for (const TLUX_RECT& refused : {TLUX_RECT{-1, 0, 14, 1},
                                   {0, -1, 15, 0},
                                   {15, 0, 0, 1},
                                   {0, 1, 15, 0},
                                   {0, 0, 21, 1},
                                   {0, 0, 15, 3},
                                   {0, 0, 14, 1},
                                   {0, 0, 15, 2},
                                   {kMin, 0, kMax, 1},
                                   {0, kMax, 15, kMin}}) {
    EXPECT_EQ(TLUX_CopyImageROI_IMK(&target, nullptr, &source, &refused), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(TLUX_CopyImageROIOddRect_IMK(&target, nullptr, &source, &refused),
              TLUX_ERR_INVALID_PARAM);
  }
  const TLUX_RECT nothing{kMax, kMax, kMax, kMax};
  EXPECT_EQ(TLUX_CopyImageROI_IMK(&target, &nothing, &source, &nothing), TLUX_OK);
  EXPECT_EQ(TLUX_CopyImageROIOddRect_IMK(&target, &nothing, &source, &nothing), TLUX_OK);
}

using CopyFunction = uint32_t (*)(TLUX_IMAGE*, const TLUX_RECT*, const TLUX_IMAGE*,
                                  const TLUX_RECT*);

TEST(Copy, AnswersWhatItCannotCopy) {
  Random random(4);
  for (const CopyFunction copy : {&TLUX_CopyImageROI_IMK, &TLUX_CopyImageROIOddRect_IMK}) {
    // Unknown planar codes have at least a luma plane; other unknown codes and raw frames nothing.
    for (const auto& [format, copiesLuma] : {std::pair{0x600u, true},
                                             {0x609u, true},
                                             {0x804u, true},
                                             {0x300u, false},
                                             {0x405u, false},
                                             {0x509u, false},
                                             {0x702u, false},
                                             {TLUX_FMT_BAYER, false}}) {
      Picture source = randomPicture(random, format, 9, 4, 2);
      Picture target = randomPicture(random, format, 9, 4, 2);
      Frame sourceFrame(source);
      Frame targetFrame(target);
      EXPECT_EQ(copy(targetFrame.get(), nullptr, sourceFrame.get(), nullptr), TLUX_ERR_UNSUPPORTED);
      if (copiesLuma) PictureCopy(target, {0, 0, 9, 4}, source, {0, 0, 9, 4}).plain();
      EXPECT_TRUE(targetFrame.holds(target)) << std::hex << format;
    }

    const Picture picture = randomPicture(random, TLUX_FMT_YCBCR444_P, 6, 4, 0);
    Frame source(randomPicture(random, TLUX_FMT_YCBCR444_P, 6, 4, 0));
    Frame target(picture);
    EXPECT_EQ(copy(nullptr, nullptr, source.get(), nullptr), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(copy(target.get(), nullptr, nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
    for (TLUX_IMAGE* image : {source.get(), target.get()}) {
      for (std::uint8_t*& plane : {std::ref(image->plane[0]), std::ref(image->plane[2])}) {
        std::uint8_t* kept = std::exchange(plane, nullptr);
        EXPECT_EQ(copy(target.get(), nullptr, source.get(), nullptr), TLUX_ERR_INVALID_PARAM);
        plane = kept;
      }
      image->format = TLUX_FMT_YCBCR444_P_B;
      EXPECT_EQ(copy(target.get(), nullptr, source.get(), nullptr), TLUX_ERR_INVALID_PARAM);
      image->format = TLUX_FMT_YCBCR444_P;
    }
    EXPECT_TRUE(target.holds(picture));
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
  TLUX_IMAGE b{TLUX_FMT_YCBCR420_YPVU, 8, 4, {}, {}};
  EXPECT_EQ(TLUX_IsImageEqual_IMK(&a, &b), 1);
  for (const auto& [format, width, height] : {std::tuple{TLUX_FMT_YCBCR420_YPUV, 8, 4},
                                              {TLUX_FMT_YCBCR420_YPVU, 7, 4},
                                              {TLUX_FMT_YCBCR420_YPVU, 8, 5}}) {
    b.format = format;
    b.width = width;
    b.height = height;
    EXPECT_EQ(TLUX_IsImageEqual_IMK(&a, &b), 0);
  }
  EXPECT_EQ(TLUX_IsImageEqual_IMK(&a, nullptr), 0);
  EXPECT_EQ(TLUX_IsImageEqual_IMK(nullptr, nullptr), 0);
}

} // namespace
} // namespace tlux::test
