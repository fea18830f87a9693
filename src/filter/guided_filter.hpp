#pragma once

#include <algorithm>
#include <cstdint>

#include "filter/guided_coefficients.hpp"
#include "filter/guided_image.hpp"
#include "platform/scratch.hpp"

namespace tlux {

struct GuidedImages {
  ByteRows guide;
  ByteRows input;
  ByteRows output;
};

// The images of a filter, when they are what it takes.
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

// The guided filter with both passes going down the image together: the second one follows r rows
// behind the first, so only the coefficients of 2r + 2 rows are held. Test it before use.
template <int Channels>
class GuidedFilter {
  using Fit = CoefficientFit<Channels>;
  using Application = CoefficientApplication<Channels>;
  using Rows = CoefficientRows<Channels>;

 public:
  // `largest` bounds the sizes that are filtered with this memory.
  GuidedFilter(MMemMgr manager, const Windows& largest)
      : sums_(manager, Fit::doublesNeeded(largest) + Application::doublesNeeded(largest)),
        coefficients_(manager, Rows::valuesNeeded(largest.width, heldRows(largest))) {}

  explicit operator bool() const { return sums_ && coefficients_; }

  // Filters images of the size of `windows` and writes the pixels of `region`.
  void run(const GuidedImages& images, const Windows& windows, const PixelRect& region) const {
    const Rows rows(coefficients_.get(), windows.width, heldRows(windows));
    double* behindFit = sums_.get() + Fit::doublesNeeded(windows);
    Fit first(images.guide, images.input, windows, rows, sums_.get());
    Application second(rows, images.guide, windows, behindFit);

    std::int32_t next = windows.firstRow(region.top);
    const auto fitUpTo = [&](std::int32_t end) {
      for (; next < std::min(end, windows.height); ++next) {
        first.fit(next);
      }
    };
    first.startAt(next);
    fitUpTo(region.top + windows.radiusY + 1);
    second.startAt(region.top);
    for (std::int32_t y = region.top; y < region.bottom; ++y) {
      fitUpTo(y + windows.radiusY + 2);
      second.apply(y, region.left, region.right, images.output[y] + region.left);
    }
  }

 private:
  static std::int32_t heldRows(const Windows& windows) {
    return std::min(2 * windows.radiusY + 2, windows.height);
  }

  Scratch<double> sums_;
  Scratch<std::int32_t> coefficients_;
};

} // namespace tlux
