/* Runs a frame through an installed library and prints a checksum of the result. */
#include <stdio.h>
#include <tlux.h>

enum { kWidth = 160, kHeight = 96 };

int main(void) {
  TLUX_ENGINE* engine = NULL;
  TLUX_IMAGE* frames[2] = {NULL, NULL};
  const uint32_t strength = 50;
  uint32_t result = TLUX_Init(NULL, &engine);
  uint32_t sum = 0;
  for (int i = 0; i < 2 && result == TLUX_OK; ++i) {
    result = TLUX_CreateImage_IMK(&frames[i], kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, NULL);
  }
  if (result == TLUX_OK) {
    for (int i = 0; i < kWidth * kHeight; ++i) {
      frames[0]->plane[0][i] = (uint8_t)(i % kWidth);
    }
    MMemSet(frames[0]->plane[1], 128, kWidth * kHeight / 2);
    result =
        TLUX_RunDynamicRangeOptimizationImage(NULL, engine, frames[0], 1, frames[1], &strength, 0);
  }
  if (result == TLUX_OK) {
    for (int i = 0; i < kWidth * kHeight; ++i) {
      sum = sum * 31 + frames[1]->plane[0][i];
    }
    printf("%08x\n", (unsigned)sum);
  }
  TLUX_FreeImage_IMK(&frames[0], NULL);
  TLUX_FreeImage_IMK(&frames[1], NULL);
  TLUX_Uninit(NULL, engine);
  return result == TLUX_OK ? 0 : 1;
}
