// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/bands.hpp"
#include "filter/guided_coefficients.hpp"
#include "filter/guided_image.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {

struct GuidedImages {
  ByteRows guide;
  ByteRows input;
  WritableRows output;
};

// Whether the images meet the filter's requirements.
inline bool areGuidedImages(const img* guide, std::int32_t channels, const img* input,
                            const img* output, std::int32_t radius) {
  return radius >= 0 && hasSamples(guide, channels, 8) && hasSamples(input, 1, 8) &&
         hasSamples(output, 1, 8) && areEqualInSize(guide, input) && areEqualInSize(guide, output);
}

struct PixelRect {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;  // exclusive
  std::int32_t bottom; // exclusive
};

// The guided filter with both passes moving down the image together: the second follows r rows
// behind the first, so only the coefficients of 2r + 2 rows are kept. Test it before use.
template <class Model>
class GuidedFilter {
  using Fit = CoefficientFit<Model>;
  using Means = CoefficientMeans<Model::kCoefficients>;
  using Rows = CoefficientRows<Model::kCoefficients>;

 public:
  // `largest` is the upper bound of the sizes filtered with this memory.
  GuidedFilter(MMemMgr manager, const Windows& largest)
      : sums_(manager, Fit::doublesNeeded(largest) + Means::doublesNeeded(largest)),
        coefficients_(manager, Rows::valuesNeeded(largest.width, heldRows(largest))) {}

  explicit operator bool() const { return sums_ && coefficients_; }

  // Filters images with the size of `windows` and writes the pixels of `region`.
  void run(const GuidedImages& images, const Windows& windows, const PixelRect& region,
           const Model& model = {}) const {
    const auto applyTo = [&](std::int32_t y, const Means& means) {
      const std::int64_t left = region.left;
      applyCoefficients<Model>(means.from(region.left), images.guide[y] + left * Model::kGuides,
                               region.right - region.left,
                               images.output[y] + left * Model::kInputs);
    };
    forMeansOfRows(images.guide, images.input, windows, {region.top, region.bottom}, model,
                   applyTo);
  }

  // Calls visit(y, CoefficientMeans) for the rows of a band. Guide and input may be overwritten up
  // to row y during the call.
  template <class Visit>
  void forMeansOfRows(ByteRows guide, ByteRows input, const Windows& windows, Band band,
                      const Model& model, Visit visit) const {
    const Rows rows(coefficients_.get(), windows.width, heldRows(windows));
    double* behindFit = sums_.get() + Fit::doublesNeeded(windows);
    Fit first(guide, input, windows, rows, sums_.get(), model);
    Means second(rows, windows, behindFit);

    std::int32_t next = windows.firstRow(band.first);
    const auto fitUpTo = [&](std::int32_t end) {
      for (; next < std::min(end, windows.height); ++next) {
        first.fit(next);
      }
    };
    first.startAt(next);
    fitUpTo(band.first + windows.radiusY + 1);
    second.startAt(band.first);
    for (std::int32_t y = band.first; y < band.end; ++y) {
      fitUpTo(y + windows.radiusY + 2);
      visit(y, second);
      second.advance();
    }
  }

 private:
  static std::int32_t heldRows(const Windows& windows) {
    return std::min(2 * windows.radiusY + 2, windows.height);
  }

  Scratch<double> sums_;
  Scratch<std::int32_t> coefficients_;
};

} // namespace tlux::detail
