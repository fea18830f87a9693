/**
 * @file region.h
 * @brief Connected regions of binary masks: labels, statistics, clean-up, boundaries, comparison.
 */
#ifndef TLUX_REGION_H
#define TLUX_REGION_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup region Regions of masks
 *
 * A mask is a plane of bytes in which any value but 0 means "set". A region is a maximal set of
 * connected set pixels: through the four neighbours that share an edge (4-connected), or also
 * through those that share a corner (8-connected). The clear pixels around 8-connected regions
 * count as 4-connected and vice versa; otherwise a closed line would have no inside (A. Rosenfeld,
 * "Connectivity in digital pictures", 1970).
 *
 * Regions are found by the run-based two-scan labelling of L. He, Y. Chao and K. Suzuki (2008) with
 * the union-find of K. Wu, E. Otoo and K. Suzuki (2009). The cost depends on the number of pixels
 * and runs (adjacent pixels in one row), not on the shape of the regions.
 *
 * For all functions:
 * - Pitches are bytes from one row to the next, at least a row in size; negative for planes stored
 *   bottom row first. To process part of a mask, pass the address of its first pixel and its size
 *   with the pitch of the whole: everything around it then counts as beyond the mask, and is
 *   neither read nor written.
 * - Width and height are at least 1 and their product is at most 2³¹ − 1.
 * - The planes of one call must not overlap.
 * - `manager` is the pool for working memory, null for the heap. The memory is released before the
 *   return: a bit for each pixel, 12 bytes for each run, 4 bytes for each row and at most 4 for
 *   each region. A fresh pool of height · (9 · width + 24) + 256 bytes suffices for any mask.
 * - `connectivity` is 4 or 8.
 * - They return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null pointer that is not documented as
 *   allowed, and for a size, pitch or connectivity that is not as described here;
 *   ::TLUX_ERR_NO_MEMORY if the working memory cannot be allocated. On an error nothing is written.
 * @{
 */

/**
 * Labels the 4-connected regions of a mask.
 *
 * Regions are numbered from 1 without a gap, in the order of their first pixels, row by row from
 * row 0 down. Clear pixels get 0.
 *
 * @param manager pool, or null for the heap.
 * @param mask,pitch row 0 of the mask.
 * @param width,height size of both planes in pixels.
 * @param labels,labelPitch row 0 of the label plane, 32 bits for each pixel, address and pitch
 *        multiples of 4. All pixels are written; the padding of the rows is not.
 * @param count receives the number of regions.
 * @return a result code as above.
 */
TLUX_API uint32_t TRegionLabel_RegionLabel4(MMemMgr manager, const uint8_t* mask, int32_t pitch,
                                            uint32_t width, uint32_t height, uint32_t* labels,
                                            int32_t labelPitch, uint32_t* count) TLUX_NOEXCEPT;

/** Labels the 8-connected regions of a mask; otherwise as TRegionLabel_RegionLabel4(). */
TLUX_API uint32_t TRegionLabel_RegionLabel8(MMemMgr manager, const uint8_t* mask, int32_t pitch,
                                            uint32_t width, uint32_t height, uint32_t* labels,
                                            int32_t labelPitch, uint32_t* count) TLUX_NOEXCEPT;

/** Measurements of a region. */
typedef struct TLUX_REGION {
  uint32_t label;   /**< Its number in the label plane. */
  uint32_t area;    /**< Pixels. */
  uint32_t left;    /**< First column. */
  uint32_t top;     /**< First row. */
  uint32_t right;   /**< Column after the last one. */
  uint32_t bottom;  /**< Row below the last one. */
  double centroidX; /**< Mean column of the pixels. */
  double centroidY; /**< Mean row of the pixels. */
} TLUX_REGION;

/**
 * Measures the regions of a label plane.
 *
 * A label without pixels has an area of 0, and 0 in the fields after it. The sums behind the
 * centroids are exact up to 2⁵³, which only a plane of more than four million rows or columns can
 * exceed.
 *
 * @param labels,labelPitch row 0 of the label plane as TRegionLabel_RegionLabel4() describes it;
 *        pixels that are 0 or above @p count are ignored, so a host may change the labels.
 * @param width,height size of the plane in pixels.
 * @param regions receives @p count records, label 1 first; may be null if @p count is 0.
 * @param count regions to measure; 0 does nothing.
 * @return a result code as above.
 */
TLUX_API uint32_t TLUX_TRegionLabel_Statistics(const uint32_t* labels, int32_t labelPitch,
                                               uint32_t width, uint32_t height,
                                               TLUX_REGION* regions, uint32_t count) TLUX_NOEXCEPT;

/**
 * Clears the regions with fewer pixels than a minimum, in place; the others are unchanged. Known as
 * area opening (L. Vincent, "Morphological area openings and closings", 1993).
 *
 * @param manager pool, or null for the heap.
 * @param mask,pitch row 0 of the mask.
 * @param width,height size of the mask in pixels.
 * @param connectivity of the regions, 4 or 8.
 * @param minimumArea pixels that a region needs to be kept; with 0 or 1 all are kept.
 * @param removed receives the number of pixels cleared; may be null.
 * @return a result code as above.
 */
TLUX_API uint32_t TLUX_TRegionLabel_RemoveSmall(MMemMgr manager, uint8_t* mask, int32_t pitch,
                                                uint32_t width, uint32_t height,
                                                uint32_t connectivity, uint32_t minimumArea,
                                                uint32_t* removed) TLUX_NOEXCEPT;

/**
 * Fills the holes of the regions with 255, in place; the other pixels are unchanged. A hole is a
 * connected set of clear pixels, none of which is in the first or last row or column of the mask.
 *
 * @param manager pool, or null for the heap.
 * @param mask,pitch row 0 of the mask.
 * @param width,height size of the mask in pixels.
 * @param connectivity of the regions, 4 or 8. Holes are connected the other way: those of
 *        8-connected regions are 4-connected, those of 4-connected regions 8-connected, so the
 *        latter can leak out between corners.
 * @param filled receives the number of pixels set; may be null.
 * @return a result code as above.
 */
TLUX_API uint32_t TLUX_TRegionLabel_FillHoles(MMemMgr manager, uint8_t* mask, int32_t pitch,
                                              uint32_t width, uint32_t height,
                                              uint32_t connectivity,
                                              uint32_t* filled) TLUX_NOEXCEPT;

/**
 * Marks the pixels of regions that have a clear neighbour: the contours of the regions, including
 * those of their holes. Everything beyond the mask counts as clear.
 *
 * @param mask,pitch row 0 of the mask.
 * @param width,height size of both planes in pixels.
 * @param connectivity neighbours that count: with 4 those that share an edge, which gives
 *        8-connected contours one pixel wide; with 8 also those that share a corner, which gives
 *        4-connected contours.
 * @param boundary,boundaryPitch row 0 of the plane that receives 255 for marked pixels and 0 for
 *        all others.
 * @return a result code as above; no memory is needed.
 */
TLUX_API uint32_t TLUX_TRegionLabel_Boundary(const uint8_t* mask, int32_t pitch, uint32_t width,
                                             uint32_t height, uint32_t connectivity,
                                             uint8_t* boundary,
                                             int32_t boundaryPitch) TLUX_NOEXCEPT;

/** How two masks a and b agree. */
typedef struct TLUX_MASK_AGREEMENT {
  uint32_t both;  /**< Pixels set in a and in b. */
  uint32_t onlyA; /**< Pixels set only in a. */
  uint32_t onlyB; /**< Pixels set only in b. */
  uint32_t none;  /**< Pixels set in neither. */
  double overlap; /**< both / (both + onlyA + onlyB), 0 to 1; 1 if nothing is set in either. */
} TLUX_MASK_AGREEMENT;

/**
 * Compares two masks. The overlap is the Jaccard coefficient (P. Jaccard, 1901), also called
 * intersection over union.
 *
 * @param a,pitchA row 0 of one mask.
 * @param b,pitchB row 0 of the other one; it may be the same.
 * @param width,height size of both in pixels.
 * @param agreement receives the counts.
 * @return a result code as above; no memory is needed.
 */
TLUX_API uint32_t TLUX_TRegionLabel_Compare(const uint8_t* a, int32_t pitchA, const uint8_t* b,
                                            int32_t pitchB, uint32_t width, uint32_t height,
                                            TLUX_MASK_AGREEMENT* agreement) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_REGION_H */
