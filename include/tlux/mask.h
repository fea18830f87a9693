/**
 * @file mask.h
 * @brief Erosion and dilation of binary masks by a city-block radius.
 */
#ifndef TLUX_MASK_H
#define TLUX_MASK_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup mask Binary masks
 *
 * A mask is a plane of bytes in which any value but 0 means "set". Both operations work in place,
 * inside a rectangle, on the city-block distance |dx| + |dy|, in steps between 4-neighbours; a
 * radius r thus means a diamond of 2·r·(r + 1) + 1 pixels. The cost grows only with the logarithm
 * of the radius, and no memory is allocated. The distances are those of the two-pass transform of
 * A. Rosenfeld and J. Pfaltz, "Distance functions on digital pictures", 1968.
 *
 * After a call every byte of the rectangle is 0 or 255; bytes outside it are untouched.
 *
 * Intended: the two operations are not symmetric at the border of the rectangle. Erosion counts
 * everything beyond it as clear, so a region that touches the border shrinks from there too;
 * dilation ignores everything beyond it, so nothing grows in.
 * @{
 */

/** A rectangle of mask pixels; right and bottom are exclusive. */
typedef struct TLUX_MASK_RECT {
  uint32_t left;
  uint32_t top;
  uint32_t right;
  uint32_t bottom;
} TLUX_MASK_RECT;

/**
 * Clears every set pixel of the rectangle that has a clear pixel, or the outside of the rectangle,
 * within @p radius steps. The rim of the rectangle is one step from the outside and always cleared.
 *
 * @param mask row 0 of the mask; null does nothing.
 * @param pitch bytes from one row to the next; negative for a mask stored bottom row first. Rows
 *        must not overlap.
 * @param width,height pixels; read only when @p rect is null.
 * @param radius 1 to 253; any other value does nothing.
 * @param rect part of the mask to work on, or null for all of it. It must lie within the memory of
 *        the mask: it is not clipped. An empty or inverted one does nothing.
 * @return number of pixels that were cleared; 0 if nothing was done.
 */
TLUX_API uint32_t TLUX_ErodeEx(uint8_t* mask, int32_t pitch, uint32_t width, uint32_t height,
                               int32_t radius, const TLUX_MASK_RECT* rect) TLUX_NOEXCEPT;

/**
 * Sets every clear pixel of the rectangle that has a set pixel of the rectangle within @p radius
 * steps. Parameters as for TLUX_ErodeEx(), but the pitch cannot be negative.
 * @return number of pixels that were set; 0 if nothing was done.
 */
TLUX_API uint32_t TLUX_DilateEx(uint8_t* mask, uint32_t pitch, uint32_t width, uint32_t height,
                                int32_t radius, const TLUX_MASK_RECT* rect) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_MASK_H */
