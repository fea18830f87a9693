#include "score/score_reference.hpp"
#include "base/result.hpp"

#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "score/log_table.hpp"
#include "score/retinex.hpp"

namespace tlux::detail {

Result scoreReference(MMemMgr manager, Team& team, Plane<const std::uint8_t> reference,
                      const std::uint16_t* degamma, std::uint16_t* scores) {
  const std::int64_t pixels = std::int64_t{reference.width} * reference.height;
  const Scratch<std::int16_t> logLuma(manager, pixels);
  if (!logLuma) return Result::kNoMemory;
  Team* const helpers = teamFor(team, pixels);
  const auto table = logLumaOfCodes(degamma);
  const std::int32_t mean = convertSamples(
      reference, packedPlane(logLuma.get(), reference.width, reference.height),
      [&table](std::uint8_t code) { return table[code]; }, helpers);
  const RetinexFrame frame = {logLuma.get(), scores, reference.width, reference.height};
  return scoreLogFrame(manager, frame, mean, helpers);
}

std::int64_t scoreReferencePoolBytes(std::int32_t width, std::int32_t height) {
  return poolBlock(std::int64_t{width} * height * std::int64_t{sizeof(std::int16_t)}) +
         scorePoolBytes(width, height);
}

} // namespace tlux::detail
