#pragma once

#include <filesystem>

#include "media/picture.hpp"

namespace tlux::app {

/** A file that holds nothing but the two planes of one frame, luma first, rows of equal length. */
struct RawLayout {
  AVPixelFormat format = AV_PIX_FMT_NV21; // or AV_PIX_FMT_NV12
  int width = 0;
  int height = 0;
  int pitch = 0; // bytes from row to row, in both planes
};

/** Throws Error naming the file, also when its size is not that of the layout. */
Picture readRaw(const std::filesystem::path& file, const RawLayout& layout);

/**
 * Writes the even-sized frame as it left the library, chroma in the order of @p format.
 * @param pitch bytes from row to row, 0 for the width; bytes behind the width are zero.
 */
void writeRaw(const AVFrame& frame, const std::filesystem::path& file, AVPixelFormat format,
              int pitch);

} // namespace tlux::app
