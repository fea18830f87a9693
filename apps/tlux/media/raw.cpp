#include "media/raw.hpp"

#include <fmt/format.h>

#include <cstring>
#include <fstream>

#include "base/errors.hpp"
#include "media/input_container.hpp"
#include "media/semi_planar.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

/** Copies a row of chroma pairs, swapping the two samples of each. */
void copyExchanged(const uint8_t* from, uint8_t* to, int width) {
  for (int x = 0; x < width; x += 2) {
    to[x] = from[x + 1];
    to[x + 1] = from[x];
  }
}

} // namespace

Picture readRaw(const std::filesystem::path& file, const RawLayout& layout) {
  checkReadable(file);
  const int64_t expected = semiPlanarBytes(layout.height, layout.pitch);
  std::error_code error;
  const std::uintmax_t actual = std::filesystem::file_size(file, error);
  if (error || actual != static_cast<std::uintmax_t>(expected)) {
    throw Error(
        ExitCode::kUnreadableInput, file.string(),
        fmt::format("has {} bytes, but a raw frame of {}x{} with rows of {} bytes has {}",
                    error ? 0 : actual, layout.width, layout.height, layout.pitch, expected));
  }
  Picture picture;
  picture.isRaw = true;
  picture.storedWidth = layout.width;
  picture.storedHeight = layout.height;
  picture.frame = makeSemiPlanar(layout.format, layout.width, layout.height, layout.pitch);
  picture.frame->colorspace = AVCOL_SPC_BT470BG;
  std::ifstream stream(file, std::ios::binary);
  // Reads raw bytes; streams only support char.
  stream.read(reinterpret_cast<char*>(picture.frame->data[0]), expected);
  if (!stream) throw Error(ExitCode::kUnreadableInput, file.string(), "cannot be read");
  return picture;
}

std::span<const uint8_t> packRaw(const AVFrame& frame, const std::filesystem::path& file,
                                 AVPixelFormat format, int pitch, std::vector<uint8_t>& content) {
  const int left = static_cast<int>(frame.crop_left) & ~1;
  const int top = static_cast<int>(frame.crop_top) & ~1;
  const int width = frame.width - left;
  const int height = frame.height - top;
  if (pitch == 0) pitch = width;
  if (pitch < width) {
    throw Error(ExitCode::kFailed, file.string(),
                fmt::format("rows of {} bytes are too few for {} pixels", pitch, width));
  }
  const auto bytes = static_cast<size_t>(semiPlanarBytes(height, pitch));
  const bool isPacked =
      left == 0 && top == 0 && frame.linesize[0] == pitch && frame.format == format;
  if (isPacked) return {frame.data[0], bytes};
  content.resize(bytes);
  uint8_t* row = content.data();
  for (int y = 0; y < height; ++y, row += pitch) {
    std::memcpy(row, frame.data[0] + ptrdiff_t{top + y} * frame.linesize[0] + left,
                static_cast<size_t>(width));
  }
  for (int y = 0; y < height / 2; ++y, row += pitch) {
    const uint8_t* from = frame.data[1] + ptrdiff_t{top / 2 + y} * frame.linesize[1] + left;
    if (frame.format == format) {
      std::memcpy(row, from, static_cast<size_t>(width));
    } else {
      copyExchanged(from, row, width);
    }
  }
  return content;
}

void writeRaw(const AVFrame& frame, const std::filesystem::path& file, AVPixelFormat format,
              int pitch) {
  std::vector<uint8_t> content;
  writeFileAtomically(file, packRaw(frame, file, format, pitch, content));
}

} // namespace tlux::app
