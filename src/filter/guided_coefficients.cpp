#include "filter/guided_coefficients.hpp"

#include <algorithm>

#include "base/fixed_point.hpp"
#include "filter/exact_division.hpp"

namespace tlux {
namespace {

// Regularisation, on the scale of squared 8-bit values.
constexpr std::int32_t kEpsilon = 10;

// The row functions stay out of line, where their pointers keep the promise not to alias.

template <int Step>
[[gnu::noinline]] void toWords(const std::uint8_t* __restrict bytes, std::int32_t count,
                               std::int16_t* __restrict words) {
  for (std::int32_t x = 0; x < count; ++x) {
    words[x] = bytes[std::int64_t{x} * Step];
  }
}

template <class Value>
[[gnu::noinline]] void subtract(const Value* __restrict a, const Value* __restrict b,
                                std::int32_t count, double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] - b[x];
  }
}

// out = a · b − c · d.
[[gnu::noinline]] void subtractProducts(const std::int16_t* a, const std::int16_t* b,
                                        const std::int16_t* c, const std::int16_t* d,
                                        std::int32_t count, double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] * b[x] - c[x] * d[x];
  }
}

// a = covariance / (variance + ε) in Q8 and b. The means are truncated, so the covariance of a flat
// guide need not be 0; its variance is never negative, since the mean of the squares is at least
// the square of the truncated mean. |covariance| ≤ 65025, so its Q8 form fits truncatedQuotient;
// |a| is below 2¹⁴ and |b| below 2²³.
void fitOneChannel(const std::int32_t* __restrict meanI, const std::int32_t* __restrict meanP,
                   const std::int32_t* __restrict meanII, const std::int32_t* __restrict meanIp,
                   std::int32_t width, std::int32_t* __restrict a, std::int32_t* __restrict b) {
  for (std::int32_t x = 0; x < width; ++x) {
    const std::int32_t variance = meanII[x] - meanI[x] * meanI[x];
    const std::int32_t covariance = meanIp[x] - meanP[x] * meanI[x];
    a[x] = truncatedQuotient(covariance * 256, variance + kEpsilon);
    b[x] = meanP[x] * 256 - a[x] * meanI[x];
  }
}

// Solves (Σ + ε · 1) · a = covariance by Cramer's rule. Σ has no negative eigenvalue, so the
// determinant is at least ε³ = 1000, and |a| is below 21. Q8, truncated; b is exact for the
// truncated a up to its own truncation.
void fitThreeChannels(const std::array<const double*, Moments<3>::kCount>& m, std::int32_t width,
                      const std::array<std::int32_t*, 4>& out) {
  for (std::int32_t x = 0; x < width; ++x) {
    const double i0 = m[0][x];
    const double i1 = m[1][x];
    const double i2 = m[2][x];
    const double p = m[3][x];
    const double s00 = m[4][x] - i0 * i0 + kEpsilon;
    const double s01 = m[5][x] - i0 * i1;
    const double s02 = m[6][x] - i0 * i2;
    const double c0 = m[7][x] - i0 * p;
    const double s11 = m[8][x] - i1 * i1 + kEpsilon;
    const double s12 = m[9][x] - i1 * i2;
    const double c1 = m[10][x] - i1 * p;
    const double s22 = m[11][x] - i2 * i2 + kEpsilon;
    const double c2 = m[12][x] - i2 * p;

    const double m00 = s11 * s22 - s12 * s12;
    const double m01 = s02 * s12 - s01 * s22;
    const double m02 = s01 * s12 - s02 * s11;
    const double m11 = s00 * s22 - s02 * s02;
    const double m12 = s01 * s02 - s00 * s12;
    const double m22 = s00 * s11 - s01 * s01;
    const double scale = 256.0 / (s00 * m00 + s01 * m01 + s02 * m02);

    const auto a0 = saturatingTrunc<std::int32_t>((m00 * c0 + m01 * c1 + m02 * c2) * scale);
    const auto a1 = saturatingTrunc<std::int32_t>((m01 * c0 + m11 * c1 + m12 * c2) * scale);
    const auto a2 = saturatingTrunc<std::int32_t>((m02 * c0 + m12 * c1 + m22 * c2) * scale);
    out[0][x] = a0;
    out[1][x] = a1;
    out[2][x] = a2;
    out[3][x] = saturatingTrunc<std::int32_t>(256.0 * p - a0 * i0 - a1 * i1 - a2 * i2);
  }
}

// (Σ mean a · I + mean b) >> 8, clamped to a byte.
template <int Channels>
void applyRow(const std::array<const std::int32_t*, Channels + 1>& means,
              const std::uint8_t* __restrict guide, std::int32_t count,
              std::uint8_t* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    std::int32_t value = means[Channels][x];
    for (int c = 0; c < Channels; ++c) {
      value += means[static_cast<std::size_t>(c)][x] * guide[std::int64_t{x} * Channels + c];
    }
    out[x] = clampToByte(value >> 8);
  }
}

} // namespace

template <int Channels>
void CoefficientFit<Channels>::loadPlanes(std::int32_t y, int firstPlane) {
  if (y == kOutside) {
    for (int c = 0; c <= Channels; ++c) {
      std::fill_n(plane(firstPlane + c), width_, std::int16_t{0});
    }
    return;
  }
  for (int c = 0; c < Channels; ++c) {
    toWords<Channels>(guide_[y] + c, width_, plane(firstPlane + c));
  }
  toWords<1>(input_[y], width_, plane(firstPlane + Channels));
}

template <int Channels>
auto CoefficientFit<Channels>::differences() {
  return [this](std::int32_t entering, std::int32_t leaving) {
    constexpr int kLinear = Moments<Channels>::kLinear;
    loadPlanes(entering, 0);
    loadPlanes(leaving, kLinear);
    return [this](int quantity, double* out) {
      if (quantity < kLinear) {
        subtract(plane(quantity), plane(kLinear + quantity), width_, out);
      } else {
        const auto [left, right] =
            Moments<Channels>::kProductsOf[static_cast<std::size_t>(quantity - kLinear)];
        subtractProducts(plane(left), plane(right), plane(kLinear + left), plane(kLinear + right),
                         width_, out);
      }
    };
  };
}

template <int Channels>
void CoefficientFit<Channels>::startAt(std::int32_t y) {
  means_.startAt(y, differences());
}

template <int Channels>
void CoefficientFit<Channels>::fit(std::int32_t y) {
  if constexpr (Channels == 1) {
    fitOneChannel(means_.means(0), means_.means(1), means_.means(2), means_.means(3), width_,
                  out_.row(y, 0), out_.row(y, 1));
  } else {
    std::array<const double*, Moments<3>::kCount> means{};
    for (std::size_t i = 0; i < means.size(); ++i) {
      means[i] = means_.means(static_cast<int>(i));
    }
    fitThreeChannels(means, width_,
                     {out_.row(y, 0), out_.row(y, 1), out_.row(y, 2), out_.row(y, 3)});
  }
  means_.advance(differences());
}

template <int Channels>
auto CoefficientApplication<Channels>::differences() {
  return [this](std::int32_t entering, std::int32_t leaving) {
    return [this, entering, leaving](int coefficient, double* out) {
      const std::int32_t* in = coefficients_.rowOrZeros(entering, coefficient);
      subtract(in, coefficients_.rowOrZeros(leaving, coefficient), coefficients_.width, out);
    };
  };
}

template <int Channels>
void CoefficientApplication<Channels>::startAt(std::int32_t y) {
  means_.startAt(y, differences());
}

template <int Channels>
void CoefficientApplication<Channels>::apply(std::int32_t y, std::int32_t first, std::int32_t end,
                                             std::uint8_t* out) {
  // By way of a line of its own, since the output may be the guide.
  std::uint8_t line[256];
  while (first < end) {
    const std::int32_t count = std::min<std::int32_t>(end - first, sizeof line);
    std::array<const std::int32_t*, Channels + 1> means{};
    for (int i = 0; i <= Channels; ++i) {
      means[static_cast<std::size_t>(i)] = means_.means(i) + first;
    }
    applyRow<Channels>(means, guide_[y] + std::int64_t{first} * Channels, count, line);
    out = std::copy_n(line, count, out);
    first += count;
  }
  means_.advance(differences());
}

template class CoefficientFit<1>;
template class CoefficientFit<3>;
template class CoefficientApplication<1>;
template class CoefficientApplication<3>;

} // namespace tlux
