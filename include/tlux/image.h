/**
 * @file image.h
 * @brief The image record, its pixel formats, and creating, filling and releasing records.
 */
#ifndef TLUX_IMAGE_H
#define TLUX_IMAGE_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup image Image records
 *
 * All samples are full-range. A format code is (family << 8) | variant. With w and h the width and
 * height of the record, w/2 and h/2 truncate toward zero (an odd size loses its last chroma column
 * or row), and align4(x) is x rounded up to a multiple of 4, the plane sizes are:
 *
 * | Formats                    | Plane 0 (pitch × rows) | Planes 1, 2 (pitch × rows each)      |
 * |----------------------------|------------------------|--------------------------------------|
 * | BGR24, BGR24_B, PACKED24_x | align4(3·w) × h        | none                                 |
 * | BGR32, BGR32_B             | 4·w × h                | none                                 |
 * | YCBYCR, CBYCRY and kin     | align4(2·w) × h        | none; 4:2:2, four bytes a pixel pair |
 * | YCBCR420_P                 | align4(w) × h          | align4(w/2) × h/2                    |
 * | YCBCR440_P                 | align4(w) × h          | align4(w) × h/2                      |
 * | YCBCR422_P                 | align4(w) × h          | align4(w/2) × h                      |
 * | YCBCR444_P                 | align4(w) × h          | align4(w) × h                        |
 * | GRAY                       | align4(w) × h          | none                                 |
 * | YCBCR420_YPUV, _YPVU       | align4(w) × h          | plane 1 only: align4(w) × h/2        |
 * | YCBCR422_YPUV              | align4(w) × h          | plane 1 only: align4(w) × h          |
 * | BAYER                      | align4(2·w) × h        | none; 16-bit samples                 |
 *
 * These are the pitches of records that the library creates; records over the caller's own memory
 * may have any pitch.
 *
 * A plane is pitch × rows bytes, including the padding after its last row. Padding is neither read
 * nor written unless a function says so.
 * @{
 */

#define TLUX_FMT_BGR24 0x301u         /**< B, G, R bytes. */
#define TLUX_FMT_BGR32 0x302u         /**< B, G, R and one unused byte. */
#define TLUX_FMT_BGR24_B 0x303u       /**< As BGR24. */
#define TLUX_FMT_BGR32_B 0x304u       /**< As BGR32. */
#define TLUX_FMT_PACKED24_1 0x401u    /**< Three bytes a pixel. */
#define TLUX_FMT_PACKED24_2 0x402u    /**< Three bytes a pixel. */
#define TLUX_FMT_PACKED24_3 0x403u    /**< Three bytes a pixel. */
#define TLUX_FMT_PACKED24_4 0x404u    /**< Three bytes a pixel. */
#define TLUX_FMT_YCBYCR 0x501u        /**< Packed 4:2:2: Y0 Cb Y1 Cr. */
#define TLUX_FMT_YCBYCR_2 0x502u      /**< Packed 4:2:2, luma on the even bytes. */
#define TLUX_FMT_CBYCRY 0x503u        /**< Packed 4:2:2: Cb Y0 Cr Y1. */
#define TLUX_FMT_YCBYCR_4 0x504u      /**< Packed 4:2:2, luma on the odd bytes. */
#define TLUX_FMT_YCBYCR_5 0x505u      /**< Packed 4:2:2; only its size is known to the library. */
#define TLUX_FMT_YCBYCR_6 0x506u      /**< As YCBYCR_5. */
#define TLUX_FMT_YCBYCR_7 0x507u      /**< As YCBYCR_5. */
#define TLUX_FMT_YCBYCR_8 0x508u      /**< As YCBYCR_5. */
#define TLUX_FMT_YCBCR420_P 0x601u    /**< Planes Y, Cb, Cr; chroma halved both ways. */
#define TLUX_FMT_YCBCR440_P 0x602u    /**< Planes Y, Cb, Cr; chroma of half the rows. */
#define TLUX_FMT_YCBCR422_P 0x603u    /**< Planes Y, Cb, Cr; chroma of half the columns. */
#define TLUX_FMT_YCBCR444_P 0x604u    /**< Planes Y, Cb, Cr of equal size. */
#define TLUX_FMT_YCBCR420_P_B 0x605u  /**< As YCBCR420_P. */
#define TLUX_FMT_YCBCR440_P_B 0x606u  /**< As YCBCR440_P. */
#define TLUX_FMT_YCBCR422_P_B 0x607u  /**< As YCBCR422_P. */
#define TLUX_FMT_YCBCR444_P_B 0x608u  /**< As YCBCR444_P. */
#define TLUX_FMT_GRAY 0x701u          /**< One 8-bit plane. */
#define TLUX_FMT_YCBCR420_YPUV 0x801u /**< NV12: luma plane, then interleaved Cb Cr. */
#define TLUX_FMT_YCBCR420_YPVU 0x802u /**< NV21: luma plane, then interleaved Cr Cb. */
#define TLUX_FMT_YCBCR422_YPUV 0x803u /**< NV16: as NV12 with chroma of every row. */
#define TLUX_FMT_BAYER 0xA01u         /**< Raw mosaic, one 16-bit sample a pixel. */

/**
 * Describes one image: format code, size, and up to four planes. The record does not say who owns
 * the pixels: one created by TLUX_CreateImage_IMK() owns a single block that starts at plane[0] and
 * contains all planes back to back; one filled by TLUX_SetImage_IMK() points into the caller's
 * memory.
 */
typedef struct TLUX_IMAGE {
  uint32_t format;   /**< One of TLUX_FMT_*. */
  int32_t width;     /**< Pixels. */
  int32_t height;    /**< Rows. */
  uint8_t* plane[4]; /**< First byte of each plane; null where the format has fewer. */
  int32_t pitch[4];  /**< Bytes from one row of the plane to the next. */
} TLUX_IMAGE;

/** A rectangle in luma pixels; right and bottom are exclusive (the resampler's is inclusive). */
typedef struct TLUX_RECT {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} TLUX_RECT;

/**
 * Creates an image with the geometry of the table above. The pixels are not cleared.
 *
 * @param out receives the record, or null on failure; release it with TLUX_FreeImage_IMK().
 * @param width,height size in pixels; with a size of 0 the result depends on how the allocator
 *        handles 0 bytes.
 * @param format one of TLUX_FMT_*.
 * @param manager pool, or null for the heap.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null @p out; ::TLUX_ERR_NO_MEMORY if the memory
 *         cannot be allocated, and for negative sizes and blocks beyond 32 bits;
 *         ::TLUX_ERR_UNSUPPORTED for an unknown format. Intended: the record stays allocated from
 *         @p manager in the last case.
 */
TLUX_API uint32_t TLUX_CreateImage_IMK(TLUX_IMAGE** out, int32_t width, int32_t height,
                                       uint32_t format, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Fills a record that describes the caller's memory.
 *
 * @param image record to fill.
 * @param planes,pitches one entry per plane of the format, at least one; further entries of the
 *        record are not changed. Pitches are stored as given. An unknown format, and a raw one,
 *        counts as one plane.
 * @return ::TLUX_OK, or ::TLUX_ERR_INVALID_PARAM for a null argument (nothing is written).
 */
TLUX_API uint32_t TLUX_SetImage_IMK(TLUX_IMAGE* image, int32_t width, int32_t height,
                                    uint32_t format, uint8_t* const planes[],
                                    const int32_t pitches[]) TLUX_NOEXCEPT;

/**
 * Releases the pixel block and the record, and nulls the caller's pointer. Only for records created
 * by TLUX_CreateImage_IMK() with the same @p manager. A null record does nothing.
 */
TLUX_API void TLUX_FreeImage_IMK(TLUX_IMAGE** image, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Releases the pixel block only and nulls plane[0]; the other plane pointers are left dangling.
 * A null record does nothing.
 */
TLUX_API void TLUX_FreeImageData_IMK(TLUX_IMAGE* image, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Colours of the repeating 2×2 pattern of raw frames, set by the caller before raw frames are
 * reduced; the library never writes it. Initially 0x16161616. See TLUX_ResampleImage8_BAYER() for
 * the codes.
 */
extern TLUX_API uint32_t gi32PixelArrangement;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_IMAGE_H */
