/* A chain of toolkit operations: crop, reduce, equalize, blur, and a thumbnail of the result. */
#include <stdio.h>
#include <stdlib.h>
#include <tlux.h>

enum { kWidth = 512, kHeight = 384, kReduction = 4, kThumbWidth = 40, kThumbHeight = 30 };

static uint32_t equalizeLuma(TLUX_IMAGE* image) {
  uint32_t map[256] = {0}; /* counts first, then the new value of every level */
  uint8_t table[256];
  HistogramMap(image, map, NULL);
  for (int level = 0; level < 256; ++level) {
    table[level] = (uint8_t)map[level];
  }
  TLUX_AdjustImageByTable(image, table);
  return TLUX_OK;
}

static uint32_t makeThumbnail(const TLUX_IMAGE* frame, uint8_t* thumbnail) {
  /* The middle of the frame: right and bottom are exclusive, corners even to keep whole chroma. */
  const TLUX_RECT middle = {kWidth / 8, kHeight / 8, kWidth * 7 / 8, kHeight * 7 / 8};
  TLUX_IMAGE* cropped = NULL;
  TLUX_IMAGE* reduced = NULL;
  uint32_t result = TLUX_CloneImageROI_IMK(&cropped, frame, &middle, NULL);
  if (result == TLUX_OK) {
    result = TLUX_CreateImage_IMK(&reduced, cropped->width / kReduction,
                                  cropped->height / kReduction, TLUX_FMT_YCBCR444_P, NULL);
  }
  if (result == TLUX_OK) result = TLUX_ScaleCropImage(cropped, reduced, NULL, kReduction);
  if (result == TLUX_OK) result = equalizeLuma(reduced);
  if (result == TLUX_OK) {
    result = TLUX_BoxBlur_Byte(NULL, reduced->plane[0], reduced->width, reduced->height,
                               reduced->pitch[0], 1, 0);
  }
  if (result == TLUX_OK) {
    result =
        asfImageResize_BL_C1(reduced->plane[0], reduced->width, reduced->height, reduced->pitch[0],
                             thumbnail, kThumbWidth, kThumbHeight, kThumbWidth);
  }
  TLUX_FreeImage_IMK(&cropped, NULL);
  TLUX_FreeImage_IMK(&reduced, NULL);
  return result;
}

int main(void) {
  static uint8_t thumbnail[kThumbHeight * kThumbWidth];
  TLUX_IMAGE* frame = NULL;
  uint32_t result = TLUX_CreateImage_IMK(&frame, kWidth, kHeight, TLUX_FMT_YCBCR420_YPUV, NULL);
  if (result == TLUX_OK) {
    for (int i = 0; i < kWidth * kHeight; ++i) {
      frame->plane[0][i] = (uint8_t)(40 + i % kWidth / 16); /* flat: levels 40 to 71 */
    }
    MMemSet(frame->plane[1], 128, kWidth * kHeight / 2);
    result = makeThumbnail(frame, thumbnail);
  }
  TLUX_FreeImage_IMK(&frame, NULL);
  if (result != TLUX_OK) {
    fprintf(stderr, "failed: %u\n", (unsigned)result);
    return EXIT_FAILURE;
  }
  const int range = thumbnail[kThumbWidth - 1] - thumbnail[0];
  printf("levels of the thumbnail span %d of 255, those of the frame 31\n", range);
  return range > 200 ? EXIT_SUCCESS : EXIT_FAILURE;
}
