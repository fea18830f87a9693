/*
 * Direct use of the gain expanders by a host with its own worker threads: a reduced frame gives one
 * score per 8×8 pixels; each band of rows expands the scores to gains and applies them.
 */
#include <stdio.h>
#include <stdlib.h>
#include <tlux.h>

enum {
  kCell = 8, /* pixels per coarse gain in both directions */
  kWidth = 320,
  kHeight = 192,
  kColumns = kWidth / kCell,
  kRows = kHeight / kCell,
  kBands = 3,
  kBandRows = kHeight / kBands, /* a multiple of 8, so every band starts on a coarse row */
  kStrength = 50
};

static uint16_t scores[kRows * kColumns];
static uint16_t curve[65536]; /* score to gain, Q10 */
static TLUX_IMAGE* frame;

typedef struct {
  int firstRow;
  uint16_t lines[3 * (kWidth + kCell)]; /* result, next and previous line of gains */
} Band;

static void* toneBand(void* argument) {
  Band* band = argument;
  for (int row = 0; row < kBandRows; ++row) {
    const int y = band->firstRow + row;
    /* A coarse row uses its own gains; rows in between interpolate towards the next coarse row. */
    const int wanted = y / kCell + (y % kCell == 0 ? 0 : 1);
    const int coarseRow = wanted < kRows ? wanted : kRows - 1;
    TLUX_AME_TonemapExposure_Line8(0, row, kWidth, band->lines, NULL, scores + coarseRow * kColumns,
                                   curve, 0, 0);
    AME_NV21NV12_LineTone(y, frame->plane[0] + y * frame->pitch[0],
                          frame->plane[1] + y / 2 * frame->pitch[1], kWidth, band->lines,
                          TLUX_Degamma_Table, TLUX_Gamma_Table8);
  }
  return NULL;
}

/* Scores of the frame's luma, reduced by 8: high where a pixel should become brighter. */
static uint32_t score(void) {
  static int16_t linear[kRows * kColumns];
  TLUX_IMAGE* reduced = NULL;
  uint32_t result = TLUX_CreateImage_IMK(&reduced, kColumns, kRows, TLUX_FMT_YCBCR444_P, NULL);
  if (result == TLUX_OK) result = TLUX_ScaleCropImage(frame, reduced, NULL, kCell);
  if (result == TLUX_OK) {
    for (int y = 0; y < kRows; ++y) {
      for (int x = 0; x < kColumns; ++x) {
        const uint8_t code = reduced->plane[0][y * reduced->pitch[0] + x];
        linear[y * kColumns + x] = (int16_t)TLUX_Degamma_Table[code];
      }
    }
    result = AME_GenerateRetinexLogGain(NULL, NULL, linear, kColumns, kRows, scores);
  }
  TLUX_FreeImage_IMK(&reduced, NULL);
  return result;
}

int main(void) {
  static Band bands[kBands];
  TLUX_MThread threads[kBands];
  const int dark = kHeight / 2 * kWidth + kWidth / 4;
  int before = 0;
  int after = 0;
  if (TLUX_CreateImage_IMK(&frame, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, NULL) != TLUX_OK) {
    return EXIT_FAILURE;
  }
  for (int i = 0; i < kWidth * kHeight; ++i) {
    frame->plane[0][i] = i % kWidth < kWidth / 2 ? 24 : 200;
  }
  MMemSet(frame->plane[1], 128, kWidth * kHeight / 2);
  before = frame->plane[0][dark];

  if (score() == TLUX_OK) {
    AME_GenerateFillLighrGainLUT(curve, kStrength, 1024);
    curve[32768] = curve[32769]; /* the only entry that the curve does not set */
    for (int i = 0; i < kBands; ++i) {
      bands[i].firstRow = i * kBandRows;
      threads[i] = TLUX_MThreadCreate(toneBand, &bands[i]);
      if (threads[i] == 0) toneBand(&bands[i]); /* no thread available: do it here */
    }
    for (int i = 0; i < kBands; ++i) {
      TLUX_MThreadExit(threads[i]);
    }
    after = frame->plane[0][dark];
    printf("luma in the dark: %d, now %d\n", before, after);
  }
  TLUX_FreeImage_IMK(&frame, NULL);
  return after > before ? EXIT_SUCCESS : EXIT_FAILURE;
}
