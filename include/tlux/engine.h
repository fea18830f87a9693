/**
 * @file engine.h
 * @brief The engine that optimizes the dynamic range of frames: lifecycle, run and version.
 */
#ifndef TLUX_ENGINE_H
#define TLUX_ENGINE_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup engine Engine
 *
 * Use one engine for one sequence of frames: create it once, run it on every frame, destroy it.
 * Pass the same ::MMemMgr handle to all three. An engine is used by one thread at a time; several
 * engines, each with its own pool or on the heap, may run at once in as many threads.
 * @{
 */

/**
 * What an engine carries from one stage of a run to the next. Created by TLUX_Init(); callers may
 * read it. Reserved space stays zero.
 */
typedef struct TLUX_ENGINE {
  TLUX_IMAGE* images[10];   /**< Slot 0: the reference frame (YCBCR444_P) of the latest run. */
  const TLUX_IMAGE* source; /**< Input frame of the latest run; borrowed. */
  uint64_t reserved0[2];
  uint32_t mode;     /**< Mode of the latest run, always 1. */
  int32_t srcWidth;  /**< Width of the latest input frame. */
  int32_t srcHeight; /**< Height of the latest input frame. */
  int32_t refWidth;  /**< (srcWidth / 16)·2. */
  int32_t refHeight; /**< (srcHeight / 16)·2. */
  int32_t refScale;  /**< Reduction from source to reference frame, always 8. */
  uint64_t reserved1[2];
  uint16_t* logGainMap;         /**< refWidth × refHeight log-domain scores, as 16-bit patterns. */
  const uint16_t* degammaTable; /**< ::TLUX_Degamma_Table. */
  const uint8_t* gammaTable;    /**< ::TLUX_Gamma_Table8. */
  uint16_t* gainLut;            /**< 65536 gains in Q10, indexed by a score's 16-bit pattern. */
  uint32_t gainLutStrength;     /**< Strength that gainLut was built for. */
  int32_t logGainWidth;         /**< Columns of logGainMap. */
  int32_t logGainHeight;        /**< Rows of logGainMap. */
  uint32_t reserved2;
  uint64_t reserved3[2];
} TLUX_ENGINE;

/** What TLUX_GetVersion() reports. */
typedef struct TLUX_VERSION {
  int64_t major;
  int64_t minor;
  int64_t build;
  int64_t revision;
  const char* version;   /**< Name and version as text. */
  const char* buildDate; /**< Month/day/year. */
  const char* notice;    /**< Legal notice. */
} TLUX_VERSION;

/**
 * Creates an engine.
 * @param manager pool, or null for the heap; all memory of the engine's runs comes from it.
 * @param out receives the engine; untouched on failure.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY; ::TLUX_ERR_INVALID_PARAM for a null @p out.
 */
TLUX_API uint32_t TLUX_Init(MMemMgr manager, TLUX_ENGINE** out) TLUX_NOEXCEPT;

/**
 * Destroys an engine and everything its runs left in it. The caller's pointer is not changed.
 * @param manager the handle the engine was made with.
 * @return ::TLUX_OK. Intended: a null engine gives ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t TLUX_Uninit(MMemMgr manager, TLUX_ENGINE* engine) TLUX_NOEXCEPT;

/**
 * Optimizes the dynamic range of one frame: lifts dark regions, compresses bright ones, and keeps
 * local detail and colour.
 *
 * A reference frame of an eighth of the size decides, from each pixel's contrast with its
 * surroundings (a Retinex score), how much it is lifted or darkened. A guided filter carries the
 * result to full size along the edges of the source's luma; chroma follows the luma. Finally a
 * small mark is added: see TLUX_EmbeddedMark().
 *
 * The result depends only on @p source, @p strength and the sizes, not on earlier frames, unless
 * memory runs out (see TLUX_Tonemapping()). The same input gives the same bytes on every processor.
 *
 * Works on up to four threads, including the calling one: one per processor that the process may
 * use, and only the calling one for small frames. The others have ended on return.
 *
 * Memory comes from @p manager; TLUX_GetPoolSize() returns how much. For the next frame of the same
 * size, the engine keeps at most 12 bytes per pixel of the reference frame and the gain table (128
 * KiB); a run also needs at most 40 bytes per pixel of the reference frame and 1 MiB, which it
 * releases.
 *
 * @param manager the handle the engine was made with.
 * @param engine from TLUX_Init(). Describes this frame on return, even after a failure, unless an
 *        argument was rejected.
 * @param source NV21 (YCBCR420_YPVU) or NV12 (YCBCR420_YPUV), full range, even width and height,
 *        pitches of at least the width. Not changed; borrowed by the engine's `source` field.
 * @param mode must be 1.
 * @param output receives the result: the caller's memory, of the same format and size as @p source,
 *        not overlapping it. What is not optimized is copied: the columns and rows beyond the last
 *        multiple of 16, and the whole frame if it has fewer than 16 columns or rows. Intended: an
 *        output of another format, or larger than the source, gets no copy; the rest of the run
 *        is the same.
 *        Intended: frames of equal pitches should have the pitch that TLUX_CreateImage_IMK() gives
 *        them, the width rounded up to a multiple of 4. Chroma rows are then stepped by that width,
 *        so with a longer pitch part of the chroma follows the luma of other rows or keeps its
 *        source value. If the pitches of source and output differ, every row is stepped by its own
 *        pitch. Either way the padding of all planes is read and that of the output's chroma
 *        written, even after the last row, but no byte past pitch × rows.
 * @param strength of the effect: 0 keeps the tones except for a slight smoothing of fine noise, 30
 *        suits most pictures, 100 is strong. Read once.
 * @param reserved not used; pass 0.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a rejected argument (null, mode, odd or negative
 *         size, format, pitch below the width, output smaller than the source or on the same luma
 *         plane; nothing is written); ::TLUX_ERR_NO_MEMORY or ::TLUX_ERR_THREAD: the output is then
 *         untouched, contains the copy or part of the result, always without the mark, and the
 *         engine remains usable.
 */
TLUX_API uint32_t TLUX_RunDynamicRangeOptimizationImage(MMemMgr manager, TLUX_ENGINE* engine,
                                                        const TLUX_IMAGE* source, uint32_t mode,
                                                        TLUX_IMAGE* output,
                                                        const uint32_t* strength,
                                                        uint64_t reserved) TLUX_NOEXCEPT;

/**
 * Returns the bytes that a pool needs for an engine and any number of its runs on frames of one
 * size, at any strength, wherever the pool's buffer starts. The bound is tight: 128 bytes less do
 * not suffice. Add whatever else the caller allocates from the pool, such as frames: each block
 * with its size rounded up to a multiple of 8, at least 32, and 16 bytes of header.
 *
 * Alternating frame sizes can leave gaps: reinitialise the pool for another size.
 *
 * @param width,height of the frames, as passed to TLUX_RunDynamicRangeOptimizationImage().
 * @return the bytes for MMemMgrCreate(); 0 for arguments that a run rejects and for frames so large
 *         that they need a block no pool can hold.
 */
TLUX_API uint64_t TLUX_GetPoolSize(int32_t width, int32_t height) TLUX_NOEXCEPT;

/** The version of this library. The record is static: neither release nor change it. */
TLUX_API const TLUX_VERSION* TLUX_GetVersion(void) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_ENGINE_H */
