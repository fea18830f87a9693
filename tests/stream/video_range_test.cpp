#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "stream/scoped_stream.hpp"

namespace tlux::test {
namespace {

TLUX_STREAM_OPTIONS videoOptions(std::uint32_t tones) {
  TLUX_STREAM_OPTIONS options = streamOptions(tones);
  options.range = TLUX_RANGE_LIMITED;
  return options;
}

// A frame in video range, and the same in full range, rounded.
template <class Convert>
void convert(Frame& from, Frame& to, Convert convertSample) {
  for (int plane = 0; plane < 2; ++plane) {
    for (int y = 0; y < from->height >> plane; ++y) {
      for (int x = 0; x < from->width; ++x) {
        to.row(plane, y)[x] = convertSample(plane, from.row(plane, y)[x]);
      }
    }
  }
}

std::uint8_t toVideo(int plane, std::uint8_t code) {
  return static_cast<std::uint8_t>(plane == 0 ? std::lround(16 + code * 219 / 255.0)
                                              : std::lround(128 + (code - 128) * 224 / 255.0));
}

std::uint8_t toFull(int plane, std::uint8_t code) {
  const double full = plane == 0 ? (code - 16) * 255 / 219.0 : 128 + (code - 128) * 255 / 224.0;
  return static_cast<std::uint8_t>(std::clamp(std::lround(full), 0L, 255L));
}

TEST(VideoRange, OfStrengthNoneIsTheFrameItself) {
  const FrameShape shape{100, 36, 128, 104};
  for (const std::uint32_t tones : {TLUX_TONES_EXACT, TLUX_TONES_NATURAL}) {
    ScopedStream stream(videoOptions(tones));
    for (const Scene scene : kScenes) {
      Frame source(shape, scene);
      Frame output(shape);
      ASSERT_EQ(stream.run(source, output, 0), TLUX_OK);
      for (int plane = 0; plane < 2; ++plane) {
        EXPECT_EQ(source.samples(plane), output.samples(plane));
      }
    }
  }
}

// The tones of the full-range frame: what rounding to fewer codes leaves of them. The ratio that
// chroma follows is coarse where luma has few codes.
TEST(VideoRange, HasTheTonesOfTheFullRangeFrame) {
  const FrameShape shape{120, 40}; // too small for the mark
  for (const Scene scene : {Scene::kGrey, Scene::kGradient, Scene::kWindow}) {
    for (const std::uint32_t strength : {25U, 100U}) {
      Frame full(shape, scene);
      Frame video(shape);
      convert(full, video, toVideo);
      Frame rounded(shape);
      convert(video, rounded, toFull);
      Frame fromFull(shape);
      Frame fromVideo(shape);
      ScopedStream stream(TLUX_TONES_EXACT);
      ScopedStream videoStream(videoOptions(TLUX_TONES_EXACT));
      ASSERT_EQ(stream.run(rounded, fromFull, strength), TLUX_OK);
      ASSERT_EQ(videoStream.run(video, fromVideo, strength), TLUX_OK);
      double sum[2] = {};
      for (int plane = 0; plane < 2; ++plane) {
        const Bytes expected = fromFull.samples(plane);
        const Bytes actual = fromVideo.samples(plane);
        for (std::size_t i = 0; i < expected.size(); ++i) {
          const int difference = actual[i] - toVideo(plane, expected[i]);
          sum[plane] += difference;
          const auto x = static_cast<int>(i) % shape.width / 2 * 2;
          const int y = static_cast<int>(i) / shape.width;
          const bool isDark = plane == 1 && rounded.row(0, 2 * y)[x] < 48;
          EXPECT_TRUE(isDark || std::abs(difference) <= 4 * (plane + 1)) << difference;
        }
        EXPECT_LE(std::abs(sum[plane]) / static_cast<double>(expected.size()), 1) << plane;
      }
    }
  }
}

// Codes of the range stay in it; those outside may stay where they are and do no harm.
TEST(VideoRange, IsKept) {
  const FrameShape shape{100, 36, 128, 104};
  for (const std::uint32_t strength : {1U, 50U, 400U}) {
    ScopedStream stream(videoOptions(TLUX_TONES_EXACT));
    for (const Scene scene : kScenes) {
      Frame source(shape, scene);
      Frame output(shape);
      ASSERT_EQ(stream.run(source, output, strength), TLUX_OK);
      for (int plane = 0; plane < 2; ++plane) {
        const int high = plane == 0 ? 235 : 240;
        const Bytes before = source.samples(plane);
        const Bytes after = output.samples(plane);
        for (std::size_t i = 0; i < before.size(); ++i) {
          EXPECT_GE(after[i], std::min<int>(before[i], 16));
          EXPECT_LE(after[i], std::max<int>(before[i], high));
        }
      }
      ASSERT_EQ(stream.run(source, source, strength), TLUX_OK);
      EXPECT_EQ(source.samples(0), output.samples(0));
      EXPECT_EQ(source.samples(1), output.samples(1));
    }
  }
}

} // namespace
} // namespace tlux::test
