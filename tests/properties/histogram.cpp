// Histograms, their equalization and matching against counts one pixel at a time.
#include "properties/properties.hpp"
#include "reference/chroma.hpp"
#include "reference/enhance.hpp"
#include "support/guarded_buffer.hpp"
#include "tlux/equalization.h"
#include "tlux/histogram_match.h"

namespace tlux::properties {
namespace {

using reference::Bytes;
using reference::Levels;

// A frame of luma, with the chroma plane behind it in one block when it is wanted.
class Frame {
 public:
  Frame(Input& input, int width, int height, int pitch, bool withChroma)
      : buffer_(static_cast<std::size_t>(pitch * (height + (withChroma ? height / 2 : 0)))),
        image{withChroma ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_GRAY,
              width,
              height,
              {buffer_.data(), withChroma ? buffer_.data() + pitch * height : nullptr},
              {pitch, withChroma ? pitch : 0}} {
    input.fill(buffer_.bytes());
  }

  Bytes luma() {
    Bytes out;
    for (int y = 0; y < image.height; ++y) {
      const std::uint8_t* row = image.plane[0] + std::ptrdiff_t{y} * image.pitch[0];
      out.insert(out.end(), row, row + image.width);
    }
    return out;
  }
  Levels levels() {
    return reference::countLevels(luma(), image.width, image.height, 0, 0, image.width,
                                  image.height);
  }
  int pixels() const { return image.width * image.height; }
  Bytes bytes() { return {buffer_.bytes().begin(), buffer_.bytes().end()}; }
  void set(const Bytes& bytes) { std::ranges::copy(bytes, buffer_.data()); }
  bool isIntact() const { return buffer_.isIntact(); }

 private:
  test::GuardedBuffer buffer_;

 public:
  TLUX_IMAGE image;
};

Frame takePlane(Input& input) {
  const auto [width, height] = input.extent(70, 40);
  return {input, width, height, width + input.between(0, 9), false};
}

void count(Input& input) {
  Frame frame = takePlane(input);
  TLUX_RECT rect{};
  rect.left = input.between(0, frame.image.width - 1);
  rect.top = input.between(0, frame.image.height - 1);
  rect.right = input.between(rect.left + 1, frame.image.width);
  rect.bottom = input.between(rect.top + 1, frame.image.height);
  const Levels expected =
      reference::countLevels(frame.luma(), frame.image.width, frame.image.height, rect.left,
                             rect.top, rect.right, rect.bottom);
  Levels counts{};
  CalHistogram(&frame.image, counts.data(), &rect);
  require(counts == expected);

  // The table's rectangle is clipped at the right and below.
  if (rect.right == frame.image.width) rect.right += input.between(0, 100);
  if (rect.bottom == frame.image.height) rect.bottom += input.between(0, 100);
  const int pixels = (std::min(rect.right, frame.image.width) - rect.left) *
                     (std::min(rect.bottom, frame.image.height) - rect.top);
  Levels table{};
  HistogramMap(&frame.image, table.data(), &rect);
  require(table == reference::equalizationTable(expected, pixels));
}

void match(Input& input) {
  Frame target = takePlane(input);
  Frame source = takePlane(input);
  Memory memory(input, 6000);
  Bytes table(256, 0xEE);
  const std::uint32_t result =
      TLUX_GetMatchTable(memory.manager(), &target.image, &source.image, table.data());
  if (result != TLUX_OK) {
    require(memory.isLimited() && result == TLUX_ERR_NO_MEMORY && table == Bytes(256, 0xEE));
    return;
  }
  // The shares of both images are counted in pixels of the source.
  const auto s = reference::deciles(source.levels(), source.pixels());
  const auto d = reference::deciles(target.levels(), source.pixels());
  require(table == reference::matchTable(s, d));

  Bytes expected = source.bytes();
  for (int y = 0; y < source.image.height; ++y) {
    for (int x = 0; x < source.image.width; ++x) {
      std::uint8_t& sample = expected[static_cast<std::size_t>(y * source.image.pitch[0] + x)];
      sample = table[sample];
    }
  }
  require(TLUX_AdjustImageByTable(&source.image, table.data()) == 1);
  require(source.bytes() == expected);
}

void equalize(Input& input) {
  const Extent half = input.extent(40, 40, 2);
  const int width = 2 * half.width;
  const int height = 2 * half.height;
  const int pitch = (width + 3) / 4 * 4;
  Frame source(input, width, height, pitch, true);
  Frame output(input, width, height, pitch, true);
  Frame expected(input, width, height, pitch, true);
  const Bytes original = source.bytes();
  const Bytes before = output.bytes();
  Memory memory(input, 20000);
  AdaptiveHistogramEqualization(memory.manager(), &source.image, &output.image);
  require(source.bytes() == original);
  require(source.isIntact() && output.isIntact());
  if (memory.isLimited() && output.bytes() == before) return;

  // Luma with its padding from the source, the samples equalized; then chroma follows.
  expected.set(before);
  const Bytes equalized = reference::equalizeTiles(source.luma(), width, height);
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = expected.image.plane[0] + std::ptrdiff_t{y} * pitch;
    std::copy_n(source.image.plane[0] + std::ptrdiff_t{y} * pitch, pitch, row);
    std::copy_n(equalized.begin() + y * width, width, row);
  }
  reference::scaleChroma(source.image, expected.image);
  require(output.bytes() == expected.bytes());
}

} // namespace

void checkHistogram(Input& input) {
  constexpr void (*kChecks[])(Input&) = {count, match, equalize};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
