#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "camera_frames.hpp"
#include "tlux/engine.h"

// Runs the given number of 1920 × 1080 frames through one engine, for instruction counters.
int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::atoi(argv[1]) : 1;
  CameraFrames frames(1920, 1080, 0);
  TLUX_ENGINE* engine = nullptr;
  if (TLUX_Init(nullptr, &engine) != TLUX_OK) return EXIT_FAILURE;
  const std::uint32_t strength = 50;
  for (int i = 0; i < runs; ++i) {
    TLUX_IMAGE source = frames.record(frames.source());
    TLUX_IMAGE output = frames.record(frames.output());
    if (TLUX_RunDynamicRangeOptimizationImage(nullptr, engine, &source, 1, &output, &strength, 0) !=
        TLUX_OK) {
      std::fputs("the run failed\n", stderr);
      return EXIT_FAILURE;
    }
  }
  TLUX_Uninit(nullptr, engine);
  return EXIT_SUCCESS;
}
