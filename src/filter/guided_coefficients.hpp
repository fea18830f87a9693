// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "filter/guided_image.hpp"
#include "filter/guided_models.hpp"
#include "filter/window_means.hpp"

// The two passes of the guided filter (K. He, J. Sun, X. Tang: Guided Image Filtering, IEEE TPAMI
// 35(6), 2013). In every window the input is fitted by a linear function of the guide's channels, a
// · I + b; the output is the mean of the functions of all windows that contain the pixel.
namespace tlux::detail {

// Rows of coefficients, each as wide as the image. Row y is in slot y modulo the number of slots;
// after the slots comes a row of zeros, used for rows outside.
template <int Coefficients>
struct CoefficientRows {
  std::int32_t* data;
  std::int32_t width;
  std::int32_t slots;

  static std::int64_t valuesNeeded(std::int32_t width, std::int32_t slots) {
    return (std::int64_t{Coefficients} * slots + 1) * width;
  }
  CoefficientRows(std::int32_t* memory, std::int32_t rowWidth, std::int32_t slotCount)
      : data(memory), width(rowWidth), slots(slotCount) {
    std::fill_n(slot(slots), width, 0);
  }

  std::int32_t* row(std::int32_t y, int coefficient) const {
    return slot(y % slots) + std::int64_t{coefficient} * width;
  }
  const std::int32_t* rowOrZeros(std::int32_t y, int coefficient) const {
    return y == kOutside ? slot(slots) : row(y, coefficient);
  }

 private:
  std::int32_t* slot(std::int32_t index) const {
    return data + std::int64_t{index} * Coefficients * width;
  }
};

// First pass.
template <class Model>
class CoefficientFit {
  using Mean = typename Model::Mean;
  using Means = WindowMeans<Model::kMoments, Mean>;
  using Rows = CoefficientRows<Model::kCoefficients>;
  // The channels of two rows, separated, with a stride of whole doubles.
  static constexpr int kPlanes = 2 * Model::kChannels;
  static std::int64_t planeStride(const Windows& windows) { return windows.width / 4 + 1; }

 public:
  static std::int64_t doublesNeeded(const Windows& windows) {
    return Means::doublesNeeded(windows) + kPlanes * planeStride(windows);
  }

  CoefficientFit(ByteRows guide, ByteRows input, const Windows& windows, Rows out, double* memory,
                 const Model& model = {})
      : guide_(guide),
        input_(input),
        width_(windows.width),
        stride_(planeStride(windows)),
        planes_(memory),
        out_(out),
        means_(windows, memory + kPlanes * stride_),
        model_(model) {}

  // Prepares for fit(y), which is then called for y, y + 1 and so on.
  void startAt(std::int32_t y);
  // Afterwards guide and input are no longer read up to row y − r.
  void fit(std::int32_t y);

 private:
  auto differences();
  void loadPlanes(std::int32_t y, int firstPlane);
  std::int16_t* plane(int index) const {
    return reinterpret_cast<std::int16_t*>(planes_ + index * stride_);
  }

  ByteRows guide_;
  ByteRows input_;
  std::int32_t width_;
  std::int64_t stride_;
  double* planes_;
  Rows out_;
  Means means_;
  Model model_;
};

// Second pass: the means of the coefficients.
template <int Coefficients>
class CoefficientMeans {
  using Means = WindowMeans<Coefficients, std::int32_t>;
  using Rows = CoefficientRows<Coefficients>;

 public:
  using RowsOfMeans = std::array<const std::int32_t*, Coefficients>;

  static std::int64_t doublesNeeded(const Windows& windows) {
    return Means::doublesNeeded(windows);
  }

  CoefficientMeans(Rows coefficients, const Windows& windows, double* memory)
      : coefficients_(coefficients), means_(windows, memory) {}

  // Moves to row y. Reads the coefficients up to row y + r.
  void startAt(std::int32_t y);
  // Moves to the next row, if there is one.
  void advance();
  // The means of the row, from pixel `first` on.
  RowsOfMeans from(std::int32_t first) const;

 private:
  auto differences();

  Rows coefficients_;
  Means means_;
};

// Applies mean coefficients to `count` pixels of the guide. The output may be the guide or the
// input.
template <class Model>
void applyCoefficients(typename CoefficientMeans<Model::kCoefficients>::RowsOfMeans means,
                       const std::uint8_t* guide, std::int32_t count, std::uint8_t* out);

extern template class CoefficientFit<TruncatingModel>;
extern template class CoefficientFit<ColourModel>;
extern template class CoefficientFit<PlaneModel<1, 1>>;
extern template class CoefficientFit<PlaneModel<1, 3>>;
extern template class CoefficientFit<PlaneModel<3, 1>>;
extern template class CoefficientMeans<2>;
extern template class CoefficientMeans<4>;
extern template class CoefficientMeans<6>;
extern template void applyCoefficients<TruncatingModel>(
    CoefficientMeans<TruncatingModel::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
extern template void applyCoefficients<ColourModel>(
    CoefficientMeans<ColourModel::kCoefficients>::RowsOfMeans, const std::uint8_t*, std::int32_t,
    std::uint8_t*);
extern template void applyCoefficients<PlaneModel<1, 1>>(
    CoefficientMeans<PlaneModel<1, 1>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
extern template void applyCoefficients<PlaneModel<1, 3>>(
    CoefficientMeans<PlaneModel<1, 3>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
extern template void applyCoefficients<PlaneModel<3, 1>>(
    CoefficientMeans<PlaneModel<3, 1>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);

} // namespace tlux::detail
