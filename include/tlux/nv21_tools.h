/**
 * @file nv21_tools.h
 * @brief Tools for NV21 frames: edge-preserving smoothing, separate chroma planes, 4:4:4 to NV21,
 *        small blur, flipping a frame.
 */
#ifndef TLUX_NV21_TOOLS_H
#define TLUX_NV21_TOOLS_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup nv21_tools NV21 tools
 *
 * A frame is complete if it has at least one pixel, no plane that contains samples is null, and no
 * pitch is shorter than its row. Bytes between the rows are not touched. The format determines the
 * order of a chroma pair: what is said of NV21 also applies to the other semi-planar formats,
 * YCBCR420_YPUV and YCBCR422_YPUV, unless one is named.
 *
 * Nothing is written when a result is not ::TLUX_OK.
 * @{
 */

/**
 * Smooths an NV21 frame and keeps its edges: runs the guided filter, guided_filter_1d(), on luma,
 * Cb and Cr, each with itself as the guide.
 *
 * Chroma is not guided by luma, because colour would then bleed across edges between colours of
 * equal luma. Its radius is half the luma's, rounded up (for YCBCR422_YPUV too), so its windows
 * cover about the same part of the picture. Fluctuations below about 3 levels (the square root of
 * the filter's ε = 10) are smoothed away, edges well above that are kept.
 *
 * @param manager pool, or null for the heap: about 8 · (2 · radius + 17) bytes per column, 24 per
 *        row and a copy of the chroma, released before the return.
 * @param source complete frame of at most 2²⁸ pixels.
 * @param target complete frame of the same format and size; may be the source.
 * @param radius of the luma windows, at least 0; at 0 the frame is copied.
 * @return ::TLUX_OK; ::TLUX_ERR_UNSUPPORTED for a format that is not semi-planar;
 *         ::TLUX_ERR_INVALID_PARAM for other bad arguments; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t GuideFilterNV21(MMemMgr manager, const TLUX_IMAGE* source, TLUX_IMAGE* target,
                                  int32_t radius) TLUX_NOEXCEPT;

/**
 * Filters one 8-bit channel as guided_filter_1d() does, given as separate planes: the step of
 * GuideFilterNV21(), for a host that chooses the guide itself.
 *
 * @param manager pool, or null for the heap.
 * @param guide,guidePitch first byte of the guide, and bytes from row to row.
 * @param channel,channelPitch the channel to filter.
 * @param target,targetPitch receives the result; may be the channel or the guide (the same rows),
 *        otherwise it must not overlap them.
 * @param width,height size of all three, at least 1 each, at most 2²⁸ pixels. No pitch may be below
 *        the width.
 * @param radius of the windows, at least 0.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for bad arguments; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t DstFilterChannel(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                                   const uint8_t* channel, int32_t channelPitch, uint8_t* target,
                                   int32_t targetPitch, int32_t width, int32_t height,
                                   int32_t radius) TLUX_NOEXCEPT;

/**
 * Splits the chroma pairs of an NV21 frame into two planes.
 *
 * @param frame complete frame; its plane 0 must not be null but is not read.
 * @param u,v receive Cb and Cr, one byte a pair; null only where the frame has no pairs. They must
 *        not overlap the frame or each other.
 * @param pitch bytes from row to row of both, at least the number of pairs in a row.
 * @return ::TLUX_OK; ::TLUX_ERR_UNSUPPORTED for a format that is not semi-planar;
 *         ::TLUX_ERR_INVALID_PARAM for other bad arguments.
 */
TLUX_API uint32_t ExtractUVchannel(const TLUX_IMAGE* frame, uint8_t* u, uint8_t* v,
                                   int32_t pitch) TLUX_NOEXCEPT;

/**
 * The reverse of ExtractUVchannel(): writes two planes into the chroma pairs of an NV21 frame. Luma
 * is not touched.
 *
 * @param u,v,pitch Cb and Cr as ExtractUVchannel() gives them.
 * @param frame complete frame.
 * @return as ExtractUVchannel().
 */
TLUX_API uint32_t PushUVchannel(const uint8_t* u, const uint8_t* v, int32_t pitch,
                                TLUX_IMAGE* frame) TLUX_NOEXCEPT;

/**
 * Converts a planar 4:4:4 frame to NV21: luma is copied, and each chroma sample is the rounded mean
 * of its 2×2 block, (a + b + c + d + 2) >> 2. The chroma of an odd last column or row is dropped.
 *
 * @param source complete frame of format YCBCR444_P (or YCBCR444_P_B).
 * @param target complete YCBCR420_YPVU frame of the same size that does not overlap the source.
 * @return ::TLUX_OK; ::TLUX_ERR_UNSUPPORTED for other formats; ::TLUX_ERR_INVALID_PARAM for other
 *         bad arguments.
 */
TLUX_API uint32_t FormatI444TONV21(const TLUX_IMAGE* source, TLUX_IMAGE* target) TLUX_NOEXCEPT;

/**
 * Smooths planes of a 4:4:4 frame with the smallest Gaussian, the binomial kernel 1 2 1 along both
 * axes (variance 1/2 a pixel), with repeated edges; rounded:
 * (sum of 3×3 weighted samples + 8) >> 4.
 *
 * @param source complete frame of format YCBCR444_P or YCBCR444_P_B.
 * @param target complete frame of the same format and size that does not overlap the source.
 * @param planes bit p smooths plane p: 1 luma, 6 both chroma planes, 7 all. Others are copied.
 * @return ::TLUX_OK; ::TLUX_ERR_UNSUPPORTED for other formats; ::TLUX_ERR_INVALID_PARAM for
 *         different formats or sizes, a frame that is not complete, one luma plane for both, or
 *         planes above 7.
 */
TLUX_API uint32_t GaussSmoothI444(const TLUX_IMAGE* source, TLUX_IMAGE* target,
                                  uint32_t planes) TLUX_NOEXCEPT;

#define TLUX_ROLL_ROWS 1u    /**< Top to bottom: upside down. */
#define TLUX_ROLL_COLUMNS 2u /**< Left to right: mirrored. */

/**
 * Flips a frame: upside down, mirrored, or both, which is a rotation by half a turn. Chroma planes
 * are flipped separately; pairs and colour pixels stay together. In frames of odd size, subsampled
 * chroma thus shifts by one luma pixel relative to luma.
 *
 * @param source complete image of any 8-bit format other than packed 4:2:2.
 * @param target complete image of the same format and size that does not overlap the source.
 * @param flags ::TLUX_ROLL_ROWS, ::TLUX_ROLL_COLUMNS or their sum; 0 copies.
 * @return ::TLUX_OK; ::TLUX_ERR_UNSUPPORTED for packed 4:2:2, raw and unknown formats;
 *         ::TLUX_ERR_INVALID_PARAM for different formats or sizes, an image that is not complete,
 *         one plane 0 for both, or other flags.
 */
TLUX_API uint32_t ImageRollOver(const TLUX_IMAGE* source, TLUX_IMAGE* target,
                                uint32_t flags) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_NV21_TOOLS_H */
