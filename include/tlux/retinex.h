/**
 * @file retinex.h
 * @brief The Retinex score of a reference frame and the table that turns scores into gains.
 */
#ifndef TLUX_RETINEX_H
#define TLUX_RETINEX_H

#include "base.h"
#include "engine.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup retinex Retinex score and gain table
 *
 * How much light each pixel gets. The score compares a pixel with its surroundings at all scales in
 * the log domain, after the Retinex model of lightness (Land and McCann, 1971; multi-scale form by
 * Jobson, Rahman and Woodell, 1997), with the detail normalised by the local contrast. The gain
 * table maps a score to a gain in Q10: positive scores brighten, negative ones darken.
 * @{
 */

/**
 * Computes the score of every pixel.
 *
 * Linear light becomes log luminance 1024·ln(v + 30); the frame is moved halfway towards 18 % grey
 * on the 12-bit scale; AME_PyramidFilter() gives the base layer and, from the squared detail, the
 * local energy; AME_Generate_Score() combines them. The conversion tables are constant data of the
 * library.
 *
 * @param manager pool, or null for the heap. Everything is released on return.
 * @param workBuf working memory, 2-byte aligned, or null to allocate it. Its size is 5·N bytes,
 *        N = width·height (5·N + 262144 from N = 262144 on). Frames under 2048 pixels need a little
 *        more and take it from @p manager.
 * @param logLuma in: linear light 0..16383 (0..4095 from ::TLUX_Degamma_Table), clamped to that;
 *        out: log luminance about its anchor. Packed rows.
 * @param width,height size in pixels; an empty frame does nothing.
 * @param scoreOut packed scores as 16-bit patterns of signed numbers, ready to index a gain table;
 *        must not overlap the other memory.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null plane; ::TLUX_ERR_NO_MEMORY if memory
 *         cannot be allocated, and for a negative size; the scores are then not written, but the
 *         log luminance may be.
 *
 * A frame too small or too narrow for the pyramid (one pixel wide, for instance) is its own base:
 * its scores are the negated log luminance. So are those of a uniform frame.
 */
TLUX_API uint32_t AME_GenerateRetinexLogGain(MMemMgr manager, void* workBuf, int16_t* logLuma,
                                             int32_t width, int32_t height,
                                             uint16_t* scoreOut) TLUX_NOEXCEPT;

/**
 * Computes the engine's gain table (TLUX_ENGINE::gainLut) for a strength, and records that
 * strength.
 *
 * The curve is AME_GenerateFillLighrGainLUT() with unity 1024; entry 32768 (score −32768), which
 * the curve does not set, gets the gain of score −32767. If the engine already has a table, it is
 * overwritten; otherwise 131072 bytes are allocated from @p manager and stay with the engine until
 * TLUX_Uninit().
 *
 * @param manager the handle of the engine.
 * @param strength 0 changes nothing; 50 multiplies the darkest areas by about 3.8.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY, and the engine's table is then null;
 *         ::TLUX_ERR_INVALID_PARAM for a null engine.
 */
TLUX_API uint32_t TLUX_TonemapGainLUT(MMemMgr manager, TLUX_ENGINE* engine,
                                      uint32_t strength) TLUX_NOEXCEPT;

/** What GenerateTonemapping() and TLUX_GenerateTonemappingBayer() work on. */
typedef struct TLUX_TONEMAP_CONTEXT {
  const TLUX_IMAGE* source;     /**< Frame with 8-bit samples in plane 0; borrowed. */
  int32_t width;                /**< Columns to take from it. */
  int32_t height;               /**< Rows to take from it. */
  const uint16_t* codeToLinear; /**< 256 entries, ::TLUX_Degamma_Table for instance; borrowed. */
  int16_t* logLuma; /**< Out: log luminance, width × height. The caller releases it (MMemFree()). */
  uint16_t* gains; /**< Out: scores, width × height, which index a gain table. Released likewise. */
} TLUX_TONEMAP_CONTEXT;

/**
 * Scores the luma of a frame in 10-bit linear light: (codeToLinear[Y] + 2) >> 2, rounded.
 *
 * Intended: plane 0 is read as packed rows of @p context's width, whatever its pitch.
 * @param manager pool, or null for the heap, for the two planes and the working memory.
 * @param context its planes are set on success and unchanged otherwise; planes of an earlier call
 *        are not released.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY; ::TLUX_ERR_INVALID_PARAM for a null pointer, a size
 *         below 1 or one that passes the end of plane 0 (its pitch × the image's height).
 */
TLUX_API uint32_t GenerateTonemapping(MMemMgr manager, TLUX_TONEMAP_CONTEXT* context) TLUX_NOEXCEPT;

/**
 * Scores an 8-bit mosaic, treating its samples times 16 as linear light. Colour sites are not
 * distinguished, codeToLinear is not used and logLuma is not touched.
 *
 * @param manager,context as for GenerateTonemapping(); rows are read at the pitch of plane 0.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY if one of the two planes cannot be allocated;
 *         ::TLUX_ERR_INVALID_PARAM as above. Intended: if the score itself runs out of memory, the
 *         result is ::TLUX_OK with every score 0, which leaves the frame unchanged.
 */
TLUX_API uint32_t TLUX_GenerateTonemappingBayer(MMemMgr manager,
                                                TLUX_TONEMAP_CONTEXT* context) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_RETINEX_H */
