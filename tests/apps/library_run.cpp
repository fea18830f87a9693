// Takes one raw frame through the library, as a host would: no code shared with the command.
// usage: library_run run|exact|natural nv21|nv12 WIDTH HEIGHT PITCH STRENGTH INPUT OUTPUT

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "tlux.h"

namespace {

TLUX_IMAGE describe(uint32_t format, int32_t width, int32_t height, int32_t pitch,
                    std::vector<uint8_t>& block) {
  TLUX_IMAGE image = {};
  uint8_t* planes[] = {block.data(), block.data() + std::ptrdiff_t{pitch} * height};
  const int32_t pitches[] = {pitch, pitch};
  TLUX_SetImage_IMK(&image, width, height, format, planes, pitches);
  return image;
}

uint32_t run(const TLUX_IMAGE& input, TLUX_IMAGE& result, uint32_t strength) {
  TLUX_ENGINE* engine = nullptr;
  if (TLUX_Init(nullptr, &engine) != TLUX_OK) return TLUX_ERR_NO_MEMORY;
  const uint32_t code =
      TLUX_RunDynamicRangeOptimizationImage(nullptr, engine, &input, 1, &result, &strength, 0);
  TLUX_Uninit(nullptr, engine);
  return code;
}

uint32_t stream(uint32_t tones, const TLUX_IMAGE& input, TLUX_IMAGE& result, uint32_t strength) {
  TLUX_STREAM_OPTIONS options = {};
  TLUX_STREAM* stream = nullptr;
  uint32_t code = TLUX_InitStreamOptions(&options, sizeof options, tones);
  if (code == TLUX_OK) code = TLUX_OpenStream(nullptr, &options, &stream);
  if (code == TLUX_OK) code = TLUX_RunStream(stream, &input, &result, strength);
  TLUX_CloseStream(&stream);
  return code;
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 9) return 1;
  const std::string_view way = argv[1];
  const uint32_t format =
      std::strcmp(argv[2], "nv21") == 0 ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_YCBCR420_YPUV;
  const int32_t width = std::atoi(argv[3]);
  const int32_t height = std::atoi(argv[4]);
  const int32_t pitch = std::atoi(argv[5]);
  const auto strength = static_cast<uint32_t>(std::atoi(argv[6]));

  std::ifstream file(argv[7], std::ios::binary);
  std::vector<uint8_t> source((std::istreambuf_iterator<char>(file)), {});
  std::vector<uint8_t> output(source.size());
  const TLUX_IMAGE input = describe(format, width, height, pitch, source);
  TLUX_IMAGE result = describe(format, width, height, pitch, output);
  const uint32_t tones = way == "exact" ? TLUX_TONES_EXACT : TLUX_TONES_NATURAL;
  const uint32_t code =
      way == "run" ? run(input, result, strength) : stream(tones, input, result, strength);
  if (code != TLUX_OK) return 1;

  std::ofstream written(argv[8], std::ios::binary);
  for (const uint8_t byte : output) {
    written.put(static_cast<char>(byte));
  }
  return written.flush() ? 0 : 1;
}
