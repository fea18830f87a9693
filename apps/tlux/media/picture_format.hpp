#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "media/convert.hpp"
#include "media/heif_writer.hpp"
#include "media/picture.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/** A file format that pictures are written in. */
struct PictureFormat {
  const char* name;
  std::vector<const char*> extensions; // lower case, without the dot
  FileKind kind;
  const char* encoder; // FFmpeg's name; null if another library writes it
  AVPixelFormat opaqueLayout;
  AVPixelFormat fullChromaLayout; // the opaque one, or a substitute if that halves chroma
  AVPixelFormat alphaLayout;      // AV_PIX_FMT_NONE if the format has no transparency
  ColorEncoding encoding;
  bool keepsProfile;
};

/** The format for a file name's extension; null if unknown or if this build lacks the encoder. */
const PictureFormat* findPictureFormat(const std::filesystem::path& name);

/** For the formats written as HEIF. */
HeifCodec heifCodecOf(const PictureFormat& format);

/** The extensions that can be written, for messages: "png, jpg, …". */
std::string writableExtensions();

/** What the format cannot preserve of the picture, one remark each. */
std::vector<std::string> describeLosses(const Picture& picture, const PictureFormat& format);

/** Extension of a file name in lower case, without the dot. */
std::string extensionOf(const std::filesystem::path& name);

} // namespace tlux::app
