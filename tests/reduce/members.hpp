#pragma once

#include <cstdint>
#include <optional>

#include "reference/resample.hpp"
#include "support/frame.hpp"
#include "support/guarded_buffer.hpp"

// The reductions with their formulas, and planes to call them on.
namespace tlux::test {

inline constexpr int kFourThirds = 0; // in place of a factor

struct Member {
  const char* name;
  void (*reduce)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);
  std::uint32_t format;
  int factor;
  bool isDispatched;
};

#define DISPATCHED(FUNCTION, LAYOUT, N) {#FUNCTION, FUNCTION, TLUX_FMT_##LAYOUT, N, true},
#define BY_NAME_ONLY(FUNCTION, LAYOUT, N) {#FUNCTION, FUNCTION, TLUX_FMT_##LAYOUT, N, false},
inline constexpr Member kMembers[] = {
    TLUX_RESAMPLE_DISPATCHED_MEMBERS(DISPATCHED) TLUX_RESAMPLE_FURTHER_MEMBERS(BY_NAME_ONLY)
        BY_NAME_ONLY(ResampleImage_4_3_YCBCR420_P, YCBCR420_P, kFourThirds)};
#undef DISPATCHED
#undef BY_NAME_ONLY

struct Arrangement {
  std::uint32_t word;
  char pattern[5];
};
inline constexpr Arrangement kArrangements[] = {{0x16161616, "BGGR"},
                                                {0x49494949, "GBRG"},
                                                {0x61616161, "GRBG"},
                                                {0x94949494, "RGGB"},
                                                {0x94940000, "BGGR"}}; // not known: as the first

inline reference::Reduced formula(const Member& member, const TLUX_IMAGE& image,
                                  const TLUX_CROP_RECT& crop, const Arrangement& arrangement) {
  const reference::Source source{member.format, image, crop};
  if (member.factor == kFourThirds) return reference::reduceByFourThirds(source);
  if (member.factor == 1) return reference::widen(source);
  if (member.format == TLUX_FMT_BAYER && member.factor == 8) {
    return reference::reduceRawByEight(source, arrangement.pattern);
  }
  return reference::reduce(source, member.factor);
}

// A frame whose planes end exactly with the last sample of their last row, of pitches that
// between(low, high) chooses. Chroma planes have one readable pair before them.
class ReducedFrame {
 public:
  template <class Between, class Fill>
  ReducedFrame(std::uint32_t format, int width, int height, Between between, Fill fill)
      : image_{format, width, height, {}, {}} {
    const bool isSemiPlanar = format >> 8 == 8;
    int i = 0;
    for (const PlaneExtent& extent : extentsOf(format, width, height)) {
      const int before = i == 0 ? 0 : (isSemiPlanar ? 2 : 1);
      const int bytes = isSemiPlanar && i > 0 ? extent.bytes / 2 * 2 : extent.bytes;
      image_.pitch[i] = bytes + between(0, 9);
      buffers_[i].emplace(
          static_cast<std::size_t>(before + (extent.rows - 1) * image_.pitch[i] + bytes));
      fill(buffers_[i]->bytes());
      image_.plane[i] = buffers_[i]->data() + before;
      ++i;
    }
  }
  TLUX_IMAGE& image() { return image_; }
  void fill(std::uint8_t value) {
    for (auto& buffer : buffers_)
      if (buffer) std::ranges::fill(buffer->bytes(), value);
  }

 private:
  std::optional<GuardedBuffer> buffers_[3];
  TLUX_IMAGE image_;
};

// In a destination wider than the output, rows start that much closer together.
class Destination {
 public:
  template <class Between>
  Destination(const reference::Reduced& expected, Between between)
      : expected_(expected), image_{0, expected.width + between(0, 3), -1, {}, {}} {
    for (int i = 0; i < 3; ++i) {
      GuardedRows& plane =
          planes_[i].emplace(expected.width, expected.height, static_cast<int>(between(1, 7)));
      image_.plane[i] = plane.data();
      image_.pitch[i] = plane.pitch() + image_.width - expected.width;
    }
  }
  TLUX_IMAGE& image() { return image_; }

  // Whether it holds the output and nothing else was written.
  bool holdsExpected() {
    return planes_[0]->holds(expected_.planes[0]) && planes_[1]->holds(expected_.planes[1]) &&
           planes_[2]->holds(expected_.planes[2]);
  }

 private:
  reference::Reduced expected_;
  std::optional<GuardedRows> planes_[3];
  TLUX_IMAGE image_;
};

} // namespace tlux::test
