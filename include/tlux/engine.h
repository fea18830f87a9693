/**
 * @file engine.h
 * @brief The engine that optimizes the dynamic range of frames: lifecycle and version.
 */
#ifndef TLUX_ENGINE_H
#define TLUX_ENGINE_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup engine Engine
 *
 * One engine serves one stream of frames: create it once, run it on every frame, destroy it. The
 * same
 * ::MMemMgr handle goes to all three. An engine is used by one thread at a time.
 * @{
 */

/**
 * What an engine carries from one stage of a run to the next. Made by TLUX_Init(); callers may read
 * it. Reserved space stays zero.
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
  uint64_t reserved2[4];
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
 * Destroys an engine and everything its runs left in it. The caller's pointer is left as it was.
 * @param manager the handle the engine was made with.
 * @return ::TLUX_OK. Intended: a null engine answers ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t TLUX_Uninit(MMemMgr manager, TLUX_ENGINE* engine) TLUX_NOEXCEPT;

/** The version of this library. The record is static: neither release nor change it. */
TLUX_API const TLUX_VERSION* TLUX_GetVersion(void) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_ENGINE_H */
