// Resizers and eightfold crops against their formulas, sample by sample.
#include <functional>

#include "properties/properties.hpp"
#include "reference/resize.hpp"
#include "support/components.hpp"
#include "support/guarded_buffer.hpp"
#include "tlux/resize.h"
#include "tlux/upscale.h"

namespace tlux::properties {
namespace {

using reference::Channel;
using test::Frame;
using test::FrameChannel;

// Formats with a known order of bytes.
constexpr std::uint32_t kFormats[] = {
    TLUX_FMT_BGR24,      TLUX_FMT_BGR32,         TLUX_FMT_PACKED24_3,    TLUX_FMT_YCBYCR,
    TLUX_FMT_YCBYCR_2,   TLUX_FMT_CBYCRY,        TLUX_FMT_YCBYCR_4,      TLUX_FMT_YCBCR420_P,
    TLUX_FMT_YCBCR440_P, TLUX_FMT_YCBCR422_P,    TLUX_FMT_YCBCR444_P,    TLUX_FMT_YCBCR420_P_B,
    TLUX_FMT_GRAY,       TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR422_YPUV,
};

reference::Channel planeOf(test::GuardedBuffer& rows, int width, int height, int pitch) {
  return {rows.data(), width, height, pitch};
}

struct Side {
  int width;
  int height;
  int pitch;

  explicit Side(Input& input) : Side(input.extent(300, 40), input) {}
  Side(Extent extent, Input& input)
      : width(extent.width), height(extent.height), pitch(width + input.between(0, 17)) {}
  std::size_t bytes() const { return static_cast<std::size_t>((height - 1) * pitch + width); }
};

// Fills a source, calls resize(source, target), and compares all samples of the target.
template <class Resize, class SampleOf>
void checkPlane(Input& input, const Side& from, const Side& to, Resize resize, SampleOf sampleOf) {
  test::GuardedBuffer source(from.bytes());
  input.fill(source.bytes());
  test::GuardedRows target(to.width, to.height, to.pitch - to.width);
  require(resize(source.data(), target.data()) == TLUX_OK);
  require(source.isIntact() && target.isIntact());
  const Channel in = planeOf(source, from.width, from.height, from.pitch);
  reference::forEachPixel(to.width, to.height,
                          [&](int x, int y) { require(target.row(y)[x] == sampleOf(in, x, y)); });
}

void resizeBilinear(Input& input) {
  const Side from(input);
  const Side to(input);
  checkPlane(
      input, from, to,
      [&](const std::uint8_t* in, std::uint8_t* out) {
        return asfImageResize_BL_C1(in, from.width, from.height, from.pitch, out, to.width,
                                    to.height, to.pitch);
      },
      [&](const Channel& in, int x, int y) {
        return reference::bilinear(in, to.width, to.height, x, y);
      });
}

void resizeCubic(Input& input) {
  const Side from(input);
  const Side to(input);
  static std::int16_t table[TLUX_CUBIC_TABLE_SIZE];
  const bool isOwn = input.flag();
  const int a = isOwn ? input.between(-256, 0) : TLUX_CUBIC_SHARP;
  require(InitCubicCoeffTab(table, a) == TLUX_OK);
  checkPlane(
      input, from, to,
      [&](const std::uint8_t* in, std::uint8_t* out) {
        return isOwn ? Resize_Bicubic_8u_C1(in, from.width, from.height, from.pitch, out, to.width,
                                            to.height, to.pitch, table)
                     : ImageResize_Cubic_C1(in, from.width, from.height, from.pitch, out, to.width,
                                            to.height, to.pitch);
      },
      [&](const Channel& in, int x, int y) {
        return reference::bicubic(in, to.width, to.height, x, y, table);
      });
}

void cropEnlarged(Input& input) {
  const Side from(input);
  Side to(input);
  to.width = std::min(to.width, 8 * from.width);
  to.height = std::min(to.height, 8 * from.height);
  const int left = input.between(0, 8 * from.width - to.width);
  const int top = input.between(0, 8 * from.height - to.height);
  checkPlane(
      input, from, to,
      [&](const std::uint8_t* in, std::uint8_t* out) {
        return UpcaleCropGray(in, from.width, from.height, from.pitch, left, top, out, to.width,
                              to.height, to.pitch);
      },
      [&](const Channel& in, int x, int y) {
        return reference::enlargedByEight(in, left + x, top + y);
      });
}

Frame takeFrame(Input& input, std::uint32_t format, int width, int height) {
  Frame frame(format, width, height, Frame::NoPlanes());
  for (const test::PlaneExtent& extent : test::extentsOf(format, width, height)) {
    const int pitch = extent.bytes + input.between(0, 9);
    frame.addPlane(pitch, static_cast<std::size_t>(pitch * extent.rows));
    input.fill(frame.plane(frame.planeCount() - 1).bytes());
  }
  return frame;
}

void resizeImage(Input& input) {
  const std::uint32_t format = input.oneOf(kFormats);
  const int width = input.between(1, 90);
  Frame in = takeFrame(input, format, width, input.between(1, 24));
  const int outWidth = input.between(1, 90);
  Frame out = takeFrame(input, format, outWidth, input.between(1, 24));
  if (in->width == out->width && in->height == out->height) return; // a copy of all bytes
  enum Way { kNearest, kBilinear, kInPieces, kEnlarged };
  constexpr Way kWays[] = {kNearest, kBilinear, kInPieces, kEnlarged};
  const Way way = input.oneOf(kWays);
  if (way == kEnlarged && (out->width > 8 * in->width || out->height > 8 * in->height)) return;
  const int left = way == kEnlarged ? input.between(0, 8 * in->width - out->width) : 0;
  const int top = way == kEnlarged ? input.between(0, 8 * in->height - out->height) : 0;
  const Frame source = in.copy();
  const Frame before = out.copy();
  switch (way) {
    case kNearest:
      require(asfImageResize_NN(in.get(), out.get()) == TLUX_OK);
      break;
    case kBilinear:
      require(asfImageResize_BL(in.get(), out.get()) == TLUX_OK);
      break;
    case kInPieces: {
      const int middle = input.between(0, out->height);
      require(asfImageResize_BL_Piece(in.get(), out.get(), middle, out->height) == TLUX_OK);
      require(asfImageResize_BL_Piece(in.get(), out.get(), 0, middle) == TLUX_OK);
      break;
    }
    case kEnlarged:
      require(UpcaleCropImage(in.get(), left, top, out.get()) == TLUX_OK);
  }
  const auto sampleOf = [&](const Channel& channel, const FrameChannel& target, int x, int y) {
    if (way == kEnlarged) {
      return reference::enlargedByEight(channel, (left >> target.shiftX) + x,
                                        (top >> target.shiftY) + y);
    }
    const int columns = std::max(target.width, 1);
    return way == kNearest ? reference::nearest(channel, columns, target.height, x, y)
                           : reference::bilinear(channel, columns, target.height, x, y);
  };
  require(out == test::mapped(in, before, sampleOf));
  require(in == source);
}

} // namespace

void checkResize(Input& input) {
  constexpr void (*kChecks[])(Input&) = {resizeBilinear, resizeCubic, cropEnlarged, resizeImage};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
