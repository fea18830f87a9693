#include "score/score_tables.hpp"

#include <cstddef>

namespace tlux::detail {
namespace {

// ln(n + 1) − ln(n) = 2·(z + z³/3 + z⁵/5 + …) with z = 1 / (2n + 1). From n = 30 on, the omitted
// terms are below 2e-17 each; summed over the table the error of the logarithm is below 1e-11,
// while no 1024·ln(v + 30) is closer to an integer than 1e-5: every entry is exact.
constexpr auto makeLogTable() {
  std::array<std::int16_t, kLinearLevels> table{};
  double logarithm = 3.4011973816621555; // ln 30
  double n = 30;
  for (std::int16_t& entry : table) {
    entry = static_cast<std::int16_t>(logarithm * 1024);
    const double z = 1 / (2 * n + 1);
    const double s = z * z;
    logarithm += 2 * z * (1 + s * (1.0 / 3 + s * (1.0 / 5 + s * (1.0 / 7 + s / 9))));
    n += 1;
  }
  return table;
}

// The roots grow with the energy, so each search starts from the previous root.
constexpr auto makeDeviationTable() {
  std::array<std::int16_t, kEnergyLevels> table{};
  std::int32_t root = 0;
  for (std::int32_t v = 0; v < kEnergyLevels; ++v) {
    const std::int32_t square = 1024 * (v + 64);
    while ((root + 1) * (root + 1) <= square) {
      ++root;
    }
    table[static_cast<std::size_t>(v)] = static_cast<std::int16_t>(root);
  }
  return table;
}

constexpr auto makeReciprocalTable() {
  std::array<std::uint32_t, kDeviationLevels> table{};
  for (std::uint32_t d = 1; d < table.size(); ++d) {
    table[d] = 524288 / d;
  }
  return table;
}

} // namespace

constexpr std::array<std::int16_t, kLinearLevels> kLogTable = makeLogTable();
constexpr std::array<std::int16_t, kEnergyLevels> kDeviationTable = makeDeviationTable();
constexpr std::array<std::uint32_t, kDeviationLevels> kReciprocalTable = makeReciprocalTable();

static_assert(kDeviationTable.front() == 256 && kDeviationTable.back() == kDeviationLevels - 1);

} // namespace tlux::detail
