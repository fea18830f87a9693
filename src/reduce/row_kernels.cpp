#include "reduce/row_kernels.hpp"

#include <cstring>

#include "base/multiversion.hpp"
#include "reduce/row_sums.hpp"

namespace tlux::detail {
namespace {

// The analyser does not see that a stretch of at least one step fills all sums that are read here.
// NOLINTBEGIN(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)
template <Mean kMean>
TLUX_INLINED void writeMeans(const std::uint16_t* __restrict sums, std::uint8_t* __restrict out,
                             std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    out[i] = meanOf<kMean>(sums[i]);
  }
}

// Two thirds of the mean of rows 0 and 1, one third of that of row 2; two columns each.
inline void writeThirds(const std::uint16_t* __restrict sumsOfFour,
                        const std::uint16_t* __restrict sumsOfTwo, std::uint8_t* __restrict out,
                        std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::uint32_t four = sumsOfFour[i] >> 2;
    const std::uint32_t two = sumsOfTwo[i] >> 1;
    out[i] = static_cast<std::uint8_t>(third(2 * four + two));
  }
}
// NOLINTEND(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)

// Words of up to four bytes become outputs in one loop. Longer words have their sums stored first,
// since compilers would narrow each term of the fold instead of the sum.
template <RowPattern kPattern>
constexpr bool kInOneLoop = (WordLanes<kPattern>::kBytes <= 4) && WordLanes<kPattern>::kFit;

template <RowPattern kPattern, int kRows, Mean kMean>
TLUX_INLINED void reduceRow(const SourceRows& rows, std::uint8_t* __restrict first,
                            std::uint8_t* __restrict second, std::ptrdiff_t steps) {
  constexpr bool kPairs = kPattern.channels == 2;
  const std::ptrdiff_t outputs = steps * kPattern.outputs;
  if constexpr (kMean == Mean::kOne && kPattern.stepBytes() == 1) {
    std::memcpy(first, rows[0], static_cast<std::size_t>(steps));
  } else if constexpr (kMean == Mean::kThird) {
    const StretchSums<kPattern, 0, 2> four(rows, steps);
    const StretchSums<kPattern, 2, 3> two(rows, steps);
    writeThirds(four.first, two.first, first, outputs);
    if constexpr (kPairs) writeThirds(four.second, two.second, second, outputs);
  } else if constexpr (kInOneLoop<kPattern>) {
    sumWords<kPattern, 0, kRows>(rows, steps,
                                 [=](std::ptrdiff_t i, std::uint16_t one, std::uint16_t two) {
                                   first[i] = meanOf<kMean>(one);
                                   if constexpr (kPairs) second[i] = meanOf<kMean>(two);
                                 });
  } else {
    const StretchSums<kPattern, 0, kRows> sums(rows, steps);
    writeMeans<kMean>(sums.first, first, outputs);
    if constexpr (kPairs) writeMeans<kMean>(sums.second, second, outputs);
  }
}

using ReduceRow = decltype(RowKernel::reduce);

template <RowPattern kPattern, int kRows, Mean kMean>
constexpr ReduceRow kReduceRow = reduceRow<kPattern, kRows, kMean>;

// Camera frames; every run begins by reducing one by 8.
template <int kFactor>
constexpr Reduction kCamera = reductionOf(Sampling::k420, kFactor);
template <int kFactor>
constexpr RowPattern kLuma = fullColumns(kCamera<kFactor>.luma);
template <int kFactor>
constexpr RowPattern kPairs = halfColumns(kCamera<kFactor>.chroma, 2, 0);

#define TLUX_REDUCE_CAMERA_ROWS(NAME, PATTERN, GRID)                                             \
  TLUX_MULTIVERSION void NAME(const SourceRows& rows, std::uint8_t* first, std::uint8_t* second, \
                              std::ptrdiff_t steps) {                                            \
    reduceRow<PATTERN, (GRID).rows.count, (GRID).mean>(rows, first, second, steps);              \
  }                                                                                              \
  template <>                                                                                    \
  constexpr ReduceRow kReduceRow<PATTERN, (GRID).rows.count, (GRID).mean> = NAME;
#define TLUX_REDUCE_CAMERA(N)                                         \
  TLUX_REDUCE_CAMERA_ROWS(reduceLumaBy##N, kLuma<N>, kCamera<N>.luma) \
  TLUX_REDUCE_CAMERA_ROWS(reducePairsBy##N, kPairs<N>, kCamera<N>.chroma)
TLUX_REDUCE_CAMERA(2)
TLUX_REDUCE_CAMERA(3)
TLUX_REDUCE_CAMERA(4)
TLUX_REDUCE_CAMERA(5)
TLUX_REDUCE_CAMERA(6)
TLUX_REDUCE_CAMERA(7)
TLUX_REDUCE_CAMERA(8)
#undef TLUX_REDUCE_CAMERA
#undef TLUX_REDUCE_CAMERA_ROWS

template <int kStride>
void widenRow(const std::uint8_t* __restrict cb, const std::uint8_t* __restrict cr,
              std::uint8_t* __restrict first, std::uint8_t* __restrict second,
              std::ptrdiff_t pairs) {
  for (std::ptrdiff_t i = 0; i < pairs; ++i) {
    const std::ptrdiff_t c = i * kStride;
    first[2 * i] = cb[c];
    first[2 * i + 1] = static_cast<std::uint8_t>((cb[c] + cb[c - kStride]) >> 1);
    second[2 * i] = static_cast<std::uint8_t>((cr[c] + cr[c - kStride]) >> 1);
    second[2 * i + 1] = cr[c];
  }
}

void splitRow(const std::uint8_t* __restrict packed, std::uint8_t* __restrict luma,
              std::uint8_t* __restrict pairs, std::ptrdiff_t columns) {
  for (std::ptrdiff_t i = 0; i < columns; ++i) {
    const auto pixel = loadWord<std::uint16_t>(packed + 2 * i);
    luma[i] = static_cast<std::uint8_t>(pixel);
    pairs[i] = static_cast<std::uint8_t>(pixel >> 8);
  }
}

template <RowPattern kPattern, int kRows, Mean kMean>
constexpr RowKernel kernel() {
  static_assert(kPattern.reach() <= kMaxReach);
  return {kReduceRow<kPattern, kRows, kMean>, kPattern.outputs, kPattern.stepBytes(),
          kPattern.reach(), kPattern.channels};
}

template <Sampling kSampling, int kFactor>
constexpr FactorKernels factorKernels() {
  if constexpr (kFactor == 1) {
    return {}; // widened instead of reduced
  } else {
    constexpr SubGrid kLuma = reductionOf(kSampling, kFactor).luma;
    constexpr SubGrid kChroma = reductionOf(kSampling, kFactor).chroma;
    constexpr int kRows = kChroma.rows.count;
    return {kernel<fullColumns(kLuma), kLuma.rows.count, kLuma.mean>(),
            {kernel<halfColumns(kChroma, 2, 0), kRows, kChroma.mean>(),
             kernel<halfColumns(kChroma, 2, 1), kRows, kChroma.mean>()},
            {kernel<halfColumns(kChroma, 1, 0), kRows, kChroma.mean>(),
             kernel<halfColumns(kChroma, 1, 1), kRows, kChroma.mean>()}};
  }
}

template <Sampling kSampling, int... kFactor>
constexpr std::array<FactorKernels, sizeof...(kFactor)> allFactors(
    std::integer_sequence<int, kFactor...>) {
  return {factorKernels<kSampling, kFactor>()...};
}

constexpr auto kFactors = std::make_integer_sequence<int, kMaxFactor + 1>{};
constexpr RowKernels kRowKernels{
    {allFactors<Sampling::k420>(kFactors), allFactors<Sampling::k422>(kFactors),
     allFactors<Sampling::kPacked422>(kFactors)},
    widenRow<2>,
    widenRow<1>,
    splitRow};

} // namespace

const RowKernels& rowKernels() {
  return kRowKernels;
}

} // namespace tlux::detail
