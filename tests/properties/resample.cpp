// Every member of the reductions against its formula, sample by sample.
#include "properties/properties.hpp"
#include "reduce/members.hpp"

namespace tlux::properties {

void checkResample(Input& input) {
  using test::Destination;
  const test::Member member = input.oneOf(test::kMembers);
  const test::Arrangement arrangement = input.oneOf(test::kArrangements);
  const auto between = [&](int low, int high) { return input.between(low, high); };
  const Extent extent = input.extent(150, 70, 16);
  test::ReducedFrame frame(member.format, std::max(extent.width, 2), std::max(extent.height, 2),
                           between, [&](std::span<std::uint8_t> bytes) { input.fill(bytes); });
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
    reference::Reduced expected = test::formula(member, image, rounded, arrangement);
    if (expected.width == 0 || expected.height == 0) expected = reference::Reduced(0, 0);
    Destination destination(expected, between);
    require(TLUX_ScaleCropImage(&image, &destination.image(), &rect, member.factor) == TLUX_OK);
    require(destination.holdsExpected());
    return;
  }
  Destination destination(test::formula(member, image, rect, arrangement), between);
  member.reduce(&image, &destination.image(), &rect);
  require(destination.holdsExpected());
}

} // namespace tlux::properties
