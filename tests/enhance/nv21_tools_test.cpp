#include <gtest/gtest.h>

#include "support/components.hpp"
#include "tlux/guided_filter.h"
#include "tlux/nv21_tools.h"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

struct Size {
  int width, height;
};

constexpr Size kSizes[] = {{1, 1}, {1, 4}, {2, 2}, {7, 5}, {34, 18}, {515, 6}, {1026, 3}};
constexpr std::uint32_t kSemiPlanar[] = {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV,
                                         TLUX_FMT_YCBCR422_YPUV};

using Plane = std::vector<std::uint8_t>;

// Channel c (0 luma, 1 and 2 as they lie in memory) of a picture, packed.
Plane channelOf(const Picture& picture, int c) {
  const auto channel =
      channelsOf(picture.format, picture.width, picture.height)[static_cast<std::size_t>(c)];
  const reference::Channel in = channel.of(picture);
  Plane plane;
  for (int y = 0; y < channel.height; ++y) {
    for (int x = 0; x < channel.width; ++x) {
      plane.push_back(static_cast<std::uint8_t>(in.at(x, y)));
    }
  }
  return plane;
}

Plane guided(const Plane& guide, Plane plane, int width, int height, int radius) {
  if (plane.empty()) return plane;
  Plane copy = guide;
  img* I = createimg_pesudo(nullptr, copy.data(), width, height, 8, 1, width);
  img* p = createimg_pesudo(nullptr, plane.data(), width, height, 8, 1, width);
  guided_filter_1d(nullptr, I, p, p, radius);
  release_img_pesudo(nullptr, &I);
  release_img_pesudo(nullptr, &p);
  return plane;
}

TEST(GuideFilterNv21, FiltersEachChannelWithItself) {
  Random random(1);
  for (const std::uint32_t format : kSemiPlanar) {
    for (const Size& size : kSizes) {
      for (const int radius : {0, 1, 4, 2147483647}) {
        const Picture source = randomPicture(random, format, size.width, size.height, 5);
        Picture expected = randomPicture(random, format, size.width, size.height, 5);
        Frame in = frameOf(source);
        Frame out = frameOf(expected);
        ASSERT_EQ(GuideFilterNV21(nullptr, in.get(), out.get(), radius), TLUX_OK);
        ASSERT_EQ(GuideFilterNV21(nullptr, in.get(), in.get(), radius), TLUX_OK);
        Picture inPlace = source;
        const auto channels = channelsOf(format, size.width, size.height);
        for (int c = 0; c < 3; ++c) {
          const auto& channel = channels[static_cast<std::size_t>(c)];
          const Plane plane = channelOf(source, c);
          const Plane filtered = guided(plane, plane, channel.width, channel.height,
                                        c == 0 ? radius : radius / 2 + radius % 2);
          for (int i = 0; i < static_cast<int>(filtered.size()); ++i) {
            const int x = i % channel.width;
            const int y = i / channel.width;
            channel.at(expected, x, y) = filtered[static_cast<std::size_t>(i)];
            channel.at(inPlace, x, y) = filtered[static_cast<std::size_t>(i)];
          }
        }
        ASSERT_TRUE(out == frameOf(expected))
            << size.width << "x" << size.height << " r " << radius;
        ASSERT_TRUE(in == frameOf(inPlace));
      }
    }
  }
}

TEST(GuideFilterNv21, FiltersAChannelByAnyGuide) {
  Random random(2);
  const int width = 37;
  const int height = 11;
  const std::size_t size = std::size_t{width} * height;
  GuardedBuffer guide(size);
  GuardedBuffer channel(size);
  random.fill(guide.bytes());
  random.fill(channel.bytes());
  GuardedPlane target(width, height, width + 6);
  ASSERT_EQ(DstFilterChannel(nullptr, guide.data(), width, channel.data(), width, target.data(),
                             target.pitch(), width, height, 3),
            TLUX_OK);
  EXPECT_TRUE(target.isIntact());
  const Plane expected = guided({guide.data(), guide.data() + size},
                                {channel.data(), channel.data() + size}, width, height, 3);
  for (int i = 0; i < width * height; ++i) {
    ASSERT_EQ(target.data()[i / width * target.pitch() + i % width],
              expected[static_cast<std::size_t>(i)]);
  }
  const auto refused = [&](const std::uint8_t* I, const std::uint8_t* p, int pitch, int w, int r) {
    return DstFilterChannel(nullptr, I, pitch, p, pitch, target.data(), pitch, w, height, r) ==
           TLUX_ERR_INVALID_PARAM;
  };
  EXPECT_TRUE(refused(nullptr, channel.data(), width, width, 1));
  EXPECT_TRUE(refused(guide.data(), nullptr, width, width, 1));
  EXPECT_TRUE(refused(guide.data(), channel.data(), width - 1, width, 1));
  EXPECT_TRUE(refused(guide.data(), channel.data(), width, 0, 1));
  EXPECT_TRUE(refused(guide.data(), channel.data(), width, width, -1));
  EXPECT_TRUE(refused(guide.data(), channel.data(), 1 << 26, 1 << 26, 1)); // too many pixels
}

TEST(ChromaPlanes, ComeApartAndTogether) {
  Random random(4);
  for (const std::uint32_t format : kSemiPlanar) {
    for (const Size& size : kSizes) {
      const Picture source = randomPicture(random, format, size.width, size.height, 5);
      Frame frame = frameOf(source);
      const auto chroma = channelsOf(format, size.width, size.height)[1];
      const int pitch = chroma.width + 3;
      GuardedPlane u(chroma.width, chroma.height, pitch);
      GuardedPlane v(chroma.width, chroma.height, pitch);
      ASSERT_EQ(ExtractUVchannel(frame.get(), u.data(), v.data(), pitch), TLUX_OK);
      EXPECT_TRUE(u.isIntact() && v.isIntact() && frame == frameOf(source));
      const bool isCrFirst = format == TLUX_FMT_YCBCR420_YPVU;
      const Plane cb = channelOf(source, isCrFirst ? 2 : 1);
      const Plane cr = channelOf(source, isCrFirst ? 1 : 2);
      for (int i = 0; i < static_cast<int>(cb.size()); ++i) {
        const int at = i / chroma.width * pitch + i % chroma.width;
        ASSERT_EQ(u.data()[at], cb[static_cast<std::size_t>(i)]);
        ASSERT_EQ(v.data()[at], cr[static_cast<std::size_t>(i)]);
      }
      Picture other = randomPicture(random, format, size.width, size.height, 5);
      Frame target = frameOf(other);
      ASSERT_EQ(PushUVchannel(u.data(), v.data(), pitch, target.get()), TLUX_OK);
      for (int y = 0; y < chroma.height; ++y) {
        for (int x = 0; x < chroma.width; ++x) {
          for (const std::size_t c : {std::size_t{1}, std::size_t{2}}) {
            const auto channel = channelsOf(format, size.width, size.height)[c];
            channel.at(other, x, y) = static_cast<std::uint8_t>(channel.of(source).at(x, y));
          }
        }
      }
      ASSERT_TRUE(target == frameOf(other));
    }
  }
}

TEST(FormatI444ToNv21, TakesMeansOfBlocks) {
  Random random(5);
  for (const Size& size : kSizes) {
    const Picture source = randomPicture(random, TLUX_FMT_YCBCR444_P, size.width, size.height, 5);
    const Picture before =
        randomPicture(random, TLUX_FMT_YCBCR420_YPVU, size.width, size.height, 5);
    Frame in = frameOf(source);
    Frame out = frameOf(before);
    ASSERT_EQ(FormatI444TONV21(in.get(), out.get()), TLUX_OK);
    Picture expected = before;
    const auto from = channelsOf(source.format, size.width, size.height);
    const auto to = channelsOf(before.format, size.width, size.height);
    for (std::size_t c = 0; c < 3; ++c) {
      const reference::Channel samples = from[c == 0 ? 0 : 3 - c].of(source); // Cr before Cb
      for (int y = 0; y < to[c].height; ++y) {
        for (int x = 0; x < to[c].width; ++x) {
          const int sum = samples.at(2 * x, 2 * y) + samples.at(2 * x + 1, 2 * y) +
                          samples.at(2 * x, 2 * y + 1) + samples.at(2 * x + 1, 2 * y + 1);
          to[c].at(expected, x, y) =
              static_cast<std::uint8_t>(c == 0 ? samples.at(x, y) : (sum + 2) / 4);
        }
      }
    }
    ASSERT_TRUE(out == frameOf(expected)) << size.width << "x" << size.height;
  }
}

TEST(GaussSmoothI444, SmoothsTheChosenPlanes) {
  Random random(6);
  for (const Size& size : kSizes) {
    for (std::uint32_t planes = 0; planes < 8; ++planes) {
      const std::uint32_t format = TLUX_FMT_YCBCR444_P;
      const Picture source = randomPicture(random, format, size.width, size.height, 5);
      const Picture before = randomPicture(random, format, size.width, size.height, 5);
      Frame in = frameOf(source);
      Frame out = frameOf(before);
      ASSERT_EQ(GaussSmoothI444(in.get(), out.get(), planes), TLUX_OK);
      const Picture expected =
          mapped(source, before,
                 [&](const reference::Channel& p, const PictureChannel& target, int x, int y) {
                   if ((planes >> target.plane & 1) == 0) return p.at(x, y);
                   int sum = 8;
                   for (int dy = -1; dy <= 1; ++dy) {
                     for (int dx = -1; dx <= 1; ++dx) {
                       sum += (2 - std::abs(dx)) * (2 - std::abs(dy)) * p.at(x + dx, y + dy);
                     }
                   }
                   return sum / 16;
                 });
      ASSERT_TRUE(out == frameOf(expected)) << size.width << "x" << size.height << " " << planes;
    }
  }
}

TEST(ImageRollOver, TurnsEveryComponent) {
  Random random(7);
  for (const std::uint32_t format : kCopied) {
    for (const Size& size : kSizes) {
      for (std::uint32_t flags = 0; flags < 4; ++flags) {
        const Picture source = randomPicture(random, format, size.width, size.height, 5);
        const Picture before = randomPicture(random, format, size.width, size.height, 5);
        Frame in = frameOf(source);
        Frame out = frameOf(before);
        const std::uint32_t outcome = ImageRollOver(in.get(), out.get(), flags);
        if ((format >> 8) == 5) {
          ASSERT_EQ(outcome, TLUX_ERR_UNSUPPORTED);
          continue;
        }
        ASSERT_EQ(outcome, TLUX_OK);
        const Picture expected = mapped(
            source, before, [&](const reference::Channel& p, const PictureChannel&, int x, int y) {
              return p.at((flags & TLUX_ROLL_COLUMNS) != 0 ? p.width - 1 - x : x,
                          (flags & TLUX_ROLL_ROWS) != 0 ? p.height - 1 - y : y);
            });
        ASSERT_TRUE(out == frameOf(expected)) << std::hex << format << " " << flags;
      }
    }
  }
}

TEST(Nv21Tools, RefuseBadFrames) {
  Random random(8);
  using Image = TLUX_IMAGE;
  struct Tool {
    std::uint32_t from, to;
    std::uint32_t (*run)(const Image*, Image*);
  };
  constexpr std::uint32_t kNv21 = TLUX_FMT_YCBCR420_YPVU;
  constexpr std::uint32_t k444 = TLUX_FMT_YCBCR444_P;
  static std::uint8_t planes[2][64];
  const Tool tools[] = {
      {kNv21, kNv21, [](const Image* a, Image* b) { return GuideFilterNV21(nullptr, a, b, 1); }},
      {kNv21, kNv21, [](const Image* a, Image* b) { return ImageRollOver(a, b, TLUX_ROLL_ROWS); }},
      {k444, k444, [](const Image* a, Image* b) { return GaussSmoothI444(a, b, 7); }},
      {k444, kNv21, FormatI444TONV21},
      {kNv21, kNv21, [](const Image* a, Image* b) {
         const std::uint32_t outcome = ExtractUVchannel(a, planes[0], planes[1], 4);
         return outcome != TLUX_OK ? outcome : PushUVchannel(planes[0], planes[1], 4, b);
       }}};
  for (const Tool& tool : tools) {
    const Picture source = randomPicture(random, tool.from, 8, 6, 0);
    const Picture before = randomPicture(random, tool.to, 8, 6, 0);
    const auto outcomeOf = [&](auto change) {
      Frame in = frameOf(source);
      Frame out = frameOf(before);
      change(*in.get(), *out.get());
      const std::uint32_t outcome = tool.run(in.get(), out.get());
      EXPECT_TRUE(outcome == TLUX_OK || out == frameOf(before));
      return outcome;
    };
    EXPECT_EQ(outcomeOf([](Image&, Image&) {}), TLUX_OK);
    EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.plane[1] = nullptr; }), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(outcomeOf([](Image&, Image& out) { out.plane[1] = nullptr; }),
              TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(outcomeOf([](Image& in, Image&) { in.pitch[1] = 7; }), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(outcomeOf([](Image&, Image& out) { out.height = 0; }), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(outcomeOf([](Image& in, Image& out) { in.format = out.format = 0x300; }),
              TLUX_ERR_UNSUPPORTED);
    Frame out = frameOf(before);
    EXPECT_EQ(tool.run(nullptr, out.get()), TLUX_ERR_INVALID_PARAM);
    Frame in = frameOf(source);
    EXPECT_EQ(tool.run(in.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  }
  Frame frame = frameOf(randomPicture(random, kNv21, 8, 6, 0));
  Frame other = frameOf(randomPicture(random, kNv21, 8, 6, 0));
  EXPECT_EQ(ExtractUVchannel(frame.get(), nullptr, planes[1], 4), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(ExtractUVchannel(frame.get(), planes[0], planes[1], 3), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(PushUVchannel(planes[0], nullptr, 4, frame.get()), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(ImageRollOver(frame.get(), other.get(), 4), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(ImageRollOver(frame.get(), frame.get(), 1), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(GuideFilterNV21(nullptr, frame.get(), other.get(), -1), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test
