/**
 * @file base.h
 * @brief Linkage, result codes and the conventions that hold for the whole interface.
 *
 * Conventions:
 * - Every operation is a plain C function that never throws; it is called synchronously, and worker
 *   threads live only inside a call, but for those of a stream.
 * - Functions that can fail return one of the result codes below; the others return nothing or a
 *   computed value. Bad arguments never crash where this interface names a code for them.
 * - Memory the caller describes (pointer, pitch, size) is the caller's; memory the library needs
 *   comes from the ::MMemMgr handle it is given. Whoever allocates with a handle releases with the
 *   same one.
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
/** A pixel format that the function does not handle. */
#define TLUX_ERR_UNSUPPORTED 3u
/** A failed allocation (also: TLUX_Uninit of a null engine). */
#define TLUX_ERR_NO_MEMORY 4u
/** A worker thread could not be started. */
#define TLUX_ERR_THREAD 8193u

/**
 * Handle of a memory pool made by MMemMgrCreate(). Null stands for the C heap.
 * A pool is not thread-safe: use it from one thread at a time.
 */
typedef void* MMemMgr;

#endif /* TLUX_BASE_H */
