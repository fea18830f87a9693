#include <gtest/gtest.h>

#include "support/components.hpp"
#include "support/simple_image.hpp"
#include "tlux/guided_filter.h"
#include "tlux/nv21_tools.h"

namespace tlux::test {
namespace {

constexpr std::pair<int, int> kSizes[] = {{1, 1}, {1, 4}, {2, 2}, {7, 5}, {34, 18}};
constexpr std::uint32_t kNv21 = TLUX_FMT_YCBCR420_YPVU;
constexpr std::uint32_t k444 = TLUX_FMT_YCBCR444_P;
constexpr std::uint32_t kSemiPlanar[] = {kNv21, TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR422_YPUV};

Bytes guided(const Bytes& guide, const Bytes& input, int width, int height, int radius) {
  if (input.empty()) return input;
  TestImage I(width, height, 1, guide);
  TestImage p(width, height, 1, input);
  guided_filter_1d(nullptr, I, p, p, radius);
  return p.pixels();
}

TEST(GuideFilterNv21, FiltersEachChannelWithItself) {
  Random random(1);
  for (const std::uint32_t format : kSemiPlanar) {
    for (const auto& [width, height] : kSizes) {
      for (const int radius : {0, 1, 4, 2147483647}) {
        Frame in = randomFrame(random, format, width, height, 5);
        Frame out = randomFrame(random, format, width, height, 5);
        Frame inPlace = in.copy();
        Frame expected = out.copy();
        for (const FrameChannel& channel : channelsOf(format, width, height)) {
          const Bytes plane = channel.in(in);
          const Bytes filtered = guided(plane, plane, channel.width, channel.height,
                                        channel.plane == 0 ? radius : radius / 2 + radius % 2);
          channel.set(expected, filtered);
          channel.set(inPlace, filtered);
        }
        ASSERT_EQ(GuideFilterNV21(nullptr, in.get(), out.get(), radius), TLUX_OK);
        ASSERT_EQ(GuideFilterNV21(nullptr, in.get(), in.get(), radius), TLUX_OK);
        ASSERT_TRUE(out == expected) << width << "x" << height << " r " << radius;
        ASSERT_TRUE(in == inPlace);
      }
    }
  }
}

TEST(GuideFilterNv21, FiltersAChannelByAnyGuide) {
  constexpr int kWidth = 37;
  constexpr int kHeight = 11;
  constexpr int kPitch = kWidth + 6;
  Random random(2);
  TestImage guide(random, kWidth, kHeight, 1);
  TestImage channel(random, kWidth, kHeight, 1);
  TestImage target(kWidth, kHeight, 1, 8, 6);
  ASSERT_EQ(DstFilterChannel(nullptr, guide->data, kWidth, channel->data, kWidth, target->data,
                             kPitch, kWidth, kHeight, 3),
            TLUX_OK);
  EXPECT_TRUE(target.isIntact());
  EXPECT_EQ(target.pixels(), guided(guide.given(), channel.given(), kWidth, kHeight, 3));
}

TEST(ChromaPlanes, ComeApartAndTogether) {
  Random random(4);
  for (const std::uint32_t format : kSemiPlanar) {
    for (const auto& [width, height] : kSizes) {
      Frame frame = randomFrame(random, format, width, height, 5);
      const Frame before = frame.copy();
      const auto channels = channelsOf(format, width, height);
      const int first = format == kNv21 ? 2 : 1; // position of Cb
      const FrameShape shape{channels[1].width, channels[1].height, channels[1].width + 3, 0,
                             TLUX_FMT_GRAY};
      const FrameChannel plane = channelsOf(TLUX_FMT_GRAY, shape.width, shape.height)[0];
      Frame u(shape), v(shape), expectedU(shape), expectedV(shape);
      plane.set(expectedU, channels[first].in(frame));
      plane.set(expectedV, channels[3 - first].in(frame));
      ASSERT_EQ(ExtractUVchannel(frame.get(), u->plane[0], v->plane[0], shape.lumaPitch), TLUX_OK);
      ASSERT_TRUE(u == expectedU && v == expectedV && frame == before);

      Frame target = randomFrame(random, format, width, height, 5);
      Frame expected = target.copy();
      for (const int c : {1, 2})
        channels[c].set(expected, channels[c].in(frame));
      ASSERT_EQ(PushUVchannel(u->plane[0], v->plane[0], shape.lumaPitch, target.get()), TLUX_OK);
      ASSERT_TRUE(target == expected);
    }
  }
}

TEST(FormatI444ToNv21, TakesMeansOfBlocks) {
  Random random(5);
  for (const auto& [width, height] : kSizes) {
    Frame in = randomFrame(random, k444, width, height, 5);
    Frame out = randomFrame(random, kNv21, width, height, 5);
    Frame expected = out.copy();
    const auto from = channelsOf(k444, width, height);
    const auto to = channelsOf(kNv21, width, height);
    to[0].set(expected, from[0].in(in));
    for (const int c : {1, 2}) {
      const reference::Channel samples = from[3 - c].of(in); // Cr before Cb
      forEachPixel(to[c].width, to[c].height, [&](int x, int y) {
        const int sum = samples.at(2 * x, 2 * y) + samples.at(2 * x + 1, 2 * y) +
                        samples.at(2 * x, 2 * y + 1) + samples.at(2 * x + 1, 2 * y + 1);
        to[c].at(expected, x, y) = static_cast<std::uint8_t>((sum + 2) / 4);
      });
    }
    ASSERT_EQ(FormatI444TONV21(in.get(), out.get()), TLUX_OK);
    ASSERT_TRUE(out == expected) << width << "x" << height;
  }
}

TEST(GaussSmoothI444, SmoothsTheChosenPlanes) {
  Random random(6);
  for (const auto& [width, height] : kSizes) {
    for (std::uint32_t planes = 0; planes < 8; ++planes) {
      Frame in = randomFrame(random, k444, width, height, 5);
      Frame out = randomFrame(random, k444, width, height, 5);
      const Frame expected = mapped(
          in, out, [&](const reference::Channel& p, const FrameChannel& target, int x, int y) {
            if ((planes >> target.plane & 1) == 0) return p.at(x, y);
            int sum = 8;
            reference::forEachIn(-1, -1, 2, 2, [&](int dx, int dy) {
              sum += (2 - std::abs(dx)) * (2 - std::abs(dy)) * p.at(x + dx, y + dy);
            });
            return sum / 16;
          });
      ASSERT_EQ(GaussSmoothI444(in.get(), out.get(), planes), TLUX_OK);
      ASSERT_TRUE(out == expected) << width << "x" << height << " " << planes;
    }
  }
}

TEST(ImageRollOver, TurnsEveryComponent) {
  Random random(7);
  for (const std::uint32_t format : kCopied) {
    for (const auto& [width, height] : kSizes) {
      for (std::uint32_t flags = 0; flags < 4; ++flags) {
        Frame in = randomFrame(random, format, width, height, 5);
        Frame out = randomFrame(random, format, width, height, 5);
        const Frame before = out.copy();
        const std::uint32_t outcome = ImageRollOver(in.get(), out.get(), flags);
        if ((format >> 8) == 5) {
          ASSERT_EQ(outcome, TLUX_ERR_UNSUPPORTED);
          continue;
        }
        ASSERT_EQ(outcome, TLUX_OK);
        const auto turned = [&](const reference::Channel& p, const FrameChannel&, int x, int y) {
          return p.at((flags & TLUX_ROLL_COLUMNS) != 0 ? p.width - 1 - x : x,
                      (flags & TLUX_ROLL_ROWS) != 0 ? p.height - 1 - y : y);
        };
        ASSERT_TRUE(out == mapped(in, before, turned)) << std::hex << format << " " << flags;
      }
    }
  }
}

} // namespace
} // namespace tlux::test
