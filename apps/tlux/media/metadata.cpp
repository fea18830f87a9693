#include "media/metadata.hpp"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "media/density.hpp"
#include "media/jxl_boxes.hpp"
#include "media/png_chunks.hpp"

namespace tlux::app {

namespace {

struct Tags : Metadata {
  Exiv2::ExifData exif;
  Exiv2::IptcData iptc;
  Exiv2::XmpData xmp;
  std::string comment;

  int orientation() const override {
    const auto tag = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    return tag == exif.end() || tag->count() == 0 ? 1 : static_cast<int>(tag->toLong());
  }

  bool isEmpty() const { return exif.empty() && iptc.empty() && xmp.empty() && comment.empty(); }
};

/** The library's tables are shared by all threads, and it would print warnings about files. */
template <typename Work>
auto withLibrary(Work work) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  static const bool isReady = [] {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    return Exiv2::XmpParser::initialize();
  }();
  static_cast<void>(isReady);
  return work();
}

/** Tags that describe pixel storage do not apply to another file. */
bool describesStorage(const Exiv2::Exifdatum& tag) {
  constexpr std::array<std::string_view, 6> kGroups = {"SubImage", "SubThumb", "Thumbnail",
                                                       "Image2",   "Image3",   "MpfInfo"};
  constexpr std::array<uint16_t, 44> kTags = {
      0x00FE, 0x00FF, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x0108, 0x0109, 0x010A,
      0x0111, 0x0115, 0x0116, 0x0117, 0x0118, 0x0119, 0x011C, 0x0122, 0x0123, 0x0124, 0x0125,
      0x012D, 0x013D, 0x0140, 0x0142, 0x0143, 0x0144, 0x0145, 0x014A, 0x0152, 0x0153, 0x015B,
      0x0200, 0x0201, 0x0202, 0x0211, 0x0212, 0x0213, 0x0214, 0x02BC, 0x83BB, 0x8649, 0x8773};
  const std::string group = tag.groupName();
  if (std::any_of(kGroups.begin(), kGroups.end(),
                  [&](std::string_view name) { return group.starts_with(name); })) {
    return true;
  }
  return group == "Image" && std::binary_search(kTags.begin(), kTags.end(), tag.tag());
}

template <typename Data, typename Matches>
void eraseWhere(Data& data, Matches matches) {
  for (auto item = data.begin(); item != data.end();) {
    item = matches(*item) ? data.erase(item) : std::next(item);
  }
}

/** Namespaces that describe dropped parts. */
bool describesExtraPart(const Exiv2::Xmpdatum& property) {
  constexpr std::array<std::string_view, 6> kPrefixes = {"GCamera",    "Container", "Item",
                                                         "GContainer", "hdrgm",     "HDRGainMap"};
  const std::string group = property.groupName();
  return std::find(kPrefixes.begin(), kPrefixes.end(), group) != kPrefixes.end();
}

void removeStale(Tags& tags) {
  Exiv2::ExifThumb(tags.exif).erase();
  eraseWhere(tags.exif, describesStorage);
  eraseWhere(tags.xmp, [](const Exiv2::Xmpdatum& property) {
    return describesExtraPart(property) || property.groupName() == "xmpGImg" ||
           property.key().starts_with("Xmp.xmp.Thumbnails");
  });
}

template <typename Data>
bool hasKey(const Data& data, const char* key) {
  return std::any_of(data.begin(), data.end(),
                     [key](const auto& item) { return item.key() == key; });
}

bool holdsComment(FileKind kind) {
  return kind == FileKind::kJpeg || kind == FileKind::kPng;
}

bool holdsIptc(FileKind kind) {
  return holdsComment(kind) || kind == FileKind::kTiff;
}

/** The tags of the written picture. */
Tags describe(const Metadata& metadata, FileKind kind, const WrittenPicture& picture) {
  auto tags = static_cast<const Tags&>(metadata);
  if (hasKey(tags.exif, "Exif.Image.Orientation")) {
    tags.exif["Exif.Image.Orientation"] = uint16_t{1};
  }
  if (hasKey(tags.xmp, "Xmp.tiff.Orientation")) tags.xmp["Xmp.tiff.Orientation"] = "1";
  if (hasKey(tags.exif, "Exif.Photo.PixelXDimension")) {
    tags.exif["Exif.Photo.PixelXDimension"] = static_cast<uint32_t>(picture.width);
    tags.exif["Exif.Photo.PixelYDimension"] = static_cast<uint32_t>(picture.height);
  }
  constexpr const char* kUserComment = "Exif.Photo.UserComment";
  const bool isHomeless = !tags.comment.empty() && !holdsComment(kind);
  if (isHomeless && !hasKey(tags.exif, kUserComment)) tags.exif[kUserComment] = tags.comment;
  return tags;
}

void setDensity(Exiv2::ExifData& exif, Density density) {
  const auto rational = [](double value) {
    constexpr uint32_t kScale = 100;
    return Exiv2::URational(static_cast<uint32_t>(std::lround(value * kScale)), kScale);
  };
  exif["Exif.Image.XResolution"] = rational(density.x);
  exif["Exif.Image.YResolution"] = rational(density.y);
  exif["Exif.Image.ResolutionUnit"] = uint16_t{2}; // inches
}

std::optional<Density> densityOf(const Exiv2::ExifData& exif) {
  const auto x = exif.findKey(Exiv2::ExifKey("Exif.Image.XResolution"));
  const auto y = exif.findKey(Exiv2::ExifKey("Exif.Image.YResolution"));
  if (x == exif.end() || y == exif.end() || x->count() == 0 || y->count() == 0) return {};
  const auto unit = exif.findKey(Exiv2::ExifKey("Exif.Image.ResolutionUnit"));
  const bool isMetric = unit != exif.end() && unit->count() > 0 && unit->toLong() == 3;
  constexpr double kCentimetersOfAnInch = 2.54;
  const double scale = isMetric ? kCentimetersOfAnInch : 1;
  return usableDensity(
      {scale * static_cast<double>(x->toFloat()), scale * static_cast<double>(y->toFloat())});
}

MetadataPtr finish(std::shared_ptr<Tags> tags, std::optional<Density> density) {
  if (density && !hasKey(tags->exif, "Exif.Image.XResolution")) setDensity(tags->exif, *density);
  removeStale(*tags);
  return tags->isEmpty() ? nullptr : std::move(tags);
}

void readInto(Tags& tags, std::span<const uint8_t> content) {
  const auto image = Exiv2::ImageFactory::open(content.data(), static_cast<long>(content.size()));
  image->readMetadata();
  tags.exif = image->exifData();
  tags.iptc = image->iptcData();
  tags.xmp = image->xmpData();
  tags.comment = image->comment();
}

Bytes encodeExif(const Exiv2::ExifData& exif) {
  if (exif.empty()) return {};
  Exiv2::Blob blob;
  Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, exif);
  return {blob.begin(), blob.end()};
}

constexpr std::string_view kPngComment("Comment\0", 8);

/** Reads chunks that the library knows only under older names. */
void readPngChunks(Tags& tags, std::span<const uint8_t> png) {
  const std::span<const uint8_t> text = findPngChunk(png, "tEXt");
  const std::string_view comment(reinterpret_cast<const char*>(text.data()), text.size());
  if (comment.starts_with(kPngComment)) tags.comment = comment.substr(kPngComment.size());
  const std::span<const uint8_t> exif = findPngChunk(png, "eXIf");
  if (exif.empty() || !tags.exif.empty()) return;
  Exiv2::ExifParser::decode(tags.exif, exif.data(), static_cast<uint32_t>(exif.size()));
}

Bytes insertPngChunks(Bytes png, const Tags& tags) {
  const std::string comment =
      tags.comment.empty() ? std::string() : std::string(kPngComment) + tags.comment;
  png = insertPngChunk(std::move(png), "tEXt", Bytes(comment.begin(), comment.end()));
  return insertPngChunk(std::move(png), "eXIf", encodeExif(tags.exif));
}

void addTags(Exiv2::Image& image, FileKind kind, const Tags& tags) {
  for (const Exiv2::Exifdatum& tag : tags.exif) {
    image.exifData()[tag.key()] = tag.value();
  }
  if (holdsIptc(kind)) image.setIptcData(tags.iptc);
  image.setXmpData(tags.xmp);
  if (kind == FileKind::kJpeg) image.setComment(tags.comment);
}

Bytes contentOf(Exiv2::Image& image) {
  Exiv2::BasicIo& io = image.io();
  Bytes content(static_cast<size_t>(io.size()));
  if (io.open() != 0 || io.read(content.data(), static_cast<long>(content.size())) !=
                            static_cast<long>(content.size())) {
    throw std::runtime_error("its metadata cannot be written");
  }
  return content;
}

Bytes embed(const Bytes& file, FileKind kind, const Tags* tags, std::span<const uint8_t> profile) {
  const auto image = Exiv2::ImageFactory::open(file.data(), static_cast<long>(file.size()));
  image->readMetadata();
  if (tags != nullptr) addTags(*image, kind, *tags);
  // EXIF data now have their own chunk.
  if (kind == FileKind::kPng) image->clearExifData();
  if (!profile.empty()) {
    Exiv2::DataBuf data(profile.data(), static_cast<long>(profile.size()));
    image->setIccProfile(data, false);
  }
  image->writeMetadata();
  return contentOf(*image);
}

} // namespace

std::vector<std::string> lostIn(FileKind kind, const Metadata& metadata) {
  const auto& tags = static_cast<const Tags&>(metadata);
  if (kind == FileKind::kOther) return {"the metadata"};
  std::vector<std::string> lost;
  if (!tags.iptc.empty() && !holdsIptc(kind)) lost.emplace_back("the IPTC data");
  return lost;
}

MetadataPtr readMetadata(FileKind kind, std::span<const uint8_t> content) {
  if (kind == FileKind::kJpegXl) {
    return readMetadataBlocks(findJxlBox(content, "Exif"), findJxlBox(content, "xml "));
  }
  return withLibrary([&]() -> MetadataPtr {
    const auto tags = std::make_shared<Tags>();
    try {
      readInto(*tags, content);
      if (kind == FileKind::kPng) readPngChunks(*tags, content);
    } catch (const std::exception&) { // keep what was read before the damage
    }
    return finish(tags, findDensity(kind, content));
  });
}

MetadataPtr readMetadataBlocks(std::span<const uint8_t> exif, std::span<const uint8_t> xmp) {
  constexpr size_t kOffsetBytes = 4;
  const size_t start =
      exif.size() < kOffsetBytes ? exif.size() : kOffsetBytes + size_t{AV_RB32(exif.data())};
  exif = exif.subspan(std::min(start, exif.size()));
  return withLibrary([&]() -> MetadataPtr {
    const auto tags = std::make_shared<Tags>();
    try {
      if (!exif.empty()) {
        Exiv2::ExifParser::decode(tags->exif, exif.data(), static_cast<uint32_t>(exif.size()));
      }
      Exiv2::XmpParser::decode(tags->xmp, std::string(xmp.begin(), xmp.end()));
    } catch (const std::exception&) {
    }
    return finish(tags, {});
  });
}

std::vector<std::string> findExtraParts(std::span<const uint8_t> content) {
  constexpr std::pair<std::string_view, const char*> kSigns[] = {
      {"hdrgm:Version", "gain map"},       {"urn:iso:std:iso:ts:21496:-1", "gain map"},
      {"aux:hdrgainmap", "gain map"},      {"MotionPhoto=\"1\"", "motion part"},
      {"MicroVideo=\"1\"", "motion part"}, {"MotionPhoto_Data", "motion part"},
  };
  const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
  std::vector<std::string> remarks;
  for (const auto& [sign, part] : kSigns) {
    std::string remark = std::string("its ") + part + " is dropped";
    const bool isNew = std::find(remarks.begin(), remarks.end(), remark) == remarks.end();
    if (isNew && text.find(sign) != std::string_view::npos) remarks.push_back(std::move(remark));
  }
  return remarks;
}

Bytes embedMetadata(Bytes file, FileKind kind, const Metadata* metadata,
                    const WrittenPicture& picture) {
  if (metadata == nullptr && picture.profile.empty()) return file;
  return withLibrary([&]() -> Bytes {
    std::optional<Tags> tags;
    if (metadata != nullptr) tags = describe(*metadata, kind, picture);
    Bytes written = embed(file, kind, tags ? &*tags : nullptr, picture.profile);
    if (!tags) return written;
    if (const std::optional<Density> density = densityOf(tags->exif)) {
      written = insertDensity(std::move(written), kind, *density);
    }
    return kind == FileKind::kPng ? insertPngChunks(std::move(written), *tags) : written;
  });
}

Bytes exifBlock(const Metadata& metadata, const WrittenPicture& picture) {
  return withLibrary([&] { return encodeExif(describe(metadata, FileKind::kHeif, picture).exif); });
}

std::string xmpBlock(const Metadata& metadata) {
  return withLibrary([&] {
    std::string packet;
    const auto& tags = static_cast<const Tags&>(metadata);
    if (!tags.xmp.empty()) Exiv2::XmpParser::encode(packet, tags.xmp);
    return packet;
  });
}

} // namespace tlux::app
