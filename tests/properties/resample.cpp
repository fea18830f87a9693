// Every member of the reductions against its formula, sample by sample.
#include <optional>

#include "properties/properties.hpp"
#include "reference/resample.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::properties {
namespace {

using reference::Reduced;
using reference::Source;

constexpr int kFourThirds = 0;

struct Member {
  void (*reduce)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);
  std::uint32_t format;
  int factor;
  bool isDispatched;
};

#define DISPATCHED(FUNCTION, LAYOUT, N) {FUNCTION, TLUX_FMT_##LAYOUT, N, true},
#define BY_NAME_ONLY(FUNCTION, LAYOUT, N) {FUNCTION, TLUX_FMT_##LAYOUT, N, false},
constexpr Member kMembers[] = {
    TLUX_RESAMPLE_DISPATCHED_MEMBERS(DISPATCHED) TLUX_RESAMPLE_FURTHER_MEMBERS(BY_NAME_ONLY)
        BY_NAME_ONLY(ResampleImage_4_3_YCBCR420_P, YCBCR420_P, kFourThirds)};

struct Arrangement {
  std::uint32_t word;
  char pattern[5];
};
constexpr Arrangement kArrangements[] = {{0x16161616, "BGGR"},
                                         {0x49494949, "GBRG"},
                                         {0x61616161, "GRBG"},
                                         {0x94949494, "RGGB"},
                                         {0x94940000, "BGGR"}};

// Planes end with the last sample of their last row; one chroma pair is readable before them.
class Frame {
 public:
  Frame(Input& input, std::uint32_t format) : image_{format, 0, 0, {}, {}} {
    const Extent extent = input.extent(150, 70, 16);
    const int width = image_.width = std::max(extent.width, 2);
    const int height = image_.height = std::max(extent.height, 2);
    if (format == TLUX_FMT_YCBYCR || format == TLUX_FMT_BAYER) {
      add(input, 0, 2 * width, height, 0);
      return;
    }
    const bool is422 = format == TLUX_FMT_YCBCR422_YPUV || format == TLUX_FMT_YCBCR422_P;
    const bool isSemiPlanar = format >> 8 == 8;
    const int chromaRows = is422 ? height : height / 2;
    add(input, 0, width, height, 0);
    add(input, 1, isSemiPlanar ? width / 2 * 2 : width / 2, chromaRows, isSemiPlanar ? 2 : 1);
    if (!isSemiPlanar) add(input, 2, width / 2, chromaRows, 1);
  }
  TLUX_IMAGE& image() { return image_; }

 private:
  void add(Input& input, int plane, int rowBytes, int rows, int before) {
    const int pitch = rowBytes + input.between(0, 9);
    buffers_[plane].emplace(static_cast<std::size_t>(before + (rows - 1) * pitch + rowBytes));
    input.fill(buffers_[plane]->bytes());
    image_.plane[plane] = buffers_[plane]->data() + before;
    image_.pitch[plane] = pitch;
  }

  std::optional<test::GuardedBuffer> buffers_[3];
  TLUX_IMAGE image_;
};

// In a destination wider than the output, rows start that much closer together.
class Destination {
 public:
  Destination(Input& input, const Reduced& expected)
      : image_{0, expected.width + input.between(0, 3), expected.height, {}, {}} {
    for (int i = 0; i < 3; ++i) {
      const int rowStep = expected.width + input.between(1, 7);
      planes_[i].emplace(expected.width, expected.height, rowStep);
      image_.plane[i] = planes_[i]->data();
      image_.pitch[i] = rowStep + image_.width - expected.width;
    }
  }
  TLUX_IMAGE& image() { return image_; }

  void requireEqual(Reduced& expected) {
    for (int i = 0; i < 3; ++i) {
      require(planes_[i]->isIntact());
      for (int y = 0; y < expected.height; ++y) {
        for (int x = 0; x < expected.width; ++x) {
          require(planes_[i]->data()[y * planes_[i]->pitch() + x] == expected.at(i, x, y));
        }
      }
    }
  }

 private:
  std::optional<test::GuardedPlane> planes_[3];
  TLUX_IMAGE image_;
};

Reduced formula(const Member& member, const TLUX_IMAGE& image, const TLUX_CROP_RECT& crop,
                const Arrangement& arrangement) {
  const Source source{member.format, image, crop};
  if (member.factor == kFourThirds) return reference::reduceByFourThirds(source);
  if (member.factor == 1) return reference::widen(source);
  if (member.format == TLUX_FMT_BAYER && member.factor == 8) {
    return reference::reduceRawByEight(source, arrangement.pattern);
  }
  return reference::reduce(source, member.factor);
}

} // namespace

void checkResample(Input& input) {
  const Member member = input.oneOf(kMembers);
  const Arrangement arrangement = input.oneOf(kArrangements);
  Frame frame(input, member.format);
  TLUX_IMAGE& image = frame.image();
  TLUX_CROP_RECT rect{0, 0, image.width - 1, image.height - 1};
  if (input.flag()) {
    rect.left = input.between(0, image.width - 1);
    rect.top = input.between(0, image.height - 1);
    rect.right = input.between(rect.left, image.width - 1);
    rect.bottom = input.between(rect.top, image.height - 1);
  }
  gi32PixelArrangement = arrangement.word;

  if (member.isDispatched && input.flag()) {
    // The dispatcher reduces whole pairs of blocks.
    const int step = 2 * member.factor;
    const TLUX_CROP_RECT rounded{rect.left, rect.top,
                                 rect.left + (rect.right - rect.left + 1) / step * step - 1,
                                 rect.top + (rect.bottom - rect.top + 1) / step * step - 1};
    Reduced expected = formula(member, image, rounded, arrangement);
    if (expected.width == 0 || expected.height == 0) expected = Reduced(0, 0);
    Destination destination(input, expected);
    require(TLUX_ScaleCropImage(&image, &destination.image(), &rect, member.factor) == TLUX_OK);
    destination.requireEqual(expected);
    return;
  }
  Reduced expected = formula(member, image, rect, arrangement);
  Destination destination(input, expected);
  member.reduce(&image, &destination.image(), &rect);
  destination.requireEqual(expected);
}

} // namespace tlux::properties
