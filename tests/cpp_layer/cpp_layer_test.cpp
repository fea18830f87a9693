#include "tlux.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "support/fault_injection.hpp"

namespace tlux::test {
namespace {

constexpr std::int32_t kWidth = 320;
constexpr std::int32_t kHeight = 240;

void paint(Image& frame) {
  for (std::int32_t y = 0; y < kHeight; ++y) {
    std::uint8_t value = static_cast<std::uint8_t>(y);
    for (std::uint8_t& sample : frame.row(0, y)) {
      sample = value;
      value = static_cast<std::uint8_t>(value + 3);
    }
  }
  for (std::int32_t y = 0; y < kHeight / 2; ++y) {
    std::ranges::fill(frame.row(1, y), std::uint8_t{120});
  }
}

TEST(CppLayer, StreamsFrames) {
  const long heapBlocks = liveAllocations();
  {
    Image source(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU);
    Image output(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU);
    Image expected(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU);
    ASSERT_TRUE(source && output && expected);
    paint(source);
    Stream opened(Stream::options(TLUX_TONES_EXACT));
    Stream stream(std::move(opened));
    Engine engine;
    ASSERT_TRUE(stream && engine && !opened);
    EXPECT_FALSE(stream.report().has_value());
    ASSERT_EQ(engine.run(*source, *expected, 50), TLUX_OK);
    ASSERT_EQ(stream.run(*source, *output, 50), TLUX_OK);
    EXPECT_TRUE(std::ranges::equal(output.row(0, 99), expected.row(0, 99)));
    EXPECT_EQ(stream.report()->width, kWidth / 8);
    EXPECT_EQ(stream.change(Stream::options(TLUX_TONES_NATURAL)), TLUX_OK);
    stream.reset();
    ASSERT_EQ(stream.run(*source, *output, 50), TLUX_OK);
    stream.reset();
    ASSERT_EQ(stream.run(*source, 50), TLUX_OK); // in place
    EXPECT_TRUE(std::ranges::equal(source.row(0, 99), output.row(0, 99)));
    EXPECT_EQ(opened.run(*source, 50), TLUX_ERR_INVALID_PARAM);

    std::vector<std::byte> tooSmall(1000);
    const Stream failed(*Pool::over(tooSmall));
    EXPECT_FALSE(failed);
    EXPECT_EQ(failed.status(), TLUX_ERR_NO_MEMORY);
  }
  EXPECT_EQ(liveAllocations(), heapBlocks);
}

TEST(CppLayer, RunsInsideOneBlockAndGivesEverythingBack) {
  const long heapBlocks = liveAllocations();
  std::vector<std::byte> block(std::size_t{4} << 20);
  const std::optional<Pool> pool = Pool::over(block);
  ASSERT_TRUE(pool.has_value());
  const std::int64_t free = pool->largestFree();
  {
    Image source(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, *pool);
    Image output(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, *pool);
    Engine engine(*pool);
    ASSERT_TRUE(source && output && engine);
    EXPECT_EQ(engine.status(), TLUX_OK);
    paint(source);
    ASSERT_EQ(engine.run(*source, *output, 50), TLUX_OK);
    EXPECT_LT(pool->largestFree(), free);

    // The same through the C interface and the heap.
    Image expected(kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU);
    Engine plain;
    ASSERT_TRUE(expected && plain);
    const std::uint32_t strength = 50;
    ASSERT_EQ(TLUX_RunDynamicRangeOptimizationImage(nullptr, plain.get(), &*source, 1, &*expected,
                                                    &strength, 0),
              TLUX_OK);
    for (std::int32_t y = 0; y < kHeight; ++y) {
      ASSERT_TRUE(std::ranges::equal(output.row(0, y), expected.row(0, y))) << y;
      ASSERT_TRUE(std::ranges::equal(output.row(1, y / 2), expected.row(1, y / 2))) << y;
    }
  }
  EXPECT_EQ(pool->largestFree(), free);
  EXPECT_EQ(liveAllocations(), heapBlocks);
}

TEST(CppLayer, MovesOwnership) {
  std::vector<std::byte> block(std::size_t{1} << 20);
  const std::optional<Pool> pool = Pool::over(block);
  ASSERT_TRUE(pool.has_value());
  const std::int64_t free = pool->largestFree();
  {
    Image first(16, 16, TLUX_FMT_GRAY, *pool);
    const std::uint8_t* pixels = first->plane[0];
    Image second(std::move(first));
    EXPECT_EQ(second->plane[0], pixels);
    Image third(32, 32, TLUX_FMT_GRAY, *pool);
    third = std::move(second);
    EXPECT_EQ(third->plane[0], pixels);

    Engine engine(*pool);
    const TLUX_ENGINE* raw = engine.get();
    Engine moved(std::move(engine));
    EXPECT_EQ(moved.get(), raw);
    moved = Engine(*pool);
    EXPECT_TRUE(moved);
  }
  EXPECT_EQ(pool->largestFree(), free);
}

TEST(CppLayer, SaysWhatFailed) {
  std::vector<std::byte> block(1024);
  EXPECT_FALSE(Pool::over({}).has_value()) << "must not turn into the heap";
  EXPECT_FALSE(Pool::over(std::span(block).first(16)).has_value());

  const std::optional<Pool> small = Pool::over(block);
  ASSERT_TRUE(small.has_value());
  const Image image(kWidth, kHeight, TLUX_FMT_GRAY, *small);
  EXPECT_FALSE(image);
  EXPECT_EQ(image.status(), TLUX_ERR_NO_MEMORY);

  const std::optional<Pool> tiny = Pool::over(std::span(block).first(64));
  ASSERT_TRUE(tiny.has_value());
  Engine engine(*tiny);
  EXPECT_FALSE(engine);
  EXPECT_EQ(engine.status(), TLUX_ERR_NO_MEMORY);
  TLUX_IMAGE frame = {};
  EXPECT_EQ(engine.run(frame, frame, 50), TLUX_ERR_INVALID_PARAM);
}

TEST(CppLayer, FramesLieWithinTheirMemory) {
  constexpr std::uint32_t kNv21 = TLUX_FMT_YCBCR420_YPVU;
  std::vector<std::uint8_t> luma(3 * 40 + 32);
  std::vector<std::uint8_t> chroma(48 + 32);
  const auto frame = frameOver(kNv21, 32, 4, {luma, 40}, {chroma, 48});
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->plane[0], luma.data());
  EXPECT_EQ(frame->plane[1], chroma.data());
  EXPECT_EQ(frame->pitch[0], 40);
  EXPECT_EQ(frame->pitch[1], 48);

  const std::span shortLuma = std::span(luma).first(luma.size() - 1);
  const std::span shortChroma = std::span(chroma).first(chroma.size() - 1);
  EXPECT_FALSE(frameOver(kNv21, 32, 4, {shortLuma, 40}, {chroma, 48}));
  EXPECT_FALSE(frameOver(kNv21, 32, 4, {luma, 40}, {shortChroma, 48}));
  EXPECT_FALSE(frameOver(kNv21, 32, 4, {luma, 31}, {chroma, 48}));
  EXPECT_FALSE(frameOver(kNv21, 31, 4, {luma, 40}, {chroma, 48}));
  EXPECT_FALSE(frameOver(kNv21, 32, -4, {luma, 40}, {chroma, 48}));
  EXPECT_FALSE(frameOver(TLUX_FMT_GRAY, 32, 4, {luma, 40}, {chroma, 48}));
  constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();
  EXPECT_FALSE(frameOver(kNv21, kHuge - 1, kHuge - 1, {luma, kHuge}, {chroma, kHuge}));
}

} // namespace
} // namespace tlux::test
