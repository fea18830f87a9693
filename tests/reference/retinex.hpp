#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <vector>

#include "reference/statistics.hpp"

// The Retinex score and the gain table from their formulas; tables are computed when needed.
namespace tlux::reference {

inline std::vector<std::uint16_t> retinexScore(const std::vector<std::int16_t>& linearLuma,
                                               int width, int height,
                                               std::vector<std::int16_t>* logLuma = nullptr) {
  LogPlane log(width, height);
  for (std::size_t i = 0; i < linearLuma.size(); ++i) {
    const int linear = std::clamp<int>(linearLuma[i], 0, 16383);
    log.samples[i] = static_cast<std::int16_t>(std::log(linear + 30.0) * 1024.0);
  }
  const int m = mean(log);
  const int offset = m + static_cast<int>(std::fma(6761.438964354475 - m, 0.5, 512.0));
  for (std::int16_t& v : log.samples) {
    v = low16(v - offset);
  }
  if (logLuma != nullptr) *logLuma = log.samples;

  const std::int64_t pixels = std::int64_t{width} * height;
  const std::int64_t scratch = pixels < 2050 ? 1024 : pixels / 2;
  const LogPlane base = pyramidBase(log, scratch).value_or(log);
  LogPlane energy(width, height);
  for (std::size_t i = 0; i < log.samples.size(); ++i) {
    const std::int64_t d = log.samples[i] - base.samples[i];
    const std::int32_t e = low32(d * d) >> 10;
    energy.samples[i] = static_cast<std::int16_t>(e < 0 ? 0 : std::min(e, 32767));
  }
  LogPlane deviation = pyramidBase(energy, scratch).value_or(energy);
  for (std::int16_t& v : deviation.samples) {
    v = static_cast<std::int16_t>(std::sqrt((std::max<int>(v, 0) + 64) * 1024.0));
  }
  const auto contrast = static_cast<std::int32_t>(std::sqrt(mean(deviation) / 1024.0) * 1024);

  std::vector<std::uint16_t> scores(linearLuma.size());
  for (std::size_t i = 0; i < scores.size(); ++i) {
    scores[i] = score(log.samples[i], base.samples[i], 524288 / deviation.samples[i], contrast);
  }
  return scores;
}

// The curve without entry 32768, which is `unset` for a strength above 0.
inline std::vector<std::uint16_t> fillLightCurve(std::int64_t strength, std::int64_t unity,
                                                 std::uint16_t unset) {
  const double x = static_cast<double>(strength < 0 ? 0 : strength) * 1.33 * 0.02;
  std::vector<std::uint16_t> curve(65536, static_cast<std::uint16_t>(unity));
  if (x == 0) return curve;
  const auto u = static_cast<double>(unity);
  const int cap = std::min(truncate32(std::exp(x) * u), 65535);
  const double s = 1 / (std::pow(x + 0.0625, 0.25) * 1024);
  int up = 0;
  int down = 0;
  for (int k = 1; k <= 32767; ++k) {
    if (k == 1 || up < cap) {
      const double t = std::exp(std::tanh(k * s) * x);
      up = std::min(truncate32(u * t + 0.5), 65535);
      down = truncate32(u / t + 0.5);
    }
    curve[k] = static_cast<std::uint16_t>(up);
    curve[65536 - k] = static_cast<std::uint16_t>(down);
  }
  curve[32768] = unset;
  return curve;
}

// Cached, since it takes longest to compute.
inline const std::vector<std::uint16_t>& gainTable(std::uint32_t strength) {
  thread_local std::map<std::uint32_t, std::vector<std::uint16_t>> tables;
  if (tables.size() > 16) tables.clear();
  std::vector<std::uint16_t>& table = tables[strength];
  if (table.empty()) {
    table = fillLightCurve(strength, 1024, 0);
    if (strength > 0) table[32768] = table[32769];
  }
  return table;
}

} // namespace tlux::reference
