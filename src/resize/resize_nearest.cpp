#include "resize/resize_image.hpp"
#include "tlux/resize.h"

namespace tlux::detail {
namespace {

// The input sample whose area contains the centre of output sample i: (i + 1/2)·input / output,
// rounded down.
class Nearest {
 public:
  static constexpr int kTaps = 1;
  static constexpr int kWeights = 0;
  using Weight = std::uint8_t;
  using Row = std::uint8_t;

  Nearest(std::int64_t inputs, std::int64_t outputs) : inputs_(inputs), outputs_(outputs) {}

  TapPoint<Nearest> at(std::int64_t i) const {
    return {(2 * i + 1) * inputs_ / (2 * outputs_), {}};
  }

  static void alongY(const RowsBelow<Nearest>& rows, const Weights<Nearest>& /*none*/,
                     std::ptrdiff_t count, std::uint8_t* out) {
    std::memcpy(out, rows[0], static_cast<std::size_t>(count));
  }

 private:
  std::int64_t inputs_;
  std::int64_t outputs_;
};

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t asfImageResize_NN(const TLUX_IMAGE* source, TLUX_IMAGE* target) noexcept {
  const int32_t rows = target == nullptr ? 0 : target->height;
  return codeOf(resizeImage<Nearest>(source, target, {0, rows}));
}
