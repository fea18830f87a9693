#include <utility>

#include "platform/scratch.hpp"
#include "tlux/engine.h"
#include "tlux/transfer.h"

using namespace tlux::detail;

uint32_t TLUX_Init(MMemMgr manager, TLUX_ENGINE** out) noexcept {
  if (out == nullptr) return TLUX_ERR_INVALID_PARAM;
  auto* engine = static_cast<TLUX_ENGINE*>(allocateBytes(manager, sizeof(TLUX_ENGINE)));
  if (engine == nullptr) return TLUX_ERR_NO_MEMORY;
  *engine = {};
  engine->degammaTable = TLUX_Degamma_Table;
  engine->gammaTable = TLUX_Gamma_Table8;
  *out = engine;
  return TLUX_OK;
}

uint32_t TLUX_Uninit(MMemMgr manager, TLUX_ENGINE* engine) noexcept {
  if (engine == nullptr) return TLUX_ERR_NO_MEMORY;
  MMemFree(manager, std::exchange(engine->gainLut, nullptr));
  MMemFree(manager, std::exchange(engine->logGainMap, nullptr));
  for (TLUX_IMAGE*& image : engine->images) {
    TLUX_FreeImage_IMK(&image, manager);
  }
  MMemFree(manager, engine);
  return TLUX_OK;
}
