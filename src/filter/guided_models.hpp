// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The linear functions that the guided filters fit in each window, input ≈ Σ a · guide + b: the
// number of guide channels and inputs, the arithmetic used to find a and b, and how they are
// stored.
namespace tlux::detail {

// Guide channels come first, then the inputs. Every input has one coefficient for each guide
// channel, then b: input i has the coefficients i · (Guides + 1) to i · (Guides + 1) + Guides.
template <int Guides, int Inputs>
struct GuidedShape {
  struct Product {
    int left;
    int right;
  };
  static constexpr int kGuides = Guides;
  static constexpr int kInputs = Inputs;
  static constexpr int kCoefficients = Inputs * (Guides + 1);

  // The quantities whose means the fit needs: the channels, and the products of two guide channels
  // and of a guide channel and an input.
  static constexpr int kChannels = Guides + Inputs;
  static constexpr int kProducts = Guides * (Guides + 1) / 2 + Guides * Inputs;
  static constexpr int kMoments = kChannels + kProducts;

  // Rows of the upper triangle, with the inputs as last columns: 00 01 02 0p 11 12 1p 22 2p.
  static constexpr std::array<Product, kProducts> kProductsOf = [] {
    std::array<Product, kProducts> products{};
    std::size_t next = 0;
    for (int left = 0; left < Guides; ++left) {
      for (int right = left; right < kChannels; ++right) {
        products[next++] = {left, right};
      }
    }
    return products;
  }();

  template <class Mean>
  using Means = std::array<const Mean*, kMoments>;
  using Coefficients = std::array<std::int32_t*, kCoefficients>;
};

// One guide channel in integers: every mean is truncated, so the covariance of a flat guide need
// not be 0. ε = 10, Q8.
struct TruncatingModel : GuidedShape<1, 1> {
  using Mean = std::int32_t;
  static constexpr int kFractionBits = 8;
  static constexpr bool kRounded = false;

  void fit(const Means<Mean>& means, std::int32_t width, const Coefficients& out) const;
};

// Three guide channels, fitted in doubles. ε = 10, Q8.
struct ColourModel : GuidedShape<3, 1> {
  using Mean = double;
  static constexpr int kFractionBits = 8;
  static constexpr bool kRounded = false;

  void fit(const Means<Mean>& means, std::int32_t width, const Coefficients& out) const;
};

// Any ε of at least 1, fitted in doubles; Q10, and the output is rounded.
//
// The standard deviation of bytes is at most 127.5, so |a| ≤ 127.5 · √v / (v + ε) ≤ 63.75 for a
// guide of variance v; with three channels that is the length of the vector a. |b| is then below
// 255 + 63.75 · 255 · √3 < 2¹⁵: 25 bits in Q10, whose sums over 2²⁸ pixels are exact in doubles.
template <int Guides, int Inputs>
struct PlaneModel : GuidedShape<Guides, Inputs> {
  using Shape = GuidedShape<Guides, Inputs>;
  using Mean = double;
  static constexpr int kFractionBits = 10;
  static constexpr bool kRounded = true;

  void fit(const typename Shape::template Means<Mean>& means, std::int32_t width,
           const typename Shape::Coefficients& out) const;

  double epsilon = 1;
};

extern template struct PlaneModel<1, 1>;
extern template struct PlaneModel<1, 3>;
extern template struct PlaneModel<3, 1>;

} // namespace tlux::detail
