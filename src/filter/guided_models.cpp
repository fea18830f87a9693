// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "filter/guided_models.hpp"

#include "base/fixed_point.hpp"
#include "filter/exact_division.hpp"

namespace tlux::detail {
namespace {

// Regularisation of the filters on simple images, on the scale of squared 8-bit values.
constexpr std::int32_t kEpsilon = 10;

// a = covariance / (variance + ε) in Q8, and b. The means are truncated, so the covariance of a
// flat guide need not be 0; its variance is never negative, since the mean of the squares is at
// least the square of the truncated mean. |covariance| ≤ 65025, so its Q8 form fits
// truncatedQuotient; |a| is below 2¹⁴ and |b| below 2²³.
void fitTruncating(const std::int32_t* __restrict meanI, const std::int32_t* __restrict meanP,
                   const std::int32_t* __restrict meanII, const std::int32_t* __restrict meanIp,
                   std::int32_t width, std::int32_t* __restrict a, std::int32_t* __restrict b) {
  for (std::int32_t x = 0; x < width; ++x) {
    const std::int32_t variance = meanII[x] - meanI[x] * meanI[x];
    const std::int32_t covariance = meanIp[x] - meanP[x] * meanI[x];
    a[x] = truncatedQuotient(covariance * 256, variance + kEpsilon);
    b[x] = meanP[x] * 256 - a[x] * meanI[x];
  }
}

// The same in doubles, Q10. b belongs to the truncated a and is itself truncated. Both are far
// inside 32 bits; see PlaneModel.
void fitOneChannel(const double* __restrict meanI, const double* __restrict meanP,
                   const double* __restrict meanII, const double* __restrict meanIp, double epsilon,
                   std::int32_t width, std::int32_t* __restrict a, std::int32_t* __restrict b) {
  for (std::int32_t x = 0; x < width; ++x) {
    const double variance = meanII[x] - meanI[x] * meanI[x];
    const double covariance = meanIp[x] - meanP[x] * meanI[x];
    const auto slope = static_cast<std::int32_t>(covariance * 1024.0 / (variance + epsilon));
    a[x] = slope;
    b[x] = static_cast<std::int32_t>(1024.0 * meanP[x] - slope * meanI[x]);
  }
}

// Solves (Σ + ε · 1) · a = covariance by Cramer's rule. Σ has no negative eigenvalue, so the
// determinant is at least ε³, and |a| is at most 63.75. Scaled and truncated; b is exact for the
// truncated a up to its own truncation.
void fitThreeChannels(const std::array<const double*, ColourModel::kMoments>& m, double epsilon,
                      double one, std::int32_t width, const std::array<std::int32_t*, 4>& out) {
  for (std::int32_t x = 0; x < width; ++x) {
    const double i0 = m[0][x];
    const double i1 = m[1][x];
    const double i2 = m[2][x];
    const double p = m[3][x];
    const double s00 = m[4][x] - i0 * i0 + epsilon;
    const double s01 = m[5][x] - i0 * i1;
    const double s02 = m[6][x] - i0 * i2;
    const double c0 = m[7][x] - i0 * p;
    const double s11 = m[8][x] - i1 * i1 + epsilon;
    const double s12 = m[9][x] - i1 * i2;
    const double c1 = m[10][x] - i1 * p;
    const double s22 = m[11][x] - i2 * i2 + epsilon;
    const double c2 = m[12][x] - i2 * p;

    const double m00 = s11 * s22 - s12 * s12;
    const double m01 = s02 * s12 - s01 * s22;
    const double m02 = s01 * s12 - s02 * s11;
    const double m11 = s00 * s22 - s02 * s02;
    const double m12 = s01 * s02 - s00 * s12;
    const double m22 = s00 * s11 - s01 * s01;
    const double scale = one / (s00 * m00 + s01 * m01 + s02 * m02);

    const auto a0 = saturatingTrunc<std::int32_t>((m00 * c0 + m01 * c1 + m02 * c2) * scale);
    const auto a1 = saturatingTrunc<std::int32_t>((m01 * c0 + m11 * c1 + m12 * c2) * scale);
    const auto a2 = saturatingTrunc<std::int32_t>((m02 * c0 + m12 * c1 + m22 * c2) * scale);
    out[0][x] = a0;
    out[1][x] = a1;
    out[2][x] = a2;
    out[3][x] = saturatingTrunc<std::int32_t>(one * p - a0 * i0 - a1 * i1 - a2 * i2);
  }
}

} // namespace

void TruncatingModel::fit(const Means<Mean>& m, std::int32_t width, const Coefficients& out) const {
  fitTruncating(m[0], m[1], m[2], m[3], width, out[0], out[1]);
}

void ColourModel::fit(const Means<Mean>& m, std::int32_t width, const Coefficients& out) const {
  fitThreeChannels(m, kEpsilon, 1 << kFractionBits, width, out);
}

template <int Guides, int Inputs>
void PlaneModel<Guides, Inputs>::fit(const typename Shape::template Means<Mean>& m,
                                     std::int32_t width,
                                     const typename Shape::Coefficients& out) const {
  if constexpr (Guides == 1) {
    constexpr std::size_t kSquare = Shape::kChannels; // the first product
    for (std::size_t i = 0; i < Inputs; ++i) {
      fitOneChannel(m[0], m[1 + i], m[kSquare], m[kSquare + 1 + i], epsilon, width, out[2 * i],
                    out[2 * i + 1]);
    }
  } else {
    fitThreeChannels(m, epsilon, 1 << kFractionBits, width, out);
  }
}

template struct PlaneModel<1, 1>;
template struct PlaneModel<1, 3>;
template struct PlaneModel<3, 1>;

} // namespace tlux::detail
