/**
 * @file image_list.h
 * @brief A list of private copies of frames, walked forward or backward.
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
 * (one byte per pixel of the inserted frame; what it means is the caller's business) and two 32-bit
 * values of the caller's. Everything a getter hands out stays the list's.
 *
 * Zero the header before the first insert, pass the same ::MMemMgr to every call, and end the list
 * with TLUX_FreeImageLink_IMK(). A list is used by one thread at a time. A null list is an empty
 * one to every function but the inserts, which refuse it.
 * @{
 */

/** One frame of a list, allocated from the list's ::MMemMgr. */
typedef struct TLUX_IMAGE_NODE {
  TLUX_IMAGE* image; /**< The list's copy of the frame. */
  uint8_t* aux;      /**< The list's copy of the byte map, or null. */
  uint32_t tag1;     /**< Values of the caller's. */
  uint32_t tag2;
  struct TLUX_IMAGE_NODE* next; /**< The newer neighbour, or null. */
  struct TLUX_IMAGE_NODE* prev; /**< The older neighbour, or null. */
} TLUX_IMAGE_NODE;

/** Header of a list; allocated and zeroed by the caller. */
typedef struct TLUX_IMAGE_LIST {
  uint64_t count;           /**< Nodes in the list. */
  TLUX_IMAGE_NODE* first;   /**< The oldest frame, null when empty. */
  TLUX_IMAGE_NODE* current; /**< Where the getters stand, null past either end. */
  TLUX_IMAGE_NODE* last;    /**< The newest frame, null when empty. */
} TLUX_IMAGE_LIST;

/**
 * Appends a copy of a whole frame. The cursor stays, also when the list was empty.
 *
 * @param list the list; unchanged on failure, when nothing stays allocated either.
 * @param image the frame, of a format that TLUX_CopyImage_IMK() copies.
 * @param map width × height bytes of the frame's size without padding, or null for none.
 * @param tag1,tag2 handed back by the getters.
 * @param manager pool, or null for the heap.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null list or image, or an image that lacks a
 *         plane; ::TLUX_ERR_UNSUPPORTED for a format that cannot be copied; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t TLUX_InsertImageToLink_IMK(TLUX_IMAGE_LIST* list, const TLUX_IMAGE* image,
                                             const uint8_t* map, uint32_t tag1, uint32_t tag2,
                                             MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Appends a copy of a rectangle of a frame. Intended: the byte map is still that of the whole
 * frame, width × height bytes of it, and an insert into an empty list sets the cursor to the new
 * frame, which the plain insert does not.
 *
 * @param rect the part to copy, as for TLUX_CopyImageROI_IMK(); not null.
 * @return as TLUX_InsertImageToLink_IMK(), also ::TLUX_ERR_INVALID_PARAM for a null or bad
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
 * Hands out the frame under the cursor and moves on to the newer one. Out arguments may be null and
 * stay untouched at the end.
 *
 * @param image receives the frame.
 * @param map Intended: never written; walk backward for the byte maps.
 * @param tags receives tag1 and tag2.
 * @return 1, or 0 when the cursor was past the end.
 */
TLUX_API int32_t GetCurrentImage_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** map,
                                     uint32_t tags[2]) TLUX_NOEXCEPT;

/**
 * As GetCurrentImage_IMK(), but moves on to the older frame and also hands out the byte map.
 *
 * @param map receives the byte map, null when the frame has none.
 */
TLUX_API int32_t GetCurrentImageINV_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** map,
                                        uint32_t tags[2]) TLUX_NOEXCEPT;

/**
 * Releases the oldest frame, if there is one; the cursor goes to the one behind it.
 * @return always ::TLUX_OK.
 */
TLUX_API uint32_t RemoveFirstImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Releases the newest frame, if there is one. Intended: the cursor stays where it is unless the
 * list is now empty; set it anew before the next getter, since it may have been on that frame.
 * @return always ::TLUX_OK.
 */
TLUX_API uint32_t RemoveLastImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Releases all frames. Intended: the cursor keeps its value; set it anew before the list is used
 * again.
 */
TLUX_API void TLUX_FreeImageLink_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_IMAGE_LIST_H */
