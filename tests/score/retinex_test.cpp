#include <gtest/gtest.h>

#include <vector>

#include "platform/pool_need.hpp"
#include "platform/worker_team.hpp"
#include "reference/retinex.hpp"
#include "score/contents.hpp"
#include "score/score_reference.hpp"
#include "support/fault_injection.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/retinex.h"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

using namespace detail;

using reference::LogPlane;
using Scores = std::vector<std::uint16_t>;

constexpr std::size_t kTableBytes = 262144;

void expectScores(const LogPlane& linear, void* workBuffer) {
  std::vector<std::int16_t> expectedLog;
  const Scores expected =
      reference::retinexScore(linear.samples, linear.width, linear.height, &expectedLog);
  std::vector<std::int16_t> log = linear.samples;
  Scores actual(log.size(), 0xBEEF);
  ASSERT_EQ(AME_GenerateRetinexLogGain(nullptr, workBuffer, log.data(), linear.width, linear.height,
                                       actual.data()),
            TLUX_OK);
  ASSERT_EQ(log, expectedLog);
  ASSERT_EQ(actual, expected);
}

// Sizes around the change of the pyramid's memory (2048 and 2050 pixels), and frames too narrow for
// it; without and with a work buffer that ends at an inaccessible page.
TEST(RetinexScore, MatchesTheFormula) {
  const std::pair<int, int> sizes[] = {{1, 1},    {1, 40},   {40, 1},   {3, 5},
                                       {23, 89},  {32, 64},  {683, 3},  {41, 50},
                                       {1200, 3}, {3, 1200}, {250, 190}};
  for (const auto& [width, height] : sizes) {
    for (const Content content : kContents) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << int(content));
      for (const auto& [low, high] : {std::pair{0, 4095}, {0, 60}, {-300, 32767}, {2000, 4000}}) {
        const LogPlane linear = makePlane(content, width, height, low, high);
        expectScores(linear, nullptr);
        GuardedBuffer work(5 * linear.samples.size(), 0xEE);
        // The start of the buffer is as even as its size.
        if (work.size() % 2 == 0) expectScores(linear, work.data());
        EXPECT_TRUE(work.isIntact());
      }
    }
  }
}

// The score of codes, whose steps threads share when the frame is large: also one whose pyramid
// leaves no room for a blend of every thread.
TEST(RetinexScore, OfCodesMatchesTheFormulaWhoeverDoesIt) {
  WorkerTeam team(WorkerTeam::kSize);
  for (const auto& [width, height] :
       {std::pair{66, 30}, {302, 218}, {480, 270}, {8200, 8}, {4100, 17}, {4100, 46}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    const int pitch = width + 3;
    const auto codes = Random(7).values<std::uint8_t>(static_cast<std::size_t>(pitch * height));
    LogPlane linear(width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        linear.samples[static_cast<std::size_t>(y * width + x)] = static_cast<std::int16_t>(
            TLUX_Degamma_Table[codes[static_cast<std::size_t>(y * pitch + x)]]);
      }
    }
    Scores actual(linear.samples.size(), 0xBEEF);
    // In exactly the memory that this needs.
    GuardedBuffer memory(
        static_cast<std::size_t>(poolOf(scoreReferencePoolBytes(width, height)) + 7) / 8 * 8);
    MMemMgr pool = MMemMgrCreate(memory.data(), memory.size());
    ASSERT_EQ(scoreReference(pool, team, {codes.data(), width, height, pitch}, TLUX_Degamma_Table,
                             actual.data()),
              Result::kOk);
    EXPECT_EQ(actual, reference::retinexScore(linear.samples, width, height));
  }
}

TEST(RetinexScore, UsesTheWorkBufferOfALargeFrame) {
  for (const auto& [width, height] : {std::pair{512, 512}, {600, 437}}) {
    const LogPlane linear = makePlane(Content::kNoise, width, height, 0, 4095);
    GuardedBuffer work(5 * linear.samples.size() + kTableBytes);
    std::vector<std::int16_t> log = linear.samples;
    Scores scores(log.size());
    const long before = allocationCount();
    AME_GenerateRetinexLogGain(nullptr, work.data(), log.data(), width, height, scores.data());
    EXPECT_LE(allocationCount() - before, 2 * 10); // the records of the two pyramids
    EXPECT_EQ(scores, reference::retinexScore(linear.samples, width, height));
    EXPECT_TRUE(work.isIntact());
  }
}

} // namespace
} // namespace tlux::test
