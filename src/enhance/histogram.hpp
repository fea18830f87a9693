#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/plane.hpp"
#include "image/format.hpp"
#include "image/rect.hpp"

namespace tlux::detail {

constexpr int kSampleLevels = 256;

// A histogram in several lanes used in turn: equal neighbours are common in images, and an
// increment that has to wait for the previous one takes several times as long.
template <class Count, int kLanes>
class LaneHistogram {
  static_assert(8 % kLanes == 0);

 public:
  void add(const std::uint8_t* samples, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
      std::uint64_t eight = 0;
      std::memcpy(&eight, samples + i, 8);
      for (int lane = 0; lane < 8; ++lane) {
        ++lanes_[lane % kLanes][(eight >> (8 * lane)) & 0xFF];
      }
    }
    for (; i < count; ++i) {
      ++lanes_[0][samples[i]];
    }
  }

  Count countOf(int level) const {
    Count sum = 0;
    for (int lane = 0; lane < kLanes; ++lane) {
      sum = static_cast<Count>(sum + lanes_[lane][level]);
    }
    return sum;
  }

 private:
  Count lanes_[kLanes][kSampleLevels] = {};
};

// Adds the samples of a rectangle, not necessarily inside the plane, to a histogram of
// kSampleLevels counts; nothing when it is empty.
void addToHistogram(const Plane<const std::uint8_t>& plane, const Rect& area,
                    std::uint32_t* histogram);

} // namespace tlux::detail
