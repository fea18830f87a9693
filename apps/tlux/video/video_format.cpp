#include "video/video_format.hpp"

extern "C" {
#include <libavutil/opt.h>
}

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

namespace tlux::app {

namespace {

const std::vector<VideoFormat>& videoFormats() {
  static const std::vector<VideoFormat> formats = {
      {"mp4", "libx264", "libx265", {"mp4", "m4v"}, true, true},
      {"mov", "libx264", "libx265", {"mov", "qt"}, true, true},
      {"matroska", "libx264", "libx265", {"mkv"}, true},
      {"webm", "libvpx-vp9", nullptr, {"webm"}, true},
      {"avi", "libx264", nullptr, {"avi"}},
      {"mpegts", "libx264", "libx265", {"ts", "mts", "m2ts"}, true},
      {"flv", "libx264", nullptr, {"flv"}, true},
      {"3gp", "libx264", nullptr, {"3gp"}, true, true},
      {"asf", "wmv2", nullptr, {"wmv", "asf"}, true},
      {"ogv", "libtheora", nullptr, {"ogv"}},
      {"vob", "mpeg2video", nullptr, {"mpg", "mpeg", "vob"}},
      {"mxf", "mpeg2video", nullptr, {"mxf"}},
      {"nut", "libx264", nullptr, {"nut"}, true},
      {"yuv4mpegpipe", "wrapped_avframe", nullptr, {"y4m"}},
  };
  return formats;
}

bool isAvailable(const VideoFormat& format) {
  return av_guess_format(format.muxer, nullptr, nullptr) != nullptr;
}

/** The constant rate factor (0 to 51) that looks about as good as a picture of that quality. */
double rateFactor(int quality) {
  // Interpolated linearly between the points; 18 is hard to distinguish from the source.
  constexpr struct {
    int quality;
    double factor;
  } kPoints[] = {{1, 51}, {50, 30}, {75, 24}, {92, 18}, {100, 10}};
  const auto* upper = std::find_if(std::begin(kPoints) + 1, std::end(kPoints) - 1,
                                   [=](const auto& point) { return quality <= point.quality; });
  const auto* lower = upper - 1;
  const double share = static_cast<double>(quality - lower->quality) /
                       static_cast<double>(upper->quality - lower->quality);
  return lower->factor + share * (upper->factor - lower->factor);
}

constexpr double kFactorScale = 51;

} // namespace

const VideoFormat* findVideoFormat(const std::string& extension) {
  for (const VideoFormat& format : videoFormats()) {
    const auto& known = format.extensions;
    const bool matches = std::find(known.begin(), known.end(), extension) != known.end();
    if (matches && isAvailable(format)) return &format;
  }
  return nullptr;
}

std::string writableVideoExtensions() {
  std::vector<std::string> extensions;
  for (const VideoFormat& format : videoFormats()) {
    if (isAvailable(format)) extensions.emplace_back(format.extensions.front());
  }
  return fmt::format("{}", fmt::join(extensions, ", "));
}

EncoderTraits traitsOf(const AVCodec& encoder) {
  const std::string_view name = encoder.name;
  if (name == "libx264" || name == "libx265") {
    return {.qualityScale = 51, .needsEvenSize = true, .takesAnyTimes = true};
  }
  if (name == "libvpx" || name == "libvpx-vp9" || name == "libaom-av1" || name == "libsvtav1") {
    return {.qualityScale = 63, .takesAnyTimes = true};
  }
  if (name == "ffv1" || name == "rawvideo" || name == "wrapped_avframe") {
    return {.takesAnyTimes = true};
  }
  return {};
}

void setVideoQuality(AVCodecContext& encoder, int quality) {
  const double factor = rateFactor(quality);
  if (encoder.codec_id == AV_CODEC_ID_HEVC) {
    // x265 prints directly instead of using FFmpeg's log.
    av_opt_set(encoder.priv_data, "x265-params", "log-level=none", 0);
  }
  const int scale = traitsOf(*encoder.codec).qualityScale;
  if (scale > 0) {
    encoder.bit_rate = 0; // so that only the quality counts
    check(
        av_opt_set_double(encoder.priv_data, "crf", std::round(factor * scale / kFactorScale), 0));
    return;
  }
  // Quantisers range from 1 to 31 and double every 6 steps of the factor, from 2 at 18.
  encoder.flags |= AV_CODEC_FLAG_QSCALE;
  if (encoder.codec_id == AV_CODEC_ID_THEORA) { // 10 is best
    encoder.global_quality = quality * FF_QP2LAMBDA / 10;
    return;
  }
  const double quantiser = std::clamp(2 * std::exp2((factor - 18) / 6), 1.0, 31.0);
  encoder.global_quality = static_cast<int>(std::lround(quantiser * FF_QP2LAMBDA));
}

const char* usualEncoder(const VideoFormat& format, int bits) {
  const bool isThere =
      format.deepEncoder != nullptr && avcodec_find_encoder_by_name(format.deepEncoder) != nullptr;
  return bits > 8 && isThere ? format.deepEncoder : format.encoder;
}

bool isMp4(const AVOutputFormat& muxer) {
  const std::string_view name = muxer.name;
  return name == "mp4" || name == "mov" || name == "3gp";
}

AVPixelFormat chooseLayout(const AVCodec& encoder, const StreamProperties& properties,
                           bool wholeChroma) {
  const AVPixelFormat* end = encoder.pix_fmts;
  if (end == nullptr) return AV_PIX_FMT_YUV420P; // accepts any layout
  while (*end != AV_PIX_FMT_NONE) {
    ++end;
  }
  const bool isOdd = ((properties.width | properties.height) & 1) != 0;
  const bool isWhole = wholeChroma || (isOdd && traitsOf(encoder).needsEvenSize);
  const bool isDeep = properties.bits > 8;
  const struct {
    AVPixelFormat layout;
    bool isWanted;
  } preferences[] = {
      {AV_PIX_FMT_YUV444P10, isDeep && isWhole},
      {AV_PIX_FMT_YUV420P10, isDeep && !isWhole},
      {AV_PIX_FMT_YUV444P, isWhole},
      {AV_PIX_FMT_NV12, true},
      {AV_PIX_FMT_YUV420P, true},
      {AV_PIX_FMT_YUVJ420P, true},
  };
  for (const auto& [layout, isWanted] : preferences) {
    if (isWanted && std::find(encoder.pix_fmts, end, layout) != end) return layout;
  }
  return avcodec_find_best_pix_fmt_of_list(encoder.pix_fmts, AV_PIX_FMT_YUV420P, 0, nullptr);
}

} // namespace tlux::app
