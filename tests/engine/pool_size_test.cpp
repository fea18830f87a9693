#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "engine/scoped_engine.hpp"
#include "support/fault_injection.hpp"
#include "support/frame.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

constexpr std::uint64_t kLess = 128; // what the answer may have to spare
constexpr std::size_t kMisalignment = 8;

// An engine's life inside a buffer of exactly these bytes: frames of every scene, at three
// strengths, each as from a fresh engine on the heap. Says whether there was memory for all.
class Life {
 public:
  explicit Life(const FrameShape& shape) : shape_(shape) {
    for (const std::uint32_t strength : {0U, 50U, 100U}) {
      for (const Scene scene : {Scene::kWindow, Scene::kNoise}) {
        runs_.push_back({strength, Frame(shape, scene), Frame(shape)});
        Run& run = runs_.back();
        EXPECT_EQ(ScopedEngine().run(run.source, run.expected, strength), TLUX_OK);
      }
    }
  }

  bool fitsIn(std::uint64_t bytes, std::size_t misalignment) {
    std::vector<std::uint64_t> memory((bytes + kMisalignment) / 8 + 1);
    MMemMgr manager =
        MMemMgrCreate(reinterpret_cast<std::uint8_t*>(memory.data()) + misalignment, bytes);
    TLUX_ENGINE* engine = nullptr;
    if (manager == nullptr || TLUX_Init(manager, &engine) != TLUX_OK) return false;
    bool fits = true;
    for (Run& run : runs_)
      fits = fits && runsIn(manager, engine, run);
    TLUX_Uninit(manager, engine);
    return fits;
  }

 private:
  struct Run {
    std::uint32_t strength;
    Frame source;
    Frame expected;
  };

  bool runsIn(MMemMgr manager, TLUX_ENGINE* engine, Run& run) {
    Frame output(shape_);
    if (TLUX_RunDynamicRangeOptimizationImage(manager, engine, &run.source.image(), 1,
                                              &output.image(), &run.strength, 0) != TLUX_OK) {
      return false;
    }
    EXPECT_TRUE(output == run.expected);
    return true;
  }

  FrameShape shape_;
  std::vector<Run> runs_;
};

// What the interface promises a run to need at most.
std::uint64_t promisedBytes(const FrameShape& shape) {
  const auto referencePixels = static_cast<std::uint64_t>(shape.width / 16 * 2) *
                               static_cast<std::uint64_t>(shape.height / 16 * 2);
  return sizeof(TLUX_ENGINE) + (128U << 10) + (12 + 40) * referencePixels + (1U << 20);
}

TEST(PoolSize, IsEnoughAndHardlyMore) {
  for (const FrameShape& shape :
       {FrameShape{16, 16}, FrameShape{34, 18}, FrameShape{16, 1024}, FrameShape{2048, 16},
        FrameShape{322, 246, 322}, FrameShape{322, 246, 1000}, FrameShape{640, 480},
        FrameShape{1280, 720, 1280, 1280, TLUX_FMT_YCBCR420_YPUV}}) {
    SCOPED_TRACE(testing::Message() << shape.width << 'x' << shape.height);
    const std::uint64_t bytes = TLUX_GetPoolSize(shape.width, shape.height);
    EXPECT_LE(bytes, promisedBytes(shape));
    Life life(shape);
    const long asked = allocationCount();
    for (const std::size_t misalignment : {0U, 1U, 7U}) {
      EXPECT_TRUE(life.fitsIn(bytes, misalignment)) << misalignment;
    }
    EXPECT_EQ(allocationCount(), asked); // no heap beside a pool
    EXPECT_FALSE(life.fitsIn(bytes - kLess, 0));
  }
}

// No reference frame: the engine alone.
TEST(PoolSize, OfFramesTooSmallToBeOptimized) {
  for (const FrameShape& shape : {FrameShape{14, 64}, FrameShape{64, 14}, FrameShape{2, 2}}) {
    const std::uint64_t bytes = TLUX_GetPoolSize(shape.width, shape.height);
    EXPECT_LT(bytes, sizeof(TLUX_ENGINE) + kLess);
    EXPECT_TRUE(Life(shape).fitsIn(bytes, 1));
  }
}

TEST(PoolSize, IsZeroWhereNoPoolWillDo) {
  constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max() - 1;
  EXPECT_EQ(TLUX_GetPoolSize(-2, 16), 0U);
  EXPECT_EQ(TLUX_GetPoolSize(16, -2), 0U);
  EXPECT_EQ(TLUX_GetPoolSize(17, 16), 0U);
  EXPECT_EQ(TLUX_GetPoolSize(16, 17), 0U);
  // A block of the run that does not fit 32 bits.
  EXPECT_EQ(TLUX_GetPoolSize(kHuge, kHuge), 0U);
  EXPECT_EQ(TLUX_GetPoolSize(160000, 160000), 0U);
  EXPECT_GT(TLUX_GetPoolSize(120000, 120000), std::uint64_t{1} << 32);
}

} // namespace
} // namespace tlux::test
