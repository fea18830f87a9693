#include "score/score.hpp"

#include <algorithm>
#include <array>

#include "base/by_eights.hpp"
#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

// In pieces: looking up the reciprocals first leaves a loop of plain arithmetic. The scores of a
// piece are buffered too, since they may overwrite an input.
TLUX_MULTIVERSION void scoreRow(const std::int16_t* logLuma, const std::int16_t* base,
                                const std::int16_t* deviation, const std::uint32_t* reciprocals,
                                std::int32_t contrast, std::ptrdiff_t width, std::uint16_t* score) {
  constexpr std::ptrdiff_t kPiece = 128;
  std::array<std::int32_t, kPiece> reciprocal;
  std::array<std::uint16_t, kPiece> result;
  for (std::ptrdiff_t first = 0; first < width; first += kPiece) {
    const std::ptrdiff_t count = std::min(kPiece, width - first);
    forEachByEights(count, [&](std::ptrdiff_t i) TLUX_INLINED_LAMBDA {
      const auto index = static_cast<std::uint16_t>(deviation[first + i]);
      reciprocal[i] = static_cast<std::int32_t>(reciprocals[index]);
    });
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::int32_t l = logLuma[first + i];
      const std::int32_t detail = wrappingMul(l - base[first + i], contrast) >> 4;
      const std::int32_t relative = wrappingMul(detail, reciprocal[i]) >> 15;
      result[i] = static_cast<std::uint16_t>(relative - l);
    }
    std::copy_n(result.data(), count, score + first);
  }
}

} // namespace

void computeScore(const ScorePlanes& planes, const std::uint32_t* reciprocals,
                  std::int32_t contrast, Plane<std::uint16_t> score, Team* team) {
  constexpr std::int32_t kPartRows = 8;
  shareRows(team, score.height, kPartRows, [&](Band rows, int /*slot*/) {
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      scoreRow(planes.logLuma.row(y), planes.base.row(y), planes.deviation.row(y), reciprocals,
               contrast, score.width, score.row(y));
    }
  });
}

} // namespace tlux::detail

using namespace tlux::detail;

void AME_Generate_Score(const int16_t* logLuma, const int16_t* base, uint16_t* output,
                        const int16_t* deviation, const uint32_t* reciprocals, int32_t width,
                        int32_t height, int32_t contrast) noexcept {
  if (logLuma == nullptr || base == nullptr || output == nullptr) return;
  if (deviation == nullptr || reciprocals == nullptr) return;
  computeScore({packedPlane(logLuma, width, height), packedPlane(base, width, height),
                packedPlane(deviation, width, height)},
               reciprocals, contrast, packedPlane(output, width, height));
}
