#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media/picture_file.hpp"

namespace tlux::app {

/** The metadata of a picture file: EXIF, XMP, IPTC, comment, density. */
class Metadata {
 public:
  virtual ~Metadata() = default;

  /** Value of the EXIF tag Orientation; 1, upright, if there is none. */
  virtual int orientation() const = 0;
};

/** Names of the parts that files of a kind do not support. */
std::vector<std::string> lostIn(FileKind kind, const Metadata& metadata);

using MetadataPtr = std::shared_ptr<const Metadata>;

/** Null if the file has no readable metadata. */
MetadataPtr readMetadata(FileKind kind, std::span<const uint8_t> content);

/**
 * From the blocks in HEIC and JPEG XL files, either of which may be empty: EXIF data, preceded by a
 * four-byte offset to their start, and XMP.
 */
MetadataPtr readMetadataBlocks(std::span<const uint8_t> exif, std::span<const uint8_t> xmp);

/** Parts of a photo that a plain picture cannot have, one remark each. */
std::vector<std::string> findExtraParts(std::span<const uint8_t> content);

/** What is true of the picture that is written. */
struct WrittenPicture {
  int width;
  int height;
  std::span<const uint8_t> profile; // ICC, for formats whose encoder leaves it out; may be empty
};

/**
 * Embeds metadata, which may be null, in a written JPEG, PNG, WebP or TIFF file. Orientation
 * becomes upright and the old preview is dropped. Throws std::runtime_error.
 */
Bytes embedMetadata(Bytes file, FileKind kind, const Metadata* metadata,
                    const WrittenPicture& picture);

/** The same as blocks, for formats that use those. */
Bytes exifBlock(const Metadata& metadata, const WrittenPicture& picture);
std::string xmpBlock(const Metadata& metadata);

} // namespace tlux::app
