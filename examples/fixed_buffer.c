/* The run in one fixed block: the library makes no heap calls, and the size is known in advance. */
#include <stdio.h>
#include <stdlib.h>
#include <tlux.h>

enum { kWidth = 1280, kHeight = 720, kPitch = kWidth, kBlockBytes = 2 << 20 };

static uint64_t block[kBlockBytes / 8]; /* the library's only memory */
static uint8_t sourceBytes[kPitch * kHeight * 3 / 2];
static uint8_t outputBytes[kPitch * kHeight * 3 / 2];

/* An NV21 frame over the program's own memory. */
static TLUX_IMAGE frameOver(uint8_t* bytes) {
  TLUX_IMAGE frame = {0};
  uint8_t* planes[2] = {bytes, bytes + kPitch * kHeight};
  const int32_t pitches[2] = {kPitch, kPitch};
  TLUX_SetImage_IMK(&frame, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, planes, pitches);
  return frame;
}

int main(void) {
  const uint64_t needed = TLUX_GetPoolSize(kWidth, kHeight);
  const TLUX_IMAGE source = frameOver(sourceBytes);
  TLUX_IMAGE output = frameOver(outputBytes);
  const uint32_t strength = 50;
  TLUX_ENGINE* engine = NULL;
  MMemMgr pool;
  uint32_t result;

  printf("a pool for %d x %d takes %lu bytes\n", kWidth, kHeight, (unsigned long)needed);
  if (needed == 0 || needed > sizeof block) return EXIT_FAILURE;
  /* The exact size; the rest of the block stays free. A null handle would mean the heap. */
  pool = MMemMgrCreate(block, needed);
  if (pool == NULL) return EXIT_FAILURE;

  MMemSet(sourceBytes, 40, kPitch * kHeight);
  MMemSet(sourceBytes + kPitch * kHeight, 128, kPitch * kHeight / 2);
  result = TLUX_Init(pool, &engine);
  for (int frame = 0; frame < 3 && result == TLUX_OK; ++frame) {
    result = TLUX_RunDynamicRangeOptimizationImage(pool, engine, &source, 1, &output, &strength, 0);
  }
  TLUX_Uninit(pool, engine);
  MMemMgrDestroy(pool); /* does nothing: the block belongs to the program */
  return result == TLUX_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
