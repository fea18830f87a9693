#include "media/display_color.hpp"

extern "C" {
#include <libavutil/bswap.h>
#include <libavutil/pixdesc.h>
}

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "media/color_profile.hpp"
#include "media/convert.hpp"

namespace tlux::app {

namespace {

template <auto release>
struct Close {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};

using ProfilePtr = std::unique_ptr<std::remove_pointer_t<cmsHPROFILE>, Close<cmsCloseProfile>>;
using TransformPtr =
    std::unique_ptr<std::remove_pointer_t<cmsHTRANSFORM>, Close<cmsDeleteTransform>>;

const AVPixFmtDescriptor& layoutOf(const AVFrame& frame) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

uint8_t* row(const AVFrame& frame, int plane, int y) {
  return frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane];
}

/** Converts samples of @p format with a profile to sRGB of the same depth. */
class ToSrgb {
 public:
  ToSrgb(std::span<const uint8_t> profile, cmsColorSpaceSignature space, cmsUInt32Number format)
      : isDeep_(T_BYTES(format) == 2) {
    const ProfilePtr from(
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    if (from == nullptr || cmsGetColorSpace(from.get()) != space) {
      throw std::runtime_error("its colour profile does not fit its samples");
    }
    const ProfilePtr to(cmsCreate_sRGBProfile());
    transform_.reset(cmsCreateTransform(
        from.get(), format, to.get(), isDeep_ ? TYPE_RGB_16 : TYPE_RGB_8,
        INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE));
    if (transform_ == nullptr) throw std::runtime_error("its colour profile cannot be used");
  }

  AVPixelFormat layout() const { return isDeep_ ? AV_PIX_FMT_RGB48 : AV_PIX_FMT_RGB24; }

  void convertRow(const uint8_t* from, uint8_t* to, int width) const {
    cmsDoTransform(transform_.get(), from, to, static_cast<cmsUInt32Number>(width));
  }

 private:
  bool isDeep_;
  TransformPtr transform_;
};

/** Four adjacent samples per pixel; full ink is the largest value. */
template <typename Sample>
void gatherInk(const InkSamples& samples, int y, Sample* inks) {
  const uint8_t* from = samples.data + samples.pixelBytes * static_cast<size_t>(samples.width) *
                                           static_cast<size_t>(y);
  for (int x = 0; x < samples.width; ++x, from += samples.pixelBytes, inks += 4) {
    std::memcpy(inks, from, 4 * sizeof(Sample));
    if (!samples.isInverted) continue;
    for (int ink = 0; ink < 4; ++ink) {
      inks[ink] = static_cast<Sample>(~inks[ink]);
    }
  }
}

/** Each ink absorbs its share of the light: red becomes (1 - C)(1 - K), and so on. */
template <typename Sample>
void mixInks(const Sample* inks, Sample* rgb, int width) {
  constexpr uint64_t kFull = static_cast<Sample>(~Sample{0});
  for (int x = 0; x < width; ++x, inks += 4, rgb += 3) {
    for (int color = 0; color < 3; ++color) {
      rgb[color] =
          static_cast<Sample>(((kFull - inks[color]) * (kFull - inks[3]) + kFull / 2) / kFull);
    }
  }
}

template <typename Sample>
FramePtr convertInks(const InkSamples& samples) {
  constexpr bool kIsDeep = sizeof(Sample) == 2;
  std::vector<Sample> inks(static_cast<size_t>(samples.width) * 4);
  std::unique_ptr<ToSrgb> toSrgb;
  if (!samples.profile.empty()) {
    toSrgb = std::make_unique<ToSrgb>(samples.profile, cmsSigCmykData,
                                      kIsDeep ? TYPE_CMYK_16 : TYPE_CMYK_8);
  }
  FramePtr rgb =
      makeFrame(kIsDeep ? AV_PIX_FMT_RGB48 : AV_PIX_FMT_RGB24, samples.width, samples.height);
  for (int y = 0; y < samples.height; ++y) {
    gatherInk(samples, y, inks.data());
    uint8_t* to = row(*rgb, 0, y);
    if (toSrgb != nullptr) {
      toSrgb->convertRow(reinterpret_cast<const uint8_t*>(inks.data()), to, samples.width);
    } else {
      mixInks(inks.data(), reinterpret_cast<Sample*>(to), samples.width);
    }
  }
  return rgb;
}

bool isGrayProfile(const AVFrameSideData& profile) {
  return profileSpace({profile.data, profile.size}) == "GRAY";
}

FramePtr grayToRgb(const AVFrame& picture, const AVFrameSideData& profile) {
  const bool isDeep = layoutOf(picture).comp[0].depth > 8;
  const FramePtr gray = convertTo(picture, isDeep ? AV_PIX_FMT_GRAY16 : AV_PIX_FMT_GRAY8, {});
  const ToSrgb toSrgb({profile.data, profile.size}, cmsSigGrayData,
                      isDeep ? TYPE_GRAY_16 : TYPE_GRAY_8);
  FramePtr rgb = makeFrame(toSrgb.layout(), picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    toSrgb.convertRow(row(*gray, 0, y), row(*rgb, 0, y), picture.width);
  }
  return rgb;
}

/** The transfer curve of IEC 61966-2-1, indexed by the square root of light for fine shadows. */
class SrgbTable {
 public:
  SrgbTable() {
    for (size_t i = 0; i < codes_.size(); ++i) {
      const double root = static_cast<double>(i) / kLast;
      const double light = root * root;
      const double code =
          light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
      codes_[i] = static_cast<uint16_t>(std::lround(65535 * code));
    }
  }

  /** 1 is white; brighter values and NaN are clamped. */
  uint16_t operator()(float light) const {
    if (!(light > 0)) return 0;
    return codes_[static_cast<size_t>(std::lround(std::sqrt(std::min(light, 1.0F)) * kLast))];
  }

 private:
  static constexpr int kLast = 65535;
  std::array<uint16_t, kLast + 1> codes_;
};

float floatAt(const uint8_t* sample, bool isBigEndian) {
  uint32_t bits = 0;
  std::memcpy(&bits, sample, sizeof bits);
  if (isBigEndian != (std::endian::native == std::endian::big)) bits = av_bswap32(bits);
  return std::bit_cast<float>(bits);
}

FramePtr lightToRgb(const AVFrame& picture) {
  static const SrgbTable toCode;
  const AVPixFmtDescriptor& layout = layoutOf(picture);
  const bool isGray = layout.nb_components <= 2;
  const bool isBigEndian = (layout.flags & AV_PIX_FMT_FLAG_BE) != 0;
  FramePtr rgb = makeFrame(AV_PIX_FMT_RGB48, picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    auto* to = reinterpret_cast<uint16_t*>(row(*rgb, 0, y));
    for (int color = 0; color < 3; ++color) {
      const AVComponentDescriptor& place = layout.comp[isGray ? 0 : color];
      const uint8_t* from = row(picture, place.plane, y) + place.offset;
      for (ptrdiff_t x = 0; x < picture.width; ++x) {
        to[3 * x + color] = toCode(floatAt(from + x * place.step, isBigEndian));
      }
    }
  }
  return rgb;
}

} // namespace

FramePtr inkToRgb(const InkSamples& samples) {
  return samples.sampleBytes == 2 ? convertInks<uint16_t>(samples) : convertInks<uint8_t>(samples);
}

FramePtr toDisplayColor(const AVFrame& picture) {
  const AVPixFmtDescriptor& layout = layoutOf(picture);
  if ((layout.flags & AV_PIX_FMT_FLAG_FLOAT) != 0) return lightToRgb(picture);
  const AVFrameSideData* profile = av_frame_get_side_data(&picture, AV_FRAME_DATA_ICC_PROFILE);
  const bool isGray = layout.nb_components <= 2 && (layout.flags & AV_PIX_FMT_FLAG_PAL) == 0;
  const bool hasGrayProfile = isGray && profile != nullptr && isGrayProfile(*profile);
  return hasGrayProfile ? grayToRgb(picture, *profile) : nullptr;
}

} // namespace tlux::app
