#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "reliability/entry_points.hpp"
#include "support/random.hpp"
#include "tlux.h"

// Tiny scenes, and calls on them for functions with similar arguments.
namespace tlux::test {

// Sides of the planes. Frames have 8 times the sides of kLowWidth × kLowHeight planes.
inline constexpr int kWidth = 24;
inline constexpr int kHeight = 20;
inline constexpr int kPixels = kWidth * kHeight;
inline constexpr int kLowWidth = 4;
inline constexpr int kLowHeight = 6;
inline constexpr int kLowPixels = kLowWidth * kLowHeight;
inline constexpr int kFrameWidth = 8 * kLowWidth;
inline constexpr int kFrameHeight = 8 * kLowHeight;
inline constexpr int kFrameLuma = kFrameWidth * kFrameHeight;
inline constexpr int kFrameBytes = kFrameLuma * 3 / 2;
inline constexpr int kRadius = 2;
inline constexpr std::uint32_t kStrength = 50;

inline constexpr std::size_t kTexture = 8192;

inline const std::array<std::uint8_t, kTexture>& texture(std::uint32_t seed) {
  static const auto kTextures = [] {
    std::array<std::array<std::uint8_t, kTexture>, 2> textures{};
    for (std::uint32_t i = 0; i < textures.size(); ++i) {
      Random random(i + 1);
      // Broad levels with noise on top, and black specks: edges, detail, regions and holes.
      for (std::size_t k = 0; k < kTexture; ++k) {
        const auto level = static_cast<std::uint32_t>(k / 7 % 16 * 12);
        const std::uint32_t noise = random.bits();
        textures[i][k] = static_cast<std::uint8_t>(noise % 3 == 0 ? 0 : level + noise / 3 % 64);
      }
    }
    return textures;
  }();
  return kTextures[seed];
}

inline const std::uint8_t* pixels() {
  return texture(1).data();
}

// The fields of a record are not const, though inputs are only read.
inline std::uint8_t* writable(const std::uint8_t* bytes) {
  return const_cast<std::uint8_t*>(bytes);
}

inline TLUX_IMAGE frameOver(const std::uint8_t* bytes) {
  std::uint8_t* luma = writable(bytes);
  return {TLUX_FMT_YCBCR420_YPVU,
          kFrameWidth,
          kFrameHeight,
          {luma, luma + kFrameLuma},
          {kFrameWidth, kFrameWidth}};
}

inline TLUX_IMAGE grayOver(const std::uint8_t* bytes) {
  return {TLUX_FMT_GRAY, kWidth, kHeight, {writable(bytes)}, {kWidth}};
}

// A simple image over packed pixels.
class Simple {
 public:
  explicit Simple(const std::uint8_t* bytes, int channels = 1, int depth = 8, int width = kWidth,
                  int height = kHeight) {
    const int stride = width * channels * depth / 8;
    for (int y = 0; y < height; ++y)
      rows_[static_cast<std::size_t>(y)] = writable(bytes) + std::ptrdiff_t{y} * stride;
    record_ = {width, height, stride, height * stride, channels, depth, rows_[0], rows_.data()};
  }
  operator img*() { return &record_; }

 private:
  std::array<std::uint8_t*, kHeight> rows_{};
  img record_{};
};

template <auto Clone, auto... kRect>
constexpr EntryPoint clone(const char* name) {
  return {name, kFrameLuma, [](MMemMgr manager, std::uint8_t* out) {
            const TLUX_IMAGE source = frameOver(pixels());
            TLUX_IMAGE* copy = nullptr;
            const std::uint32_t result = Clone(&copy, &source, kRect..., manager);
            EXPECT_EQ(copy != nullptr, result == TLUX_OK);
            if (copy == nullptr) return result;
            std::memcpy(out, copy->plane[0],
                        static_cast<std::size_t>(copy->pitch[0]) * copy->height);
            TLUX_FreeImage_IMK(&copy, manager);
            return result;
          }};
}

inline constexpr TLUX_RECT kRect{4, 2, 28, 46};

template <auto Insert, auto... kRectangle>
constexpr EntryPoint insert(const char* name) {
  return {name, 8, [](MMemMgr manager, std::uint8_t* out) {
            const TLUX_IMAGE source = grayOver(pixels());
            TLUX_IMAGE_LIST list{};
            const std::uint32_t result =
                Insert(&list, &source, pixels(), kRectangle..., 1, 2, manager);
            EXPECT_EQ(list.count, result == TLUX_OK ? 1U : 0U);
            if (result == TLUX_OK) std::memcpy(out, list.first->aux, 8);
            TLUX_FreeImageLink_IMK(&list, manager);
            return result;
          }};
}

inline constexpr TLUX_RECT kPart{1, 1, 9, 8};

inline constexpr TLUX_GUIDE_CONTEXT kBand = {
    nullptr, nullptr,    nullptr,   nullptr,    nullptr,   nullptr,     nullptr, nullptr, nullptr,
    1,       kLowHeight, kLowWidth, kLowHeight, kLowWidth, kFrameWidth, kRadius, 20};

// The work of one thread of the fast guided filter; maps are the caller's.
template <class Work>
void onBand(MMemMgr manager, std::uint8_t* out, Work work) {
  std::vector<std::int32_t> maps(4 * kLowPixels);
  TLUX_GUIDE_CONTEXT band = kBand;
  band.manager = manager;
  band.rawA = maps.data();
  band.rawB = maps.data() + kLowPixels;
  band.smoothA = maps.data() + 2 * kLowPixels;
  band.smoothB = maps.data() + 3 * kLowPixels;
  band.input = pixels();
  band.guide = pixels() + kLowPixels;
  band.fullGuide = beforePixels().data();
  band.fullOut = out;
  work(band);
}

// All scores are 0 if scoring ran out of memory.
template <auto Generate>
std::uint32_t generateScores(MMemMgr manager, std::uint8_t* out) {
  const TLUX_IMAGE source = grayOver(pixels());
  TLUX_TONEMAP_CONTEXT context{&source, kWidth, kHeight, TLUX_Degamma_Table, nullptr, nullptr};
  std::uint32_t result = Generate(manager, &context);
  if (result == TLUX_OK) {
    if (std::all_of(context.gains, context.gains + kPixels, [](int score) { return score == 0; }))
      result = TLUX_ERR_NO_MEMORY;
    else
      std::memcpy(out, context.gains, 2 * kPixels);
  }
  MMemFree(manager, context.gains);
  MMemFree(manager, context.logLuma);
  return result;
}

// Two frames on one engine. On the heap only one of them can hit the fault; the engine must handle
// the other as if nothing had happened.
inline std::uint32_t runTwice(MMemMgr manager, std::uint8_t* out) {
  TLUX_ENGINE* engine = nullptr;
  const std::uint32_t created = TLUX_Init(manager, &engine);
  EXPECT_EQ(engine != nullptr, created == TLUX_OK);
  if (engine == nullptr) return created;
  const TLUX_IMAGE source = frameOver(beforePixels().data());
  std::array<std::uint8_t, kFrameBytes> again{};
  TLUX_IMAGE first = frameOver(out);
  TLUX_IMAGE second = frameOver(again.data());
  const auto run = [&](TLUX_IMAGE& output) {
    return TLUX_RunDynamicRangeOptimizationImage(manager, engine, &source, 1, &output, &kStrength,
                                                 0);
  };
  const std::uint32_t results[] = {run(first), run(second)};
  EXPECT_TRUE(manager != nullptr || results[0] == TLUX_OK || results[1] == TLUX_OK);
  if (results[0] == TLUX_OK && results[1] == TLUX_OK) {
    EXPECT_EQ(std::memcmp(out, again.data(), again.size()), 0);
  }
  EXPECT_EQ(TLUX_Uninit(manager, engine), TLUX_OK);
  return std::max(results[0], results[1]);
}

// The same picture twice through one stream: if the first run lacks a resource, its output is the
// source, and the second run works as if nothing had happened.
inline std::uint32_t streamTwice(MMemMgr manager, std::uint8_t* out) {
  TLUX_STREAM_OPTIONS options;
  EXPECT_EQ(TLUX_InitStreamOptions(&options, sizeof options, TLUX_TONES_NATURAL), TLUX_OK);
  options.threads = 4;
  TLUX_STREAM* stream = nullptr;
  const std::uint32_t opened = TLUX_OpenStream(manager, &options, &stream);
  EXPECT_EQ(stream != nullptr, opened == TLUX_OK);
  if (stream == nullptr) return opened;
  const TLUX_IMAGE source = frameOver(beforePixels().data());
  std::array<std::uint8_t, kFrameBytes> again{};
  const TLUX_IMAGE first = frameOver(out);
  const TLUX_IMAGE second = frameOver(again.data());
  const std::uint32_t result = TLUX_RunStream(stream, &source, &first, kStrength);
  TLUX_ResetStream(stream);
  const std::uint32_t later = TLUX_RunStream(stream, &source, &second, kStrength);
  EXPECT_TRUE(manager != nullptr || later == TLUX_OK);
  if (result == later) {
    EXPECT_EQ(std::memcmp(out, again.data(), again.size()), 0);
  }
  TLUX_CloseStream(&stream);
  return result;
}

// The tone stage of a run, on the caller's reference frame.
inline std::uint32_t toneMap(MMemMgr manager, std::uint8_t* out) {
  TLUX_IMAGE reference{TLUX_FMT_YCBCR444_P,
                       kLowWidth,
                       kLowHeight,
                       {writable(pixels()), writable(pixels()), writable(pixels())},
                       {kLowWidth, kLowWidth, kLowWidth}};
  TLUX_ENGINE engine{};
  engine.images[0] = &reference;
  engine.refWidth = kLowWidth;
  engine.refHeight = kLowHeight;
  engine.degammaTable = TLUX_Degamma_Table;
  engine.gammaTable = TLUX_Gamma_Table8;
  const TLUX_IMAGE source = frameOver(beforePixels().data());
  TLUX_IMAGE output = frameOver(out);
  const std::uint32_t result = TLUX_Tonemapping(manager, &engine, &source, &output, 0, &kStrength);
  MMemFree(manager, engine.logGainMap);
  MMemFree(manager, engine.gainLut);
  return result;
}

} // namespace tlux::test
