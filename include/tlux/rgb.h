/**
 * @file rgb.h
 * @brief Conversion between packed RGB pictures and NV21 or NV12 frames.
 */
#ifndef TLUX_RGB_H
#define TLUX_RGB_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup rgb RGB pictures
 *
 * ITU-R BT.601, full range, as in JFIF: Y = 0.299 R + 0.587 G + 0.114 B, Cb = (B − Y) / 1.772 +
 * 128, Cr = (R − Y) / 1.402 + 128, each rounded once. The chroma of a frame is the mean of 2 × 2
 * pixels, located between them; the reverse conversion interpolates it with weights 9, 3, 3, 1 of
 * 16. Gray pixels come back unchanged.
 *
 * A frame has even sides: a picture of odd width or height corresponds to a frame that is one
 * larger, whose last column or row repeats the picture's.
 * @{
 */

#define TLUX_RGB 0u  /**< Three bytes a pixel: red, green, blue. */
#define TLUX_RGBA 1u /**< As RGB, and a fourth byte: alpha or anything else. */
#define TLUX_BGR 2u  /**< Three bytes a pixel: blue, green, red. */
#define TLUX_BGRA 3u /**< As BGR, and a fourth byte. */

/** A packed picture of 8-bit samples in the caller's memory. */
typedef struct TLUX_PICTURE {
  uint8_t* pixels; /**< First byte of the first row. */
  int64_t pitch;   /**< Bytes from one row to the next, at least a row; may be negative. */
  int32_t width;   /**< Pixels of a row, at least 1. */
  int32_t height;  /**< Rows, at least 1. */
  uint32_t layout; /**< ::TLUX_RGB, ::TLUX_RGBA, ::TLUX_BGR or ::TLUX_BGRA. */
  uint32_t reserved;
} TLUX_PICTURE;

/**
 * Fills a frame from a picture. Alpha is ignored, padding is not touched.
 * @param frame NV21 or NV12, the picture's size rounded up to even; not overlapping the picture.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM: nothing is written.
 */
TLUX_API uint32_t TLUX_PictureToFrame(const TLUX_PICTURE* picture,
                                      const TLUX_IMAGE* frame) TLUX_NOEXCEPT;

/**
 * Fills a picture from a frame. Its fourth bytes and its padding are not touched.
 * @param frame NV21 or NV12, the picture's size rounded up to even; not overlapping the picture.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM: nothing is written.
 */
TLUX_API uint32_t TLUX_FrameToPicture(const TLUX_IMAGE* frame,
                                      const TLUX_PICTURE* picture) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_RGB_H */
