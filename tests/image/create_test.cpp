#include <gtest/gtest.h>

#include <limits>

#include "support/pool.hpp"
#include "tlux/image.h"

namespace tlux::test {
namespace {

struct Geometry {
  std::uint32_t format;
  int width;
  int height;
  int pitch[3];
  int rows[3];
};

const Geometry kGeometries[] = {
    {TLUX_FMT_BGR24, 3, 5, {12, 0, 0}, {5, 0, 0}},
    {TLUX_FMT_BGR32, 3, 5, {12, 0, 0}, {5, 0, 0}},
    {TLUX_FMT_PACKED24_4, 5, 2, {16, 0, 0}, {2, 0, 0}},
    {TLUX_FMT_YCBYCR, 7, 3, {16, 0, 0}, {3, 0, 0}},
    {TLUX_FMT_YCBYCR_5, 7, 3, {16, 0, 0}, {3, 0, 0}},
    {TLUX_FMT_YCBCR420_P, 641, 481, {644, 320, 320}, {481, 240, 240}},
    {TLUX_FMT_YCBCR420_P_B, 641, 481, {644, 320, 320}, {481, 240, 240}},
    {TLUX_FMT_YCBCR440_P, 641, 481, {644, 644, 644}, {481, 240, 240}},
    {TLUX_FMT_YCBCR422_P, 641, 481, {644, 320, 320}, {481, 481, 481}},
    {TLUX_FMT_YCBCR444_P_B, 641, 481, {644, 644, 644}, {481, 481, 481}},
    {TLUX_FMT_GRAY, 5, 3, {8, 0, 0}, {3, 0, 0}},
    {TLUX_FMT_YCBCR420_YPUV, 641, 481, {644, 644, 0}, {481, 240, 0}},
    {TLUX_FMT_YCBCR420_YPVU, 641, 481, {644, 644, 0}, {481, 240, 0}},
    {TLUX_FMT_YCBCR422_YPUV, 641, 481, {644, 644, 0}, {481, 481, 0}},
    {TLUX_FMT_BAYER, 5, 3, {12, 0, 0}, {3, 0, 0}},
    {TLUX_FMT_YCBCR420_YPVU, 1, 1, {4, 4, 0}, {1, 0, 0}},
};

// Pitches and plane starts follow the geometry, and every byte of every plane is there to be
// written.
TEST(CreateImage, LaysPlanesOutBackToBack) {
  for (const Geometry& g : kGeometries) {
    SCOPED_TRACE(testing::Message() << std::hex << g.format);
    TLUX_IMAGE* image = nullptr;
    ASSERT_EQ(TLUX_CreateImage_IMK(&image, g.width, g.height, g.format, nullptr), TLUX_OK);
    EXPECT_EQ(image->format, g.format);
    EXPECT_EQ(image->width, g.width);
    EXPECT_EQ(image->height, g.height);
    const std::uint8_t* expected = image->plane[0];
    for (int i = 0; i < 4; ++i) {
      const int pitch = i < 3 ? g.pitch[i] : 0;
      EXPECT_EQ(image->pitch[i], pitch);
      EXPECT_EQ(image->plane[i], pitch == 0 ? nullptr : expected);
      const auto bytes = i < 3 ? static_cast<std::uint64_t>(pitch) * g.rows[i] : 0;
      if (image->plane[i] != nullptr) MMemSet(image->plane[i], 1, bytes);
      expected += bytes;
    }
    TLUX_FreeImage_IMK(&image, nullptr);
    EXPECT_EQ(image, nullptr);
  }
}

TEST(CreateImage, RefusesWhatItCannotHoldAndReleasesTheRecord) {
  constexpr int kHuge = std::numeric_limits<int>::max();
  const Pool pool(512);
  for (const auto& [width, height, format] : {std::tuple{-1, 4, TLUX_FMT_BGR24},
                                              {4, -2, TLUX_FMT_BGR24},
                                              {-8, -8, TLUX_FMT_BGR24},
                                              {kHuge, 1, TLUX_FMT_BGR24},
                                              {100, 100, TLUX_FMT_BGR24},
                                              {65536, 65536, TLUX_FMT_BGR24},
                                              {92682, 46341, TLUX_FMT_BGR24},
                                              {4, 1073741823, TLUX_FMT_GRAY},
                                              {kHuge - 3, kHuge, TLUX_FMT_YCBCR444_P}}) {
    TLUX_IMAGE untouched{};
    TLUX_IMAGE* image = &untouched;
    EXPECT_EQ(TLUX_CreateImage_IMK(&image, width, height, format, pool), TLUX_ERR_NO_MEMORY);
    EXPECT_EQ(image, nullptr);
    EXPECT_TRUE(pool.isWhole());
  }
  EXPECT_EQ(TLUX_CreateImage_IMK(nullptr, 4, 4, TLUX_FMT_GRAY, nullptr), TLUX_ERR_INVALID_PARAM);
}

TEST(CreateImage, UnknownFormatKeepsTheRecordAllocated) {
  for (const std::uint32_t format : {0x300u, 0x509u, 0x609u, 0x804u, 0xA02u, 0u}) {
    const Pool pool(512);
    TLUX_IMAGE* image = nullptr;
    EXPECT_EQ(TLUX_CreateImage_IMK(&image, 4, 4, format, pool), TLUX_ERR_UNSUPPORTED);
    EXPECT_EQ(image, nullptr);
    EXPECT_FALSE(pool.isWhole());
  }
}

TEST(SetImage, FillsAsManyPlanesAsTheFormatHas) {
  std::uint8_t bytes[4];
  std::uint8_t* planes[4] = {bytes, bytes + 1, bytes + 2, bytes + 3};
  const int pitches[4] = {7, 8, 9, 10};
  for (const auto& [format, count] : {std::pair{TLUX_FMT_GRAY, 1},
                                      {TLUX_FMT_YCBCR420_YPVU, 2},
                                      {TLUX_FMT_YCBCR444_P, 3},
                                      {TLUX_FMT_BAYER, 1},
                                      {0x999u, 1}}) {
    TLUX_IMAGE image{};
    EXPECT_EQ(TLUX_SetImage_IMK(&image, 3, 2, format, planes, pitches), TLUX_OK);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(image.plane[i], i < count ? planes[i] : nullptr);
      EXPECT_EQ(image.pitch[i], i < count ? pitches[i] : 0);
    }
  }
  EXPECT_EQ(TLUX_SetImage_IMK(nullptr, 3, 2, TLUX_FMT_GRAY, planes, pitches),
            TLUX_ERR_INVALID_PARAM);
}

TEST(FreeImage, TakesNullAndReleasesPixelsAlone) {
  const long live = liveAllocations();
  TLUX_IMAGE* image = nullptr;
  TLUX_FreeImage_IMK(&image, nullptr);
  TLUX_FreeImage_IMK(nullptr, nullptr);
  TLUX_FreeImageData_IMK(nullptr, nullptr);
  ASSERT_EQ(TLUX_CreateImage_IMK(&image, 8, 8, TLUX_FMT_YCBCR420_YPUV, nullptr), TLUX_OK);
  const std::uint8_t* chroma = image->plane[1];
  TLUX_FreeImageData_IMK(image, nullptr);
  EXPECT_EQ(image->plane[0], nullptr);
  EXPECT_EQ(image->plane[1], chroma);
  TLUX_FreeImage_IMK(&image, nullptr);
  EXPECT_EQ(liveAllocations(), live);
}

} // namespace
} // namespace tlux::test
