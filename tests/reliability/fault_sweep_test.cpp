#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "engine/scoped_engine.hpp"
#include "reliability/entry_points.hpp"
#include "support/effort.hpp"
#include "support/fault_injection.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Outcome {
  std::uint32_t result;
  Bytes output;
};

class FaultSweep : public testing::TestWithParam<EntryPoint> {
 protected:
  FaultSweep() : whole_(call(nullptr)) { EXPECT_EQ(whole_.result, TLUX_OK); }

  static Outcome call(MMemMgr manager) {
    const EntryPoint& entry = GetParam();
    GuardedBuffer output(entry.outputBytes);
    std::copy_n(beforePixels().begin(), output.size(), output.data());
    const std::uint32_t result = entry.call(manager, output.data());
    EXPECT_TRUE(output.isIntact());
    return {result, {output.bytes().begin(), output.bytes().end()}};
  }

  // Whether a call did all it should; otherwise it must have failed as its interface says.
  bool isWhole(const Outcome& outcome, std::uint32_t code) const {
    const Failure failure = GetParam().failure;
    if (outcome.result == TLUX_OK && outcome.output == whole_.output) return true;
    EXPECT_EQ(outcome.result, failure == Failure::kSilent ? TLUX_OK : code);
    const auto before = beforePixels();
    for (std::size_t i = 0; i < outcome.output.size(); ++i) {
      const std::uint8_t byte = outcome.output[i];
      const bool isWritten = failure == Failure::kPartial && byte == whole_.output[i];
      if (isWritten || byte == before[i]) continue;
      ADD_FAILURE() << "byte " << i << " of the output";
      break;
    }
    return false;
  }

  // Calls with the n-th of something failing, for every n. Returns the faults injected.
  int sweep(void (*failNth)(int), std::uint32_t code) {
    const long live = liveAllocations();
    const long threads = liveThreads();
    return sweepFaults(failNth, [&] {
      const bool isDone = isWhole(call(nullptr), code);
      EXPECT_TRUE(isDone || faultFired());
      EXPECT_TRUE(!isDone || !faultFired() || GetParam().mayDoWithout);
      EXPECT_EQ(liveAllocations(), live);
      EXPECT_EQ(liveThreads(), threads);
    });
  }

  // Whether a call with a pool of this size, which ends at a protected page, succeeded completely.
  bool fitsIn(std::size_t bytes) const {
    GuardedBuffer memory(bytes, 0xFF);
    MMemMgr manager = MMemMgrCreate(memory.data(), bytes);
    if (manager == nullptr) return false;
    const std::int64_t free = GetMaxAllocMemSize(manager);
    const long asked = allocationCount();
    const bool isDone = isWhole(call(manager), TLUX_ERR_NO_MEMORY);
    EXPECT_EQ(GetMaxAllocMemSize(manager), free) << bytes;
    EXPECT_EQ(allocationCount(), asked) << bytes;
    return isDone;
  }

 private:
  Outcome whole_;
};

INSTANTIATE_TEST_SUITE_P(All, FaultSweep, testing::ValuesIn(entryPoints()),
                         [](const auto& entry) { return entry.param.name; });

TEST_P(FaultSweep, EveryFailedAllocation) {
  const int faults = sweep(failAllocation, TLUX_ERR_NO_MEMORY);
  RecordProperty("faults", faults);
  EXPECT_TRUE(faults > 0 || !GetParam().takesManager);
}

TEST_P(FaultSweep, EveryFailedThreadStart) {
  pretendProcessors(4);
  RecordProperty("faults", sweep(failThreadStart, TLUX_ERR_THREAD));
  pretendProcessors(0);
}

// Pools that start and end at multiples of 8, from the smallest to the first that is large enough.
TEST_P(FaultSweep, EveryPoolThatIsTooSmall) {
  if (!GetParam().takesManager) return;
  std::size_t enough = 64;
  while (!fitsIn(enough)) {
    ASSERT_LT(enough, std::size_t{1} << 24);
    enough *= 2;
  }
  constexpr std::size_t kFineBytes = kIsFast ? 8192 : 512;
  constexpr std::size_t kCoarseSteps = kIsFast ? 500 : 50;
  const std::size_t coarse = enough / kCoarseSteps / 8 * 8 + 8;
  int pools = 0;
  for (std::size_t bytes = 40; bytes < enough; bytes += bytes < kFineBytes ? 8 : coarse) {
    fitsIn(bytes);
    ++pools;
  }
  RecordProperty("pools", pools);
}

// Names of the functions of the public headers that are given a pool, by themselves or in a record.
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

// The pool itself, what only releases, and what ignores the handle. createimg() keeps what it has
// had when a later block fails; its own test pins that.
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

// A failed run leaves no half picture and no mark: its output is the copy, or as it was. The run
// that follows fails too or gives its whole picture: it never takes for scores what the failed one
// left unfinished.
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

TEST(FaultSweepList, NamesEveryFunctionThatTakesMemory) {
  std::set<std::string> swept = kNotSwept;
  for (const EntryPoint& entry : entryPoints())
    EXPECT_TRUE(!entry.takesManager || swept.insert(entry.name).second) << entry.name;
  EXPECT_EQ(swept, functionsWithMemory());
}

} // namespace
} // namespace tlux::test
