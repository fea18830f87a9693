#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "media/picture_file.hpp"

namespace tlux::app {

/** The data of the first chunk of a kind; empty if there is none. */
std::span<const uint8_t> findPngChunk(std::span<const uint8_t> png, std::string_view kind);

/** Inserts a chunk after the header, where everything that describes the pixels is allowed, or
 * replaces an existing one. Empty @p data changes nothing. */
Bytes insertPngChunk(Bytes png, std::string_view kind, std::span<const uint8_t> data);

} // namespace tlux::app
