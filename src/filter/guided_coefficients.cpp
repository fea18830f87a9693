// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "filter/guided_coefficients.hpp"

#include <algorithm>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "filter/row_differences.hpp"

namespace tlux::detail {
namespace {

template <int Step>
TLUX_OUT_OF_LINE void toWords(const std::uint8_t* __restrict bytes, std::int32_t count,
                              std::int16_t* __restrict words) {
  for (std::int32_t x = 0; x < count; ++x) {
    words[x] = bytes[std::int64_t{x} * Step];
  }
}

// The value of one input: (Σ mean a · I + mean b) without its fraction bits, clamped to a byte.
template <class Model>
void applyRow(const std::array<const std::int32_t*, Model::kGuides + 1>& means,
              const std::uint8_t* __restrict guide, std::int32_t count,
              std::uint8_t* __restrict out) {
  constexpr int kGuides = Model::kGuides;
  constexpr std::int32_t kRounding = Model::kRounded ? 1 << (Model::kFractionBits - 1) : 0;
  for (std::int32_t x = 0; x < count; ++x) {
    std::int32_t value = means[kGuides][x] + kRounding;
    for (int c = 0; c < kGuides; ++c) {
      value += means[static_cast<std::size_t>(c)][x] * guide[std::int64_t{x} * kGuides + c];
    }
    out[x] = clampToByte(value >> Model::kFractionBits);
  }
}

} // namespace

template <class Model>
void CoefficientFit<Model>::loadPlanes(std::int32_t y, int firstPlane) {
  if (y == kOutside) {
    for (int c = 0; c < Model::kChannels; ++c) {
      std::fill_n(plane(firstPlane + c), width_, std::int16_t{0});
    }
    return;
  }
  for (int c = 0; c < Model::kGuides; ++c) {
    toWords<Model::kGuides>(guide_[y] + c, width_, plane(firstPlane + c));
  }
  for (int c = 0; c < Model::kInputs; ++c) {
    toWords<Model::kInputs>(input_[y] + c, width_, plane(firstPlane + Model::kGuides + c));
  }
}

template <class Model>
auto CoefficientFit<Model>::differences() {
  return [this](std::int32_t entering, std::int32_t leaving) {
    constexpr int kChannels = Model::kChannels;
    loadPlanes(entering, 0);
    loadPlanes(leaving, kChannels);
    return [this](int moment, double* out) {
      if (moment < kChannels) {
        subtract(plane(moment), plane(kChannels + moment), width_, out);
      } else {
        const auto [left, right] = Model::kProductsOf[static_cast<std::size_t>(moment - kChannels)];
        subtractProducts(plane(left), plane(right), plane(kChannels + left),
                         plane(kChannels + right), width_, out);
      }
    };
  };
}

template <class Model>
void CoefficientFit<Model>::startAt(std::int32_t y) {
  means_.startAt(y, differences());
}

template <class Model>
void CoefficientFit<Model>::fit(std::int32_t y) {
  typename Model::template Means<Mean> means{};
  for (std::size_t i = 0; i < means.size(); ++i) {
    means[i] = means_.means(static_cast<int>(i));
  }
  typename Model::Coefficients out{};
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = out_.row(y, static_cast<int>(i));
  }
  model_.fit(means, width_, out);
  means_.advance(differences());
}

template <int Coefficients>
auto CoefficientMeans<Coefficients>::differences() {
  return [this](std::int32_t entering, std::int32_t leaving) {
    return [this, entering, leaving](int coefficient, double* out) {
      const std::int32_t* in = coefficients_.rowOrZeros(entering, coefficient);
      subtract(in, coefficients_.rowOrZeros(leaving, coefficient), coefficients_.width, out);
    };
  };
}

template <int Coefficients>
void CoefficientMeans<Coefficients>::startAt(std::int32_t y) {
  means_.startAt(y, differences());
}

template <int Coefficients>
void CoefficientMeans<Coefficients>::advance() {
  means_.advance(differences());
}

template <int Coefficients>
auto CoefficientMeans<Coefficients>::from(std::int32_t first) const -> RowsOfMeans {
  RowsOfMeans rows{};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i] = means_.means(static_cast<int>(i)) + first;
  }
  return rows;
}

template <class Model>
void applyCoefficients(typename CoefficientMeans<Model::kCoefficients>::RowsOfMeans means,
                       const std::uint8_t* guide, std::int32_t count, std::uint8_t* out) {
  // Via separate line buffers, since the output may be the guide.
  constexpr std::int32_t kLine = 256;
  constexpr std::size_t kOfInput = Model::kGuides + 1;
  std::uint8_t lines[Model::kInputs][kLine];
  for (std::int32_t n = 0; count > 0; count -= n) {
    n = std::min(count, kLine);
    for (std::size_t i = 0; i < Model::kInputs; ++i) {
      std::array<const std::int32_t*, kOfInput> ofInput{};
      for (std::size_t c = 0; c < kOfInput; ++c) {
        ofInput[c] = means[i * kOfInput + c];
        means[i * kOfInput + c] += n;
      }
      applyRow<Model>(ofInput, guide, n, lines[i]);
    }
    for (std::int32_t x = 0; x < n; ++x) {
      for (const auto& line : lines) {
        *out++ = line[x];
      }
    }
    guide += std::ptrdiff_t{n} * Model::kGuides;
  }
}

template class CoefficientFit<TruncatingModel>;
template class CoefficientFit<ColourModel>;
template class CoefficientFit<PlaneModel<1, 1>>;
template class CoefficientFit<PlaneModel<1, 3>>;
template class CoefficientFit<PlaneModel<3, 1>>;
template class CoefficientMeans<2>;
template class CoefficientMeans<4>;
template class CoefficientMeans<6>;
template void applyCoefficients<TruncatingModel>(
    CoefficientMeans<TruncatingModel::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
template void applyCoefficients<ColourModel>(
    CoefficientMeans<ColourModel::kCoefficients>::RowsOfMeans, const std::uint8_t*, std::int32_t,
    std::uint8_t*);
template void applyCoefficients<PlaneModel<1, 1>>(
    CoefficientMeans<PlaneModel<1, 1>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
template void applyCoefficients<PlaneModel<1, 3>>(
    CoefficientMeans<PlaneModel<1, 3>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);
template void applyCoefficients<PlaneModel<3, 1>>(
    CoefficientMeans<PlaneModel<3, 1>::kCoefficients>::RowsOfMeans, const std::uint8_t*,
    std::int32_t, std::uint8_t*);

} // namespace tlux::detail
