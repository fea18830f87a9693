/**
 * @file gain_lines.h
 * @brief Applying a coarse plane of gains to an NV21 or NV12 frame, row by row, and the fill-light
 *        gain curve.
 */
#ifndef TLUX_GAIN_LINES_H
#define TLUX_GAIN_LINES_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup gain_lines Gain lines
 *
 * Gains are unsigned 16-bit Q10: 1024 leaves a pixel unchanged. A coarse plane has one gain per 8×8
 * (or 4×4) pixels, placed at the upper left pixel of its cell; between them gains are interpolated
 * bilinearly, truncated.
 * @{
 */

/** What the bands of one frame share. All pointers are borrowed. */
typedef struct TLUX_MAPPING_STATE {
  const uint16_t* gains;   /**< Coarse gains, gainHeight rows of gainWidth. */
  const uint16_t* degamma; /**< 256 entries, 8-bit code to 12-bit linear: ::TLUX_Degamma_Table. */
  const uint8_t* gamma;    /**< 4096 entries, 12-bit linear to 8-bit code: ::TLUX_Gamma_Table8. */
  uint16_t* lineBuffer;    /**< Working memory of one band: 3·(frame width + 8) gains. */
  const uint16_t* mapping; /**< 65536 entries applied to each coarse gain (score to gain). */
  int32_t gainWidth;       /**< Coarse gains from one row to the next. */
  int32_t gainHeight;      /**< Coarse rows. */
} TLUX_MAPPING_STATE;

/** One band of rows. To run at once, bands need their own states and line buffers. */
typedef struct TLUX_MAPPING_CONTEXT {
  int32_t firstRow;                /**< First row; a multiple of 8, see SingleThreadMapping(). */
  int32_t endRow;                  /**< Row after the last; capped to the height of the frame. */
  const TLUX_IMAGE* frame;         /**< NV21 or NV12; its pixels are changed in place. */
  const TLUX_MAPPING_STATE* state; /**< Gains, tables and working memory. */
} TLUX_MAPPING_CONTEXT;

/**
 * Applies the coarse gains to a band of a frame, luma and chroma.
 *
 * Row y lies between the coarse rows y / 8 and y / 8 + 1 (the last one if there is no such row).
 * Columns past the coarse gains use the last gain of the row. Intended: the vertical weight counts
 * from the first row of the band, so bands should start at multiples of 8.
 *
 * Rows are processed as by AME_NV21NV12_LineTone(), up to a width rounded up to 4 and so into the
 * padding, but never past the pitch of a plane or past its last row.
 * @return ::TLUX_OK, even for an empty band; ::TLUX_ERR_NO_MEMORY for a null line buffer;
 *         ::TLUX_ERR_INVALID_PARAM for any other null pointer, a negative first row, a pitch below
 *         the width or an empty gain plane.
 */
TLUX_API uint32_t SingleThreadMapping(const TLUX_MAPPING_CONTEXT* context) TLUX_NOEXCEPT;

/**
 * Expands coarse gains, one per 8×8 pixels, to one gain per pixel of a row.
 *
 * Call it for rows 0, 1, 2, … of a band with the same @p lines, which carry state from one row to
 * the next: three slots of width + 8 gains, namely the result, the next coarse line and the
 * previous one, the latter two expanded to full width. With p = row mod 8: row 0 expands @p gains
 * into the result; p = 1 expands them as the next line; p = 1..7 gives
 * (previous·(8 − p) + next·p) >> 3; p = 0 of a later row takes the next line over. @p gains is read
 * only for row 0 and for p = 1.
 *
 * @param startColumn ignored.
 * @param row row within the band.
 * @param width pixels of a row; a width below 1 does nothing.
 * @param lines the three slots; the first holds the result, all width + 8 entries of it.
 * @param brightness,shift,stride not used by this function.
 * @param gains coarse row of width / 8 gains, at least one; pixels after the last repeat it.
 * @param mapping 65536 entries applied to each coarse gain.
 * @return @p lines, or null if nothing was done (null @p lines, @p gains or @p mapping).
 */
TLUX_API uint16_t* TLUX_AME_TonemapExposure_Line8(int32_t startColumn, int32_t row, int32_t width,
                                                  uint16_t* lines, const uint16_t* brightness,
                                                  const uint16_t* gains, const uint16_t* mapping,
                                                  int32_t shift, int32_t stride) TLUX_NOEXCEPT;

/**
 * Like TLUX_AME_TonemapExposure_Line8(), for one gain per 4×4 pixels, with a highlight roll-off.
 * Slots are @p width long and p = row mod 4.
 *
 * Each mapped gain g is pulled towards unity where the picture is bright: with
 * t = brightness[k·stride] >> shift above 2048 it becomes
 * ((t << 10) − 2097152 + g·(4096 − t)) >> 11, which is g at 2048 and 1024 at 4096.
 *
 * @param brightness 16-bit samples, the one for coarse gain k at k·stride; null: no roll-off.
 *        Values above 4096 after the shift are outside the intended range.
 * @param shift right shift that brings brightness to 12 bits, 0..31.
 * @param stride samples from one coarse gain to the next.
 */
TLUX_API uint16_t* AME_TonemapExposure_Line(int32_t startColumn, int32_t row, int32_t width,
                                            uint16_t* lines, const uint16_t* brightness,
                                            const uint16_t* gains, const uint16_t* mapping,
                                            int32_t shift, int32_t stride) TLUX_NOEXCEPT;

/**
 * Applies one gain per pixel to a row of an NV21 or NV12 frame, in place.
 *
 * Brightening (g ≥ 1024): Y' = gamma[(degamma[Y]·g) >> 10]. Darkening: the inverted code gets the
 * reciprocal gain r = 1048576 / g (0 for g = 0), Y' = 255 − gamma[(degamma[255 − Y]·r) >> 10].
 * Linear light is clamped to 0..4095; the products wrap in 32 bits.
 *
 * On even rows the chroma of each pair of pixels is scaled about 128 by the ratio of the new to the
 * old luma of the pair. Intended: chroma 97..127 is eased towards its old value, more so the closer
 * it is to 128; values above neutral are not.
 *
 * @param row index of the row in the frame; only its lowest bit matters.
 * @param luma,gains,chroma rows of @p width samples rounded up to a multiple of 4, all of which are
 *        processed; chroma (interleaved pairs) is not touched on odd rows.
 * @param width pixels; below 1 nothing is done.
 * @param degamma,gamma tables as in ::TLUX_MAPPING_STATE.
 */
TLUX_API void AME_NV21NV12_LineTone(int32_t row, uint8_t* luma, uint8_t* chroma, int32_t width,
                                    const uint16_t* gains, const uint16_t* degamma,
                                    const uint8_t* gamma) TLUX_NOEXCEPT;

/**
 * Fills the curve that maps scores to gains.
 *
 * With x = 0.0266·strength, gain(k) = exp(x·tanh(k / (1024·(x + 0.0625)^¼))), rising from 1 to at
 * most exp(x): entry k is unity·gain(k), entry 65536 − k is unity / gain(k), rounded, for
 * k = 1..32767; entry 0 is unity. Once the gain has reached exp(x)·unity (or 65535) it is held.
 *
 * @param curve 65536 gains indexed by the 16-bit pattern of a signed score; null does nothing.
 *        Intended: for a strength above 0, entry 32768 is not changed.
 * @param strength 0 and below make the curve flat: every entry is unity.
 * @param unity the gain that changes nothing, 1024.
 */
TLUX_API void AME_GenerateFillLighrGainLUT(uint16_t* curve, int64_t strength,
                                           int64_t unity) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_GAIN_LINES_H */
