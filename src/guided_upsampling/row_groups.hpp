// The fast guided filter (windows of 2r × 2r, edges repeated): down the rows of luma.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "guided_upsampling/coefficient_lines.hpp"
#include "guided_upsampling/row_group.hpp"

// Moves down the groups of rows between rows of coefficients, in either precision: start(y) at the
// top; then for each group advance(next), where next is the row of coefficients below it (for the
// last group, the one above again), and makeLuma() once for each of its columns.
namespace tlux::detail {

// Packed maps of coefficients.
struct CoefficientMaps {
  const std::int32_t* a;
  const std::int32_t* b;
  std::ptrdiff_t width;
};

// In 16 bits; row_group.hpp gives the range of coefficients.
class ShortGroups {
 public:
  using Sample = std::int16_t;
  static constexpr std::int64_t scratchSamples(std::int64_t lowWidth) {
    return CellRow::samples(lowWidth) + kCellSlack + lineSamples(lowWidth);
  }

  ShortGroups(const CoefficientMaps& maps, Sample* scratch)
      : maps_(maps),
        kernels_(kernels<RowGroupKernels>()),
        lower_{scratch, maps.width},
        line_(scratch + CellRow::samples(maps.width) + kCellSlack) {
    std::fill_n(line_ - kCellSlack, kCellSlack, Sample{0});
  }

  void start(std::int32_t y) {
    advance(y);
    kernels_.startLine(lower_, line_);
  }
  void advance(std::int32_t next) {
    const std::ptrdiff_t row = next * maps_.width;
    kernels_.splitCells(maps_.a + row, maps_.b + row, lower_);
  }
  // guide and out begin with the first column; out may be guide.
  void makeLuma(const GroupPart& part, LumaRows<const std::uint8_t> guide,
                LumaRows<std::uint8_t> out) {
    kernels_.makeLuma(lower_, part, line_, guide, out);
  }

 private:
  CoefficientMaps maps_;
  const RowGroupKernels& kernels_;
  CellRow lower_;
  Sample* line_;
};

// In 32 bits. Each row of coefficients is interpolated along x once, as the lower line, and then
// becomes the upper one.
class LongGroups {
 public:
  using Sample = std::int32_t;
  static constexpr std::int64_t scratchSamples(std::int64_t lowWidth) {
    return 4 * kUpsampling * lowWidth;
  }

  LongGroups(const CoefficientMaps& maps, Sample* scratch)
      : maps_(maps), width_(kUpsampling * maps.width), scratch_(scratch) {}

  void start(std::int32_t y) {
    upper_ = y;
    interpolate(y);
    lower_ = y;
  }
  void advance(std::int32_t next) {
    upper_ = lower_;
    if (next != lower_) interpolate(next);
    lower_ = next;
  }
  void makeLuma(const GroupPart& part, LumaRows<const std::uint8_t> guide,
                LumaRows<std::uint8_t> out) const {
    const CoefficientLines lines = {lineOfA(upper_), lineOfA(lower_), lineOfB(upper_),
                                    lineOfB(lower_)};
    for (int phase = 0; phase < part.rows; ++phase) {
      applyCoefficients(phase, lines, part.first, part.end - part.first, guide.row(phase),
                        out.row(phase));
    }
  }

 private:
  Sample* lineOfA(std::int32_t y) const { return scratch_ + y % 2 * width_; }
  Sample* lineOfB(std::int32_t y) const { return scratch_ + (2 + y % 2) * width_; }
  void interpolate(std::int32_t y) const {
    upsampleRow(maps_.a + y * maps_.width, lineOfA(y), maps_.width);
    upsampleRow(maps_.b + y * maps_.width, lineOfB(y), maps_.width);
  }

  CoefficientMaps maps_;
  std::ptrdiff_t width_;
  Sample* scratch_;
  std::int32_t upper_ = 0;
  std::int32_t lower_ = 0;
};

} // namespace tlux::detail
