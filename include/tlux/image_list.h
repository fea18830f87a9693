/**
 * @file image_list.h
 * @brief A list of private copies of frames, traversed forward or backward.
 */
#ifndef TLUX_IMAGE_LIST_H
#define TLUX_IMAGE_LIST_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup image_list Image list
 *
 * Keeps copies of a sequence of frames in the order of insertion, each with an optional byte map
 * (one byte per pixel of the inserted frame, with a meaning defined by the caller) and two 32-bit
 * values from the caller. Everything a getter returns still belongs to the list.
 *
 * Zero the header before the first insert, pass the same ::MMemMgr to every call, and end the list
 * with TLUX_FreeImageLink_IMK(). A list is used by one thread at a time. Every function treats a
 * null list as empty, except the inserts, which reject it.
 * @{
 */

/** One frame of a list, allocated from the list's ::MMemMgr. */
typedef struct TLUX_IMAGE_NODE {
  TLUX_IMAGE* image; /**< The list's copy of the frame. */
  uint8_t* aux;      /**< The list's copy of the byte map, or null. */
  uint32_t tag1;     /**< The caller's values. */
  uint32_t tag2;
  struct TLUX_IMAGE_NODE* next; /**< The newer neighbour, or null. */
  struct TLUX_IMAGE_NODE* prev; /**< The older neighbour, or null. */
} TLUX_IMAGE_NODE;

/** Header of a list; allocated and zeroed by the caller. */
typedef struct TLUX_IMAGE_LIST {
  uint64_t count;           /**< Nodes in the list. */
  TLUX_IMAGE_NODE* first;   /**< The oldest frame, null when empty. */
  TLUX_IMAGE_NODE* current; /**< Position of the getters (the cursor), null past either end. */
  TLUX_IMAGE_NODE* last;    /**< The newest frame, null when empty. */
} TLUX_IMAGE_LIST;

/**
 * Appends a copy of a whole frame. The cursor does not move, even if the list was empty.
 *
 * @param list the list; on failure it is unchanged and nothing stays allocated.
 * @param image the frame, of a format that TLUX_CopyImage_IMK() copies.
 * @param map width × height bytes of the frame's size without padding, or null for none.
 * @param tag1,tag2 returned by the getters.
 * @param manager pool, or null for the heap.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null list or image, or an image that lacks a
 *         plane; ::TLUX_ERR_UNSUPPORTED for a format that cannot be copied; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t TLUX_InsertImageToLink_IMK(TLUX_IMAGE_LIST* list, const TLUX_IMAGE* image,
                                             const uint8_t* map, uint32_t tag1, uint32_t tag2,
                                             MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Appends a copy of a rectangle of a frame. Intended: the byte map is still that of the whole
 * frame, width × height bytes, and an insert into an empty list sets the cursor to the new frame,
 * which the plain insert does not.
 *
 * @param rect the part to copy, as for TLUX_CopyImageROI_IMK(); not null.
 * @return as TLUX_InsertImageToLink_IMK(), and ::TLUX_ERR_INVALID_PARAM for a null or bad
 *         rectangle.
 */
TLUX_API uint32_t TLUX_InsertImageToLinkROI_IMK(TLUX_IMAGE_LIST* list, const TLUX_IMAGE* image,
                                                const uint8_t* map, const TLUX_RECT* rect,
                                                uint32_t tag1, uint32_t tag2,
                                                MMemMgr manager) TLUX_NOEXCEPT;

/** Sets the cursor to the oldest frame. */
TLUX_API void SetCurrentImageToFirstOne_IMK(TLUX_IMAGE_LIST* list) TLUX_NOEXCEPT;

/** Sets the cursor to the newest frame. */
TLUX_API void SetCurrentImageToLastOne_IMK(TLUX_IMAGE_LIST* list) TLUX_NOEXCEPT;

/**
 * Returns the frame under the cursor and moves on to the newer one. Out arguments may be null and
 * are untouched past the end.
 *
 * @param image receives the frame.
 * @param map Intended: never written; traverse backward for the byte maps.
 * @param tags receives tag1 and tag2.
 * @return 1, or 0 if the cursor was past the end.
 */
TLUX_API int32_t GetCurrentImage_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** map,
                                     uint32_t tags[2]) TLUX_NOEXCEPT;

/**
 * As GetCurrentImage_IMK(), but moves on to the older frame and also returns the byte map.
 *
 * @param map receives the byte map, null if the frame has none.
 */
TLUX_API int32_t GetCurrentImageINV_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** map,
                                        uint32_t tags[2]) TLUX_NOEXCEPT;

/**
 * Releases the oldest frame, if there is one; the cursor moves to the next one.
 * @return always ::TLUX_OK.
 */
TLUX_API uint32_t RemoveFirstImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Releases the newest frame, if there is one. Intended: the cursor stays where it is unless the
 * list is now empty; set it again before the next getter, since it may have been on that frame.
 * @return always ::TLUX_OK.
 */
TLUX_API uint32_t RemoveLastImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Releases all frames. Intended: the cursor keeps its value; set it again before the list is
 * reused.
 */
TLUX_API void TLUX_FreeImageLink_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_IMAGE_LIST_H */
