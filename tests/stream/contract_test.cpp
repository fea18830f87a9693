#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <vector>

#include "stream/scoped_stream.hpp"
#include "support/fault_injection.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

TEST(StreamOptions, StartFromTheTwoNamedPoints) {
  const TLUX_STREAM_OPTIONS exact = streamOptions(TLUX_TONES_EXACT);
  EXPECT_EQ(exact.steady, 0U);
  EXPECT_EQ(exact.colour, 100U);
  EXPECT_EQ(exact.fineWindows, 0U);
  const TLUX_STREAM_OPTIONS natural = streamOptions(TLUX_TONES_NATURAL);
  EXPECT_GT(natural.steady, 0U);
  EXPECT_LT(natural.colour, 100U);
  EXPECT_EQ(natural.fineWindows, 1U);
  for (const TLUX_STREAM_OPTIONS& options : {exact, natural}) {
    EXPECT_EQ(options.size, sizeof options);
    EXPECT_EQ(options.range, TLUX_RANGE_FULL);
    EXPECT_EQ(options.threads, 0U);
    EXPECT_EQ(options.parallelFor, nullptr);
  }
  TLUX_STREAM_OPTIONS options;
  EXPECT_EQ(TLUX_InitStreamOptions(nullptr, sizeof options, 0), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_InitStreamOptions(&options, sizeof options, 2), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_InitStreamOptions(&options, sizeof options - 1, 0), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_InitStreamOptions(&options, sizeof options + 8, 0), TLUX_ERR_INVALID_PARAM);
}

std::uint32_t runNothing(void* /*context*/, TLUX_PART /*part*/, void* /*work*/,
                         std::uint32_t /*count*/) {
  return TLUX_ERR_THREAD;
}

TEST(StreamOptions, AreRejectedOutOfRange) {
  using Change = std::function<void(TLUX_STREAM_OPTIONS&)>;
  const Change kBad[] = {
      [](auto& options) { options.size = 0; },
      [](auto& options) { options.size += 4; },
      [](auto& options) { options.range = 2; },
      [](auto& options) { options.steady = 1001; },
      [](auto& options) { options.colour = 101; },
      [](auto& options) { options.fineWindows = 2; },
      [](auto& options) { options.threads = 65; },
      [](auto& options) { options.reserved = 1; },
      [](auto& options) { options.parallelFor = runNothing, options.workers = 0; },
      [](auto& options) { options.parallelFor = runNothing, options.workers = 65; },
  };
  ScopedStream stream(TLUX_TONES_EXACT);
  for (const Change& change : kBad) {
    TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_EXACT);
    change(options);
    std::byte none{};
    auto* opened = reinterpret_cast<TLUX_STREAM*>(&none);
    EXPECT_EQ(TLUX_OpenStream(nullptr, &options, &opened), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(opened, nullptr);
    EXPECT_EQ(TLUX_ChangeStream(stream.get(), &options), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(TLUX_GetStreamPoolSize(&options, 64, 64), 0U);
  }
  TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_NATURAL);
  options.steady = 1000;
  options.threads = 64;
  EXPECT_GT(TLUX_GetStreamPoolSize(&options, 64, 64), 0U);
  options = streamOptions(TLUX_TONES_NATURAL);
  EXPECT_EQ(TLUX_OpenStream(nullptr, &options, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_ChangeStream(stream.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_ChangeStream(nullptr, &options), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_ChangeStream(stream.get(), &options), TLUX_OK);
  options.threads = 3; // stays as the stream was opened
  EXPECT_EQ(TLUX_ChangeStream(stream.get(), &options), TLUX_ERR_INVALID_PARAM);
}

TEST(StreamOptions, AskForAsManyThreadsAsProcessorsUpToFour) {
  Frame frame({320, 240}, Scene::kWindow);
  for (const auto& [processors, threads] : {std::pair{1, 1}, {3, 3}, {64, 4}}) {
    pretendProcessors(processors);
    ScopedStream stream(TLUX_TONES_NATURAL);
    EXPECT_EQ(stream.run(frame, frame, 50), TLUX_OK);
    EXPECT_EQ(liveThreads(), threads - 1);
  }
  pretendProcessors(0);
}

// Two pictures side by side in one buffer: each is in the padding of the other.
TEST(Stream, TakesFramesInEachOthersPadding) {
  const FrameShape shape{64, 48, 128, 128};
  Frame both(shape, Scene::kWindow);
  TLUX_IMAGE left = both.image();
  std::vector<std::uint8_t> memory(128 * 72);
  left.plane[0] = memory.data();
  left.plane[1] = memory.data() + 128 * 48;
  for (int plane = 0; plane < 2; ++plane) {
    for (int y = 0; y < 48 >> plane; ++y) {
      std::memcpy(left.plane[plane] + 128 * y, both.row(plane, y), 64);
    }
  }
  TLUX_IMAGE right = left;
  right.plane[0] += 64;
  right.plane[1] += 64;
  ScopedStream stream(TLUX_TONES_EXACT);
  EXPECT_EQ(TLUX_RunStream(stream.get(), &left, &right, 50), TLUX_OK);
  Frame expected({64, 48});
  ASSERT_EQ(stream.run(both, expected, 50), TLUX_OK);
  for (int y = 0; y < 48; ++y) {
    EXPECT_EQ(std::memcmp(right.plane[0] + 128 * y, expected.row(0, y), 64), 0) << y;
  }
}

TEST(StreamReport, TellsWhatTheLatestFrameLookedLike) {
  ScopedStream stream(TLUX_TONES_EXACT);
  TLUX_STREAM_REPORT report = {};
  report.size = sizeof report;
  EXPECT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_ERR_INVALID_PARAM);
  Frame frame({130, 98}, Scene::kGrey);
  Frame output({130, 98});
  ASSERT_EQ(stream.run(frame, output, 50), TLUX_OK);
  EXPECT_EQ(TLUX_ReadStreamReport(nullptr, &report), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_ReadStreamReport(stream.get(), nullptr), TLUX_ERR_INVALID_PARAM);
  report.size = 4;
  EXPECT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_ERR_INVALID_PARAM);
  report.size = sizeof report;
  ASSERT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_OK);
  EXPECT_EQ(report.width, 18);
  EXPECT_EQ(report.height, 14);
  EXPECT_EQ(report.isCut, 1U);
  // Code 89, since the mean of nine loses one; 1024·ln(409 + 30) of its linear light; and half-way
  // from there to grey.
  EXPECT_EQ(report.mean, 6230);
  EXPECT_NEAR(report.anchor, (6230 + 6761) / 2 + 512, 1);
  for (int y = 0; y < report.height; ++y) {
    for (int x = 0; x < report.width; ++x) {
      EXPECT_EQ(report.reference[y * report.referencePitch + x], 89);
      const int score = report.scores[y * report.width + x];
      EXPECT_EQ(score, report.anchor - report.mean);
      EXPECT_GT(report.gains[y * report.width + x], 1024);
    }
  }
  ASSERT_EQ(stream.run(frame, output, 50), TLUX_OK);
  ASSERT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_OK);
  EXPECT_EQ(report.isCut, 0U);
  TLUX_ResetStream(stream.get());
  ASSERT_EQ(stream.run(frame, output, 50), TLUX_OK);
  ASSERT_EQ(TLUX_ReadStreamReport(stream.get(), &report), TLUX_OK);
  EXPECT_EQ(report.isCut, 1U);
  TLUX_ResetStream(nullptr);
}

// Every size up to the one that was asked for, in any order, in exactly these bytes.
TEST(StreamPool, HoldsAnySequenceOfSizes) {
  for (const std::uint32_t tones : {TLUX_TONES_EXACT, TLUX_TONES_NATURAL}) {
    for (const std::uint32_t threads : {1U, 4U}) {
      TLUX_STREAM_OPTIONS options = streamOptions(tones);
      options.threads = threads;
      const std::uint64_t bytes = TLUX_GetStreamPoolSize(&options, 640, 480);
      std::vector<std::uint64_t> memory(bytes / 8 + 2);
      const MMemMgr pool = MMemMgrCreate(reinterpret_cast<std::uint8_t*>(memory.data()) + 1, bytes);
      const long asked = allocationCount();
      TLUX_STREAM* stream = nullptr;
      ASSERT_EQ(TLUX_OpenStream(pool, &options, &stream), TLUX_OK);
      EXPECT_EQ(allocationCount(), asked);
      for (const FrameShape& shape : {FrameShape{2, 2},
                                      {320, 240},
                                      {640, 2},
                                      {2, 480},
                                      {638, 480},
                                      {640, 480},
                                      {48, 480},
                                      {640, 480}}) {
        Frame source(shape, Scene::kWindow);
        Frame output(shape);
        Frame expected(shape);
        EXPECT_EQ(TLUX_RunStream(stream, source.get(), output.get(), 50), TLUX_OK);
        TLUX_ResetStream(stream);
        ScopedStream fresh(options);
        EXPECT_EQ(fresh.run(source, expected, 50), TLUX_OK);
        EXPECT_TRUE(output == expected);
      }
      TLUX_CloseStream(&stream);
      EXPECT_EQ(stream, nullptr);
    }
  }
  TLUX_CloseStream(nullptr);
  EXPECT_EQ(TLUX_GetStreamPoolSize(nullptr, 641, 480), 0U);
  EXPECT_EQ(TLUX_GetStreamPoolSize(nullptr, 640, 0), 0U);
  EXPECT_EQ(TLUX_GetStreamPoolSize(nullptr, 2147483646, 2147483646), 0U);
}

// What the header promises of an output when memory or threads are short.
TEST(StreamFaults, LeaveACopyAndAUsableStream) {
  const FrameShape shape{160, 96};
  for (const bool inPlace : {false, true}) {
    for (const auto& [failNth, code] : {std::pair{&failAllocation, TLUX_ERR_NO_MEMORY},
                                        std::pair{&failThreadStart, TLUX_ERR_THREAD}}) {
      const long blocks = liveAllocations();
      const int faults = sweepFaults(failNth, [&, expectedCode = code] {
        TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_EXACT);
        options.threads = 4;
        TLUX_STREAM* stream = nullptr;
        if (TLUX_OpenStream(nullptr, &options, &stream) != TLUX_OK) {
          EXPECT_TRUE(faultFired() && stream == nullptr);
          return;
        }
        Frame source(shape, Scene::kWindow);
        const Frame before = source.copy();
        Frame separate(shape);
        Frame& output = inPlace ? source : separate;
        const std::uint32_t result = TLUX_RunStream(stream, source.get(), output.get(), 50);
        EXPECT_EQ(result, faultFired() ? expectedCode : TLUX_OK);
        if (result != TLUX_OK) {
          EXPECT_TRUE(output == before);
          EXPECT_EQ(TLUX_RunStream(stream, source.get(), output.get(), 50), TLUX_OK);
        }
        EXPECT_FALSE(output == before);
        TLUX_CloseStream(&stream);
      });
      EXPECT_GE(faults, 2);
      EXPECT_EQ(liveAllocations(), blocks);
      EXPECT_EQ(liveThreads(), 0);
    }
  }
}

// A parallel for that fails at the n-th call, having called no part or all but one.
struct FailingRunner {
  int callsLeft;
  bool callsSome;

  static std::uint32_t run(void* context, TLUX_PART part, void* work, std::uint32_t count) {
    auto& self = *static_cast<FailingRunner*>(context);
    const bool fails = --self.callsLeft == 0;
    for (std::uint32_t i = 0; i < count && (!fails || (self.callsSome && i == 0)); ++i) {
      part(work, i);
    }
    return fails ? 77 : TLUX_OK;
  }
};

TEST(StreamFaults, OfTheCallersThreadsLeaveACopyOrTheWholePicture) {
  const FrameShape shape{160, 96};
  Frame source(shape, Scene::kWindow);
  Frame expected(shape);
  ScopedStream exact(TLUX_TONES_EXACT);
  ASSERT_EQ(exact.run(source, expected, 50), TLUX_OK);
  for (const bool callsSome : {false, true}) {
    int failures = 0;
    for (int n = 1; n < 100; ++n) {
      FailingRunner runner = {n, callsSome};
      TLUX_STREAM_OPTIONS options = streamOptions(TLUX_TONES_EXACT);
      options.parallelFor = FailingRunner::run;
      options.parallelContext = &runner;
      options.workers = 3;
      ScopedStream stream(options);
      Frame frame = source.copy();
      const std::uint32_t result = stream.run(frame, frame, 50);
      EXPECT_TRUE(result == TLUX_OK || result == TLUX_ERR_THREAD);
      EXPECT_TRUE(frame == (result == TLUX_OK ? expected : source)) << n;
      failures += result == TLUX_OK ? 0 : 1;
      if (runner.callsLeft > 0) break; // every call was made to fail once
    }
    EXPECT_GE(failures, 2);
  }
}

} // namespace
} // namespace tlux::test
