#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "reference/loops.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/image.h"

namespace tlux::test {

using reference::forEachPixel;
using reference::mapPixels;
using Bytes = std::vector<std::uint8_t>;

// Bytes per row and rows of a plane, counting only samples.
struct PlaneExtent {
  int bytes;
  int rows;
};

inline std::vector<PlaneExtent> extentsOf(std::uint32_t format, int w, int h) {
  switch (format) {
    case TLUX_FMT_YCBCR420_P:
    case TLUX_FMT_YCBCR420_P_B:
      return {{w, h}, {w / 2, h / 2}, {w / 2, h / 2}};
    case TLUX_FMT_YCBCR440_P:
    case TLUX_FMT_YCBCR440_P_B:
      return {{w, h}, {w, h / 2}, {w, h / 2}};
    case TLUX_FMT_YCBCR422_P:
    case TLUX_FMT_YCBCR422_P_B:
      return {{w, h}, {w / 2, h}, {w / 2, h}};
    case TLUX_FMT_YCBCR444_P:
    case TLUX_FMT_YCBCR444_P_B:
      return {{w, h}, {w, h}, {w, h}};
    case TLUX_FMT_YCBCR420_YPUV:
    case TLUX_FMT_YCBCR420_YPVU:
      return {{w, h}, {w, h / 2}};
    case TLUX_FMT_YCBCR422_YPUV:
      return {{w, h}, {w, h}};
    case TLUX_FMT_BGR32:
    case TLUX_FMT_BGR32_B:
      return {{4 * w, h}};
    default:
      break;
  }
  constexpr int kPixelBytes[] = {1, 1, 1, 3, 3, 2, 1, 1, 1, 1, 2}; // of each family
  return {{kPixelBytes[format >> 8] * w, h}};
}

// The content of a synthetic frame.
enum class Scene {
  kGrey,     // one mid tone
  kGradient, // dark left, bright right, coloured from top to bottom
  kNoise,    // independent samples
  kExtremes, // black and white squares of several sizes, extreme chroma
  kWindow,   // a dim textured room with a bright opening
};

inline constexpr Scene kScenes[] = {Scene::kGrey, Scene::kGradient, Scene::kNoise, Scene::kExtremes,
                                    Scene::kWindow};

struct FrameShape {
  int width;
  int height;
  int lumaPitch = 0;   // 0: the length of a row
  int chromaPitch = 0; // 0: the length of a row, or for pairs the luma pitch
  std::uint32_t format = TLUX_FMT_YCBCR420_YPVU;
  bool isTight = false; // planes end with their last sample
};

// An image of any format whose planes each end at an inaccessible page.
class Frame {
 public:
  static constexpr std::uint8_t kBlank = 0x5A;

  struct NoPlanes {};
  Frame(std::uint32_t format, int width, int height, NoPlanes)
      : image_{format, width, height, {}, {}} {}

  explicit Frame(const FrameShape& shape)
      : Frame(shape.format, shape.width, shape.height, NoPlanes()) {
    const auto extents = extentsOf(shape.format, shape.width, shape.height);
    for (const PlaneExtent& extent : extents) {
      const bool isLuma = planes_.empty();
      int pitch = isLuma ? shape.lumaPitch : shape.chromaPitch;
      if (pitch == 0 && !isLuma && extents.size() == 2) pitch = image_.pitch[0];
      if (pitch == 0) pitch = extent.bytes;
      addPlane(pitch, extent.rows, shape.isTight ? pitch - extent.bytes : 0);
    }
  }

  // Random bytes everywhere.
  Frame(const FrameShape& shape, Random& random) : Frame(shape) {
    visitPlanes([&](std::span<std::uint8_t> bytes) { random.fill(bytes); });
  }

  Frame(const FrameShape& shape, Scene scene, std::uint32_t seed = 1) : Frame(shape) {
    forEachPixel(shape.width, shape.height,
                 [&](int x, int y) { row(0, y)[x] = lumaOf(scene, x, y, seed); });
    forEachPixel(shape.width, shape.height / 2,
                 [&](int x, int y) { row(1, y)[x] = chromaOf(scene, x, y, seed); });
  }

  // A plane without some of the padding of its last row.
  void addPlane(int pitch, int rows, int missing) {
    const int size = pitch * rows - (rows > 0 ? missing : 0);
    addPlane(pitch, static_cast<std::size_t>(size));
  }
  void addPlane(int pitch, std::size_t size) {
    image_.pitch[planes_.size()] = pitch;
    planes_.push_back(std::make_unique<GuardedBuffer>(size, kBlank));
    image_.plane[planes_.size() - 1] = planes_.back()->data();
  }

  TLUX_IMAGE& image() { return image_; }
  TLUX_IMAGE* get() { return &image_; }
  TLUX_IMAGE* operator->() { return &image_; }
  std::uint8_t* row(int plane, int y) {
    return planes_[plane]->data() + std::ptrdiff_t{y} * image_.pitch[plane];
  }
  int planeCount() const { return static_cast<int>(planes_.size()); }
  GuardedBuffer& plane(int i) { return *planes_[i]; }
  // Calls visit(bytes) for all bytes of each plane.
  template <class Visit>
  void visitPlanes(Visit visit) {
    for (auto& plane : planes_)
      visit(plane->bytes());
  }

  // All bytes of a plane, or only its samples, packed.
  Bytes bytes(int i) const { return {planes_[i]->bytes().begin(), planes_[i]->bytes().end()}; }
  Bytes samples(int i) {
    const PlaneExtent extent = extentsOf(image_.format, image_.width, image_.height)[i];
    return mapPixels(extent.bytes, extent.rows, [&](int x, int y) { return row(i, y)[x]; });
  }

  // Whether nothing was written before the planes.
  bool isIntact() const {
    return std::ranges::all_of(planes_, [](const auto& plane) { return plane->isIntact(); });
  }

  // Equal samples and equal bytes between the rows.
  bool operator==(const Frame& other) const {
    return isIntact() && other.isIntact() &&
           std::ranges::equal(planes_, other.planes_, [](const auto& a, const auto& b) {
             return std::ranges::equal(a->bytes(), b->bytes());
           });
  }

  Frame copy() const {
    Frame out(image_.format, image_.width, image_.height, NoPlanes());
    for (int i = 0; i < planeCount(); ++i) {
      out.addPlane(image_.pitch[i], planes_[i]->size());
      std::ranges::copy(planes_[i]->bytes(), out.planes_[i]->data());
    }
    return out;
  }

  // FNV-1a of the samples of the first rows of luma and of their chroma.
  std::uint64_t hash(int lumaRows) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (int plane = 0; plane < 2; ++plane) {
      forEachPixel(image_.width, plane == 0 ? lumaRows : lumaRows / 2,
                   [&](int x, int y) { hash = (hash ^ row(plane, y)[x]) * 0x100000001B3; });
    }
    return hash;
  }

 private:
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
    const bool outside = x % 160 > 96 && y % 120 > 40 && y % 120 < 100;
    const int levels[] = {90, std::min(255, x / 2 + y / 16), noise,
                          ((x >> std::min(y / 64, 31)) ^ (y >> 3)) & 1 ? 255 : 0,
                          outside ? 215 + noise / 8 : 14 + (x / 5 % 17) + noise / 16};
    return static_cast<std::uint8_t>(levels[static_cast<int>(scene)]);
  }

  static std::uint8_t chromaOf(Scene scene, int x, int y, std::uint32_t seed) {
    const int noise = static_cast<int>(scatter(x, y, seed + 77) >> 24);
    const int levels[] = {128, (y + (x & 1) * 100) & 255, noise, (x + y) & 2 ? 255 : 0,
                          ((x & 1) != 0 ? 118 : 138) + noise / 32};
    return static_cast<std::uint8_t>(levels[static_cast<int>(scene)]);
  }

  TLUX_IMAGE image_;
  std::vector<std::unique_ptr<GuardedBuffer>> planes_;
};

} // namespace tlux::test
