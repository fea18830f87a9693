// Histograms, their equalization and matching against counts one pixel at a time.
#include "properties/properties.hpp"
#include "reference/chroma.hpp"
#include "reference/enhance.hpp"
#include "support/frame.hpp"
#include "tlux/equalization.h"
#include "tlux/histogram_match.h"

namespace tlux::properties {
namespace {

using reference::Levels;
using test::Bytes;
using test::Frame;
using test::FrameShape;

Frame takeFrame(Input& input, const FrameShape& shape) {
  Frame frame(shape);
  frame.visitPlanes([&](std::span<std::uint8_t> bytes) { input.fill(bytes); });
  return frame;
}

Frame takePlane(Input& input) {
  const auto [width, height] = input.extent(70, 40);
  return takeFrame(input, {width, height, width + input.between(0, 9), 0, TLUX_FMT_GRAY});
}

Levels levelsOf(Frame& frame) {
  return reference::countLevels(frame.samples(0), frame->width, frame->height, 0, 0, frame->width,
                                frame->height);
}

void count(Input& input) {
  Frame frame = takePlane(input);
  TLUX_RECT rect{};
  rect.left = input.between(0, frame->width - 1);
  rect.top = input.between(0, frame->height - 1);
  rect.right = input.between(rect.left + 1, frame->width);
  rect.bottom = input.between(rect.top + 1, frame->height);
  const Levels expected = reference::countLevels(frame.samples(0), frame->width, frame->height,
                                                 rect.left, rect.top, rect.right, rect.bottom);
  Levels counts = expected; // added to existing counts
  CalHistogram(frame.get(), counts.data(), &rect);
  for (std::size_t level = 0; level < counts.size(); ++level)
    require(counts[level] == 2 * expected[level]);

  // The table's rectangle is clipped at the right and below.
  if (rect.right == frame->width) rect.right += input.between(0, 100);
  if (rect.bottom == frame->height) rect.bottom += input.between(0, 100);
  const int pixels = (std::min(rect.right, frame->width) - rect.left) *
                     (std::min(rect.bottom, frame->height) - rect.top);
  Levels table{};
  HistogramMap(frame.get(), table.data(), &rect);
  require(table == reference::equalizationTable(expected, pixels));
}

void match(Input& input) {
  Frame target = takePlane(input);
  Frame source = takePlane(input);
  Memory memory(input, 6000);
  Bytes table(256, 0xEE);
  const std::uint32_t result =
      TLUX_GetMatchTable(memory.manager(), target.get(), source.get(), table.data());
  if (result != TLUX_OK) {
    require(memory.isLimited() && result == TLUX_ERR_NO_MEMORY && table == Bytes(256, 0xEE));
    return;
  }
  // The shares of both images are counted in pixels of the source.
  const int pixels = source->width * source->height;
  const auto s = reference::deciles(levelsOf(source), pixels);
  const auto d = reference::deciles(levelsOf(target), pixels);
  require(table == reference::matchTable(s, d));

  Frame expected = source.copy();
  test::forEachPixel(source->width, source->height, [&](int x, int y) {
    std::uint8_t& sample = expected.row(0, y)[x];
    sample = table[sample];
  });
  require(TLUX_AdjustImageByTable(source.get(), table.data()) == 1);
  require(source == expected);
}

void equalize(Input& input) {
  const Extent half = input.extent(40, 40, 2);
  const int width = 2 * half.width;
  const int height = input.between(1, 80);
  const FrameShape shape{width, height, width + input.between(0, 9)};
  Frame source = takeFrame(input, shape);
  Frame output = takeFrame(input, shape);
  const Frame original = source.copy();
  Frame expected = output.copy();
  Memory memory(input, 20000);
  AdaptiveHistogramEqualization(memory.manager(), source.get(), output.get());
  require(source == original);
  if (memory.isLimited() && output == expected) return;

  // Luma with its padding from the source, the samples equalized; then chroma follows.
  std::ranges::copy(source.plane(0).bytes(), expected.plane(0).data());
  const Bytes equalized = reference::equalizeTiles(source.samples(0), width, height);
  for (int y = 0; y < height; ++y)
    std::copy_n(equalized.begin() + y * width, width, expected.row(0, y));
  reference::scaleChroma(source.image(), expected.image());
  require(output == expected);
  // In place the old luma is gone when chroma is scaled, so chroma stays.
  AdaptiveHistogramEqualization(nullptr, source.get(), source.get());
  require(source.bytes(0) == output.bytes(0) && source.bytes(1) == original.bytes(1));
}

} // namespace

void checkHistogram(Input& input) {
  constexpr void (*kChecks[])(Input&) = {count, match, equalize};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
