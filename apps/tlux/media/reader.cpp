#include "media/reader.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "media/codec_reader.hpp"
#include "media/flat_picture.hpp"
#include "media/heif_reader.hpp"
#include "media/input_container.hpp"
#include "media/jpeg_reader.hpp"
#include "media/tiff_reader.hpp"

namespace tlux::app {

namespace {

DecodedPicture decode(const std::filesystem::path& file, const PictureFile& picture) {
  switch (picture.kind) {
    case FileKind::kJpeg: {
      std::optional<DecodedPicture> decoded = readJpeg(picture.content);
      return decoded ? std::move(*decoded) : readByCodec(file, picture);
    }
    case FileKind::kTiff:
      return readTiff(picture.content);
    case FileKind::kHeif:
      return readHeif(picture.content);
    default:
      return readByCodec(file, picture);
  }
}

/** Whether EXIF data give the orientation of the decoded pixels; other decoders apply it. */
bool isTurnedByMetadata(FileKind kind) {
  return kind == FileKind::kJpeg || kind == FileKind::kPng || kind == FileKind::kWebp;
}

void checkDamage(DecodedPicture& decoded, const PictureReading& options) {
  if (decoded.damage.empty()) return;
  if (options.isStrict) throw std::runtime_error("is damaged: " + decoded.damage);
  if (isFlat(*decoded.frame)) throw std::runtime_error("cannot be decoded: " + decoded.damage);
  decoded.remarks.push_back("is damaged; parts of it are missing: " + decoded.damage);
}

Picture read(const std::filesystem::path& file, const PictureReading& options) {
  const PictureFile source = loadPictureFile(file);
  DecodedPicture decoded = decode(file, source);
  checkDamage(decoded, options);
  MetadataPtr metadata = decoded.metadata;
  if (metadata == nullptr && source.kind != FileKind::kOther) {
    metadata = readMetadata(source.kind, source.content);
  }
  if (metadata != nullptr && isTurnedByMetadata(source.kind)) {
    setOrientation(*decoded.frame, metadata->orientation());
  }
  if (looksUndecoded(*decoded.frame, source.size)) {
    decoded.remarks.emplace_back("has a single colour, which is suspicious for its file size");
  }
  Picture picture = toPicture(*decoded.frame);
  picture.remarks.insert(picture.remarks.begin(), decoded.remarks.begin(), decoded.remarks.end());
  if (!options.keepsMetadata) return picture;
  for (std::string& part : findExtraParts(source.content)) {
    picture.remarks.push_back(std::move(part));
  }
  picture.metadata = std::move(metadata);
  picture.modified = source.modified;
  return picture;
}

} // namespace

Picture readPicture(const std::filesystem::path& file, const PictureReading& options) {
  try {
    return read(file, options);
  } catch (const AvError& error) {
    const std::string_view reason = error.what();
    for (const char* sign : {"Picture size", "Invalid image size"}) { // FFmpeg's messages
      if (reason.find(sign) != std::string_view::npos) throw unreadable(file, kTooLarge);
    }
    throw unreadable(file, std::string("cannot be decoded: ") + error.what());
  } catch (const Error&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw unreadable(file, error.what());
  }
}

} // namespace tlux::app
