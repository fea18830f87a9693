// Guided filters and box blurs against sums over every window.
#include <limits>

#include "properties/properties.hpp"
#include "reference/box_blur.hpp"
#include "reference/guided_filter.hpp"
#include "support/simple_image.hpp"
#include "tlux/box_blur.h"
#include "tlux/guided_filter.h"

namespace tlux::properties {
namespace {

using Bytes = test::TestImage::Bytes;

test::TestImage takeImage(Input& input, int width, int height, int channels, const Bytes& pixels) {
  const int gap = input.between(0, 9);
  return {width, height, channels, pixels, gap, input.flag()};
}

struct Filter {
  void (*apply)(MMemMgr, const img*, const img*, img*, std::int32_t);
  int channels;
};
constexpr Filter kFilters[] = {{guided_filter_1d, 1},
                               {guided_filter_1dI, 1},
                               {guided_filter_3d, 3},
                               {guided_filter_bin_blocks3d, 3},
                               {each_guided, 3}};

Bytes formula(const Filter& filter, const Bytes& guide, const Bytes& input, reference::Size size,
              int radius) {
  radius = std::min(radius, std::max(size.width, size.height));
  if (filter.channels == 1) {
    return reference::applyCoefficients<1>(
        reference::guidedCoefficients(guide, input, size, radius), guide, size, radius);
  }
  return reference::applyCoefficients<3>(reference::guidedCoefficients3(guide, input, size, radius),
                                         guide, size, radius);
}

void filterGuided(Input& input) {
  const Filter filter = input.oneOf(kFilters);
  const auto [width, height] = input.extent(48, 32);
  const reference::Size size{width, height};
  const auto pixels = static_cast<std::size_t>(size.width * size.height);
  const Bytes guide = input.samples(pixels * static_cast<std::size_t>(filter.channels));
  const Bytes in = input.samples(pixels);
  const Bytes before = input.samples(pixels);
  test::TestImage I = takeImage(input, width, height, filter.channels, guide);
  test::TestImage p = takeImage(input, width, height, 1, in);
  test::TestImage q = takeImage(input, width, height, 1, before);
  const int radius = input.radius(24);
  Memory memory(input, 60000);
  filter.apply(memory.manager(), I, p, q, radius);

  require(I.isIntact() && p.isIntact() && q.isIntact());
  require(I.isUnchanged() && p.isUnchanged());
  const Bytes out = q.pixels();
  if (radius < 0 || (memory.isLimited() && out == before)) {
    require(out == before);
    return;
  }
  const Bytes expected = formula(filter, guide, in, size, radius);
  // Three channels are compared with a more precise solution, which may be truncated differently.
  const int tolerance = filter.channels == 1 ? 0 : 1;
  for (std::size_t i = 0; i < out.size(); ++i) {
    require(std::abs(out[i] - expected[i]) <= tolerance);
  }
}

template <class Sample, auto Blur>
void blur(Input& input) {
  // The formula sums every window, so large windows need small planes.
  const bool isSmall = input.flag();
  const auto [width, height] = isSmall ? Extent{input.between(1, 6), 3} : input.extent(60, 24);
  const int pitch = width + input.between(0, 5);
  int radius = isSmall ? input.between(0, 200) : input.radius(9);
  constexpr int kVanishing = 181; // from here on all means are 0
  if (!isSmall && radius > 9) radius = std::max(radius, kVanishing);
  test::GuardedBuffer buffer(static_cast<std::size_t>((height - 1) * pitch + width) *
                             sizeof(Sample));
  const std::span plane(reinterpret_cast<Sample*>(buffer.data()), buffer.size() / sizeof(Sample));
  input.fill(plane);
  std::vector<Sample> expected(plane.begin(), plane.end());
  Memory memory(input, 20000);
  const std::uint32_t result =
      Blur(memory.manager(), plane.data(), width, height, pitch, radius, input.between(0, 1));
  if (result == TLUX_OK && radius > 0) {
    reference::boxBlur(expected, width, height, pitch, std::min(radius, kVanishing));
  }
  require(result == TLUX_OK || (memory.isLimited() && result == TLUX_ERR_NO_MEMORY));
  require(std::ranges::equal(plane, expected));
  require(buffer.isIntact());
}

} // namespace

void checkFilter(Input& input) {
  constexpr void (*kChecks[])(Input&) = {filterGuided,
                                         filterGuided,
                                         filterGuided,
                                         blur<std::uint8_t, TLUX_BoxBlur_Byte>,
                                         blur<std::int8_t, TLUX_BoxBlur_Int8>,
                                         blur<std::int16_t, TLUX_BoxBlur_Int16>,
                                         blur<std::int32_t, TLUX_BoxBlur_Int32>};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
