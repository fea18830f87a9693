#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media/picture_file.hpp"

namespace tlux::app {

/** What a file tells of its picture beside the pixels: EXIF, XMP, IPTC, a comment, the density. */
class Metadata {
 public:
  virtual ~Metadata() = default;

  /** Value of the EXIF tag Orientation; 1, upright, where there is none. */
  virtual int orientation() const = 0;
};

/** The parts that files of a kind do not hold, by name. */
std::vector<std::string> lostIn(FileKind kind, const Metadata& metadata);

using MetadataPtr = std::shared_ptr<const Metadata>;

/** Null where a file tells nothing that can be read. */
MetadataPtr readMetadata(FileKind kind, std::span<const uint8_t> content);

/**
 * From blocks as HEIC and JPEG XL files hold them, either of which may be empty: EXIF data, with
 * four bytes in front that tell how far behind them they begin, and XMP.
 */
MetadataPtr readMetadataBlocks(std::span<const uint8_t> exif, std::span<const uint8_t> xmp);

/** Parts of a photo that a plain picture does not have, one remark each. */
std::vector<std::string> findExtraParts(std::span<const uint8_t> content);

/** What is true of the picture that is written. */
struct WrittenPicture {
  int width;
  int height;
  std::span<const uint8_t> profile; // ICC, for formats whose encoder leaves it out; may be empty
};

/**
 * Puts metadata, which may be null, into a written JPEG, PNG, WebP or TIFF file. The pixels are
 * upright now, and the preview of the old ones is dropped. Throws std::runtime_error.
 */
Bytes embedMetadata(Bytes file, FileKind kind, const Metadata* metadata,
                    const WrittenPicture& picture);

/** The same as blocks, for formats that take those. */
Bytes exifBlock(const Metadata& metadata, const WrittenPicture& picture);
std::string xmpBlock(const Metadata& metadata);

} // namespace tlux::app
