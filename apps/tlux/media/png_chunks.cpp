#include "media/png_chunks.hpp"

extern "C" {
#include <libavutil/crc.h>
#include <libavutil/intreadwrite.h>
}

#include <cstring>

namespace tlux::app {

namespace {

// A chunk: length of the data, kind, data, checksum of kind and data.
constexpr size_t kFileHeader = 8;
constexpr size_t kChunkHeader = 8;
constexpr size_t kChunkFrame = 12;

/** Offset of a chunk; the length of the file if it has none. */
size_t chunkAt(std::span<const uint8_t> png, std::string_view kind) {
  size_t offset = kFileHeader;
  while (offset + kChunkFrame <= png.size()) {
    if (std::memcmp(png.data() + offset + 4, kind.data(), 4) == 0) return offset;
    offset += kChunkFrame + AV_RB32(png.data() + offset);
  }
  return png.size();
}

Bytes makeChunk(std::string_view kind, std::span<const uint8_t> data) {
  Bytes chunk(kChunkFrame + data.size());
  AV_WB32(chunk.data(), static_cast<uint32_t>(data.size()));
  std::memcpy(chunk.data() + 4, kind.data(), 4);
  std::memcpy(chunk.data() + kChunkHeader, data.data(), data.size());
  const uint32_t crc =
      ~av_crc(av_crc_get_table(AV_CRC_32_IEEE_LE), UINT32_MAX, chunk.data() + 4, data.size() + 4);
  AV_WB32(chunk.data() + kChunkHeader + data.size(), crc);
  return chunk;
}

} // namespace

std::span<const uint8_t> findPngChunk(std::span<const uint8_t> png, std::string_view kind) {
  const size_t offset = chunkAt(png, kind);
  if (offset == png.size()) return {};
  const size_t length = AV_RB32(png.data() + offset);
  if (length > png.size() - offset - kChunkFrame) return {};
  return png.subspan(offset + kChunkHeader, length);
}

Bytes insertPngChunk(Bytes png, std::string_view kind, std::span<const uint8_t> data) {
  if (data.empty()) return png;
  const auto at = [&](size_t offset) { return png.begin() + static_cast<ptrdiff_t>(offset); };
  const size_t old = chunkAt(png, kind);
  if (old != png.size()) png.erase(at(old), at(old + kChunkFrame + AV_RB32(png.data() + old)));
  const size_t behindHeader = kFileHeader + kChunkFrame + AV_RB32(png.data() + kFileHeader);
  const Bytes chunk = makeChunk(kind, data);
  png.insert(at(behindHeader), chunk.begin(), chunk.end());
  return png;
}

} // namespace tlux::app
