#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media/picture_file.hpp"

namespace tlux::app {

/** Pixels per inch. */
struct Density {
  double x;
  double y;
};

/** Nothing for a meaningless density: zero, or too large to be written. */
std::optional<Density> usableDensity(Density density);

/** The density in the header of a JPEG or PNG file, ignoring EXIF data. */
std::optional<Density> findDensity(FileKind kind, std::span<const uint8_t> content);

/** Inserts it into the header of a written JPEG, PNG or TIFF file. */
Bytes insertDensity(Bytes file, FileKind kind, Density density);

} // namespace tlux::app
