#pragma once

#include <array>
#include <cstdint>

#include "tlux/image.h"

namespace tlux {

// Where the samples of a format lie. Everything the library knows about plane geometry comes from
// the table of these in format.cpp.
struct Format {
  std::uint32_t code;
  std::uint8_t planes;
  std::uint8_t pixelBytes;   // of plane 0
  std::uint8_t copiedBytes;  // of each of these pixels, the bytes that a copy carries; 0: none
  std::uint8_t chromaShiftX; // log2 of luma columns per chroma column
  std::uint8_t chromaShiftY; // log2 of luma rows per chroma row
};

// Null for a code that is not in the table.
const Format* findFormat(std::uint32_t code);

struct PlaneSize {
  std::int64_t pitch; // bytes, of a freshly created image
  std::int64_t rows;
  std::int64_t bytes() const { return pitch * rows; }
};

// Pitch and rows of each plane of an image of this format and size; zero for planes it does not
// have.
std::array<PlaneSize, 3> planeSizes(const Format& format, std::int32_t width, std::int32_t height);

// Bytes of all planes, one behind the other; negative when 64 bits do not hold them.
std::int64_t totalBytes(const std::array<PlaneSize, 3>& sizes);

// Sets format, size and pitches of a zeroed record; false when a pitch does not fit the record.
bool setLayout(TLUX_IMAGE& image, const Format& format, const std::array<PlaneSize, 3>& sizes,
               std::int32_t width, std::int32_t height);

// Planes that a record over foreign memory has. Raw frames are not known here, and like unknown
// codes count as one plane.
int planeCountOf(std::uint32_t code);

} // namespace tlux
