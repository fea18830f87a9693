#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "stream/scoped_stream.hpp"

namespace tlux::test {
namespace {

// Wide enough for a wall beyond the reach of the filter, 256 columns from the lamp.
constexpr FrameShape kShape{640, 360};
constexpr std::uint32_t kStrength = 50;

// A room with texture whose tones are scaled by `exposure`; a lamp lights up one corner of it.
Frame room(double exposure, bool hasLamp = false) {
  Frame frame(kShape, Scene::kGrey);
  double columns[kShape.width];
  double rows[kShape.height];
  for (int x = 0; x < kShape.width; ++x)
    columns[x] = std::sin(x / 40.0);
  for (int y = 0; y < kShape.height; ++y)
    rows[y] = std::cos(y / 30.0);
  forEachPixel(kShape.width, kShape.height, [&](int x, int y) {
    const double code = 60 + 50 * columns[x] * rows[y] + x * 0.1;
    const bool isLit = hasLamp && x < 90 && y < 51; // 2 % of the frame
    frame.row(0, y)[x] =
        static_cast<std::uint8_t>(isLit ? 250 : std::clamp(exposure * code, 0.0, 255.0));
  });
  return frame;
}

double meanOf(Frame& frame, int left, int top, int width, int height) {
  double sum = 0;
  forEachPixel(width, height, [&](int x, int y) { sum += frame.row(0, top + y)[left + x]; });
  return sum / (width * height);
}

TLUX_STREAM_OPTIONS steadyOptions(std::uint32_t frames) {
  TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_NATURAL);
  options.steady = frames;
  return options;
}

// The mean of the whole output, the mark aside.
double toned(ScopedStream& stream, Frame source) {
  EXPECT_EQ(stream.run(source, source, kStrength), TLUX_OK);
  return meanOf(source, 0, 0, kShape.width, 300);
}

TEST(SteadyStream, RisesWithTheLight) {
  ScopedStream stream(steadyOptions(8));
  double last = 0;
  for (double exposure = 0.5; exposure < 2.6; exposure *= 1.04) {
    TLUX_ResetStream(stream.get()); // every picture by itself
    const double mean = toned(stream, room(exposure));
    EXPECT_GT(mean, last - 0.1) << exposure;
    if (last > 0) { // 4 % of the light
      EXPECT_LT(mean, last + 7) << exposure;
    }
    last = mean;
  }
}

// What the far wall does when a lamp comes on in the corner.
TEST(SteadyStream, LetsALampMoveTheFarWallSlowly) {
  const Frame rooms[] = {room(1), room(1, true)};
  const auto farWall = [&](ScopedStream& stream, bool hasLamp) {
    Frame frame = rooms[hasLamp].copy();
    EXPECT_EQ(stream.run(frame, frame, kStrength), TLUX_OK);
    return meanOf(frame, 400, 60, 160, 120);
  };
  for (const std::uint32_t frames : {1U, 8U}) {
    ScopedStream stream(steadyOptions(frames));
    const double dark = farWall(stream, false);
    EXPECT_DOUBLE_EQ(farWall(stream, false), dark);
    std::vector<double> lit;
    for (int i = 0; i < (frames == 1 ? 2 : 60); ++i)
      lit.push_back(farWall(stream, true));
    const double whole = std::abs(lit.back() - dark);
    EXPECT_GT(whole, 1);
    if (frames == 1) {
      EXPECT_DOUBLE_EQ(lit.front(), lit.back());
    } else {
      EXPECT_LT(std::abs(lit.front() - dark), 0.25 * whole);
      EXPECT_NEAR(lit[24], lit.back(), 0.1);
    }
  }
}

TEST(SteadyStream, FollowsACutAtOnce) {
  TLUX_STREAM_REPORT report = {};
  report.size = sizeof report;
  ScopedStream stream(steadyOptions(100));
  const auto isCut = [&](Frame frame) {
    EXPECT_EQ(stream.run(frame, frame, kStrength), TLUX_OK);
    EXPECT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_OK);
    return report.isCut != 0;
  };
  EXPECT_TRUE(isCut(room(0.6)));
  EXPECT_FALSE(isCut(room(0.65)));
  EXPECT_TRUE(isCut(room(1.6)));
  ScopedStream fresh(steadyOptions(100));
  Frame other = room(1.6);
  Frame expected = room(1.6);
  ASSERT_EQ(fresh.run(expected, expected, kStrength), TLUX_OK);
  TLUX_ResetStream(stream.get());
  EXPECT_TRUE(isCut(room(1.6)));
  ASSERT_EQ(stream.run(other, other, kStrength), TLUX_OK);
  EXPECT_TRUE(other == expected);
  // Another size is another scene.
  Frame smaller({320, 180}, Scene::kWindow);
  ASSERT_EQ(stream.run(smaller, smaller, kStrength), TLUX_OK);
  ASSERT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_OK);
  EXPECT_EQ(report.isCut, 1U);
}

// A frame that failed leaves no trace in the tones.
TEST(SteadyStream, ForgetsAFrameThatFailed) {
  struct Runner {
    bool fails = false;
    static std::uint32_t run(void* context, TLUX_PART part, void* work, std::uint32_t count) {
      if (static_cast<Runner*>(context)->fails) return TLUX_ERR_THREAD;
      for (std::uint32_t i = 0; i < count; ++i)
        part(work, i);
      return TLUX_OK;
    }
  } runner;
  TLUX_STREAM_OPTIONS options = steadyOptions(8);
  options.parallelFor = Runner::run;
  options.parallelContext = &runner;
  ScopedStream stream(options);
  ScopedStream undisturbed(steadyOptions(8));
  for (const double exposure : {1.0, 1.1}) {
    Frame frame = room(exposure);
    Frame expected = room(exposure);
    ASSERT_EQ(stream.run(frame, frame, kStrength), TLUX_OK);
    ASSERT_EQ(undisturbed.run(expected, expected, kStrength), TLUX_OK);
    EXPECT_TRUE(frame == expected);
    runner.fails = true;
    Frame lost = room(2);
    EXPECT_EQ(stream.run(lost, lost, kStrength), TLUX_ERR_THREAD);
    runner.fails = false;
  }
}

// From steady tones to those of every frame by itself, and back.
TEST(SteadyStream, ChangesOnTheWay) {
  ScopedStream stream(steadyOptions(8));
  const double steady = toned(stream, room(1));
  TLUX_STREAM_OPTIONS options = steadyOptions(0);
  ASSERT_EQ(TLUX_ChangeStream(stream.get(), &options), TLUX_OK);
  toned(stream, room(1));
  options = steadyOptions(8);
  ASSERT_EQ(TLUX_ChangeStream(stream.get(), &options), TLUX_OK);
  EXPECT_NEAR(toned(stream, room(1)), steady, 0.01);
}

} // namespace
} // namespace tlux::test
