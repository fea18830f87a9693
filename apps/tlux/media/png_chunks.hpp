#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "media/picture_file.hpp"

namespace tlux::app {

/** The data of the first chunk of a kind; empty where there is none. */
std::span<const uint8_t> findPngChunk(std::span<const uint8_t> png, std::string_view kind);

/** Puts a chunk behind the header, where all that describes the pixels may stand; in place of the
 * one that is there. Empty @p data changes nothing. */
Bytes insertPngChunk(Bytes png, std::string_view kind, std::span<const uint8_t> data);

} // namespace tlux::app
