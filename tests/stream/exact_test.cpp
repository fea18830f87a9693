#include <gtest/gtest.h>
#include "reference/run.hpp"
#include "stream/scoped_stream.hpp"
#include "stream/threads.hpp"
#include "support/effort.hpp"
#include "support/random.hpp"

// Exact tones are those of the run on a frame whose last column and row go on up to the next
// multiple of 16, cut back, with the mark in its own corner.
namespace tlux::test {
namespace {

int wholeBlocks(int side) {
  return (side + 15) / 16 * 16;
}

// Samples as the run has them; the rest of the output as it was.
Frame expectedOf(Frame& source, const Frame& blank, std::uint32_t strength) {
  Frame out = blank.copy();
  reference::optimizeContinued(source.image(), out.image(), strength);
  return out;
}

// One stream for all frames, whose sizes and strengths change from call to call.
class ExactStream : public testing::Test {
 protected:
  void expectEqual(ScopedStream& stream, const FrameShape& in, const FrameShape& out, Scene scene,
                   std::uint32_t strength) {
    SCOPED_TRACE(testing::Message() << in.width << 'x' << in.height << " pitches " << in.lumaPitch
                                    << ',' << in.chromaPitch << " -> " << out.lumaPitch << ','
                                    << out.chromaPitch << " strength " << strength);
    Frame source(in, scene, random_.bits());
    const Frame original = source.copy();
    Frame output(out);
    const Frame expected = expectedOf(source, output, strength);
    ASSERT_EQ(stream.run(source, output, strength), TLUX_OK);
    EXPECT_TRUE(output == expected);
    EXPECT_TRUE(source == original);
    const Frame inPlace = expectedOf(source, source, strength);
    ASSERT_EQ(stream.run(source, source, strength), TLUX_OK);
    EXPECT_TRUE(source == inPlace);
  }

  FrameShape randomShape(int largest) {
    FrameShape shape{2 * random_.intBetween(1, largest / 2),
                     2 * random_.intBetween(1, largest / 2)};
    shape.format = random_.intBetween(0, 1) != 0 ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_YCBCR420_YPUV;
    if (random_.intBetween(0, 3) == 0) { // whole blocks
      shape.width = wholeBlocks(shape.width);
      shape.height = wholeBlocks(shape.height);
    }
    return padded(shape);
  }

  FrameShape padded(FrameShape shape) {
    const int padding[] = {0, 0, 1, 4, 64};
    shape.lumaPitch = shape.width + padding[random_.intBetween(0, 4)];
    shape.chromaPitch = shape.width + padding[random_.intBetween(0, 4)];
    return shape;
  }

  Random random_{17};
};

TEST_F(ExactStream, EqualsTheRunForAnyFrameWhoeverWorks) {
  constexpr std::uint32_t kStrengths[] = {0, 1, 25, 50, 100, 400, 0xFFFFFFFF};
  for (const TLUX_STREAM_OPTIONS& options : everyKindOfThreads(TLUX_TONES_EXACT)) {
    ScopedStream stream(options);
    for (int i = 0; i < (kIsFast ? 24 : 4); ++i) {
      const FrameShape shape = randomShape(i % 4 == 0 ? 700 : 160);
      const Scene scene = kScenes[random_.intBetween(0, 4)];
      expectEqual(stream, shape, padded(shape), scene, kStrengths[random_.intBetween(0, 6)]);
    }
  }
}

TEST_F(ExactStream, EqualsTheRunForEverySmallSize) {
  ScopedStream stream(TLUX_TONES_EXACT);
  for (int height = 2; height <= 36; height += 2) {
    for (int width = 2; width <= 36; width += kIsFast ? 2 : 6) {
      expectEqual(stream, {width, height}, {width, height}, Scene::kNoise, 60);
    }
  }
}

// Widths around the pieces of the kernels, a frame with the commonest size, one that is marked.
TEST_F(ExactStream, EqualsTheRunForLargeSizes) {
  ScopedStream stream(TLUX_TONES_EXACT);
  for (const FrameShape& shape : {FrameShape{1920, 1080},
                                  {1022, 130},
                                  {1026, 98},
                                  {4098, 50},
                                  {50, 4098},
                                  {1440, 1080, 1536, 1600}}) {
    expectEqual(stream, shape, shape, Scene::kWindow, 50);
  }
}

} // namespace
} // namespace tlux::test
