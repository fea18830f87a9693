#include "media/jxl_boxes.hpp"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <cstring>

namespace tlux::app {

namespace {

using namespace std::string_view_literals;

// Length of the whole box, kind, content.
constexpr size_t kHeader = 8;
constexpr std::string_view kSignature =
    "\0\0\0\x0CJXL \r\n\x87\n\0\0\0\x14"
    "ftypjxl \0\0\0\0jxl "sv;

void append(Bytes& file, std::string_view text) {
  file.insert(file.end(), text.begin(), text.end());
}

void appendBox(Bytes& file, std::string_view kind, std::string_view prefix,
               std::span<const uint8_t> content) {
  uint8_t length[4] = {};
  AV_WB32(length, static_cast<uint32_t>(kHeader + prefix.size() + content.size()));
  file.insert(file.end(), length, length + sizeof length);
  append(file, kind);
  append(file, prefix);
  file.insert(file.end(), content.begin(), content.end());
}

} // namespace

std::span<const uint8_t> findJxlBox(std::span<const uint8_t> file, std::string_view kind) {
  while (file.size() >= kHeader) {
    size_t length = AV_RB32(file.data());
    if (length == 0) length = file.size(); // to the end
    if (length < kHeader || length > file.size()) return {};
    if (std::memcmp(file.data() + 4, kind.data(), kind.size()) == 0) {
      return file.subspan(kHeader, length - kHeader);
    }
    file = file.subspan(length);
  }
  return {};
}

Bytes addJxlBoxes(Bytes file, std::span<const uint8_t> exif, std::string_view xmp) {
  constexpr uint8_t kBareCode[] = {0xFF, 0x0A};
  const bool isBare = file.size() > 2 && std::memcmp(file.data(), kBareCode, 2) == 0;
  if (!isBare || (exif.empty() && xmp.empty())) return file;
  Bytes boxes;
  append(boxes, kSignature);
  // The EXIF data follow directly after the field with their offset.
  if (!exif.empty()) appendBox(boxes, "Exif", "\0\0\0\0"sv, exif);
  if (!xmp.empty()) appendBox(boxes, "xml ", xmp, {});
  appendBox(boxes, "jxlc", {}, file);
  return boxes;
}

} // namespace tlux::app
