#include "media/picture_format.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "media/color_profile.hpp"

namespace tlux::app {

namespace {

constexpr ColorEncoding kFullRange = {AVCOL_RANGE_JPEG, AVCOL_SPC_BT470BG};
constexpr ColorEncoding kLimitedRange = {AVCOL_RANGE_MPEG, AVCOL_SPC_BT470BG};

constexpr AVPixelFormat kNone = AV_PIX_FMT_NONE;
constexpr AVPixelFormat kRgb = AV_PIX_FMT_RGB24;
constexpr AVPixelFormat kRgba = AV_PIX_FMT_RGBA;
constexpr AVPixelFormat kBgr = AV_PIX_FMT_BGR24;
constexpr AVPixelFormat kBgra = AV_PIX_FMT_BGRA;
constexpr AVPixelFormat k420 = AV_PIX_FMT_YUV420P;
constexpr AVPixelFormat k444 = AV_PIX_FMT_YUV444P;
constexpr AVPixelFormat k420Alpha = AV_PIX_FMT_YUVA420P;

const std::vector<PictureFormat>& pictureFormats() {
  static const std::vector<PictureFormat> formats = {
      {"PNG", {"png"}, FileKind::kPng, "png", kRgb, kRgb, kRgba, kFullRange, true},
      {"JPEG", {"jpg", "jpeg"}, FileKind::kJpeg, nullptr, k420, k444, kNone, kFullRange, true},
      {"WebP", {"webp"}, FileKind::kWebp, "libwebp", k420, kBgra, kBgra, kLimitedRange, true},
      {"AVIF", {"avif"}, FileKind::kHeif, nullptr, k420, k444, k420Alpha, kFullRange, true},
      {"HEIC", {"heic", "heif"}, FileKind::kHeif, nullptr, k420, k444, k420Alpha, kFullRange, true},
      {"JPEG XL", {"jxl"}, FileKind::kJpegXl, "libjxl", kRgb, kRgb, kRgba, kFullRange, true},
      {"TIFF", {"tiff", "tif"}, FileKind::kTiff, "tiff", kRgb, kRgb, kRgba, kFullRange, true},
      {"BMP", {"bmp"}, FileKind::kOther, "bmp", kBgr, kBgr, kNone, kFullRange, false},
  };
  return formats;
}

bool isAvailable(const PictureFormat& format) {
  if (format.kind == FileKind::kJpeg) return true;
  if (format.kind == FileKind::kHeif) return canEncodeHeif(heifCodecOf(format));
  return avcodec_find_encoder_by_name(format.encoder) != nullptr;
}

} // namespace

HeifCodec heifCodecOf(const PictureFormat& format) {
  return format.extensions.front() == std::string_view("avif") ? HeifCodec::kAv1 : HeifCodec::kHevc;
}

std::string extensionOf(const std::filesystem::path& name) {
  std::string extension = name.extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

const PictureFormat* findPictureFormat(const std::filesystem::path& name) {
  const std::string extension = extensionOf(name);
  for (const PictureFormat& format : pictureFormats()) {
    const auto& known = format.extensions;
    const bool matches = std::find(known.begin(), known.end(), extension) != known.end();
    if (matches && isAvailable(format)) return &format;
  }
  return nullptr;
}

std::string writableExtensions() {
  std::vector<std::string> extensions;
  for (const PictureFormat& format : pictureFormats()) {
    if (isAvailable(format)) extensions.emplace_back(format.extensions.front());
  }
  return fmt::format("{}", fmt::join(extensions, ", "));
}

std::vector<std::string> describeLosses(const Picture& picture, const PictureFormat& format) {
  std::vector<std::string> losses;
  if (picture.alpha != nullptr && format.alphaLayout == AV_PIX_FMT_NONE) {
    losses.push_back(fmt::format("transparency is dropped: {} does not support it", format.name));
  }
  if (hasColorProfile(*picture.frame) && !format.keepsProfile) {
    losses.push_back(fmt::format("the colour profile is not kept in {}", format.name));
  }
  if (picture.metadata == nullptr) return losses;
  for (const std::string& lost : lostIn(format.kind, *picture.metadata)) {
    losses.push_back(fmt::format("{} does not support {}", format.name, lost));
  }
  return losses;
}

} // namespace tlux::app
