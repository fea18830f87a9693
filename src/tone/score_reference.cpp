#include "tone/score_reference.hpp"

#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "tlux/retinex.h"
#include "tone/retinex.hpp"

namespace tlux {
namespace {

void linearise(Plane<const std::uint8_t> codes, const std::uint16_t* degamma,
               std::int16_t* linear) {
  for (std::int32_t y = 0; y < codes.height; ++y) {
    const std::uint8_t* row = codes.row(y);
    for (std::int32_t x = 0; x < codes.width; ++x) {
      *linear++ = static_cast<std::int16_t>(degamma[row[x]]);
    }
  }
}

} // namespace

bool scoreReference(MMemMgr manager, Plane<const std::uint8_t> reference,
                    const std::uint16_t* degamma, std::uint16_t* scores) {
  const Scratch<std::int16_t> luma(manager, std::int64_t{reference.width} * reference.height);
  if (!luma) return false;
  linearise(reference, degamma, luma.get());
  return AME_GenerateRetinexLogGain(manager, nullptr, luma.get(), reference.width, reference.height,
                                    scores) == TLUX_OK;
}

std::int64_t scoreReferencePoolBytes(std::int32_t width, std::int32_t height) {
  return poolBlock(std::int64_t{width} * height * std::int64_t{sizeof(std::int16_t)}) +
         scorePoolBytes(width, height);
}

} // namespace tlux
