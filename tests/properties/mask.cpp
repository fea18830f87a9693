// Erosion, dilation, labels and the operations on regions against flood fill.
#include <tuple>

#include "properties/properties.hpp"
#include "reference/labels.hpp"
#include "reference/mask.hpp"
#include "support/guarded_buffer.hpp"
#include "tlux/mask.h"
#include "tlux/region.h"

namespace tlux::properties {
namespace {

using reference::LabelGrid;
using reference::MaskGrid;

// A mask of any density, or the input's own bytes.
MaskGrid takeMask(Input& input, int width, int height) {
  MaskGrid mask{width, height};
  input.fill(std::span(mask.values));
  const int threshold = input.between(0, 255);
  for (std::uint8_t& pixel : mask.values) {
    if (pixel < threshold) pixel = 0;
  }
  return mask;
}

MaskGrid takeMask(Input& input) {
  const Extent extent = input.extent(150, 30);
  return takeMask(input, extent.width, extent.height);
}

// A mask whose memory ends with its last pixel, stored top down or bottom up.
class MaskPlane {
 public:
  MaskPlane(Input& input, const MaskGrid& mask)
      : stride_(mask.width + input.between(0, 9)),
        isBottomUp_(input.flag()),
        buffer_(static_cast<std::size_t>(stride_ * (mask.height - 1) + mask.width), kGap),
        size_(mask) {
    for (int y = 0; y < mask.height; ++y) {
      std::copy_n(&mask.at(0, y), mask.width, row(y));
    }
  }

  std::uint8_t* data() { return row(0); }
  std::int32_t pitch() const { return isBottomUp_ ? -stride_ : stride_; }
  std::uint32_t width() const { return static_cast<std::uint32_t>(size_.width); }
  std::uint32_t height() const { return static_cast<std::uint32_t>(size_.height); }

  void requireEqual(const MaskGrid& expected) {
    for (int y = 0; y < expected.height; ++y) {
      require(std::equal(row(y), row(y) + expected.width, &expected.at(0, y)));
    }
    for (std::size_t i = 0; i < buffer_.size(); ++i) {
      const int column = static_cast<int>(i) % stride_;
      require(column < size_.width || buffer_.data()[i] == kGap);
    }
    require(buffer_.isIntact());
  }

 private:
  static constexpr std::uint8_t kGap = 0xA5;

  std::uint8_t* row(int y) {
    return buffer_.data() + std::ptrdiff_t{isBottomUp_ ? size_.height - 1 - y : y} * stride_;
  }

  int stride_;
  bool isBottomUp_;
  test::GuardedBuffer buffer_;
  MaskGrid size_;
};

// On small masks, since the formula compares every pixel with every other.
void erodeOrDilate(Input& input) {
  const int side = input.between(1, 150);
  const MaskGrid mask = takeMask(input, side, input.between(1, 30));
  TLUX_MASK_RECT rect{};
  rect.left = static_cast<std::uint32_t>(input.between(0, mask.width - 1));
  rect.top = static_cast<std::uint32_t>(input.between(0, mask.height - 1));
  rect.right = static_cast<std::uint32_t>(input.between(static_cast<int>(rect.left), mask.width));
  rect.bottom = static_cast<std::uint32_t>(input.between(static_cast<int>(rect.top), mask.height));
  const bool isErosion = input.flag();
  const int radius = input.radius(254);

  MaskGrid part{static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top)};
  const auto inMask = [&](MaskGrid& grid, int x, int y) -> std::uint8_t& {
    return grid.at(static_cast<int>(rect.left) + x, static_cast<int>(rect.top) + y);
  };
  MaskGrid expected = mask;
  for (int y = 0; y < part.height; ++y) {
    for (int x = 0; x < part.width; ++x) {
      part.at(x, y) = inMask(expected, x, y);
    }
  }
  std::uint32_t changed = 0;
  if (radius >= 1 && radius <= 253 && !part.values.empty()) {
    const MaskGrid distances = reference::distancesTo(!isErosion, isErosion, part);
    part = isErosion ? reference::thresholded(distances, radius, 0, 255, changed)
                     : reference::thresholded(distances, radius, 255, 0, changed);
    for (int y = 0; y < part.height; ++y) {
      for (int x = 0; x < part.width; ++x) {
        inMask(expected, x, y) = part.at(x, y);
      }
    }
  }
  MaskPlane plane(input, mask);
  if (!isErosion && plane.pitch() < 0) return; // its pitch has no sign
  const std::uint32_t actual =
      isErosion
          ? TLUX_ErodeEx(plane.data(), plane.pitch(), plane.width(), plane.height(), radius, &rect)
          : TLUX_DilateEx(plane.data(), static_cast<std::uint32_t>(plane.pitch()), plane.width(),
                          plane.height(), radius, &rect);
  require(actual == changed);
  plane.requireEqual(expected);
}

void measure(const LabelGrid& labels, std::uint32_t count) {
  std::vector<TLUX_REGION> regions(count);
  require(TLUX_TRegionLabel_Statistics(
              labels.values.data(), 4 * labels.width, static_cast<std::uint32_t>(labels.width),
              static_cast<std::uint32_t>(labels.height), regions.data(), count) == TLUX_OK);
  for (const TLUX_REGION& region : regions) {
    const auto pixels = reference::pixelsOf(labels, region.label);
    double sumX = 0;
    double sumY = 0;
    TLUX_REGION box = {0, 0, UINT32_MAX, UINT32_MAX, 0, 0, 0.0, 0.0};
    for (const auto& [x, y] : pixels) {
      sumX += x;
      sumY += y;
      box.left = std::min(box.left, static_cast<std::uint32_t>(x));
      box.top = std::min(box.top, static_cast<std::uint32_t>(y));
      box.right = std::max(box.right, static_cast<std::uint32_t>(x + 1));
      box.bottom = std::max(box.bottom, static_cast<std::uint32_t>(y + 1));
    }
    const auto area = static_cast<double>(pixels.size());
    require(region.area == pixels.size());
    require(region.left == box.left && region.top == box.top && region.right == box.right &&
            region.bottom == box.bottom);
    require(region.centroidX == sumX / area && region.centroidY == sumY / area);
  }
}

void label(Input& input) {
  const MaskGrid mask = takeMask(input);
  MaskPlane plane(input, mask);
  const int connectivity = input.flag() ? 4 : 8;
  const auto labelRegions =
      connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
  const int stride = mask.width + input.between(0, 3);
  test::GuardedBuffer memory(static_cast<std::size_t>(stride * (mask.height - 1) + mask.width) * 4,
                             0xA5);
  auto* labels = reinterpret_cast<std::uint32_t*>(memory.data());
  Memory working(input, 40000);
  std::uint32_t count = 0xDEAD;
  const std::uint32_t result =
      labelRegions(working.manager(), plane.data(), plane.pitch(), plane.width(), plane.height(),
                   labels, 4 * stride, &count);
  plane.requireEqual(mask);
  if (result != TLUX_OK) {
    require(working.isLimited() && result == TLUX_ERR_NO_MEMORY && count == 0xDEAD);
    return;
  }
  const reference::Labelling expected = reference::floodLabels(mask, connectivity);
  require(count == expected.count);
  for (int y = 0; y < mask.height; ++y) {
    const std::uint32_t* row = labels + std::ptrdiff_t{y} * stride;
    require(std::equal(row, row + mask.width, &expected.labels.at(0, y)));
    if (y < mask.height - 1) {
      require(std::all_of(row + mask.width, row + stride, [](auto v) { return v == 0xA5A5A5A5; }));
    }
  }
  require(memory.isIntact());
  if (count < 40) measure(expected.labels, count);
}

void cleanUp(Input& input) {
  const MaskGrid mask = takeMask(input);
  MaskPlane plane(input, mask);
  const int connectivity = input.flag() ? 4 : 8;
  const auto sides = static_cast<std::uint32_t>(connectivity);
  const bool fills = input.flag();
  const std::uint32_t minimum = input.between(0, 7) == 0 ? input.word() : input.word() % 200;
  Memory working(input, 40000);
  std::uint32_t changed = 0xDEAD;
  const std::uint32_t result =
      fills
          ? TLUX_TRegionLabel_FillHoles(working.manager(), plane.data(), plane.pitch(),
                                        plane.width(), plane.height(), sides, &changed)
          : TLUX_TRegionLabel_RemoveSmall(working.manager(), plane.data(), plane.pitch(),
                                          plane.width(), plane.height(), sides, minimum, &changed);
  if (result != TLUX_OK) {
    require(working.isLimited() && result == TLUX_ERR_NO_MEMORY && changed == 0xDEAD);
    plane.requireEqual(mask);
    return;
  }
  MaskGrid expected = mask;
  require(changed == (fills ? reference::fillHoles(expected, connectivity)
                            : reference::removeSmall(expected, connectivity, minimum)));
  plane.requireEqual(expected);
}

void outlineAndCompare(Input& input) {
  const MaskGrid mask = takeMask(input);
  const MaskGrid other = takeMask(input, mask.width, mask.height);
  MaskPlane a(input, mask);
  MaskPlane b(input, other);
  TLUX_MASK_AGREEMENT agreement{};
  require(TLUX_TRegionLabel_Compare(a.data(), a.pitch(), b.data(), b.pitch(), a.width(), a.height(),
                                    &agreement) == TLUX_OK);
  std::uint32_t counts[2][2] = {};
  for (std::size_t i = 0; i < mask.values.size(); ++i) {
    ++counts[mask.values[i] != 0][other.values[i] != 0];
  }
  require(agreement.both == counts[1][1] && agreement.onlyA == counts[1][0] &&
          agreement.onlyB == counts[0][1] && agreement.none == counts[0][0]);
  const std::uint32_t either = counts[1][1] + counts[1][0] + counts[0][1];
  require(agreement.overlap == (either == 0 ? 1.0 : static_cast<double>(counts[1][1]) / either));

  const int connectivity = input.flag() ? 4 : 8;
  require(TLUX_TRegionLabel_Boundary(a.data(), a.pitch(), a.width(), a.height(),
                                     static_cast<std::uint32_t>(connectivity), b.data(),
                                     b.pitch()) == TLUX_OK);
  a.requireEqual(mask);
  b.requireEqual(reference::boundary(mask, connectivity));
}

} // namespace

void checkMask(Input& input) {
  constexpr void (*kChecks[])(Input&) = {erodeOrDilate, label, cleanUp, outlineAndCompare};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
