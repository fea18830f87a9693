/**
 * @file tone_stage.h
 * @brief The tone-mapping stage of a run, for hosts that prepare the reference frame themselves.
 */
#ifndef TLUX_TONE_STAGE_H
#define TLUX_TONE_STAGE_H

#include "base.h"
#include "engine.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup tone_stage Tone-mapping stage
 * @{
 */

/**
 * Tone-maps a frame by the reference frame in the engine: the part of
 * TLUX_RunDynamicRangeOptimizationImage() between the copy and the mark, which it does not draw.
 *
 * Each luma sample Y of the reference frame gets a gain g (Q10) from the score of its pixel and the
 * gain table of the strength. With D and G the transfer tables, it becomes G[g·D[Y]] where g lifts
 * it, and 255 − G[D[255 − Y] / g] where g is below 1. The fast guided filter (radius 16,
 * regularisation 20) carries that over to the output's luma, and the chroma rule to its chroma.
 *
 * @param manager the handle the engine was made with.
 * @param engine with the reference frame (three full planes) in images[0], its size in refWidth and
 *        refHeight, and the transfer tables. Receives the score map and the gain table; existing
 *        ones are reused if size and strength allow.
 * @param source NV21 or NV12, at least eight times the reference frame in both directions.
 * @param output already contains a copy of @p source, not in the same memory. Padding is read and
 *        written as in TLUX_RunDynamicRangeOptimizationImage().
 * @param reserved not used; pass 0.
 * @param strength as in TLUX_RunDynamicRangeOptimizationImage().
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for null or unsuitable arguments (nothing is
 *         written); ::TLUX_ERR_NO_MEMORY; ::TLUX_ERR_THREAD. Intended: without memory for new
 *         scores, those of an earlier frame of this size are used if the engine has them. After a
 *         failure of the filter no luma is mapped, and the chroma rule has still run.
 */
TLUX_API uint32_t TLUX_Tonemapping(MMemMgr manager, TLUX_ENGINE* engine, const TLUX_IMAGE* source,
                                   TLUX_IMAGE* output, uint64_t reserved,
                                   const uint32_t* strength) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_TONE_STAGE_H */
