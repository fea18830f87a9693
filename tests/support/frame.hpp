#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/guarded_buffer.hpp"
#include "tlux/image.h"

namespace tlux::test {

// What a synthetic frame shows.
enum class Scene {
  kGrey,     // one mid tone
  kGradient, // dark left, bright right, coloured from top to bottom
  kNoise,    // independent samples
  kExtremes, // black and white squares of several sizes, chroma at its ends
  kWindow,   // a dim textured room with a bright opening
};

inline constexpr Scene kScenes[] = {Scene::kGrey, Scene::kGradient, Scene::kNoise, Scene::kExtremes,
                                    Scene::kWindow};

struct FrameShape {
  int width;
  int height;
  int lumaPitch = 0;   // 0: the width
  int chromaPitch = 0; // 0: the luma pitch
  std::uint32_t format = TLUX_FMT_YCBCR420_YPVU;
};

// An NV12 or NV21 frame whose planes each end at a page that cannot be touched.
class Frame {
 public:
  static constexpr std::uint8_t kBlank = 0x5A;

  explicit Frame(const FrameShape& shape)
      : luma_(planeBytes(lumaPitch(shape), shape.height), kBlank),
        chroma_(planeBytes(chromaPitch(shape), shape.height / 2), kBlank),
        image_{shape.format,
               shape.width,
               shape.height,
               {luma_.data(), chroma_.data()},
               {lumaPitch(shape), chromaPitch(shape)}} {}

  Frame(const FrameShape& shape, Scene scene, std::uint32_t seed = 1) : Frame(shape) {
    for (int y = 0; y < shape.height; ++y) {
      for (int x = 0; x < shape.width; ++x)
        row(0, y)[x] = lumaOf(scene, x, y, seed);
    }
    for (int y = 0; y < shape.height / 2; ++y) {
      for (int x = 0; x < shape.width; ++x)
        row(1, y)[x] = chromaOf(scene, x, y, seed);
    }
  }

  TLUX_IMAGE& image() { return image_; }
  std::uint8_t* row(int plane, int y) {
    return image_.plane[plane] + std::ptrdiff_t{y} * image_.pitch[plane];
  }
  GuardedBuffer& luma() { return luma_; }
  GuardedBuffer& chroma() { return chroma_; }

  // Equal samples and equal bytes between the rows, nothing written before the planes.
  bool operator==(Frame& other) {
    return luma_.isIntact() && chroma_.isIntact() &&
           std::ranges::equal(luma_.bytes(), other.luma_.bytes()) &&
           std::ranges::equal(chroma_.bytes(), other.chroma_.bytes());
  }

  // FNV-1a of the samples, without the bytes between the rows.
  std::uint64_t hash() {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (int plane = 0; plane < 2; ++plane) {
      for (int y = 0; y < image_.height >> plane; ++y) {
        for (int x = 0; x < image_.width; ++x) {
          hash = (hash ^ row(plane, y)[x]) * 0x100000001B3;
        }
      }
    }
    return hash;
  }

 private:
  static int lumaPitch(const FrameShape& shape) {
    return shape.lumaPitch != 0 ? shape.lumaPitch : shape.width;
  }
  static int chromaPitch(const FrameShape& shape) {
    return shape.chromaPitch != 0 ? shape.chromaPitch : lumaPitch(shape);
  }
  static std::size_t planeBytes(int pitch, int rows) {
    return static_cast<std::size_t>(pitch) * static_cast<std::size_t>(rows);
  }

  // A hash of the position: 32 even bits.
  static std::uint32_t scatter(int x, int y, std::uint32_t seed) {
    std::uint32_t v = static_cast<std::uint32_t>(x) * 0x9E3779B1U ^
                      static_cast<std::uint32_t>(y) * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
    v = (v ^ v >> 15) * 0x2C1B3C6DU;
    v = (v ^ v >> 12) * 0x297A2D39U;
    return v ^ v >> 15;
  }

  static std::uint8_t lumaOf(Scene scene, int x, int y, std::uint32_t seed) {
    const int noise = static_cast<int>(scatter(x, y, seed) >> 24);
    switch (scene) {
      case Scene::kGrey:
        return 90;
      case Scene::kGradient:
        return static_cast<std::uint8_t>(std::min(255, x / 2 + y / 16));
      case Scene::kNoise:
        return static_cast<std::uint8_t>(noise);
      case Scene::kExtremes:
        return ((x >> (y / 64)) ^ (y >> 3)) & 1 ? 255 : 0;
      case Scene::kWindow:
        const bool outside = x % 160 > 96 && y % 120 > 40 && y % 120 < 100;
        return static_cast<std::uint8_t>(outside ? 215 + noise / 8
                                                 : 14 + (x / 5 % 17) + noise / 16);
    }
    return 0;
  }

  static std::uint8_t chromaOf(Scene scene, int x, int y, std::uint32_t seed) {
    const int noise = static_cast<int>(scatter(x, y, seed + 77) >> 24);
    switch (scene) {
      case Scene::kGrey:
        return 128;
      case Scene::kGradient:
        return static_cast<std::uint8_t>((y + (x & 1) * 100) & 255);
      case Scene::kNoise:
        return static_cast<std::uint8_t>(noise);
      case Scene::kExtremes:
        return (x + y) & 2 ? 255 : 0;
      case Scene::kWindow:
        return static_cast<std::uint8_t>(((x & 1) != 0 ? 118 : 138) + noise / 32);
    }
    return 0;
  }

  GuardedBuffer luma_;
  GuardedBuffer chroma_;
  TLUX_IMAGE image_;
};

} // namespace tlux::test
