/**
 * @file platform.h
 * @brief Memory pools in a caller-owned buffer, memory primitives, threads and events.
 */
#ifndef TLUX_PLATFORM_H
#define TLUX_PLATFORM_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup memory Memory manager
 *
 * A pool is one caller-owned buffer from which the library takes its working memory, so a whole
 * engine can live in a block sized in advance. It is a chain of blocks, each a 16-byte header
 * (64-bit payload size, 64-bit used flag) and its payload, and ends with a header whose size is all
 * ones. Payloads are multiples of 8 bytes and 8-byte aligned. Allocation is first fit; neighbouring
 * free blocks are merged at once. Every operation walks the chain, which stays short because the
 * library allocates whole planes. A pool has no lock: use it from one thread at a time.
 * @{
 */

/**
 * Initialises a buffer as a pool of one free block.
 *
 * Calling it again on the same buffer resets the pool.
 * @param buffer start of the memory; rounded up to a multiple of 8.
 * @param size bytes available from @p buffer; at least 40 after rounding for the smallest pool.
 * @return the handle, or null when @p buffer is null or too small.
 */
TLUX_API MMemMgr MMemMgrCreate(void* buffer, uint64_t size) TLUX_NOEXCEPT;

/** Does nothing: the buffer belongs to the caller, who may reuse or release it. */
TLUX_API void MMemMgrDestroy(MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Allocates from the pool, or with `malloc` when @p manager is null.
 * @param size bytes; a pool uses only the low 32 bits.
 * @return the block, or null when it cannot be allocated.
 */
TLUX_API void* MMemAlloc(MMemMgr manager, uint64_t size) TLUX_NOEXCEPT;

/** Releases a block of MMemAlloc() with the same handle. Null is ignored. */
TLUX_API void MMemFree(MMemMgr manager, void* block) TLUX_NOEXCEPT;

/** Resizes a block: MMemReallocStatic() in a pool, `realloc` when @p manager is null. */
TLUX_API void* MMemRealloc(MMemMgr manager, void* block, uint64_t size) TLUX_NOEXCEPT;

/**
 * Allocates from a pool: the first free block that is large enough.
 *
 * The block is split if at least 32 bytes would be left after the new header; a smaller remainder
 * stays part of the block. Sizes are rounded up to a multiple of 8 in 32-bit arithmetic.
 * @return the block, or null for a null handle, a size of 0 or an exhausted pool.
 */
TLUX_API void* MMemAllocStatic(MMemMgr manager, uint32_t size) TLUX_NOEXCEPT;

/**
 * Releases a block of a pool and merges it with free neighbours.
 * A null handle, a null pointer or a pointer that is not a live block of this pool is ignored.
 */
TLUX_API void MMemFreeStatic(MMemMgr manager, void* block) TLUX_NOEXCEPT;

/**
 * Resizes a block of a pool, in place where it can.
 *
 * Shrinking splits the block if more than 32 bytes would be left after the new header (allocation
 * splits from 32 on; the two thresholds differ on purpose). Growing absorbs the next block if it is
 * free and the sum of both payloads is enough; otherwise the contents move to a new block.
 * @return the block, or null when the handle is null, @p size is 0, @p block is not a live block of
 *         this pool, or no block is large enough; @p block then stays allocated and unchanged. A
 *         null @p block allocates.
 */
TLUX_API void* MMemReallocStatic(MMemMgr manager, void* block, uint32_t size) TLUX_NOEXCEPT;

/**
 * Returns the bytes of the largest free block of a pool, all of which one allocation can use; 0 if
 * none is free. Intended: for a null handle it returns 2, the code of an invalid parameter.
 */
TLUX_API int64_t GetMaxAllocMemSize(MMemMgr manager) TLUX_NOEXCEPT;

/** `memset`; returns @p destination. */
TLUX_API void* MMemSet(void* destination, uint8_t value, uint64_t size) TLUX_NOEXCEPT;
/** `memcpy`, the regions must not overlap; returns @p destination. */
TLUX_API void* MMemCpy(void* destination, const void* source, uint64_t size) TLUX_NOEXCEPT;
/** `memmove`, the regions may overlap; returns @p destination. */
TLUX_API void* MMemMove(void* destination, const void* source, uint64_t size) TLUX_NOEXCEPT;
/** `memcmp`. */
TLUX_API int32_t MMemCmp(const void* a, const void* b, uint64_t size) TLUX_NOEXCEPT;

/** @} */

/**
 * @defgroup threads Threads and events
 *
 * A thin layer over POSIX threads. An event hands work from one producer to one consumer: it resets
 * itself, and a signal that arrives while no thread waits is remembered; two signals before one
 * wait count as one. Events come from the C heap.
 * @{
 */

/** An auto-resetting event. */
typedef struct TLUX_MEvent TLUX_MEvent;

/** Handle of a thread; 0 means no thread. */
typedef uint64_t TLUX_MThread;

/** @return a new event, not signalled, or null if the heap is out of memory. */
TLUX_API TLUX_MEvent* TLUX_MEventCreate(void) TLUX_NOEXCEPT;

/**
 * Destroys an event that is no longer in use.
 * @param manager accepted and ignored.
 * @return 0, or -2 for a null event.
 */
TLUX_API int32_t TLUX_MEventDestroy(MMemMgr manager, TLUX_MEvent* event) TLUX_NOEXCEPT;

/**
 * Waits for an event and resets it.
 * @param timeout -1 waits until the event is signalled. Intended: any other value does not wait at
 *        all; the event is reset and 0 returned whether or not it was signalled.
 * @return 0; -1 when the thread library reports an error; -2 for a null event.
 */
TLUX_API int32_t TLUX_MEventWait(TLUX_MEvent* event, int32_t timeout) TLUX_NOEXCEPT;

/** Signals an event and wakes one waiter. @return 0; -1 on an error; -2 for a null event. */
TLUX_API int32_t TLUX_MEventSignal(TLUX_MEvent* event) TLUX_NOEXCEPT;

/**
 * Starts a thread that runs `routine(argument)`.
 * @return its handle, to be joined exactly once; 0 when @p routine is null or the start failed.
 */
TLUX_API TLUX_MThread TLUX_MThreadCreate(void* (*routine)(void*), void* argument) TLUX_NOEXCEPT;

/** Joins a thread (it does not end the calling one); handle 0 does nothing. @return 0. */
TLUX_API int32_t TLUX_MThreadExit(TLUX_MThread thread) TLUX_NOEXCEPT;

/** Does nothing, since joining has released the thread already. @return 0. */
TLUX_API int32_t TLUX_MThreadDestory(TLUX_MThread thread) TLUX_NOEXCEPT;

/** Joins a thread; the timeout is ignored. Handle 0 does nothing. @return 0. */
TLUX_API int32_t MWaitForSingleThread(TLUX_MThread thread, uint32_t timeout) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_PLATFORM_H */
