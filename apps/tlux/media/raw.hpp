#pragma once

#include <filesystem>
#include <span>
#include <vector>

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
 * The bytes of an even-sized frame as it left the library, without padding at its left and top.
 * @param file named in errors.
 * @param format order of the chroma samples.
 * @param pitch bytes from row to row, 0 for the width; bytes behind the width are zero.
 * @param content room for them where the frame does not hold them as they are; keep it for others
 *        of the same kind.
 */
std::span<const uint8_t> packRaw(const AVFrame& frame, const std::filesystem::path& file,
                                 AVPixelFormat format, int pitch, std::vector<uint8_t>& content);

/** Writes a file of what packRaw() gives. */
void writeRaw(const AVFrame& frame, const std::filesystem::path& file, AVPixelFormat format,
              int pitch);

} // namespace tlux::app
