/* A stream of frames: one engine for all of them, over buffers that belong to the camera. */
#include <stdio.h>
#include <stdlib.h>
#include <tlux.h>

enum { kWidth = 640, kHeight = 360, kPitch = kWidth, kFrames = 8, kBuffers = 3 };

/* A camera buffer: planes owned by the camera and refilled for every frame. */
typedef struct {
  uint8_t luma[kPitch * kHeight];
  uint8_t chroma[kPitch * (kHeight / 2)];
} CameraBuffer;

static CameraBuffer buffers[kBuffers];
static CameraBuffer shown;

static CameraBuffer* nextFrame(int number) {
  CameraBuffer* buffer = &buffers[number % kBuffers];
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      /* A lamp that moves through a dark street. */
      const int distance = abs(x - 40 * number - 100) + abs(y - 120);
      buffer->luma[y * kPitch + x] = (uint8_t)(distance < 60 ? 250 - distance : 16 + (x ^ y) % 24);
    }
  }
  MMemSet(buffer->chroma, 128, sizeof buffer->chroma);
  return buffer;
}

/* A record over the camera's memory: nothing is copied, and nothing has to be released. */
static TLUX_IMAGE imageOf(CameraBuffer* buffer) {
  TLUX_IMAGE image = {0};
  uint8_t* planes[2];
  const int32_t pitches[2] = {kPitch, kPitch};
  planes[0] = buffer->luma;
  planes[1] = buffer->chroma;
  TLUX_SetImage_IMK(&image, kWidth, kHeight, TLUX_FMT_YCBCR420_YPUV, planes, pitches);
  return image;
}

int main(void) {
  TLUX_ENGINE* engine = NULL;
  int shownFrames = 0;
  if (TLUX_Init(NULL, &engine) != TLUX_OK) return EXIT_FAILURE;
  for (int number = 0; number < kFrames; ++number) {
    const TLUX_IMAGE source = imageOf(nextFrame(number));
    TLUX_IMAGE output = imageOf(&shown);
    /* The user moves a slider: a new strength only needs a new gain table. */
    const uint32_t strength = number < kFrames / 2 ? 40 : 60;
    const uint32_t result =
        TLUX_RunDynamicRangeOptimizationImage(NULL, engine, &source, 1, &output, &strength, 0);
    if (result == TLUX_OK) {
      ++shownFrames;
    } else {
      /* Memory or threads ran out: show the frame as it is. The engine can go on. */
      TLUX_CopyImage_IMK(&output, &source);
    }
  }
  printf("%d of %d frames optimized\n", shownFrames, (int)kFrames);
  TLUX_Uninit(NULL, engine);
  return shownFrames == kFrames ? EXIT_SUCCESS : EXIT_FAILURE;
}
