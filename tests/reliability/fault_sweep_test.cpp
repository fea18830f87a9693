#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "engine/scoped_engine.hpp"
#include "reliability/fault_sweep.hpp"
#include "support/fault_injection.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::test {
namespace {

class FaultSweep : public testing::TestWithParam<EntryPoint> {
 protected:
  ~FaultSweep() override { EXPECT_TRUE(output_.isIntact()); }

  FaultSweeper sweeper() {
    const EntryPoint& entry = GetParam();
    std::copy_n(beforePixels().begin(), output_.size(), output_.data());
    return FaultSweeper({output_.bytes(),
                         [&](MMemMgr manager) { return entry.call(manager, output_.data()); },
                         entry.failure, entry.mayDoWithout});
  }

 private:
  GuardedBuffer output_{GetParam().outputBytes};
};

INSTANTIATE_TEST_SUITE_P(All, FaultSweep, testing::ValuesIn(entryPoints()),
                         [](const auto& entry) { return entry.param.name; });

TEST_P(FaultSweep, EveryFailedAllocation) {
  EXPECT_TRUE(sweeper().everyFailedAllocation() > 0 || !GetParam().takesManager);
}

TEST_P(FaultSweep, EveryFailedThreadStart) {
  sweeper().everyFailedThreadStart();
}

TEST_P(FaultSweep, EveryPoolThatIsTooSmall) {
  if (!GetParam().takesManager) return;
  EXPECT_GT(sweeper().everyPoolThatIsTooSmall(), 0);
}

// Names of the public functions that take a pool, directly or in a record.
std::set<std::string> functionsWithMemory() {
  std::set<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(TLUX_PUBLIC_HEADERS)) {
    std::ifstream stream(file.path());
    // Comments stand between declarations and hold no pool's type behind the last TLUX_API.
    for (std::string part; std::getline(stream, part, ';');) {
      const std::string declaration = part.substr(std::min(part.rfind("TLUX_API"), part.size()));
      const std::size_t open = declaration.find('(');
      const std::string arguments = declaration.substr(std::min(open, declaration.size()));
      const bool hasMemory = arguments.find("MMemMgr ") != std::string::npos ||
                             arguments.find("TLUX_GUIDE_CONTEXT*") != std::string::npos ||
                             arguments.find("TLUX_GUIDE_TONE_CONTEXT*") != std::string::npos;
      if (!hasMemory) continue;
      const std::size_t space = declaration.find_last_of(" *", open);
      names.insert(declaration.substr(space + 1, open - space - 1));
    }
  }
  return names;
}

// The pool itself, functions that only release memory, and those that ignore the handle.
// createimg() keeps its earlier blocks when a later one fails; its own test pins that.
const std::set<std::string> kNotSwept = {"MMemMgrDestroy",
                                         "MMemAlloc",
                                         "MMemFree",
                                         "MMemRealloc",
                                         "MMemAllocStatic",
                                         "MMemFreeStatic",
                                         "MMemReallocStatic",
                                         "GetMaxAllocMemSize",
                                         "TLUX_MEventDestroy",
                                         "TLUX_Uninit",
                                         "TLUX_FreeImage_IMK",
                                         "TLUX_FreeImageData_IMK",
                                         "RemoveFirstImage_IMK",
                                         "RemoveLastImage_IMK",
                                         "TLUX_FreeImageLink_IMK",
                                         "release_img",
                                         "release_img_pesudo",
                                         "resize_C1",
                                         "createimg"};

// A failed run leaves no half-made picture and no mark: its output is a copy or unchanged. The next
// run fails too or makes its whole picture: it never uses scores that the failed run left
// unfinished.
class FailedRuns : public testing::Test {
 protected:
  static constexpr FrameShape kShape{128, 48}; // large enough for the mark
  static constexpr std::uint32_t kStrength = 50;

  FailedRuns() : source_(kShape, Scene::kWindow), expected_(kShape) {
    EXPECT_EQ(ScopedEngine().run(source_, expected_, kStrength), TLUX_OK);
  }

  // Whether the n-th of something was asked for, and failed.
  bool run(ScopedEngine& engine, void (*failNth)(int), int n, std::uint32_t code) {
    Frame output(kShape);
    failNth(n);
    const std::uint32_t result = engine.run(source_, output, kStrength);
    const bool isHit = faultFired();
    failNth(0);
    if (result == TLUX_OK) {
      EXPECT_TRUE(output == expected_);
    } else {
      EXPECT_TRUE(isHit && result == code);
      EXPECT_TRUE(output == source_ || output == Frame(kShape));
    }
    return isHit;
  }

 private:
  Frame source_;
  Frame expected_;
};

TEST_F(FailedRuns, WithoutMemoryTwiceOnOneEngine) {
  int pairs = 0;
  for (int first = 1, isFirst = 1; isFirst != 0; ++first) {
    for (int second = 1, isSecond = 1; isSecond != 0; ++second, ++pairs) {
      ScopedEngine engine;
      isFirst = run(engine, failAllocation, first, TLUX_ERR_NO_MEMORY) ? 1 : 0;
      isSecond = run(engine, failAllocation, second, TLUX_ERR_NO_MEMORY) ? 1 : 0;
      EXPECT_FALSE(run(engine, failAllocation, 0, TLUX_OK));
    }
  }
  RecordProperty("pairs", pairs);
}

TEST_F(FailedRuns, WithoutThreads) {
  ScopedEngine engine;
  for (int n = 1; run(engine, failThreadStart, n, TLUX_ERR_THREAD); ++n) {
    EXPECT_FALSE(run(engine, failThreadStart, 0, TLUX_OK));
  }
}

// The functions with a good call in the table of refusals, which are swept there.
std::set<std::string> goodCalls() {
  std::set<std::string> names;
  for (const char* file : {"refusals_of_images_test.cpp", "refusals_of_planes_test.cpp"}) {
    std::ifstream stream(std::string(TLUX_REFUSALS) + file);
    for (std::string part; std::getline(stream, part, '(');) {
      std::string name;
      if (part.ends_with("GOOD") && std::getline(stream, name, ',')) names.insert(name);
    }
  }
  return names;
}

TEST(FaultSweepList, NamesEveryFunctionThatTakesMemory) {
  std::set<std::string> swept = kNotSwept;
  for (const EntryPoint& entry : entryPoints())
    EXPECT_TRUE(!entry.takesManager || swept.insert(entry.name).second) << entry.name;
  const std::set<std::string> good = goodCalls();
  for (const std::string& name : functionsWithMemory())
    EXPECT_TRUE(swept.contains(name) || good.contains(name)) << name;
}

} // namespace
} // namespace tlux::test
