// Erosion, dilation, labels and the operations on regions against flood fill.
#include <tuple>

#include "properties/properties.hpp"
#include "reference/labels.hpp"
#include "reference/mask.hpp"
#include "region/region_masks.hpp"
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

test::PaddedMask takePlane(Input& input, const MaskGrid& mask) {
  const int padding = input.between(0, 9);
  return test::PaddedMask(mask, padding, input.flag());
}

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
  test::PaddedMask plane = takePlane(input, mask);
  if (!isErosion && plane.pitch() < 0) return; // its pitch has no sign
  const std::uint32_t actual =
      isErosion
          ? TLUX_ErodeEx(plane.data(), plane.pitch(), plane.width(), plane.height(), radius, &rect)
          : TLUX_DilateEx(plane.data(), static_cast<std::uint32_t>(plane.pitch()), plane.width(),
                          plane.height(), radius, &rect);
  require(actual == changed);
  require(plane.holds(expected));
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
  test::PaddedMask plane = takePlane(input, mask);
  const int connectivity = input.flag() ? 4 : 8;
  const auto labelRegions =
      connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
  test::PaddedGrid<std::uint32_t> labels({mask.width, mask.height}, input.between(0, 3));
  Memory working(input, 40000);
  std::uint32_t count = 0xDEAD;
  const std::uint32_t result =
      labelRegions(working.manager(), plane.data(), plane.pitch(), plane.width(), plane.height(),
                   labels.data(), labels.pitch(), &count);
  require(plane.holds(mask));
  if (result != TLUX_OK) {
    require(working.isLimited() && result == TLUX_ERR_NO_MEMORY && count == 0xDEAD);
    return;
  }
  const reference::Labelling expected = reference::floodLabels(mask, connectivity);
  require(count == expected.count);
  require(labels.holds(expected.labels));
  if (count < 40) measure(expected.labels, count);
}

void cleanUp(Input& input) {
  const MaskGrid mask = takeMask(input);
  test::PaddedMask plane = takePlane(input, mask);
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
    require(plane.holds(mask));
    return;
  }
  MaskGrid expected = mask;
  require(changed == (fills ? reference::fillHoles(expected, connectivity)
                            : reference::removeSmall(expected, connectivity, minimum)));
  require(plane.holds(expected));
}

void outlineAndCompare(Input& input) {
  const MaskGrid mask = takeMask(input);
  const MaskGrid other = takeMask(input, mask.width, mask.height);
  test::PaddedMask a = takePlane(input, mask);
  test::PaddedMask b = takePlane(input, other);
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
  require(a.holds(mask));
  require(b.holds(reference::boundary(mask, connectivity)));
}

} // namespace

void checkMask(Input& input) {
  constexpr void (*kChecks[])(Input&) = {erodeOrDilate, label, cleanUp, outlineAndCompare};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
