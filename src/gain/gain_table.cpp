#include "gain/gain_table.hpp"

#include "gain/fill_light_curve.hpp"
#include "gain/linear_gain.hpp"
#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "tlux/retinex.h"

namespace tlux::detail {

void fillGainTable(std::uint16_t* table, std::uint32_t strength) {
  fillLightCurve(table, strength, kUnityGain);
  table[32768] = table[32769]; // the curve has no entry of its own for score −32768
}

std::int64_t gainTablePoolBytes() {
  return poolBlock(kGainTableEntries * sizeof(std::uint16_t));
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TonemapGainLUT(MMemMgr manager, TLUX_ENGINE* engine, uint32_t strength) noexcept {
  if (engine == nullptr) return TLUX_ERR_INVALID_PARAM;
  if (engine->gainLut == nullptr) {
    Scratch<uint16_t> table(manager, kGainTableEntries);
    if (!table) return TLUX_ERR_NO_MEMORY;
    engine->gainLut = table.release();
  }
  fillGainTable(engine->gainLut, strength);
  engine->gainLutStrength = strength;
  return TLUX_OK;
}
