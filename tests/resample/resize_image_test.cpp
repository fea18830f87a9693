#include <gtest/gtest.h>

#include <thread>

#include "support/components.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

struct Size {
  int width, height;
};

constexpr Size kSizes[] = {{1, 1}, {1, 6}, {2, 2}, {3, 5}, {16, 9}, {37, 22}, {4102, 3}};

bool isResized(std::uint32_t format) {
  return format < TLUX_FMT_YCBYCR_5 || format > TLUX_FMT_YCBYCR_8;
}

using ResizeImage = uint32_t(const TLUX_IMAGE*, TLUX_IMAGE*);
using SampleOf = int(const reference::Channel&, int, int, int, int);

void comparesWithSamples(ResizeImage* resize, SampleOf* sampleOf) {
  Random random(1);
  for (const std::uint32_t format : kCopied) {
    if (!isResized(format)) continue;
    for (const Size& from : kSizes) {
      for (const Size& to : kSizes) {
        const Picture source = randomPicture(random, format, from.width, from.height, 5);
        const Picture before = randomPicture(random, format, to.width, to.height, 5);
        Frame in = frameOf(source);
        Frame out = frameOf(before);
        ASSERT_EQ(resize(in.get(), out.get()), TLUX_OK);
        const bool isCopy = from.width == to.width && from.height == to.height;
        const Picture expected = mapped(
            source, before,
            [&](const reference::Channel& channel, const PictureChannel& target, int x, int y) {
              if (isCopy) return int{channel.data[y * channel.pitch + x * channel.step]};
              return sampleOf(channel, std::max(target.width, 1), target.height, x, y);
            });
        if (isCopy && from.width == 1) continue; // the lone chroma byte of packed rows, see below
        ASSERT_TRUE(out == frameOf(expected))
            << std::hex << format << std::dec << " " << from.width << "x" << from.height << " to "
            << to.width << "x" << to.height;
      }
    }
  }
}

TEST(ResizeImage, TakesTheNearestSampleOfEachComponent) {
  comparesWithSamples(asfImageResize_NN, reference::nearest);
}

TEST(ResizeImage, InterpolatesEachComponent) {
  comparesWithSamples(asfImageResize_BL, reference::bilinear);
}

TEST(ResizeImage, CopiesEveryByteOfEqualSizes) {
  Random random(2);
  for (const std::uint32_t format : kCopied) {
    if (!isResized(format)) continue;
    for (const Size& size : kSizes) {
      const Picture source = randomPicture(random, format, size.width, size.height, 0);
      Frame in = frameOf(source);
      for (ResizeImage* resize : {asfImageResize_NN, asfImageResize_BL}) {
        Picture before = source;
        for (auto& plane : before.planes) {
          std::fill(plane.bytes.begin(), plane.bytes.end(), std::uint8_t{0x5A});
        }
        Frame out = frameOf(before);
        ASSERT_EQ(resize(in.get(), out.get()), TLUX_OK);
        // Interleaved chroma of odd width has a byte behind its last pair.
        if ((format >> 8) == 8 && size.width % 2 != 0) continue;
        ASSERT_TRUE(out == frameOf(source)) << std::hex << format;
      }
    }
  }
}

TEST(ResizeImage, PiecesMakeTheWholeOnThreadsOfTheHost) {
  Random random(3);
  for (const std::uint32_t format :
       {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR440_P, TLUX_FMT_YCBYCR}) {
    for (const Size& to : {Size{40, 31}, Size{33, 1}, Size{5, 24}, Size{9, 14}}) {
      Frame in = frameOf(randomPicture(random, format, 33, 24, 5));
      const Picture before = randomPicture(random, format, to.width, to.height, 5);
      Frame whole = frameOf(before);
      Frame pieces = frameOf(before);
      ASSERT_EQ(asfImageResize_BL(in.get(), whole.get()), TLUX_OK);
      const int middle = random.intBetween(0, to.height);
      const auto piece = [&](int first, int end) {
        EXPECT_EQ(asfImageResize_BL_Piece(in.get(), pieces.get(), first, end), TLUX_OK);
      };
      std::thread below(piece, middle, to.height);
      piece(0, middle);
      below.join();
      for (int plane = 0; plane < 3; ++plane) {
        const auto bytes = before.planes[plane].bytes.size();
        ASSERT_TRUE(
            std::equal(whole->plane[plane], whole->plane[plane] + bytes, pieces->plane[plane]));
      }
    }
  }
}

TEST(ResizeImage, RefusesWhatItCannotResize) {
  Random random(4);
  const Picture small = randomPicture(random, TLUX_FMT_YCBCR420_YPVU, 8, 6, 0);
  const Picture large = randomPicture(random, TLUX_FMT_YCBCR420_YPVU, 12, 10, 0);
  const auto outcomeOf = [&](auto change) {
    Frame in = frameOf(small);
    Frame out = frameOf(large);
    change(*in.get(), *out.get());
    const std::uint32_t outcome = asfImageResize_BL(in.get(), out.get());
    EXPECT_EQ(asfImageResize_NN(in.get(), out.get()), outcome);
    EXPECT_EQ(asfImageResize_BL_Piece(in.get(), out.get(), 0, 0), outcome);
    EXPECT_EQ(outcome == TLUX_OK, !(out == frameOf(large)));
    return outcome;
  };
  using Image = TLUX_IMAGE;
  EXPECT_EQ(outcomeOf([](Image&, Image&) {}), TLUX_OK);
  EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.format = TLUX_FMT_YCBCR420_YPUV; }),
            TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.plane[1] = nullptr; }), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(outcomeOf([](Image&, Image& out) { out.plane[0] = nullptr; }), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.pitch[0] = 7; }), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(outcomeOf([](Image&, Image& out) { out.pitch[1] = 11; }), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.width = 0; }), TLUX_ERR_INVALID_PARAM);
  for (const std::uint32_t format : {TLUX_FMT_BAYER, TLUX_FMT_YCBYCR_5, 0x300u}) {
    EXPECT_EQ(outcomeOf([&](Image& in, Image& out) { in.format = out.format = format; }),
              TLUX_ERR_UNSUPPORTED);
  }
  Frame in = frameOf(small);
  Frame out = frameOf(large);
  EXPECT_EQ(asfImageResize_NN(nullptr, out.get()), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(asfImageResize_BL(in.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  for (const auto& [first, end] : {std::pair(-1, 2), {3, 2}, {0, 11}}) {
    EXPECT_EQ(asfImageResize_BL_Piece(in.get(), out.get(), first, end), TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_TRUE(out == frameOf(large));
}

} // namespace
} // namespace tlux::test
