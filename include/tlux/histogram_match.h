/**
 * @file histogram_match.h
 * @brief Matching the tones of one image to another through a 256-entry table.
 */
#ifndef TLUX_HISTOGRAM_MATCH_H
#define TLUX_HISTOGRAM_MATCH_H

#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup histogram_match Histogram matching
 *
 * Only plane 0 of an image is used: 8-bit samples, width × height of them, rows pitch[0] apart. The
 * table follows the deciles of both images, a coarse form of histogram matching (R. C. Gonzalez and
 * R. E. Woods, "Digital Image Processing", section 3.3) that single levels cannot distort.
 * @{
 */

/**
 * Builds the table that gives a source image the tones of a target image.
 *
 * The nine deciles of the source are mapped to those of the target, 0 and 255 to themselves, and
 * the levels between run along straight lines. If the target's shadows (first decile) are brighter
 * than the source's, the dark end continues the slope above it instead; if its highlights (ninth
 * decile) are darker, the bright end takes the mean of the two slopes that meet there.
 *
 * Intended: the size of a decile is counted in pixels of the source in both images, so images of
 * equal size are expected. A target with fewer pixels runs out of them; its remaining deciles are
 * 255. Deciles of one image are at least one level apart until they reach 255.
 *
 * @param manager pool for 2048 bytes during the call, or null for the heap.
 * @param target image whose tones to match.
 * @param source image to which the table will be applied.
 * @param table receives 256 entries.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null argument or plane; ::TLUX_ERR_NO_MEMORY if
 *         the memory cannot be allocated. On an error the table is not changed.
 */
TLUX_API uint32_t TLUX_GetMatchTable(MMemMgr manager, const TLUX_IMAGE* target,
                                     const TLUX_IMAGE* source, uint8_t* table) TLUX_NOEXCEPT;

/**
 * Replaces every sample v of plane 0 by table[v], in place.
 *
 * @param image image to change; bytes beyond its width are not touched.
 * @param table 256 entries, outside the image.
 * @return always 1, even if a null argument or an empty image left nothing to do. Intended: a host
 *         may test for this value, which is not ::TLUX_OK.
 */
TLUX_API uint32_t TLUX_AdjustImageByTable(TLUX_IMAGE* image, const uint8_t* table) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_HISTOGRAM_MATCH_H */
