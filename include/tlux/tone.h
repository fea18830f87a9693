/**
 * @file tone.h
 * @brief Applying a tone change to NV21 and NV12 frames: chroma that follows luma, luma rebuilt
 * from a base and a change.
 */
#ifndef TLUX_TONE_H
#define TLUX_TONE_H

#include "fast_guided_filter.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup tone Tone application
 *
 * When the luma of a frame changes, its chroma must follow, or lifted shadows look grey and
 * darkened highlights over-saturated. Every chroma sample c is scaled about neutral grey by the
 * luma ratio of its pixel pair. With s and d the sums of the two old and the two new luma samples:
 *
 *     ratio = d · 1024 / s              truncated; 1024 when s is 0
 *     t     = (ratio · (c − 128) >> 10) + 128
 *     t     = (c · (8 − e) + t · e) / 8    when e = |c − 128| is below 8
 *     c'    = t clamped to 0 … 255
 *
 * The third line leaves nearly neutral chroma mostly unchanged, so that noise on grey does not turn
 * into colour. The ratio is that of the upper luma row of each 2×2 block. Both bytes of an
 * interleaved pair are treated alike, so these functions do not distinguish NV21 and NV12. Frames
 * are 4:2:0: `height` luma rows and `height / 2` chroma rows of `width / 2` pairs; an odd last luma
 * row has no chroma row.
 *
 * Output chroma may be the input chroma. With a null plane, functions that return nothing do
 * nothing.
 * @{
 */

/**
 * Scales the chroma of a whole frame on the calling thread.
 *
 * Intended: rows are processed in whole groups of four pixels, so that up to three bytes beyond
 * @p width are read and written in each plane, and rows are stepped by that rounded width R: two
 * luma rows are R + @p pitch apart, two chroma rows R. The rule is exact for frames whose pitch is
 * the rounded width, as the library creates them; in other frames the rows are skewed.
 * @param srcY,dstY luma before and after the tone change, read only.
 * @param srcUV chroma that belongs to @p srcY.
 * @param dstUV receives the chroma that belongs to @p dstY.
 * @param height,width of the luma in pixels; a height below 2 or a width below 1 does nothing.
 * @param pitch bytes from one luma row to the next, of both luma planes.
 */
TLUX_API void NV21NV12_Tone(const uint8_t* srcY, const uint8_t* srcUV, const uint8_t* dstY,
                            uint8_t* dstUV, int32_t height, int32_t width,
                            int32_t pitch) TLUX_NOEXCEPT;

/**
 * Scales the chroma that belongs to one luma row.
 *
 * @param row index of the luma row in the frame; odd rows have no chroma of their own and do
 *        nothing.
 * @param newY,oldY that row after and before the tone change, @p width bytes.
 * @param uvIn,uvOut chroma row `row / 2`, @p width bytes, one less if @p width is odd.
 * @param width pixels; below 1 does nothing.
 */
TLUX_API void ToneNV21Line(int32_t row, const uint8_t* newY, uint8_t* uvOut, const uint8_t* oldY,
                           const uint8_t* uvIn, int32_t width) TLUX_NOEXCEPT;

/** What a worker of NV21NV12_ToneMT() works on: planes of the whole frame and a band of its rows.
 */
typedef struct TLUX_TONE_CONTEXT {
  const uint8_t* oldY; /**< Luma before the tone change. */
  const uint8_t* newY; /**< Luma after it. */
  const uint8_t* uvIn; /**< Chroma that belongs to oldY. */
  uint8_t* uvOut;      /**< Receives the chroma that belongs to newY. */
  int32_t oldPitch;    /**< Bytes from row to row of oldY. */
  int32_t newPitch;    /**< Bytes from row to row of newY. */
  int32_t uvInPitch;   /**< Bytes from row to row of uvIn. */
  int32_t uvOutPitch;  /**< Bytes from row to row of uvOut. */
  int32_t width;       /**< Of the frame in pixels. */
  int32_t height;      /**< Of the frame in luma rows. */
  int32_t startRow;    /**< First luma row of the band. */
  int32_t bandRows;    /**< Its rows; those past the height are left out. */
} TLUX_TONE_CONTEXT;

/**
 * Scales the chroma of one band on the calling thread: the work of one thread of NV21NV12_ToneMT().
 * Nothing is checked, except that a null context does nothing. @return 0.
 */
TLUX_API uint32_t NV21NV12_ToneSingleThread(const TLUX_TONE_CONTEXT* context) TLUX_NOEXCEPT;

/**
 * Scales the chroma of a whole frame on up to four threads. Unlike NV21NV12_Tone(), it steps every
 * plane by its own pitch and touches nothing beyond the width.
 *
 * @param image NV21 or NV12 frame before the tone change.
 * @param output NV21 or NV12 frame whose luma has been changed; its chroma is written. At least as
 *        large as @p image; the size of @p image counts.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null record or plane, a pitch below the width,
 *         or an output that is too small, with nothing written; ::TLUX_ERR_UNSUPPORTED for another
 *         format; ::TLUX_ERR_THREAD if a thread could not be started; the bands of the earlier ones
 *         are then written.
 */
TLUX_API uint32_t NV21NV12_ToneMT(const TLUX_IMAGE* image, TLUX_IMAGE* output) TLUX_NOEXCEPT;

/**
 * Combines a base and a detail layer into a frame: luma = base + detail − 128, clamped, and the
 * chroma of the base scaled by the rule above, except that chroma within 32 of neutral, not 8, is
 * moved only partly: t = (c · (32 − e) + t · e) / 32 when e is below 32.
 *
 * @param dst NV21 or NV12 frame, of the size that is processed; may be @p base.
 * @param base NV21 or NV12 frame, at least that large.
 * @param detail frame of at least that size in any format; its plane 0 is detail luma, 128 where
 *        nothing changes.
 * @return ::TLUX_OK, ::TLUX_ERR_INVALID_PARAM or ::TLUX_ERR_UNSUPPORTED as NV21NV12_ToneMT().
 */
TLUX_API uint32_t NV21NV12_ToneMap(TLUX_IMAGE* dst, const TLUX_IMAGE* base,
                                   const TLUX_IMAGE* detail) TLUX_NOEXCEPT;

/**
 * Changes one row by a delta: luma = yIn + delta − 128, clamped; on even rows the chroma follows by
 * the rule above.
 *
 * @param row index of the luma row in the frame.
 * @param yOut,yIn the row after and before, @p width bytes; may be the same.
 * @param uvOut,uvIn chroma row `row / 2`; not touched on odd rows, where they may be null. May be
 *        the same.
 * @param deltaLine the change, 128 where there is none, @p width bytes.
 * @param width pixels; below 1 does nothing.
 */
TLUX_API void GuideToneNV21Line(int32_t row, uint8_t* yOut, uint8_t* uvOut, const uint8_t* yIn,
                                const uint8_t* uvIn, const uint8_t* deltaLine,
                                int32_t width) TLUX_NOEXCEPT;

/**
 * What a worker of MultiThreadGuideTone() works on. `filter.fullGuide` is the luma before the
 * change and `filter.fullOut` receives the luma after it.
 */
typedef struct TLUX_GUIDE_TONE_CONTEXT {
  TLUX_GUIDE_CONTEXT filter; /**< As for the fast guided filter; fullPitch is that of fullOut. */
  const uint8_t* uvIn;       /**< Chroma plane that belongs to filter.fullGuide. */
  uint8_t* uvOut;     /**< Receives the chroma that belongs to filter.fullOut; may be uvIn. */
  int32_t guidePitch; /**< Bytes from row to row of filter.fullGuide. */
  int32_t uvInPitch;  /**< Bytes from row to row of uvIn. */
  int32_t uvOutPitch; /**< Bytes from row to row of uvOut. */
} TLUX_GUIDE_TONE_CONTEXT;

/**
 * Filters and applies one band on the calling thread: the work of one thread of
 * MultiThreadGuideTone(). As FastGuideFilterSingleThread() otherwise.
 */
TLUX_API void SingleThreadGuideTone(const TLUX_GUIDE_TONE_CONTEXT* context) TLUX_NOEXCEPT;

/**
 * The fast guided filter and the chroma rule in one pass over the frame: a change of luma that was
 * computed at one eighth of the size is upsampled along the edges of the frame and applied to luma
 * and chroma.
 *
 * The filter's input is @p delta, the desired change around 128, and its guide the small luma of
 * the frame, so that each filtered row is the 128-centred change that GuideToneNV21Line() adds.
 * Where the guide is uniform the change is applied directly; a delta of 128 leaves a uniform frame
 * unchanged. Bands and covered area are those of FastGuideFilterMT(); the rest of the output, luma
 * and chroma, is not changed.
 *
 * @param memMgr pool or null for the heap; provides a copy of the luma, the four maps and the four
 *        worker blocks. Nothing stays allocated.
 * @param source NV21 or NV12 frame, at least 8·lowW × 8·lowH.
 * @param output NV21 or NV12 frame of at least that size; may be @p source.
 * @param delta,guide planes of lowW × lowH bytes, @p lowPitch bytes from row to row.
 * @param radius,eps as for FastGuideFilterMT().
 * @return as FastGuideFilterMT(); ::TLUX_ERR_UNSUPPORTED for another format.
 */
TLUX_API uint32_t MultiThreadGuideTone(MMemMgr memMgr, const TLUX_IMAGE* source, TLUX_IMAGE* output,
                                       const uint8_t* delta, const uint8_t* guide, int32_t lowW,
                                       int32_t lowH, int32_t lowPitch, int32_t radius,
                                       int32_t eps) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_TONE_H */
