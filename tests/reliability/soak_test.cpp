#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <vector>

#include "engine/scoped_engine.hpp"
#include "support/effort.hpp"
#include "support/fault_injection.hpp"
#include "support/pool.hpp"

namespace tlux::test {
namespace {

struct Step {
  FrameShape shape;
  Scene scene;
  std::uint32_t strength;
};

// Sizes and strengths change together, apart, and not at all; some frames have no reference frame.
constexpr Step kSteps[] = {
    {{160, 96}, Scene::kWindow, 50},
    {{160, 96}, Scene::kNoise, 50},
    {{160, 96}, Scene::kGradient, 20},
    {{160, 192}, Scene::kGradient, 20},
    {{160, 64}, Scene::kWindow, 20},
    {{96, 160, 100, 104}, Scene::kWindow, 20},
    {{12, 64}, Scene::kNoise, 20},
    {{322, 246}, Scene::kExtremes, 100},
    {{48, 32, 0, 0, TLUX_FMT_YCBCR420_YPUV}, Scene::kWindow, 0},
    {{640, 48}, Scene::kGradient, 400},
    {{48, 640}, Scene::kGrey, 400},
    {{320, 240}, Scene::kWindow, 50},
    {{34, 18}, Scene::kNoise, 0xFFFFFFFF},
};

// What is visible of an engine's memory.
struct Held {
  std::int64_t largestFree;
  long liveBlocks;
  std::uint64_t hash; // of the output

  bool operator==(const Held&) const = default;
};

int framesWanted() {
  const char* wanted = std::getenv("TLUX_SOAK_FRAMES");
  if (wanted != nullptr) return std::atoi(wanted);
  return kIsFast ? 400 : 60;
}

// One engine over many frames: from the second round on, each step finds the memory as it was in
// the round before, and makes the same picture as a fresh engine.
void soak(std::optional<Pool> pool) {
  const MMemMgr manager = pool ? static_cast<MMemMgr>(*pool) : nullptr;
  const long before = liveAllocations();
  std::vector<Held> held;
  {
    std::vector<Frame> sources;
    std::vector<Frame> outputs;
    for (const Step& step : kSteps) {
      sources.emplace_back(step.shape, step.scene);
      outputs.emplace_back(step.shape);
    }
    ScopedEngine engine(manager);
    const int frames = framesWanted();
    for (int frame = 0; frame < frames; ++frame) {
      const std::size_t round = static_cast<std::size_t>(frame) / std::size(kSteps);
      const std::size_t i = static_cast<std::size_t>(frame) % std::size(kSteps);
      ASSERT_EQ(engine.run(sources[i], outputs[i], kSteps[i].strength), TLUX_OK) << frame;
      const Held now = {pool ? pool->largestFree() : 0, liveAllocations(),
                        outputs[i].hash(outputs[i]->height)};
      if (round == 0) {
        ScopedEngine fresh;
        Frame expected(kSteps[i].shape);
        ASSERT_EQ(fresh.run(sources[i], expected, kSteps[i].strength), TLUX_OK);
        ASSERT_TRUE(outputs[i] == expected);
      } else if (round == 1) {
        held.push_back(now);
      } else {
        ASSERT_EQ(now, held[i]) << frame;
      }
    }
  }
  EXPECT_EQ(liveAllocations(), before);
  EXPECT_TRUE(!pool || pool->isWhole());
}

TEST(Soak, OnTheHeap) {
  soak(std::nullopt);
}

TEST(Soak, InAPool) {
  soak(std::make_optional<Pool>(std::size_t{2} << 20));
}

} // namespace
} // namespace tlux::test
