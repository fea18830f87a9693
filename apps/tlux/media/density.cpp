#include "media/density.hpp"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <array>
#include <cmath>
#include <cstring>

#include "media/png_chunks.hpp"

namespace tlux::app {

namespace {

constexpr double kCentimetersOfAnInch = 2.54;
constexpr double kMetersOfAnInch = kCentimetersOfAnInch / 100;

// JFIF: FFD8, FFE0, length, "JFIF\0", version, unit (1 inch, 2 centimeter), density in x and y.
constexpr size_t kJfifName = 6;
constexpr size_t kJfifUnit = 13;
constexpr size_t kJfifEnd = 18;

bool isJfif(std::span<const uint8_t> jpeg) {
  return jpeg.size() >= kJfifEnd && AV_RB16(jpeg.data() + 2) == 0xFFE0 &&
         std::memcmp(jpeg.data() + kJfifName, "JFIF", 5) == 0;
}

std::optional<Density> fromJfif(std::span<const uint8_t> jpeg) {
  if (!isJfif(jpeg)) return {};
  const uint8_t* header = jpeg.data() + kJfifUnit;
  if (header[0] != 1 && header[0] != 2) return {};
  const double scale = header[0] == 1 ? 1 : kCentimetersOfAnInch;
  return usableDensity({scale * AV_RB16(header + 1), scale * AV_RB16(header + 3)});
}

// pHYs: pixels per unit in x and y, unit (1 meter).
constexpr size_t kPhysBytes = 9;

std::optional<Density> fromPhys(std::span<const uint8_t> chunk) {
  if (chunk.size() != kPhysBytes || chunk[8] != 1) return {};
  return usableDensity(
      {kMetersOfAnInch * AV_RB32(chunk.data()), kMetersOfAnInch * AV_RB32(chunk.data() + 4)});
}

// TIFF as written by FFmpeg and exiv2: little endian; offset of the first directory; number of its
// entries; and each entry's tag, type, count and, for fractions, offset of the value.
constexpr size_t kTiffHeader = 8;
constexpr size_t kEntryBytes = 12;

void replaceFraction(Bytes& tiff, uint16_t tag, double value) {
  const size_t directory = AV_RL32(tiff.data() + 4);
  if (directory + 2 > tiff.size()) return;
  const size_t entries = AV_RL16(tiff.data() + directory);
  for (size_t i = 0; i < entries; ++i) {
    const size_t entry = directory + 2 + kEntryBytes * i;
    if (entry + kEntryBytes > tiff.size()) return;
    const size_t place = AV_RL32(tiff.data() + entry + 8);
    if (AV_RL16(tiff.data() + entry) != tag || place + 8 > tiff.size()) continue;
    constexpr uint32_t kScale = 100;
    AV_WL32(tiff.data() + place, static_cast<uint32_t>(std::lround(value * kScale)));
    AV_WL32(tiff.data() + place + 4, kScale);
  }
}

} // namespace

std::optional<Density> usableDensity(Density density) {
  constexpr double kMost = 65535;
  const auto isUsable = [](double value) { return value >= 1 && value <= kMost; };
  return isUsable(density.x) && isUsable(density.y) ? std::optional(density) : std::nullopt;
}

std::optional<Density> findDensity(FileKind kind, std::span<const uint8_t> content) {
  if (kind == FileKind::kJpeg) return fromJfif(content);
  if (kind == FileKind::kPng) return fromPhys(findPngChunk(content, "pHYs"));
  return {};
}

Bytes insertDensity(Bytes file, FileKind kind, Density density) {
  if (kind == FileKind::kJpeg && isJfif(file)) {
    uint8_t* header = file.data() + kJfifUnit;
    header[0] = 1;
    AV_WB16(header + 1, static_cast<uint16_t>(std::lround(density.x)));
    AV_WB16(header + 3, static_cast<uint16_t>(std::lround(density.y)));
  }
  if (kind == FileKind::kTiff && file.size() > kTiffHeader && file[0] == 'I') {
    constexpr uint16_t kTagX = 0x011A;
    constexpr uint16_t kTagY = 0x011B;
    replaceFraction(file, kTagX, density.x);
    replaceFraction(file, kTagY, density.y);
  }
  if (kind == FileKind::kPng) {
    std::array<uint8_t, kPhysBytes> chunk = {};
    AV_WB32(chunk.data(), static_cast<uint32_t>(std::lround(density.x / kMetersOfAnInch)));
    AV_WB32(chunk.data() + 4, static_cast<uint32_t>(std::lround(density.y / kMetersOfAnInch)));
    chunk[8] = 1;
    return insertPngChunk(std::move(file), "pHYs", chunk);
  }
  return file;
}

} // namespace tlux::app
