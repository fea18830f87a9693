// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges: means over windows.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/multiversion.hpp"
#include "filter/exact_division.hpp"
#include "filter/prefix_sum.hpp"

namespace tlux::detail {

// Represents any row outside the image.
inline constexpr std::int32_t kOutside = -1;

// The windows of (2r + 1) × (2r + 1) pixels of an image, cut off at its edges. A radius larger than
// the image is reduced to its size, which changes no window.
struct Windows {
  Windows(std::int32_t imageWidth, std::int32_t imageHeight, std::int32_t radius)
      : width(imageWidth),
        height(imageHeight),
        radiusX(std::min(radius, imageWidth)),
        radiusY(std::min(radius, imageHeight)) {}

  std::int32_t firstRow(std::int32_t y) const { return std::max(y - radiusY, 0); }
  std::int32_t endRow(std::int32_t y) const { return std::min(y + radiusY + 1, height); }
  std::int32_t columns(std::int32_t x) const {
    return std::min(x + radiusX + 1, width) - std::max(x - radiusX, 0);
  }

  std::int32_t width;
  std::int32_t height;
  std::int32_t radiusX;
  std::int32_t radiusY;
};

// The mean of each of Count quantities in all windows of one row, moving down row by row.
//
// The sums of the windows are kept, and change by the entering row minus the leaving row. The
// caller supplies these differences: writeDifferences(entering, leaving) returns a function that,
// for a quantity and a row of doubles, writes the quantity's values in row `entering` minus those
// in row `leaving`; a row outside the image counts as 0.
//
// Sums are integers, held exactly in doubles. Integer means are truncated toward zero, which is
// exact while the sums stay below 2⁵¹: pixel products are below 2¹⁶ and coefficients below 2²³,
// enough for windows of 2²⁸ pixels.
template <int Count, class Mean>
class WindowMeans {
  static_assert(sizeof(Mean) <= sizeof(double));

 public:
  static std::int64_t doublesNeeded(const Windows& windows) {
    return (2 * Count + 3) * std::int64_t{windows.width} + 2 * std::int64_t{windows.radiusX} + 1;
  }

  WindowMeans(const Windows& windows, double* memory)
      : windows_(windows),
        sums_(memory),
        means_(sums_ + std::int64_t{Count} * windows.width),
        reciprocals_(means_ + std::int64_t{Count} * windows.width),
        differences_(reciprocals_ + windows.width),
        prefixSums_(differences_ + windows.width) {}

  const Mean* means(int quantity) const {
    return reinterpret_cast<const Mean*>(means_ + std::int64_t{quantity} * windows_.width);
  }

  // Moves to row y.
  template <class WriteDifferences>
  void startAt(std::int32_t y, WriteDifferences&& writeDifferences) {
    y_ = y;
    std::fill_n(sums_, std::int64_t{Count} * windows_.width, 0.0);
    setReciprocals();
    for (std::int32_t row = windows_.firstRow(y); row < windows_.endRow(y); ++row) {
      slide(writeDifferences(row, kOutside));
    }
  }

  // Moves to the next row, if there is one.
  template <class WriteDifferences>
  void advance(WriteDifferences&& writeDifferences) {
    const std::int32_t entering = y_ + windows_.radiusY + 1;
    const std::int32_t leaving = y_ - windows_.radiusY;
    if (++y_ >= windows_.height) return;
    setReciprocals();
    slide(writeDifferences(entering < windows_.height ? entering : kOutside,
                           leaving >= 0 ? leaving : kOutside));
  }

 private:
  void setReciprocals() {
    const std::int32_t rows = windows_.endRow(y_) - windows_.firstRow(y_);
    if (rows == rowsOfReciprocals_) return;
    rowsOfReciprocals_ = rows;
    for (std::int32_t x = 0; x < windows_.width; ++x) {
      reciprocals_[x] = reciprocalAbove(std::int64_t{rows} * windows_.columns(x));
    }
  }

  template <class WriteQuantity>
  void slide(WriteQuantity&& writeQuantity) {
    const std::int64_t width = windows_.width;
    const std::int64_t r = windows_.radiusX;
    for (int quantity = 0; quantity < Count; ++quantity) {
      writeQuantity(quantity, differences_);
      double* inside = std::fill_n(prefixSums_, r + 1, 0.0);
      const double total = prefixSums(differences_, windows_.width, 0.0, inside);
      std::fill_n(inside + width, r, total);
      addAndDivide(prefixSums_, prefixSums_ + 2 * r + 1, reciprocals_, windows_.width,
                   sums_ + quantity * width, reinterpret_cast<Mean*>(means_ + quantity * width));
    }
  }

  TLUX_OUT_OF_LINE static void addAndDivide(const double* __restrict prefixSums,
                                            const double* __restrict ends,
                                            const double* __restrict reciprocals,
                                            std::int32_t width, double* __restrict sums,
                                            Mean* __restrict means) {
    for (std::int32_t x = 0; x < width; ++x) {
      const double sum = sums[x] + (ends[x] - prefixSums[x]);
      sums[x] = sum;
      means[x] = static_cast<Mean>(sum * reciprocals[x]); // |mean| < 2²³
    }
  }

  Windows windows_;
  double* sums_;
  double* means_;
  double* reciprocals_; // of the number of pixels in each window of the row
  double* differences_;
  double* prefixSums_;
  std::int32_t rowsOfReciprocals_ = 0;
  std::int32_t y_ = 0;
};

} // namespace tlux::detail
