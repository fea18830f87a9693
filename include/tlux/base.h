/**
 * @file base.h
 * @brief Linkage, result codes and the conventions that hold for the whole interface.
 *
 * Conventions:
 * - Every operation is a plain C function that never throws; calls are synchronous, and worker
 *   threads live only inside a call, except those of a stream.
 * - Functions that can fail return one of the result codes below; the others return nothing or a
 *   computed value. Bad arguments never crash if this interface documents a code for them.
 * - Memory the caller describes (pointer, pitch, size) belongs to the caller; memory the library
 *   needs comes from the ::MMemMgr handle it is given. Release memory with the same handle it was
 *   allocated with.
 * - A function may be called from several threads at once on disjoint data unless it says
 *   otherwise.
 */
#ifndef TLUX_BASE_H
#define TLUX_BASE_H

#include <stdint.h>

#if defined(__GNUC__)
#define TLUX_API __attribute__((visibility("default")))
#else
#define TLUX_API
#endif

#ifdef __cplusplus
#define TLUX_BEGIN_DECLS extern "C" {
#define TLUX_END_DECLS }
#define TLUX_NOEXCEPT noexcept
#else
#define TLUX_BEGIN_DECLS
#define TLUX_END_DECLS
#define TLUX_NOEXCEPT
#endif

/** Success. */
#define TLUX_OK 0u
/** An argument was rejected; nothing was written. */
#define TLUX_ERR_INVALID_PARAM 2u
/** The function does not support this pixel format. */
#define TLUX_ERR_UNSUPPORTED 3u
/** An allocation failed (also: TLUX_Uninit of a null engine). */
#define TLUX_ERR_NO_MEMORY 4u
/** A worker thread could not be started. */
#define TLUX_ERR_THREAD 8193u

/**
 * Handle of a memory pool made by MMemMgrCreate(). Null means the C heap.
 * A pool is not thread-safe: use it from one thread at a time.
 */
typedef void* MMemMgr;

#endif /* TLUX_BASE_H */
