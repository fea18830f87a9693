#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/guided_image.hpp"
#include "filter/window_means.hpp"

// The two passes of the guided filter (K. He, J. Sun, X. Tang: Guided Image Filtering, IEEE TPAMI
// 35(6), 2013): in every window the input is fitted by a linear function of the guide's channels,
// a · I + b; the output is the mean of the functions of all windows that hold the pixel.
namespace tlux {

// Rows of coefficients, Q8: those of the channels, then b, each as wide as the image. Row y lies in
// slot y modulo the number of slots; behind the slots is one row of zeros for rows outside.
template <int Channels>
struct CoefficientRows {
  std::int32_t* data;
  std::int32_t width;
  std::int32_t slots;

  static std::int64_t valuesNeeded(std::int32_t width, std::int32_t slots) {
    return (std::int64_t{Channels + 1} * slots + 1) * width;
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
    return data + std::int64_t{index} * (Channels + 1) * width;
  }
};

// The means that the fit needs: of each guide channel and the input (numbered behind the channels),
// of the products of two channels, and of each channel and the input.
template <int Channels>
struct Moments {
  struct Product {
    int left;
    int right;
  };
  static constexpr int kLinear = Channels + 1;
  static constexpr int kProducts = Channels * (Channels + 1) / 2 + Channels;
  static constexpr int kCount = kLinear + kProducts;

  // Rows of the upper triangle with the input as last column: 00 01 02 0p 11 12 1p 22 2p.
  static constexpr std::array<Product, kProducts> kProductsOf = [] {
    std::array<Product, kProducts> products{};
    std::size_t next = 0;
    for (int left = 0; left < Channels; ++left) {
      for (int right = left; right <= Channels; ++right) {
        products[next++] = {left, right};
      }
    }
    return products;
  }();
};

// First pass. One channel: integer means, each truncated. Three channels: doubles.
template <int Channels>
class CoefficientFit {
  using Mean = std::conditional_t<Channels == 1, std::int32_t, double>;
  using Means = WindowMeans<Moments<Channels>::kCount, Mean>;
  // The channels and the input of two rows, apart, with a stride of whole doubles.
  static constexpr int kPlanes = 2 * Moments<Channels>::kLinear;
  static std::int64_t planeStride(const Windows& windows) { return windows.width / 4 + 1; }

 public:
  static std::int64_t doublesNeeded(const Windows& windows) {
    return Means::doublesNeeded(windows) + kPlanes * planeStride(windows);
  }

  CoefficientFit(ByteRows guide, ByteRows input, const Windows& windows,
                 CoefficientRows<Channels> out, double* memory)
      : guide_(guide),
        input_(input),
        width_(windows.width),
        stride_(planeStride(windows)),
        planes_(memory),
        out_(out),
        means_(windows, memory + kPlanes * stride_) {}

  // Prepares for fit(y), to be followed by y + 1 and so on.
  void startAt(std::int32_t y);
  // Guide and input are not read any more up to row y − r afterwards.
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
  CoefficientRows<Channels> out_;
  Means means_;
};

// Second pass: the means of the coefficients, applied to the guide.
template <int Channels>
class CoefficientApplication {
  using Means = WindowMeans<Channels + 1, std::int32_t>;

 public:
  static std::int64_t doublesNeeded(const Windows& windows) {
    return Means::doublesNeeded(windows);
  }

  CoefficientApplication(CoefficientRows<Channels> coefficients, ByteRows guide,
                         const Windows& windows, double* memory)
      : coefficients_(coefficients), guide_(guide), means_(windows, memory) {}

  // Prepares for apply(y), to be followed by y + 1 and so on. Reads the coefficients up to row y +
  // r.
  void startAt(std::int32_t y);
  // Writes the pixels of row y; the guide's row may be the same memory. Reads the coefficients up
  // to row y + r + 1.
  void apply(std::int32_t y, std::int32_t first, std::int32_t end, std::uint8_t* out);

 private:
  auto differences();

  CoefficientRows<Channels> coefficients_;
  ByteRows guide_;
  Means means_;
};

extern template class CoefficientFit<1>;
extern template class CoefficientFit<3>;
extern template class CoefficientApplication<1>;
extern template class CoefficientApplication<3>;

} // namespace tlux
