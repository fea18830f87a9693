// Runs on one engine, frame after frame, against the whole run as formulas.
#include "reference/run.hpp"
#include "properties/properties.hpp"
#include "support/frame.hpp"
#include "tlux/engine.h"

namespace tlux::properties {
namespace {

using test::Frame;

Frame takeFrame(Input& input, int width, int height) {
  constexpr std::uint32_t kFormats[] = {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV};
  const std::uint32_t format = input.oneOf(kFormats);
  const int pitch = input.flag() ? (width + 3) / 4 * 4 : width + input.between(0, 40);
  const int chromaPitch = input.flag() ? pitch : width + input.between(0, 40);
  return Frame({width, height, pitch, chromaPitch, format});
}

// Mostly one of a few values, since the tables of a new one take most of the time.
std::uint32_t takeStrength(Input& input) {
  constexpr std::uint32_t kStrengths[] = {0, 1, 20, 50, 100, 400};
  return input.between(0, 15) == 15 ? input.word() : input.oneOf(kStrengths);
}

} // namespace

void checkRun(Input& input) {
  Memory memory(input, 1500000);
  TLUX_ENGINE* engine = nullptr;
  const std::uint32_t created = TLUX_Init(memory.manager(), &engine);
  require(created == TLUX_OK || (memory.isLimited() && created == TLUX_ERR_NO_MEMORY));
  std::uint32_t strength = 0;
  for (int frames = 0; engine != nullptr && frames < 3 && !input.isEmpty(); ++frames) {
    const Extent half = input.extent(100, 80, 12);
    const int width = 2 * half.width;
    const int height = 2 * half.height;
    Frame source = takeFrame(input, width, height);
    Frame output = takeFrame(input, width, height);
    source.visitPlanes([&](std::span<std::uint8_t> bytes) { input.fill(bytes); });
    if (frames == 0 || input.between(0, 3) == 3) strength = takeStrength(input);
    Frame expected = output.copy();
    reference::optimizeFrame(source.image(), expected.image(), strength);
    const std::uint32_t result = TLUX_RunDynamicRangeOptimizationImage(
        memory.manager(), engine, &source.image(), 1, &output.image(), &strength, 0);
    if (result == TLUX_OK)
      require(output == expected);
    else
      require(memory.isLimited() && result == TLUX_ERR_NO_MEMORY);
  }
  TLUX_Uninit(memory.manager(), engine);
}

} // namespace tlux::properties
