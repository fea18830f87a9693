#include "tlux/rgb.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "image/format.hpp"

namespace tlux::detail {
namespace {

// Pixels converted at a time, in planar arrays on the stack so that the arithmetic vectorises.
// Even.
constexpr int kStretch = 256;
constexpr int kPairs = kStretch / 2;

using StretchSamples = std::array<std::uint8_t, kStretch>;

struct Rgb {
  StretchSamples red;
  StretchSamples green;
  StretchSamples blue;
};

template <int kBytes, int kRed>
TLUX_INLINED void split(const std::uint8_t* __restrict pixels, int count, Rgb& __restrict rgb) {
  for (int x = 0; x < count; ++x) {
    rgb.red[x] = pixels[kBytes * x + kRed];
    rgb.green[x] = pixels[kBytes * x + 1];
    rgb.blue[x] = pixels[kBytes * x + 2 - kRed];
  }
}

template <int kBytes, int kRed>
TLUX_INLINED void merge(const Rgb& __restrict rgb, int count, std::uint8_t* __restrict pixels) {
  for (int x = 0; x < count; ++x) {
    pixels[kBytes * x + kRed] = rgb.red[x];
    pixels[kBytes * x + 1] = rgb.green[x];
    pixels[kBytes * x + 2 - kRed] = rgb.blue[x];
  }
}

TLUX_MULTIVERSION void splitRgb(const std::uint8_t* pixels, int count, Rgb& rgb) {
  split<3, 0>(pixels, count, rgb);
}
TLUX_MULTIVERSION void splitRgba(const std::uint8_t* pixels, int count, Rgb& rgb) {
  split<4, 0>(pixels, count, rgb);
}
TLUX_MULTIVERSION void splitBgr(const std::uint8_t* pixels, int count, Rgb& rgb) {
  split<3, 2>(pixels, count, rgb);
}
TLUX_MULTIVERSION void splitBgra(const std::uint8_t* pixels, int count, Rgb& rgb) {
  split<4, 2>(pixels, count, rgb);
}
TLUX_MULTIVERSION void mergeRgb(const Rgb& rgb, int count, std::uint8_t* pixels) {
  merge<3, 0>(rgb, count, pixels);
}
TLUX_MULTIVERSION void mergeRgba(const Rgb& rgb, int count, std::uint8_t* pixels) {
  merge<4, 0>(rgb, count, pixels);
}
TLUX_MULTIVERSION void mergeBgr(const Rgb& rgb, int count, std::uint8_t* pixels) {
  merge<3, 2>(rgb, count, pixels);
}
TLUX_MULTIVERSION void mergeBgra(const Rgb& rgb, int count, std::uint8_t* pixels) {
  merge<4, 2>(rgb, count, pixels);
}

struct PixelOrder {
  int pixelBytes;
  void (*split)(const std::uint8_t* pixels, int count, Rgb& rgb);
  void (*merge)(const Rgb& rgb, int count, std::uint8_t* pixels);
};

// By TLUX_PICTURE's layout.
constexpr std::array kPixelOrders = {
    PixelOrder{3, splitRgb, mergeRgb}, PixelOrder{4, splitRgba, mergeRgba},
    PixelOrder{3, splitBgr, mergeBgr}, PixelOrder{4, splitBgra, mergeBgra}};

// Y in Q16; the three weights sum to one so that gray keeps its code.
TLUX_MULTIVERSION void lumaOfPixels(const Rgb& __restrict rgb, int count,
                                    std::uint8_t* __restrict luma) {
  for (int x = 0; x < count; ++x) {
    const std::int32_t sum =
        19595 * rgb.red[x] + 38470 * rgb.green[x] + 7471 * rgb.blue[x] + (1 << 15);
    luma[x] = static_cast<std::uint8_t>(sum >> 16);
  }
}

// Cb and Cr of 2 × 2 pixels from the sums of four, weights in Q16: the scale is 2^18. The two
// negative weights and the positive one sum to zero.
TLUX_MULTIVERSION void chromaOfPixels(const Rgb& __restrict upper, const Rgb& __restrict lower,
                                      int pairs, std::uint8_t* __restrict blueness,
                                      std::uint8_t* __restrict redness) {
  constexpr std::int32_t kNeutral = (128 << 18) + (1 << 17);
  for (int i = 0; i < pairs; ++i) {
    const auto sum = [&](const StretchSamples& a, const StretchSamples& b) {
      return a[2 * i] + a[2 * i + 1] + b[2 * i] + b[2 * i + 1];
    };
    const std::int32_t red = sum(upper.red, lower.red);
    const std::int32_t green = sum(upper.green, lower.green);
    const std::int32_t blue = sum(upper.blue, lower.blue);
    blueness[i] = clampToByte((32768 * blue - 11058 * red - 21710 * green + kNeutral) >> 18);
    redness[i] = clampToByte((32768 * red - 27439 * green - 5329 * blue + kNeutral) >> 18);
  }
}

// Colour differences around zero at every pixel, in sixteenths of a code.
struct ChromaSamples {
  std::array<std::int16_t, kStretch> blueness;
  std::array<std::int16_t, kStretch> redness;
};

TLUX_MULTIVERSION void pixelsOf(const std::uint8_t* __restrict luma,
                                const ChromaSamples& __restrict chroma, int count,
                                Rgb& __restrict rgb) {
  for (int x = 0; x < count; ++x) {
    // Weights in Q14 and sixteenths: the scale is 2^18.
    const std::int32_t base = (luma[x] << 18) + (1 << 17);
    const std::int32_t cb = chroma.blueness[x];
    const std::int32_t cr = chroma.redness[x];
    rgb.red[x] = clampToByte((base + 22970 * cr) >> 18);
    rgb.green[x] = clampToByte((base - 5638 * cb - 11700 * cr) >> 18);
    rgb.blue[x] = clampToByte((base + 29032 * cb) >> 18);
  }
}

// One component of a stretch of chroma with a neighbour at each end, blended 3 : 1 between two
// rows.
using ChromaLine = std::array<std::int16_t, kPairs + 2>;

// Weights 3 and 1 of the near and the far sample; the neutral value is subtracted.
TLUX_MULTIVERSION void interpolateChroma(const ChromaLine& __restrict line, int pairs,
                                         std::array<std::int16_t, kStretch>& __restrict samples) {
  constexpr int kNeutral = 16 * 128;
  for (int i = 0; i < pairs; ++i) {
    const int near = 3 * line[i + 1] - kNeutral;
    samples[2 * i] = static_cast<std::int16_t>(near + line[i]);
    samples[2 * i + 1] = static_cast<std::int16_t>(near + line[i + 2]);
  }
}

// A frame's chroma plane as two components.
struct ChromaPlane {
  explicit ChromaPlane(const TLUX_IMAGE& frame)
      : data(frame.plane[1]),
        pitch(frame.pitch[1]),
        columns(frame.width / 2),
        rows(frame.height / 2),
        bluenessAt(findFormat(frame.format)->cbAt) {}

  std::uint8_t* row(std::int32_t j) const { return data + std::ptrdiff_t{j} * pitch; }

  std::uint8_t* data;
  std::ptrdiff_t pitch;
  std::int32_t columns;
  std::int32_t rows;
  int bluenessAt; // byte of Cb in a pair; Cr is the other
};

// Reads a component with its neighbours; beyond the ends the first and last sample repeat.
TLUX_MULTIVERSION void blendRows(const std::uint8_t* near, const std::uint8_t* far,
                                 std::int32_t first, int pairs, std::int32_t columns,
                                 ChromaLine& line) {
  const auto at = [&](std::ptrdiff_t i) {
    return static_cast<std::int16_t>(3 * near[2 * i] + far[2 * i]);
  };
  line[0] = at(std::max(first - 1, 0));
  for (int i = 0; i < pairs; ++i) {
    line[i + 1] = at(std::ptrdiff_t{first} + i);
  }
  line[pairs + 1] = at(std::min(first + pairs, columns - 1));
}

bool isPair(const TLUX_PICTURE* picture, const TLUX_IMAGE* frame) {
  if (picture == nullptr || frame == nullptr || picture->pixels == nullptr) return false;
  if (picture->width < 1 || picture->height < 1 || picture->layout >= kPixelOrders.size())
    return false;
  const std::int64_t rowBytes =
      std::int64_t{picture->width} * kPixelOrders[picture->layout].pixelBytes;
  if (picture->pitch < rowBytes && picture->pitch > -rowBytes) return false;
  const auto evenSide = [](std::int32_t side) { return (std::int64_t{side} + 1) / 2 * 2; };
  return isSemiPlanar420(frame->format) && frame->width == evenSide(picture->width) &&
         frame->height == evenSide(picture->height) &&
         hasSemiPlanes(*frame, frame->width, frame->width);
}

class Picture {
 public:
  explicit Picture(const TLUX_PICTURE& picture)
      : picture_(picture), layout_(kPixelOrders[picture.layout]) {}

  std::int32_t width() const { return picture_.width; }
  std::int32_t lastRow() const { return picture_.height - 1; }

  // Pixels x to x + count − 1; the one past an odd width repeats the last.
  void read(std::int32_t y, std::int32_t x, int count, Rgb& rgb) const {
    const int present = std::min(count, picture_.width - x);
    layout_.split(at(y, x), present, rgb);
    for (StretchSamples* samples : {&rgb.red, &rgb.green, &rgb.blue}) {
      if (present < count) (*samples)[present] = (*samples)[present - 1];
    }
  }
  void write(std::int32_t y, std::int32_t x, int count, const Rgb& rgb) const {
    layout_.merge(rgb, std::min(count, picture_.width - x), at(y, x));
  }

 private:
  std::uint8_t* at(std::int32_t y, std::int32_t x) const {
    return picture_.pixels + y * picture_.pitch + std::ptrdiff_t{x} * layout_.pixelBytes;
  }

  const TLUX_PICTURE& picture_;
  const PixelOrder& layout_;
};

std::uint8_t* lumaAt(const TLUX_IMAGE& frame, std::int32_t y, std::int32_t x) {
  return frame.plane[0] + std::ptrdiff_t{y} * frame.pitch[0] + x;
}

// Calls work(x, count) for the stretches of a row.
template <class Work>
void forStretches(std::int32_t width, Work work) {
  for (std::int32_t x = 0; x < width; x += kStretch) {
    work(x, std::min(kStretch, width - x));
  }
}

void fillTwoRows(const Picture& picture, const TLUX_IMAGE& frame, const ChromaPlane& chroma,
                 std::int32_t y) {
  forStretches(frame.width, [&](std::int32_t x, int count) {
    Rgb upper;
    Rgb lower;
    picture.read(y, x, count, upper);
    picture.read(std::min(y + 1, picture.lastRow()), x, count, lower);
    lumaOfPixels(upper, count, lumaAt(frame, y, x));
    lumaOfPixels(lower, count, lumaAt(frame, y + 1, x));

    std::array<std::uint8_t, kPairs> blueness;
    std::array<std::uint8_t, kPairs> redness;
    chromaOfPixels(upper, lower, count / 2, blueness.data(), redness.data());
    std::uint8_t* const pairs = chroma.row(y / 2) + x;
    for (int i = 0; i < count / 2; ++i) {
      pairs[2 * i + chroma.bluenessAt] = blueness[i];
      pairs[2 * i + 1 - chroma.bluenessAt] = redness[i];
    }
  });
}

void showRow(const TLUX_IMAGE& frame, const ChromaPlane& chroma, const Picture& picture,
             std::int32_t y) {
  const std::int32_t j = y / 2;
  const std::uint8_t* const near = chroma.row(j);
  const std::uint8_t* const far =
      chroma.row(y % 2 == 0 ? std::max(j - 1, 0) : std::min(j + 1, chroma.rows - 1));
  forStretches(frame.width, [&](std::int32_t x, int count) {
    ChromaSamples samples;
    ChromaLine line;
    for (const int component : {0, 1}) {
      blendRows(near + component, far + component, x / 2, count / 2, chroma.columns, line);
      const bool isBlueness = component == chroma.bluenessAt;
      interpolateChroma(line, count / 2, isBlueness ? samples.blueness : samples.redness);
    }
    Rgb rgb;
    pixelsOf(lumaAt(frame, y, x), samples, count, rgb);
    picture.write(y, x, count, rgb);
  });
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_PictureToFrame(const TLUX_PICTURE* picture, const TLUX_IMAGE* frame) noexcept {
  if (!isPair(picture, frame)) return TLUX_ERR_INVALID_PARAM;
  const Picture source(*picture);
  const ChromaPlane chroma(*frame);
  for (std::int32_t y = 0; y < picture->height; y += 2) {
    fillTwoRows(source, *frame, chroma, y);
  }
  return TLUX_OK;
}

uint32_t TLUX_FrameToPicture(const TLUX_IMAGE* frame, const TLUX_PICTURE* picture) noexcept {
  if (!isPair(picture, frame)) return TLUX_ERR_INVALID_PARAM;
  const Picture target(*picture);
  const ChromaPlane chroma(*frame);
  for (std::int32_t y = 0; y < picture->height; ++y) {
    showRow(*frame, chroma, target, y);
  }
  return TLUX_OK;
}
