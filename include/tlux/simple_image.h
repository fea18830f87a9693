/**
 * @file simple_image.h
 * @brief The simple image record of the filters and the per-pixel tools around it.
 */
#ifndef TLUX_SIMPLE_IMAGE_H
#define TLUX_SIMPLE_IMAGE_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup simple_image Simple images
 *
 * One plane of interleaved samples with a table of row pointers. The tools access pixels only
 * through that table, so an image over external memory may have any stride.
 *
 * The tools process the width and height of their first image; if it is empty, they do nothing. The
 * other images may be larger. The tools also do nothing if a record or row table is null, or if an
 * image has fewer rows, or shorter rows (width × channels × depth bits), than they would access.
 * The single-channel tools take one byte per pixel, whatever the number of channels. Unless a tool
 * says otherwise, it may work in place: an output image may be one of the inputs.
 * @{
 */

/** A simple image. */
typedef struct img {
  int32_t width;    /**< Pixels per row. */
  int32_t height;   /**< Rows. */
  int32_t stride;   /**< Bytes from one row to the next. */
  int32_t size;     /**< height × stride, bytes of the pixel block. */
  int32_t channels; /**< Interleaved samples per pixel. */
  int32_t depth;    /**< Bits per sample: 8 for bytes, 32 for integers. */
  uint8_t* data;    /**< The pixel block; owned, or borrowed by a pseudo image. */
  uint8_t** rows;   /**< height row pointers: rows[y] = data + y × stride. */
} img;

/**
 * Creates an image of zeros. Rows are rounded up to a multiple of 4 bytes.
 *
 * @param manager pool, or null for the heap.
 * @param depth bits per sample.
 * @return the image, to be released with release_img(); null if the record, the pixel block or the
 *         row table cannot be allocated, or if the sizes are negative or do not fit the record.
 *         Intended: if only one of pixel block and row table cannot be allocated, the other one
 *         stays allocated.
 */
TLUX_API img* createimg(MMemMgr manager, int32_t width, int32_t height, int32_t depth,
                        int32_t channels) TLUX_NOEXCEPT;

/**
 * Creates a record over the caller's memory, which must outlive it.
 *
 * @param data first byte of the first row.
 * @param stride bytes from one row to the next; negative for rows that are stored bottom up.
 * @return the image, to be released with release_img_pesudo(); null for null @p data, if memory
 *         runs out, if the height is negative or if the size does not fit the record; nothing stays
 *         allocated then.
 */
TLUX_API img* createimg_pesudo(MMemMgr manager, void* data, int32_t width, int32_t height,
                               int32_t depth, int32_t channels, int32_t stride) TLUX_NOEXCEPT;

/**
 * Creates a copy of an image: the same fields, and a copy of size bytes of pixels.
 *
 * @return the image, to be released with release_img(); null for a null image, a negative stride,
 *         or if memory runs out; nothing stays allocated then.
 */
TLUX_API img* cloneimg(MMemMgr manager, const img* image) TLUX_NOEXCEPT;

/** Releases an image of createimg() or cloneimg() and nulls the caller's pointer. */
TLUX_API void release_img(MMemMgr manager, img** image) TLUX_NOEXCEPT;

/** Releases a record of createimg_pesudo() and nulls the caller's pointer, but keeps the pixels. */
TLUX_API void release_img_pesudo(MMemMgr manager, img** image) TLUX_NOEXCEPT;

/** Zeroes size bytes of the pixel block. */
TLUX_API void clear_img(img* image) TLUX_NOEXCEPT;

/**
 * Weighted gray of B, G, R: (11·B + 59·G + 30·R) / 100, truncated.
 * @param source 8-bit, at least 3 channels, of which the first three are read.
 * @param target 8-bit, one byte per pixel.
 */
TLUX_API void to_gray(const img* source, img* target) TLUX_NOEXCEPT;

/** The largest of the first three channels. Images as for to_gray(). */
TLUX_API void to_maxgray(const img* source, img* target) TLUX_NOEXCEPT;

/**
 * Bilinear resize of 8-bit images to the size of the target. Positions are in Q8 and aligned to the
 * top left corner: output sample i is at input position i·floor(256·input / output) / 256; the last
 * row and column are repeated past the end. Results are truncated.
 *
 * @param source image to read; its channels are interpolated one by one.
 * @param target as many channels. Must not overlap the source.
 */
TLUX_API void resize_a(const img* source, img* target) TLUX_NOEXCEPT;

/** The same as resize_a(). */
TLUX_API void resize_bgr(const img* source, img* target) TLUX_NOEXCEPT;

/**
 * Resizes an 8-bit one-channel image with asfImageResize_BL_C1(), which gets data, width, height
 * and stride of both images (not their row tables).
 * @param manager not used.
 * @return the result of asfImageResize_BL_C1(); ::TLUX_ERR_INVALID_PARAM for a null image.
 */
TLUX_API uint32_t resize_C1(MMemMgr manager, const img* source, img* target) TLUX_NOEXCEPT;

/** Does nothing. @return 0. */
TLUX_API uint32_t resize_Cubic1(void) TLUX_NOEXCEPT;

/** out = |a − b|, 8-bit, one channel. */
TLUX_API void img_subnorm(const img* a, const img* b, img* out) TLUX_NOEXCEPT;

/** out = max(|a − b|, |a − c|), 8-bit, one channel. */
TLUX_API void img_subnorm3(const img* a, const img* b, const img* c, img* out) TLUX_NOEXCEPT;

/** out = max(|a − b|, |a − c|, |a − d|, |a − e|), 8-bit, one channel. */
TLUX_API void img_subnorm2(const img* a, const img* b, const img* c, const img* d, const img* e,
                           img* out) TLUX_NOEXCEPT;

/**
 * Stores the low byte of each 32-bit sample; nothing is clamped.
 * @param image one channel of 32-bit samples.
 * @param bytes width × height bytes, rows end to end.
 */
TLUX_API void int2byte(const img* image, uint8_t* bytes) TLUX_NOEXCEPT;

/**
 * Widens bytes to 32-bit samples.
 * @param bytes width × height bytes, rows end to end; must not overlap the image.
 * @param unused not read.
 * @param image one channel of 32-bit samples.
 */
TLUX_API void byte2int(const uint8_t* bytes, int32_t unused, img* image) TLUX_NOEXCEPT;

/**
 * Converts B, G, R to CIE L*a*b* in three bytes. With X, Y and Z the weighted sums of the coded
 * values (not linearised), relative to the white point, and f the companding curve (cube root
 * above 0.008856, 7.787·t + 16/116 below): L = (116·f(Y) − 16)·255 / 100, a = 500·(f(X) − f(Y))
 * and b = 200·(f(Y) − f(Z)), the latter two stored with 128 added, as their low byte.
 *
 * @param source 8-bit, at least 3 channels, of which the first three are read.
 * @param target 8-bit, 3 channels.
 */
TLUX_API void img_lab(const img* source, img* target) TLUX_NOEXCEPT;

/** Union of two masks: 255 where a or b is not 0, else 0. 8-bit, one channel. */
TLUX_API void img_or(const img* a, const img* b, img* out) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_SIMPLE_IMAGE_H */
