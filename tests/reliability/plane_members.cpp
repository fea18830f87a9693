#include "reliability/plane_members.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "reference/chroma.hpp"
#include "reference/labels.hpp"
#include "reference/resize.hpp"
#include "reference/selection.hpp"
#include "reference/simple_tools.hpp"
#include "reference/smoothing.hpp"
#include "tlux.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kRadius = 2;

// For members that work in place.
void copyInput(const PlaneCall& c) {
  for (std::ptrdiff_t y = 0; y < c.size.height; ++y)
    std::memcpy(c.output + y * c.outputPitch, c.input + y * c.inputPitch,
                static_cast<std::size_t>(c.size.width));
}

class Simple {
 public:
  Simple(const std::uint8_t* bytes, int pitch, Size size, int channels) {
    auto* first = const_cast<std::uint8_t*>(bytes);
    for (std::ptrdiff_t y = 0; y < size.height; ++y)
      rows_.push_back(first + y * pitch);
    record_ = {size.width, size.height, pitch, size.height * pitch,
               channels,   8,           first, rows_.data()};
  }
  operator img*() { return &record_; }

 private:
  std::vector<std::uint8_t*> rows_;
  img record_{};
};

reference::Channel channelOf(const Bytes& in, Size size) {
  return {in.data(), size.width, size.height, size.width};
}

Bytes guided(const Bytes& in, Size, Size size) {
  const int radius = std::min(kRadius, std::max(size.width, size.height));
  return reference::applyCoefficients<1>(reference::guidedCoefficients(in, in, size, radius), in,
                                         size, radius);
}

template <auto SampleOf>
Bytes resized(const Bytes& in, Size inputSize, Size size) {
  return reference::mapPixels(size.width, size.height, [&](int x, int y) {
    return static_cast<std::uint8_t>(
        SampleOf(channelOf(in, inputSize), size.width, size.height, x, y));
  });
}

int cubicSample(const reference::Channel& in, int width, int height, int x, int y) {
  static const std::vector<std::int16_t> kTable = [] {
    std::vector<std::int16_t> table(TLUX_CUBIC_TABLE_SIZE);
    InitCubicCoeffTab(table.data(), TLUX_CUBIC_SHARP);
    return table;
  }();
  return reference::bicubic(in, width, height, x, y, kTable.data());
}

Size twoThirds(Size size) {
  return {size.width * 2 / 3 + 1, size.height * 2 / 3 + 1};
}

constexpr int kCropLeft = 5;
constexpr int kCropTop = 3;

int enlargedSample(const reference::Channel& in, int, int, int x, int y) {
  return reference::enlargedByEight(in, kCropLeft + x, kCropTop + y);
}

// Erosion clears pixels within the radius of a clear pixel or of the outside of the mask; dilation
// sets pixels within the radius of a set pixel.
template <bool kIsErosion>
Bytes morphed(const Bytes& in, Size, Size size) {
  return reference::mapPixels(size.width, size.height, [&](int x, int y) {
    bool isNear = false;
    reference::forEachIn(
        x - kRadius, y - kRadius, x + kRadius + 1, y + kRadius + 1, [&](int u, int v) {
          if (std::abs(u - x) + std::abs(v - y) > kRadius) return;
          const bool isBeyond = u < 0 || v < 0 || u >= size.width || v >= size.height;
          isNear |= isBeyond ? kIsErosion : (in[v * size.width + u] == 0) == kIsErosion;
        });
    return static_cast<std::uint8_t>(isNear == kIsErosion ? 0 : 255);
  });
}

Bytes boundaryOf(const Bytes& in, Size, Size size) {
  return reference::boundary({size.width, size.height, in}, 4).values;
}

template <auto Convert>
std::uint32_t convert(const PlaneCall& c, int channels) {
  Simple source(c.input, c.inputPitch, c.size, 3);
  Simple target(c.output, c.outputPitch, c.size, channels);
  Convert(source, target);
  return TLUX_OK;
}

template <class PixelOf>
Bytes converted(const Bytes& in, PixelOf pixelOf) {
  Bytes out;
  for (std::size_t i = 0; i < in.size(); i += 3)
    pixelOf(out, in[i], in[i + 1], in[i + 2]);
  return out;
}

const Bytes& someTable() {
  static const Bytes kTable = [] {
    Bytes table;
    for (int i = 0; i < 256; ++i)
      table.push_back(static_cast<std::uint8_t>(i * 37 + 11));
    return table;
  }();
  return kTable;
}

Bytes gaussSmoothed(const Bytes& in, Size, Size size) {
  const reference::Channel p = channelOf(in, size);
  return reference::mapPixels(size.width, size.height, [&](int x, int y) {
    int sum = 8;
    reference::forEachIn(-1, -1, 2, 2, [&](int dx, int dy) {
      sum += (2 - std::abs(dx)) * (2 - std::abs(dy)) * p.at(x + dx, y + dy);
    });
    return static_cast<std::uint8_t>(sum / 16);
  });
}

// Rows of old luma, then of new luma, then of chroma.
Size threePlanes(Size size) {
  return {size.width, 3 * size.height};
}

Bytes followedLuma(const Bytes& in, Size, Size size) {
  const int bytes = 2 * size.width;
  const auto at = [&](int kind, int x, int y) {
    return in[static_cast<std::size_t>((kind * size.height + y) * bytes + x)];
  };
  return reference::mapPixels(bytes, size.height, [&](int x, int y) {
    const auto sum = [&](int kind) { return at(kind, x / 2 * 2, y) + at(kind, x | 1, y); };
    return reference::scaleChromaSample(at(2, x, y), reference::chromaRatio(sum(0), sum(1)));
  });
}

constexpr PlaneMember kMembers[] = {
    // Filters
    {"DstFilterChannel", 1, 1,
     [](const PlaneCall& c) {
       return DstFilterChannel(nullptr, c.input, c.inputPitch, c.input, c.inputPitch, c.output,
                               c.outputPitch, c.size.width, c.size.height, kRadius);
     },
     guided},
    {"BilateralFilter1D", 1, 1,
     [](const PlaneCall& c) {
       return BilateralFilter1D(nullptr, c.input, c.inputPitch, c.output, c.outputPitch,
                                c.size.width, c.size.height, 1, 20, 1.5F);
     },
     [](const Bytes& in, Size, Size size) { return reference::bilateral(in, size, 1, 20, 1.5); }},

    // Tone and exposure
    {"AME_SmoothSelect", 1, 1,
     [](const PlaneCall& c) {
       return AME_SmoothSelect(nullptr, c.input, c.output, c.size.width, c.size.height);
     },
     [](const Bytes& in, Size, Size size) {
       return reference::smoothSelection(in, size.width, size.height);
     },
     true},

    {"ToneNV21Line", 2, 2,
     [](const PlaneCall& c) {
       const std::ptrdiff_t plane = std::ptrdiff_t{c.size.height} * c.inputPitch;
       for (std::ptrdiff_t y = 0; y < c.size.height; ++y) {
         const std::uint8_t* oldLuma = c.input + y * c.inputPitch;
         ToneNV21Line(0, oldLuma + plane, c.output + y * c.outputPitch, oldLuma,
                      oldLuma + 2 * plane, 2 * c.size.width);
       }
       return TLUX_OK;
     },
     followedLuma, false, threePlanes},
    {"GaussSmoothI444", 1, 1,
     [](const PlaneCall& c) {
       auto* in = const_cast<std::uint8_t*>(c.input);
       const auto image = [&](std::uint8_t* plane, int pitch) {
         return TLUX_IMAGE{TLUX_FMT_YCBCR444_P,
                           c.size.width,
                           c.size.height,
                           {plane, plane, plane},
                           {pitch, pitch, pitch}};
       };
       const TLUX_IMAGE source = image(in, c.inputPitch);
       TLUX_IMAGE target = image(c.output, c.outputPitch);
       return GaussSmoothI444(&source, &target, 7);
     },
     gaussSmoothed},

    // Resizers
    {"asfImageResize_BL_C1", 1, 1,
     [](const PlaneCall& c) {
       return asfImageResize_BL_C1(c.input, c.inputSize.width, c.inputSize.height, c.inputPitch,
                                   c.output, c.size.width, c.size.height, c.outputPitch);
     },
     resized<reference::bilinear>, false, twoThirds},
    {"ImageResize_Cubic_C1", 1, 1,
     [](const PlaneCall& c) {
       return ImageResize_Cubic_C1(c.input, c.inputSize.width, c.inputSize.height, c.inputPitch,
                                   c.output, c.size.width, c.size.height, c.outputPitch);
     },
     resized<cubicSample>, false, twoThirds},
    {"UpcaleCropGray", 1, 1,
     [](const PlaneCall& c) {
       return UpcaleCropGray(c.input, c.inputSize.width, c.inputSize.height, c.inputPitch,
                             kCropLeft, kCropTop, c.output, c.size.width, c.size.height,
                             c.outputPitch);
     },
     resized<enlargedSample>, false,
     [](Size size) {
       return Size{(kCropLeft + size.width + 7) / 8, (kCropTop + size.height + 7) / 8};
     }},

    // Masks and regions
    {"TLUX_ErodeEx", 1, 1,
     [](const PlaneCall& c) {
       copyInput(c);
       TLUX_ErodeEx(c.output, c.outputPitch, static_cast<std::uint32_t>(c.size.width),
                    static_cast<std::uint32_t>(c.size.height), kRadius, nullptr);
       return TLUX_OK;
     },
     morphed<true>},
    {"TLUX_DilateEx", 1, 1,
     [](const PlaneCall& c) {
       copyInput(c);
       TLUX_DilateEx(c.output, static_cast<std::uint32_t>(c.outputPitch),
                     static_cast<std::uint32_t>(c.size.width),
                     static_cast<std::uint32_t>(c.size.height), kRadius, nullptr);
       return TLUX_OK;
     },
     morphed<false>},
    {"TLUX_TRegionLabel_Boundary", 1, 1,
     [](const PlaneCall& c) {
       return TLUX_TRegionLabel_Boundary(
           c.input, c.inputPitch, static_cast<std::uint32_t>(c.size.width),
           static_cast<std::uint32_t>(c.size.height), 4, c.output, c.outputPitch);
     },
     boundaryOf},

    // Tools of one pixel
    {"TLUX_AdjustImageByTable", 1, 1,
     [](const PlaneCall& c) {
       copyInput(c);
       TLUX_IMAGE image{TLUX_FMT_GRAY, c.size.width, c.size.height, {c.output}, {c.outputPitch}};
       TLUX_AdjustImageByTable(&image, someTable().data());
       return TLUX_OK;
     },
     [](const Bytes& in, Size, Size) {
       Bytes out = in;
       for (std::uint8_t& pixel : out)
         pixel = someTable()[pixel];
       return out;
     }},
    {"to_gray", 3, 1, [](const PlaneCall& c) { return convert<to_gray>(c, 1); },
     [](const Bytes& in, Size, Size) {
       return converted(
           in, [](Bytes& out, int b, int g, int r) { out.push_back(reference::gray(b, g, r)); });
     }},
    {"to_maxgray", 3, 1, [](const PlaneCall& c) { return convert<to_maxgray>(c, 1); },
     [](const Bytes& in, Size, Size) {
       return converted(in, [](Bytes& out, int b, int g, int r) {
         out.push_back(static_cast<std::uint8_t>(std::max({b, g, r})));
       });
     }},
    {"img_lab", 3, 3, [](const PlaneCall& c) { return convert<img_lab>(c, 3); },
     [](const Bytes& in, Size, Size) {
       return converted(in, [](Bytes& out, int b, int g, int r) {
         const reference::Lab lab = reference::lab(b, g, r);
         out.insert(out.end(), {lab.l, lab.a, lab.b});
       });
     }},
};

} // namespace

std::span<const PlaneMember> planeMembers() {
  return kMembers;
}

bool followsItsFormula(const PlaneMember& member, Size size, Gaps gaps, Guard guard,
                       const std::function<void(std::span<std::uint8_t> row)>& fill) {
  // Pitches are multiples of the sample's alignment.
  const auto rows = [&](Size of, int bytes, int gap) {
    const int unit = bytes == 3 ? 1 : bytes;
    return GuardedRows(of.width * bytes, of.height, member.isPacked ? 0 : gap * unit, false, guard);
  };
  const Size inputSize = member.inputSize(size);
  GuardedRows input = rows(inputSize, member.inputBytes, gaps.input);
  GuardedRows output = rows(size, member.outputBytes, gaps.output);
  for (int y = 0; y < inputSize.height; ++y)
    fill({input.row(y), static_cast<std::size_t>(inputSize.width * member.inputBytes)});
  const Bytes samples = input.samples();
  const std::uint32_t result =
      member.apply({input.data(), input.pitch(), inputSize, output.data(), output.pitch(), size});
  return result == TLUX_OK && input.holds(samples) &&
         output.holds(member.formula(samples, inputSize, size));
}

} // namespace tlux::test
