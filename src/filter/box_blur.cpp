#include "tlux/box_blur.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "base/multiversion.hpp"
#include "base/plane.hpp"
#include "base/result.hpp"
#include "filter/prefix_sum.hpp"
#include "platform/scratch.hpp"

// Sums over the window's rows are kept per column and slide down row by row; from the prefix sums
// of a row of them each window is one difference. The plane is overwritten on the way, so the last
// r + 1 original rows are kept.
//
// All sums are unsigned words that wrap, read as signed at the end for signed samples.
namespace tlux::detail {
namespace {

// 65536 / d² rounded to nearest, for a window of d × d samples; 0 for d ≥ 363.
constexpr std::int64_t reciprocalOfArea(std::int64_t d) {
  return (d * d + 0x20000) / (2 * d * d);
}

// The largest radius whose reciprocal is not 0, so the largest window that is ever summed.
constexpr std::int32_t kLargestRadius = 180;
static_assert(reciprocalOfArea(2 * kLargestRadius + 1) != 0 &&
              reciprocalOfArea(2 * kLargestRadius + 3) == 0);

// 8-bit samples: windows of radius 7 fit 16 bits (225 · 255 and 225 · −128), and their mean never
// exceeds the sample type. Columns fit 16 bits up to radius 127 (255 · 255 and 255 · −128).
constexpr std::int32_t kLargestRadiusOf16BitSums = 7;
constexpr std::int32_t kLargestRadiusOf16BitColumns = 127;

template <class Sample, class Column>
TLUX_OUT_OF_LINE void addRow(Column* __restrict columns, const Sample* __restrict row,
                             std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    columns[x] = static_cast<Column>(columns[x] + static_cast<Column>(row[x]));
  }
}

template <class Sample, class Column>
TLUX_OUT_OF_LINE void slideDown(Column* __restrict columns, const Sample* __restrict entering,
                                const Sample* __restrict leaving, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    const auto change = static_cast<Column>(entering[x]) - static_cast<Column>(leaving[x]);
    columns[x] = static_cast<Column>(columns[x] + static_cast<Column>(change));
  }
}

// Prefix sums of the columns with the first and last one repeated `radius` times: width + 2r + 1
// values, of which sums[x + d] − sums[x] is the window of x.
template <class Sample, class Column, class Sum>
TLUX_OUT_OF_LINE void paddedPrefixSums(const Column* __restrict columns, std::int32_t width,
                                       std::int32_t radius, Sum* __restrict sums) {
  const auto widened = [&](std::int32_t x) {
    using Value = std::conditional_t<std::is_signed_v<Sample>, std::make_signed_t<Column>, Column>;
    return static_cast<Sum>(static_cast<Value>(columns[x]));
  };
  Sum sum = 0;
  for (std::int32_t i = 0; i < radius; ++i) {
    *sums++ = sum;
    sum = static_cast<Sum>(sum + widened(0));
  }
  *sums++ = sum;
  if constexpr (sizeof(Column) == sizeof(Sum)) {
    sum = prefixSums(columns, width, sum, sums);
  } else {
    sum = widePrefixSums<std::is_signed_v<Sample>>(columns, width, sum, sums);
  }
  sums += width;
  for (std::int32_t i = 0; i < radius; ++i) {
    *sums++ = sum = static_cast<Sum>(sum + widened(width - 1));
  }
}

// (sum · k + 32768) >> 16 for any signed 32-bit sum: as unsigned, sum + 2³¹ is too large by 2³¹,
// which makes the mean too large by exactly 2¹⁵ · k. Needs k < 2¹⁶, that is, a radius above 0.
constexpr std::int32_t roundedMean(std::uint32_t sum, std::uint16_t k) {
  const std::uint64_t product = std::uint64_t{sum + 0x80000000u} * k + 0x8000u;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(product >> 16) -
                                   (std::uint32_t{k} << 15));
}

// The halves of the 16 × 16-bit product separately: there is an instruction for each.
template <class Sample>
TLUX_OUT_OF_LINE void writeMeans(const std::uint16_t* __restrict sums,
                                 const std::uint16_t* __restrict ends, std::uint16_t k,
                                 Sample* __restrict out, std::int32_t width) {
  using Sum = std::conditional_t<std::is_signed_v<Sample>, std::int16_t, std::uint16_t>;
  using Wide = std::conditional_t<std::is_signed_v<Sample>, std::int32_t, std::uint32_t>;
  for (std::int32_t x = 0; x < width; ++x) {
    const auto sum = static_cast<Sum>(static_cast<std::uint16_t>(ends[x] - sums[x]));
    const auto high = static_cast<std::uint16_t>((static_cast<Wide>(sum) * k) >> 16);
    const auto low = static_cast<std::uint16_t>(static_cast<std::uint16_t>(sum) * k);
    out[x] = static_cast<Sample>(
        static_cast<std::uint16_t>(high + static_cast<std::uint16_t>(low >> 15)));
  }
}

// The product of 8-bit samples fits 32 bits, |sum · k| ≤ 255 · d² · k ≤ 255 · 130696, and the mean
// 16. An unsigned shift differs from a signed one only in the upper bits, which are dropped.
template <class Sample>
requires(sizeof(Sample) == 1) TLUX_OUT_OF_LINE
    void writeMeans(const std::uint32_t* __restrict sums, const std::uint32_t* __restrict ends,
                    std::uint16_t k, Sample* __restrict out, std::int32_t width) {
  constexpr std::int16_t kMin{std::numeric_limits<Sample>::min()};
  constexpr std::int16_t kMax{std::numeric_limits<Sample>::max()};
  for (std::int32_t x = 0; x < width; ++x) {
    const auto mean = static_cast<std::int16_t>(((ends[x] - sums[x]) * k + 0x8000u) >> 16);
    out[x] = static_cast<Sample>(std::clamp(mean, kMin, kMax));
  }
}

// The mean leaves the type only near its limits, so each stretch is checked before it is clamped. A
// mean is at most twice the range of the type away.
TLUX_MULTIVERSION void writeMeans(const std::uint32_t* __restrict sums,
                                  const std::uint32_t* __restrict ends, std::uint16_t k,
                                  std::int16_t* __restrict out, std::int32_t width) {
  constexpr std::int32_t kStretch = 256;
  constexpr std::int32_t kMin = std::numeric_limits<std::int16_t>::min();
  constexpr std::int32_t kMax = std::numeric_limits<std::int16_t>::max();
  std::int32_t means[kStretch];
  for (std::int32_t first = 0; first < width; first += kStretch) {
    const std::int32_t count = std::min(kStretch, width - first);
    std::uint32_t offsets = 0;
    for (std::int32_t x = 0; x < count; ++x) {
      means[x] = roundedMean(ends[first + x] - sums[first + x], k);
      offsets |= static_cast<std::uint32_t>(means[x]) - static_cast<std::uint32_t>(kMin);
    }
    if (offsets > 0xFFFF) {
      for (std::int32_t x = 0; x < count; ++x) {
        means[x] = std::clamp(means[x], kMin, kMax);
      }
    }
    for (std::int32_t x = 0; x < count; ++x) {
      out[first + x] = static_cast<std::int16_t>(means[x]);
    }
  }
}

// The mean of 32-bit sums always fits 32 bits, since k ≤ 7282 once the radius is above 0.
TLUX_MULTIVERSION void writeMeans(const std::uint32_t* __restrict sums,
                                  const std::uint32_t* __restrict ends, std::uint16_t k,
                                  std::int32_t* __restrict out, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    out[x] = roundedMean(ends[x] - sums[x], k);
  }
}

// Requests a row ahead of its use: hardware prefetchers stop at the end of a memory page.
void prefetch(const void* row, std::int64_t bytes) {
  constexpr std::int64_t kCacheLine = 64;
  const auto* first = static_cast<const std::byte*>(row);
  for (std::int64_t i = 0; i < bytes; i += kCacheLine) {
    __builtin_prefetch(first + i);
  }
}

template <class Sample, class Column, class Sum>
Result blurRows(MMemMgr manager, Plane<Sample> plane, std::int32_t radius) {
  const std::int64_t width = plane.width;
  const std::int32_t d = 2 * radius + 1;
  const auto k = static_cast<std::uint16_t>(reciprocalOfArea(d));
  const std::int32_t keptRows = std::min(radius + 1, plane.height);

  const auto sumBytes = (width + d) * std::int64_t{sizeof(Sum)};
  const auto columnBytes = width * std::int64_t{sizeof(Column)};
  const auto keptBytes = keptRows * width * std::int64_t{sizeof(Sample)};
  const Scratch<std::byte> block(manager, sumBytes + columnBytes + keptBytes);
  if (!block) return Result::kNoMemory;
  auto* sums = reinterpret_cast<Sum*>(block.get());
  auto* columns = reinterpret_cast<Column*>(block.get() + sumBytes);
  const auto kept = packedPlane(reinterpret_cast<Sample*>(block.get() + sumBytes + columnBytes),
                                plane.width, keptRows);

  // Rows that have not been written yet come from the plane, the others from the kept rows. The
  // last row is written after its last use.
  const auto below = [&](std::int32_t y) { return plane.row(std::min(y, plane.height - 1)); };
  const auto above = [&](std::int32_t y) { return kept.row(std::max(y, 0) % keptRows); };

  std::fill_n(columns, width, Column{0});
  for (std::int32_t y = -radius; y <= radius; ++y) {
    addRow(columns, below(std::max(y, 0)), plane.width);
  }
  for (std::int32_t y = 0; y < plane.height; ++y) {
    Sample* row = plane.row(y);
    paddedPrefixSums<Sample>(columns, plane.width, radius, sums);
    std::copy_n(row, width, above(y));
    slideDown(columns, below(y + radius + 1), above(y - radius), plane.width);
    prefetch(below(y + radius + 2), width * std::int64_t{sizeof(Sample)});
    writeMeans(sums, sums + d, k, row, plane.width);
  }
  return Result::kOk;
}

template <class Sample>
Result boxBlur(MMemMgr manager, Plane<Sample> plane, std::int32_t radius) {
  if (plane.width < 1 || plane.height < 1 || radius <= 0) return Result::kOk;
  if (plane.data == nullptr) return Result::kInvalidParam;
  if (radius > kLargestRadius) {
    for (std::int32_t y = 0; y < plane.height; ++y) {
      std::fill_n(plane.row(y), plane.width, Sample{0});
    }
    return Result::kOk;
  }
  if constexpr (sizeof(Sample) == 1) {
    if (radius <= kLargestRadiusOf16BitSums) {
      return blurRows<Sample, std::uint16_t, std::uint16_t>(manager, plane, radius);
    }
    if (radius <= kLargestRadiusOf16BitColumns) {
      return blurRows<Sample, std::uint16_t, std::uint32_t>(manager, plane, radius);
    }
  }
  return blurRows<Sample, std::uint32_t, std::uint32_t>(manager, plane, radius);
}

template <class Sample>
Plane<Sample> planeOf(Sample* data, std::int32_t width, std::int32_t height,
                      std::int32_t pitchInSamples) {
  return {data, width, height, std::ptrdiff_t{pitchInSamples} * std::ptrdiff_t{sizeof(Sample)}};
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_BoxBlur_Byte(MMemMgr manager, uint8_t* plane, int32_t width, int32_t height,
                           int32_t pitch, int32_t radius, int32_t) noexcept {
  return codeOf(boxBlur(manager, planeOf(plane, width, height, pitch), radius));
}

uint32_t TLUX_BoxBlur_Int8(MMemMgr manager, int8_t* plane, int32_t width, int32_t height,
                           int32_t pitch, int32_t radius, int32_t) noexcept {
  return codeOf(boxBlur(manager, planeOf(plane, width, height, pitch), radius));
}

uint32_t TLUX_BoxBlur_Int16(MMemMgr manager, int16_t* plane, int32_t width, int32_t height,
                            int32_t pitch, int32_t radius, int32_t) noexcept {
  return codeOf(boxBlur(manager, planeOf(plane, width, height, pitch), radius));
}

uint32_t TLUX_BoxBlur_Int32(MMemMgr manager, int32_t* plane, int32_t width, int32_t height,
                            int32_t pitch, int32_t radius, int32_t) noexcept {
  return codeOf(boxBlur(manager, planeOf(plane, width, height, pitch), radius));
}
