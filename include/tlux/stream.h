/**
 * @file stream.h
 * @brief The stream: dynamic range optimization of frames as cameras, decoders and players deliver
 *        them.
 */
#ifndef TLUX_STREAM_H
#define TLUX_STREAM_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup stream Stream
 *
 * A stream does what TLUX_RunDynamicRangeOptimizationImage() does, for frames of any even size: it
 * processes every row and column whatever the size, accepts padded rows, can work in place,
 * supports video range, and can keep the tones of a video steady from frame to frame.
 *
 * Open a stream, run it on one frame after the other, close it. A stream is used by one thread at a
 * time; several streams, each with its own pool or on the heap, may run at once.
 * @{
 */

/** Luma 0 to 255, chroma 0 to 255 around 128: cameras and JPEG. */
#define TLUX_RANGE_FULL 0u
/** Luma 16 to 235, chroma 16 to 240 around 128: most video. */
#define TLUX_RANGE_LIMITED 1u

/** The tones of TLUX_RunDynamicRangeOptimizationImage(), to the byte. */
#define TLUX_TONES_EXACT 0u
/** What we recommend for pictures and videos that people look at. */
#define TLUX_TONES_NATURAL 1u

/** One part of a job: part(work, index). Parts may run at the same time, in any order. */
typedef void (*TLUX_PART)(void* work, uint32_t index);

/**
 * A "parallel for" provided by the caller: calls part(work, i) once for each i from 0 to count − 1,
 * in any order, on any threads, even one after the other on the calling thread, and returns when
 * all calls have returned.
 * @param context the caller's, from ::TLUX_STREAM_OPTIONS.
 * @return ::TLUX_OK; anything else means that some parts were not called: the run then returns
 *         ::TLUX_ERR_THREAD. The exception is the last step, which writes the picture: the calling
 *         thread finishes it, because a run in place cannot be undone.
 */
typedef uint32_t (*TLUX_PARALLEL_FOR)(void* context, TLUX_PART part, void* work, uint32_t count);

/**
 * How a stream works. Fill it with TLUX_InitStreamOptions(), then change what should differ. Later
 * versions add fields at the end; `size` tells the library which ones the caller knows.
 */
typedef struct TLUX_STREAM_OPTIONS {
  uint32_t size;  /**< Bytes of this record, as the caller was compiled. */
  uint32_t range; /**< ::TLUX_RANGE_FULL or ::TLUX_RANGE_LIMITED, of source and output. */
  /**
   * Frames over which the tones follow the scene, 0 to 1000. 0: every frame by itself, as in the
   * run. Above 0 the output changes as smoothly as the input: a local change affects the rest of
   * the picture little at first, and fully after three times as many frames. A cut takes effect at
   * once: another size, or a mean log luminance that differs by more than half a stop. Use it for
   * single pictures too: the first frame after opening or TLUX_ResetStream() counts as a cut, so it
   * does not depend on earlier ones.
   */
  uint32_t steady;
  /**
   * How far chroma follows luma, 0 to 100 per cent: chroma is scaled by 1 + (ratio − 1)·colour/100,
   * `ratio` being new luma over old. 100 is the rule of the run. Source: Mantiuk, Tomaszewska,
   * Heidrich, "Color correction for tone mapping", 2009.
   */
  uint32_t colour;
  /**
   * 1: the fit keeps the fractions of its window means, so smooth areas stay smooth. 0: as in the
   * run.
   */
  uint32_t fineWindows;
  /**
   * Threads that work on a frame, including the calling one: 1 to 64; 0 for one per processor that
   * the process may use, 4 at most. All but the calling one start with the first frame, sleep
   * between frames and end with the stream. Ignored with `parallelFor`.
   */
  uint32_t threads;
  TLUX_PARALLEL_FOR parallelFor; /**< Null: the stream's own threads. */
  void* parallelContext;         /**< Passed to `parallelFor`. */
  uint32_t workers;              /**< With `parallelFor`: parts to split a job into, 1 to 64. */
  uint32_t reserved;             /**< 0. */
} TLUX_STREAM_OPTIONS;

/** A stream. Opaque. */
typedef struct TLUX_STREAM TLUX_STREAM;

/**
 * What a stream saw in its latest frame. The maps have the size of the reference frame, an eighth
 * of the frame's: width = 2·ceil(frame width / 16), height likewise. They belong to the stream, are
 * read-only, and stay valid until the next call with that stream.
 */
typedef struct TLUX_STREAM_REPORT {
  uint32_t size;  /**< Bytes of this record, as the caller was compiled. Set by the caller. */
  int32_t width;  /**< Columns of the maps. */
  int32_t height; /**< Rows of the maps. */
  int32_t referencePitch;   /**< Bytes from one row of `reference` to the next. */
  const uint8_t* reference; /**< Luma of the reference frame, full range. */
  const int16_t* scores;    /**< Retinex score of each reference pixel, rows without padding. */
  /**
   * Gain of each reference pixel, Q10, rows without padding. Below 1024 its reciprocal is applied
   * to the inverted code.
   */
  const uint16_t* gains;
  int32_t mean;      /**< Mean log luminance of the frame: 1024·ln of linear light 0..4095. */
  int32_t anchor;    /**< Log luminance that scores are counted from, same unit. */
  uint32_t isCut;    /**< 1: the frame did not follow the one before it. */
  uint32_t reserved; /**< 0. */
} TLUX_STREAM_REPORT;

/**
 * Fills @p options with a starting point: full range, as many threads as there are processors, and
 * - ::TLUX_TONES_EXACT: steady 0, colour 100, fineWindows 0;
 * - ::TLUX_TONES_NATURAL: the values we recommend for steady, colour and fineWindows.
 * @param size sizeof(TLUX_STREAM_OPTIONS); no more is written.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null record, an unknown @p tones or a @p size
 *         that no version has had.
 */
TLUX_API uint32_t TLUX_InitStreamOptions(TLUX_STREAM_OPTIONS* options, uint32_t size,
                                         uint32_t tones) TLUX_NOEXCEPT;

/**
 * Opens a stream.
 * @param manager pool, or null for the heap; all memory of the stream comes from it.
 * @param options read once; null means ::TLUX_TONES_NATURAL.
 * @param out receives the stream; null on failure.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY; ::TLUX_ERR_INVALID_PARAM for a null @p out or a field
 *         out of range.
 */
TLUX_API uint32_t TLUX_OpenStream(MMemMgr manager, const TLUX_STREAM_OPTIONS* options,
                                  TLUX_STREAM** out) TLUX_NOEXCEPT;

/**
 * Changes how a stream works from the next frame on. Everything may change except `threads`,
 * `parallelFor`, `parallelContext` and `workers`. The state of a steady stream is kept.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM, and nothing changes.
 */
TLUX_API uint32_t TLUX_ChangeStream(TLUX_STREAM* stream,
                                    const TLUX_STREAM_OPTIONS* options) TLUX_NOEXCEPT;

/**
 * Optimizes the dynamic range of one frame, then adds a small mark: see TLUX_EmbeddedMark().
 *
 * The reference frame is computed as if the last column and row were repeated up to the next
 * multiple of 16. Padding is neither read nor written, and does not change the picture.
 *
 * @param source NV21 (YCBCR420_YPVU) or NV12 (YCBCR420_YPUV), even sides from 2 × 2, each plane
 *        with its own pitch, at least the width. A plane ends with the last sample of its last row.
 * @param output of the same format and size. Either the source itself (the same planes and
 *        pitches), or memory that does not overlap it.
 * @param strength of the effect: 0 keeps the tones, in video range every code; 30 suits most
 *        pictures, 100 is strong.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM: a rejected argument, nothing is written;
 *         ::TLUX_ERR_NO_MEMORY or ::TLUX_ERR_THREAD: the output is a copy of the source, without
 *         the mark (in place: the unchanged source), and the stream remains usable.
 */
TLUX_API uint32_t TLUX_RunStream(TLUX_STREAM* stream, const TLUX_IMAGE* source,
                                 const TLUX_IMAGE* output, uint32_t strength) TLUX_NOEXCEPT;

/** Forgets earlier frames: the next one counts as a cut. Does nothing for null. */
TLUX_API void TLUX_ResetStream(TLUX_STREAM* stream) TLUX_NOEXCEPT;

/**
 * Reports what the stream saw in its latest frame.
 * @param report its `size` set; receives the rest.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null argument, a `size` that no version has
 *         had, or a stream without a successful run.
 */
TLUX_API uint32_t TLUX_ReadStreamReport(const TLUX_STREAM* stream,
                                        TLUX_STREAM_REPORT* report) TLUX_NOEXCEPT;

/**
 * Returns the bytes that a pool needs for a stream and any number of frames of any sizes up to the
 * given one. Nothing is allocated after the first frame of the largest size.
 * @return the bytes for MMemMgrCreate(); 0 for arguments that TLUX_OpenStream() or TLUX_RunStream()
 *         reject, and for frames too large for a pool.
 */
TLUX_API uint64_t TLUX_GetStreamPoolSize(const TLUX_STREAM_OPTIONS* options, int32_t width,
                                         int32_t height) TLUX_NOEXCEPT;

/** Closes a stream, ends its threads and nulls the caller's pointer. Does nothing for null. */
TLUX_API void TLUX_CloseStream(TLUX_STREAM** stream) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_STREAM_H */
