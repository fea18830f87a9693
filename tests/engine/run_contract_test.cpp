#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <tuple>
#include <vector>

#include "engine/scoped_engine.hpp"
#include "support/fault_injection.hpp"
#include "tlux/mark.h"
#include "tlux/resample.h"
#include "tlux/tone_stage.h"

namespace tlux::test {
namespace {

constexpr FrameShape kSmall{160, 96};
constexpr std::uint32_t kStrength = 50;

TEST(Run, DescribesTheFrameInTheEngine) {
  for (const auto& [width, height, refWidth, refHeight] :
       {std::array{1920, 1080, 240, 134}, {1918, 1080, 238, 134}, {34, 46, 4, 4}, {14, 64, 0, 8}}) {
    ScopedEngine engine;
    Frame source({width, height}, Scene::kGrey);
    Frame output({width, height});
    ASSERT_EQ(engine.run(source, output, 7), TLUX_OK);
    const TLUX_ENGINE& state = engine.state();
    EXPECT_EQ(state.source, source.get());
    EXPECT_EQ(std::tuple(state.mode, state.srcWidth, state.srcHeight),
              std::tuple(1U, width, height));
    EXPECT_EQ(std::tuple(state.refWidth, state.refHeight, state.refScale),
              std::tuple(refWidth, refHeight, 8));
    if (refWidth == 0) {
      EXPECT_EQ(state.images[0], nullptr);
      continue;
    }
    EXPECT_EQ(state.images[0]->format, TLUX_FMT_YCBCR444_P);
    EXPECT_EQ(state.images[0]->plane[0][0], 89); // the nine-sample mean loses one level
    EXPECT_EQ(state.logGainWidth, refWidth);
    EXPECT_EQ(state.logGainHeight, refHeight);
    EXPECT_EQ(state.gainLutStrength, 7U);
  }
}

testing::AssertionResult isReduced(const TLUX_IMAGE& reference, const TLUX_IMAGE& source) {
  TLUX_IMAGE* expected = nullptr;
  TLUX_CreateImage_IMK(&expected, reference.width, reference.height, reference.format, nullptr);
  const TLUX_CROP_RECT blocks = {0, 0, 8 * reference.width - 1, 8 * reference.height - 1};
  TLUX_ScaleCropImage(&source, expected, &blocks, 8);
  auto result = testing::AssertionSuccess();
  for (int plane = 0; plane < 3; ++plane) {
    for (int y = 0; y < reference.height; ++y) {
      const std::uint8_t* row = expected->plane[plane] + y * expected->pitch[plane];
      if (!std::equal(row, row + reference.width,
                      reference.plane[plane] + y * reference.pitch[plane])) {
        result = testing::AssertionFailure() << "plane " << plane << " row " << y;
      }
    }
  }
  TLUX_FreeImage_IMK(&expected, nullptr);
  return result;
}

// Its chroma is made along with the output, or where that fails, without.
TEST(Run, LeavesAWholeReferenceFrameWhateverTheResult) {
  for (const FrameShape& shape :
       {FrameShape{318, 206}, FrameShape{240, 560}, FrameShape{240, 176, 256, 248}}) {
    for (const auto failNth : {failAllocation, failThreadStart}) {
      bool isFaulty = true;
      for (int n = 1; isFaulty; ++n) {
        ScopedEngine engine;
        Frame source(shape, Scene::kWindow);
        Frame output(shape);
        failNth(n);
        engine.run(source, output, kStrength);
        isFaulty = faultFired();
        failNth(0);
        const TLUX_IMAGE* reference = engine.state().images[0];
        if (reference == nullptr) continue;
        EXPECT_TRUE(isReduced(*reference, source.image())) << shape.height << " rows, fault " << n;
      }
    }
  }
}

// Engines share nothing: frames of different sizes and strengths at the same time, marks included.
// As many threads as processors, none for a small frame; the same picture with any number of them.
TEST(Run, WorksOnAsManyThreadsAsThereAreProcessors) {
  ScopedEngine engine;
  Frame source({320, 240}, Scene::kWindow);
  Frame alone({320, 240});
  pretendProcessors(1);
  EXPECT_EQ(engine.run(source, alone, kStrength), TLUX_OK);
  for (const int processors : {1, 2, 3, 4, 8}) {
    pretendProcessors(processors);
    Frame output({320, 240});
    EXPECT_EQ(sweepThreads([&] { return engine.run(source, output, kStrength); }),
              std::min(processors, 4) - 1);
    EXPECT_TRUE(output == alone);
  }
  Frame small(kSmall, Scene::kWindow);
  Frame output(kSmall);
  ASSERT_EQ(engine.run(small, output, kStrength), TLUX_OK);
  EXPECT_EQ(sweepThreads([&] { return engine.run(small, output, kStrength); }), 0);
  pretendProcessors(0);
}

TEST(Run, WorksInTwoThreadsAtOnce) {
  const auto stream = [](int width, int height, std::uint32_t strength, int count) {
    std::vector<std::uint64_t> hashes;
    ScopedEngine engine;
    for (int i = 0; i < count; ++i) {
      const FrameShape shape{width, height};
      Frame source(shape, Scene::kWindow, static_cast<std::uint32_t>(i));
      Frame output(shape);
      EXPECT_EQ(engine.run(source, output, strength), TLUX_OK);
      hashes.push_back(output.hash(output->height));
    }
    return hashes;
  };
  const auto wide = stream(1280, 128, 50, 4);
  const auto square = stream(400, 400, 100, 4);
  std::vector<std::uint64_t> wideInParallel;
  std::thread other([&] { wideInParallel = stream(1280, 128, 50, 4); });
  EXPECT_EQ(stream(400, 400, 100, 4), square);
  other.join();
  EXPECT_EQ(wideInParallel, wide);
}

TEST(ToneStage, IsTheRunWithoutCopyAndMark) {
  const FrameShape shape{170, 106};
  ScopedEngine engine;
  Frame source(shape, Scene::kWindow);
  Frame marked(shape);
  ASSERT_EQ(engine.run(source, marked, kStrength), TLUX_OK);
  Frame output(shape, Scene::kWindow); // holds the copy
  ASSERT_EQ(
      TLUX_Tonemapping(nullptr, &engine.state(), &source.image(), &output.image(), 0, &kStrength),
      TLUX_OK);
  TLUX_EmbeddedMark(&output.image());
  EXPECT_TRUE(output == marked);
}

// Without memory for new scores, those of the frame before serve: its tones, this frame's picture.
TEST(ToneStage, FallsBackOnTheScoresItHas) {
  ScopedEngine engine;
  Frame source(kSmall, Scene::kWindow);
  Frame output(kSmall);
  ASSERT_EQ(engine.run(source, output, kStrength), TLUX_OK);
  failAllocation(1);
  EXPECT_EQ(engine.run(source, output, kStrength), TLUX_OK);
  EXPECT_TRUE(faultFired());
  failAllocation(0);
}

} // namespace
} // namespace tlux::test
