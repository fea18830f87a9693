#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media/picture_file.hpp"

namespace tlux::app {

/** Pixels to the inch. */
struct Density {
  double x;
  double y;
};

/** Nothing for a density that no file means: none at all, or beyond what can be written. */
std::optional<Density> usableDensity(Density density);

/** What the header of a JPEG or PNG file says, without what its EXIF data say. */
std::optional<Density> findDensity(FileKind kind, std::span<const uint8_t> content);

/** Puts it into the header of a written JPEG, PNG or TIFF file. */
Bytes insertDensity(Bytes file, FileKind kind, Density density);

} // namespace tlux::app
