#include "ops/channels.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/library_result.hpp"
#include "media/convert.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr uint8_t kNeutralChroma = 128;

int halved(int side) {
  return (side + 1) / 2;
}

/** Copies the rectangle of @p channel's size whose corner is at @p left, @p top. */
void copyFrom(const AVFrame& frame, int plane, int left, int top, Channel& channel) {
  for (int y = 0; y < channel.height; ++y) {
    std::memcpy(channel.data() + ptrdiff_t{y} * channel.width,
                frame.data[plane] + ptrdiff_t{top + y} * frame.linesize[plane] + left,
                static_cast<size_t>(channel.width));
  }
}

void copyTo(Channel& channel, AVFrame& frame, int plane) {
  for (int y = 0; y < channel.height; ++y) {
    std::memcpy(frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane],
                channel.data() + ptrdiff_t{y} * channel.width, static_cast<size_t>(channel.width));
  }
}

/** Repeats the last column and row up to an even size. */
Channel extendToEven(Channel& channel) {
  Channel even(FFALIGN(channel.width, 2), FFALIGN(channel.height, 2));
  for (int y = 0; y < even.height; ++y) {
    const uint8_t* from =
        channel.data() + ptrdiff_t{std::min(y, channel.height - 1)} * channel.width;
    uint8_t* to = even.data() + ptrdiff_t{y} * even.width;
    std::memcpy(to, from, static_cast<size_t>(channel.width));
    to[even.width - 1] = from[channel.width - 1];
  }
  return even;
}

void putHalvedChroma(Channels& channels, TLUX_IMAGE& image) {
  checkResult(PushUVchannel(channels.cb.data(), channels.cr.data(), channels.cb.width, &image));
}

/** The mean of each 2×2 block. */
void halveChroma(Channels& channels, TLUX_IMAGE& image) {
  Channel planes[] = {extendToEven(channels.luma), extendToEven(channels.cb),
                      extendToEven(channels.cr)};
  TLUX_IMAGE full = planes[0].gray();
  full.format = TLUX_FMT_YCBCR444_P;
  for (int plane = 1; plane < 3; ++plane) {
    full.plane[plane] = planes[plane].data();
    full.pitch[plane] = full.pitch[0];
  }
  checkResult(FormatI444TONV21(&full, &image));
}

FramePtr toPlanar(Channels& channels) {
  FramePtr frame = makeFrame(AV_PIX_FMT_YUV444P, channels.luma.width, channels.luma.height);
  copyTo(channels.luma, *frame, 0);
  copyTo(channels.cb, *frame, 1);
  copyTo(channels.cr, *frame, 2);
  return frame;
}

void takeHalvedChroma(const AVFrame& frame, Channels& channels) {
  // The whole frame, including the extra luma column or row of odd pictures.
  Channel cb(frame.width / 2, frame.height / 2);
  Channel cr(frame.width / 2, frame.height / 2);
  const TLUX_IMAGE image = imageOf(frame);
  checkResult(ExtractUVchannel(&image, cb.data(), cr.data(), cb.width));
  channels.cb = std::move(cb);
  channels.cr = std::move(cr);
}

} // namespace

Channel::Channel(int w, int h, uint8_t value)
    : width(w), height(h), samples(static_cast<size_t>(w) * static_cast<size_t>(h), value) {}

TLUX_IMAGE Channel::gray() {
  TLUX_IMAGE image = {};
  image.format = TLUX_FMT_GRAY;
  image.width = width;
  image.height = height;
  image.plane[0] = data();
  image.pitch[0] = width;
  return image;
}

Channels Channels::ofGray(Channel luma) {
  Channels channels;
  channels.cb = channels.cr = Channel(halved(luma.width), halved(luma.height), kNeutralChroma);
  channels.luma = std::move(luma);
  return channels;
}

Channels takeApart(const Picture& picture) {
  const AVFrame& frame = *picture.frame;
  Channels channels;
  channels.luma = Channel(picture.width(), picture.height());
  const auto left = static_cast<int>(frame.crop_left);
  const auto top = static_cast<int>(frame.crop_top);
  copyFrom(frame, 0, left, top, channels.luma);
  if (left == 0 && top == 0) {
    takeHalvedChroma(frame, channels);
  } else {
    // A rotated picture of odd size starts in the middle of a chroma sample.
    const FramePtr full = convertTo(frame, AV_PIX_FMT_YUV444P, colorEncodingOf(frame));
    channels.cb = channels.cr = Channel(channels.luma.width, channels.luma.height);
    copyFrom(*full, 1, left, top, channels.cb);
    copyFrom(*full, 2, left, top, channels.cr);
  }
  if (picture.alpha != nullptr) {
    channels.alpha = Channel(channels.luma.width, channels.luma.height);
    copyFrom(*picture.alpha, 0, 0, 0, channels.alpha);
  }
  return channels;
}

FramePtr toNv21(Channels& channels) {
  Channel luma = extendToEven(channels.luma);
  FramePtr frame =
      makeSemiPlanar(AV_PIX_FMT_NV21, luma.width, luma.height, FFALIGN(luma.width, 64));
  copyTo(luma, *frame, 0);
  TLUX_IMAGE image = imageOf(*frame);
  (channels.hasHalvedChroma() ? putHalvedChroma : halveChroma)(channels, image);
  return frame;
}

Picture putTogether(Channels channels, const Picture& model, bool semiPlanar) {
  Picture picture;
  picture.isRaw = model.isRaw;
  picture.storedWidth = model.storedWidth;
  picture.storedHeight = model.storedHeight;
  picture.metadata = model.metadata;
  picture.modified = model.modified;
  const bool asFrame = semiPlanar || channels.hasHalvedChroma();
  picture.frame = asFrame ? toNv21(channels) : toPlanar(channels);
  AVFrame& frame = *picture.frame;
  check(av_frame_copy_props(&frame, model.frame.get()));
  frame.crop_left = frame.crop_top = 0;
  frame.crop_right = static_cast<size_t>(frame.width - channels.luma.width);
  frame.crop_bottom = static_cast<size_t>(frame.height - channels.luma.height);
  if (!channels.alpha.isEmpty()) {
    picture.alpha = makeFrame(AV_PIX_FMT_GRAY8, channels.alpha.width, channels.alpha.height);
    copyTo(channels.alpha, *picture.alpha, 0);
  }
  return picture;
}

} // namespace tlux::app
