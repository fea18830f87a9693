#pragma once

#include <array>
#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// Where the samples of a format lie. All plane geometry in the library comes from the table below.
struct Format {
  std::uint32_t code;
  std::uint8_t planes;
  std::uint8_t pixelBytes;   // of plane 0
  std::uint8_t copiedBytes;  // bytes of each pixel that a copy transfers; 0: none
  std::uint8_t chromaShiftX; // log2 of luma columns per chroma column
  std::uint8_t chromaShiftY; // log2 of luma rows per chroma row
  std::int8_t lumaAt;        // byte of luma in a pixel; kNowhere if absent or unknown
  std::int8_t cbAt; // byte of Cb in an interleaved pair, or in the four bytes of two packed pixels

  constexpr bool isPacked422() const { return planes == 1 && chromaShiftX == 1; }
};

inline constexpr std::int8_t kNowhere = -1;

namespace formats {

constexpr Format pixels(std::uint32_t code, std::uint8_t bytes) {
  return {code, 1, bytes, 3, 0, 0, kNowhere, kNowhere};
}

constexpr Format packed422(std::uint32_t code, std::int8_t lumaAt, std::int8_t cbAt) {
  return {code, 1, 2, 2, 1, 0, lumaAt, cbAt};
}

constexpr Format planar(std::uint32_t code, std::uint8_t shiftX, std::uint8_t shiftY) {
  return {code, 3, 1, 1, shiftX, shiftY, 0, kNowhere};
}

constexpr Format semiPlanar(std::uint32_t code, std::uint8_t shiftY, std::int8_t cbAt) {
  return {code, 2, 1, 1, 1, shiftY, 0, cbAt};
}

inline constexpr Format kAll[] = {
    pixels(TLUX_FMT_BGR24, 3),
    pixels(TLUX_FMT_BGR32, 4),
    pixels(TLUX_FMT_BGR24_B, 3),
    pixels(TLUX_FMT_BGR32_B, 4),
    pixels(TLUX_FMT_PACKED24_1, 3),
    pixels(TLUX_FMT_PACKED24_2, 3),
    pixels(TLUX_FMT_PACKED24_3, 3),
    pixels(TLUX_FMT_PACKED24_4, 3),
    packed422(TLUX_FMT_YCBYCR, 0, 1),
    packed422(TLUX_FMT_YCBYCR_2, 0, kNowhere),
    packed422(TLUX_FMT_CBYCRY, 1, 0),
    packed422(TLUX_FMT_YCBYCR_4, 1, kNowhere),
    packed422(TLUX_FMT_YCBYCR_5, kNowhere, kNowhere),
    packed422(TLUX_FMT_YCBYCR_6, kNowhere, kNowhere),
    packed422(TLUX_FMT_YCBYCR_7, kNowhere, kNowhere),
    packed422(TLUX_FMT_YCBYCR_8, kNowhere, kNowhere),
    planar(TLUX_FMT_YCBCR420_P, 1, 1),
    planar(TLUX_FMT_YCBCR440_P, 0, 1),
    planar(TLUX_FMT_YCBCR422_P, 1, 0),
    planar(TLUX_FMT_YCBCR444_P, 0, 0),
    planar(TLUX_FMT_YCBCR420_P_B, 1, 1),
    planar(TLUX_FMT_YCBCR440_P_B, 0, 1),
    planar(TLUX_FMT_YCBCR422_P_B, 1, 0),
    planar(TLUX_FMT_YCBCR444_P_B, 0, 0),
    {TLUX_FMT_GRAY, 1, 1, 1, 0, 0, 0, kNowhere},
    semiPlanar(TLUX_FMT_YCBCR420_YPUV, 1, 0),
    semiPlanar(TLUX_FMT_YCBCR420_YPVU, 1, 1),
    semiPlanar(TLUX_FMT_YCBCR422_YPUV, 0, 0),
    {TLUX_FMT_BAYER, 1, 2, 0, 0, 0, kNowhere, kNowhere},
};

} // namespace formats

// Null for a code that is not in the table.
constexpr const Format* findFormat(std::uint32_t code) {
  for (const Format& format : formats::kAll) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

// NV12 or NV21: luma, and chroma pairs of half the columns and rows.
constexpr bool isSemiPlanar420(std::uint32_t code) {
  return code == TLUX_FMT_YCBCR420_YPUV || code == TLUX_FMT_YCBCR420_YPVU;
}

struct PlaneSize {
  std::int64_t pitch; // bytes, of a freshly created image
  std::int64_t rows;
  std::int64_t bytes() const { return pitch * rows; }
};

// Pitch and rows of each plane of an image of this format and size; zero for planes it does not
// have.
std::array<PlaneSize, 3> planeSizes(const Format& format, std::int32_t width, std::int32_t height);

// Bytes of all planes together; negative when the sum does not fit 64 bits.
std::int64_t totalBytes(const std::array<PlaneSize, 3>& sizes);

// Sets format, size and pitches of a zeroed record; invalid when a pitch does not fit the record.
Result setLayout(TLUX_IMAGE& image, const Format& format, const std::array<PlaneSize, 3>& sizes,
                 std::int32_t width, std::int32_t height);

// Planes of a record over memory it does not own. Raw frames are not recognised here, and like
// unknown codes count as one plane.
int planeCountOf(std::uint32_t code);

// Whether a plane exists and its rows have room for so many bytes.
inline bool hasRows(const TLUX_IMAGE& image, int plane, std::int64_t bytes) {
  return image.plane[plane] != nullptr && image.pitch[plane] >= bytes;
}

// Whether luma and interleaved chroma exist, in rows with room for so many columns and for the
// pairs of `chromaColumns` of them.
inline bool hasSemiPlanes(const TLUX_IMAGE& image, std::int64_t columns,
                          std::int64_t chromaColumns) {
  return hasRows(image, 0, columns) && hasRows(image, 1, chromaColumns);
}

inline Plane<std::uint8_t> writableLumaOf(const TLUX_IMAGE& image) {
  return {image.plane[0], image.width, image.height, image.pitch[0]};
}

inline Plane<const std::uint8_t> lumaOf(const TLUX_IMAGE& image) {
  return writableLumaOf(image);
}

} // namespace tlux::detail
