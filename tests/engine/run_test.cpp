#include <gtest/gtest.h>

#include <vector>

#include "engine/scoped_engine.hpp"
#include "reference/run.hpp"
#include "support/effort.hpp"
#include "support/frame.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

// The output of a run that no other came before, but for the mark: its upper nine tenths.
std::uint64_t hashOfRun(const FrameShape& shape, Scene scene, std::uint32_t strength) {
  ScopedEngine engine;
  Frame source(shape, scene);
  Frame output(shape);
  EXPECT_EQ(engine.run(source, output, strength), TLUX_OK);
  return output.hash(shape.height * 9 / 10);
}

testing::AssertionResult equalsReference(const FrameShape& sourceShape,
                                         const FrameShape& outputShape, Scene scene,
                                         std::uint32_t strength) {
  ScopedEngine engine;
  Frame source(sourceShape, scene);
  Frame original(sourceShape, scene);
  Frame output(outputShape);
  Frame expected(outputShape);
  const std::uint32_t result = engine.run(source, output, strength);
  reference::optimizeFrame(source.image(), expected.image(), strength);
  if (result == TLUX_OK && output == expected && source == original) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "result " << result << " for " << sourceShape.width << 'x' << sourceShape.height
         << " pitch " << sourceShape.lumaPitch << ',' << sourceShape.chromaPitch << " -> "
         << outputShape.lumaPitch << ',' << outputShape.chromaPitch << " scene "
         << static_cast<int>(scene) << " strength " << strength;
}

constexpr std::uint32_t kStrengths[] = {0, 1, 20, 50, 100, 400, 0xFFFFFFFF};

TEST(Run, EqualsTheReferenceForEverySceneAndStrength) {
  for (const FrameShape& shape : {FrameShape{240, 176}, FrameShape{318, 206}}) {
    for (const Scene scene : kScenes) {
      for (const std::uint32_t strength : kStrengths) {
        EXPECT_TRUE(equalsReference(shape, shape, scene, strength));
      }
    }
  }
}

// Sides that are and are not multiples of 16, long and narrow ones, heights below and above that at
// which a band of the filter is as high as its radius, and widths about the pieces of the kernels.
TEST(Run, EqualsTheReferenceForManySizes) {
  std::vector<FrameShape> shapes = {{16, 16},   {16, 480},  {640, 16},   {18, 30},   {34, 48},
                                    {160, 120}, {320, 240}, {366, 498},  {486, 528}, {640, 480},
                                    {1918, 48}, {48, 1078}, {1022, 1034}};
  for (const int width : widthsAround({512, 528, 1040, 1920, 4032}))
    if (width % 2 == 0 && width < 4100) shapes.push_back({width, 34});
  for (FrameShape& shape : shapes) {
    for (const std::uint32_t format : {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV}) {
      shape.format = format;
      EXPECT_TRUE(equalsReference(shape, shape, Scene::kWindow, 50));
      shape.lumaPitch = (shape.width + 3) / 4 * 4; // from here on other pitches
      shape.chromaPitch = (shape.width + 63) / 64 * 64;
    }
  }
}

// All small sizes, where that is too slow every width. Planes end where memory ends, so that one
// byte too many is seen.
TEST(Run, TakesEveryFrameSize) {
  for (int height = 2; height <= 66; height += kIsFast ? 2 : 6) {
    for (int width = 2; width <= 66; width += 2) {
      const FrameShape shape{width, height};
      ASSERT_TRUE(equalsReference(shape, shape, Scene::kNoise, 60));
    }
  }
}

// An output of another kind gets no copy: what the stage does not write stays.
TEST(Run, GoesOnWithAnOutputOfAnotherKind) {
  const FrameShape source{150, 84};
  for (const FrameShape& output :
       {FrameShape{150, 84, 0, 0, TLUX_FMT_YCBCR420_YPUV},
        FrameShape{150, 84, 160, 160, TLUX_FMT_YCBCR420_YPUV}, FrameShape{170, 100},
        FrameShape{154, 84, 154, 154, TLUX_FMT_YCBCR420_YPUV}}) {
    EXPECT_TRUE(equalsReference(source, output, Scene::kWindow, 50));
  }
}

// Large frames, pinned: the same bytes from every compiler and processor.
TEST(Run, KeepsItsBytes) {
  struct Pinned {
    FrameShape shape;
    Scene scene;
    std::uint32_t strength;
    std::uint64_t hash;
  };
  const Pinned kPinned[] = {
      {{640, 480}, Scene::kWindow, 50, 0x7BD6AA8DEE7CE653},
      {{640, 480}, Scene::kGradient, 400, 0x201E5B7903635021},
      {{640, 480, 0, 0, TLUX_FMT_YCBCR420_YPUV}, Scene::kNoise, 100, 0x6A1A948BC100AAC5},
      {{1920, 1080}, Scene::kWindow, 20, 0x7F395D3BC3BA2063},
      {{1918, 1078, 1920, 1920}, Scene::kWindow, 100, 0x9EDC6CBA7DF51AF1},
  };
  for (const Pinned& pinned : kPinned) {
    EXPECT_EQ(hashOfRun(pinned.shape, pinned.scene, pinned.strength), pinned.hash)
        << pinned.shape.width << 'x' << pinned.shape.height << " strength " << pinned.strength;
  }
}

} // namespace
} // namespace tlux::test
