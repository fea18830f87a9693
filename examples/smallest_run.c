/* The smallest run: one NV21 frame in, the optimized frame out, all memory from the heap. */
#include <stdio.h>
#include <stdlib.h>
#include <tlux.h>

enum { kWidth = 640, kHeight = 480 };

/* A dark room with a bright window on the right. */
static void paint(TLUX_IMAGE* frame) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      frame->plane[0][y * frame->pitch[0] + x] = (uint8_t)(x < kWidth * 3 / 4 ? 20 + x / 32 : 240);
    }
  }
  MMemSet(frame->plane[1], 128, (uint64_t)frame->pitch[1] * (kHeight / 2)); /* no colour */
}

int main(void) {
  TLUX_ENGINE* engine = NULL;
  TLUX_IMAGE* source = NULL;
  TLUX_IMAGE* output = NULL;
  const uint32_t strength = 50; /* 0 keeps the tones, 100 is strong */
  uint32_t result = TLUX_Init(NULL, &engine);
  if (result == TLUX_OK) {
    result = TLUX_CreateImage_IMK(&source, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, NULL);
  }
  if (result == TLUX_OK) {
    result = TLUX_CreateImage_IMK(&output, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, NULL);
  }
  if (result == TLUX_OK) {
    paint(source);
    result = TLUX_RunDynamicRangeOptimizationImage(NULL, engine, source, 1, output, &strength, 0);
  }
  if (result == TLUX_OK) {
    const int at = kHeight / 2 * kWidth + kWidth / 4;
    printf("luma in the dark: %d, now %d\n", source->plane[0][at], output->plane[0][at]);
  } else {
    fprintf(stderr, "the run failed: %u\n", (unsigned)result);
  }
  TLUX_FreeImage_IMK(&source, NULL);
  TLUX_FreeImage_IMK(&output, NULL);
  TLUX_Uninit(NULL, engine);
  return result == TLUX_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
