#pragma once

#include <filesystem>
#include <span>
#include <vector>

#include "media/picture.hpp"

namespace tlux::app {

/** A file of only the two planes of one frame, luma first, rows of equal length. */
struct RawLayout {
  AVPixelFormat format = AV_PIX_FMT_NV21; // or AV_PIX_FMT_NV12
  int width = 0;
  int height = 0;
  int pitch = 0; // bytes from row to row, in both planes
};

/** Throws Error naming the file, also if its size does not match the layout. */
Picture readRaw(const std::filesystem::path& file, const RawLayout& layout);

/**
 * The bytes of an even-sized frame from the library, without padding at its left and top.
 * @param file named in errors.
 * @param format order of the chroma samples.
 * @param pitch bytes from row to row, 0 for the width; bytes past the width are zero.
 * @param content storage for them if the frame's own memory cannot be used; can be reused for other
 *        frames of the same kind.
 */
std::span<const uint8_t> packRaw(const AVFrame& frame, const std::filesystem::path& file,
                                 AVPixelFormat format, int pitch, std::vector<uint8_t>& content);

/** Writes the output of packRaw() to a file. */
void writeRaw(const AVFrame& frame, const std::filesystem::path& file, AVPixelFormat format,
              int pitch);

} // namespace tlux::app
