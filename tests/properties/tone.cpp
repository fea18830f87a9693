// Scores, gains, the fast guided filter, the chroma rule and the selection of exposures against
// their formulas.
#include <bit>
#include <cstring>
#include <optional>

#include "properties/properties.hpp"
#include "reference/chroma.hpp"
#include "reference/gain_lines.hpp"
#include "reference/guided_filter_fast.hpp"
#include "reference/retinex.hpp"
#include "reference/selection.hpp"
#include "support/frame.hpp"
#include "tlux/gain_lines.h"
#include "tlux/retinex.h"
#include "tlux/selection.h"
#include "tlux/tone.h"

namespace tlux::properties {
namespace {

using reference::forEachPixel;
using reference::LogPlane;
using test::Frame;
using test::GuardedBuffer;

template <class T>
T* samplesOf(GuardedBuffer& buffer) {
  return reinterpret_cast<T*>(buffer.data());
}

LogPlane takePlane(Input& input) {
  const Extent extent = input.extent(90, 60);
  LogPlane plane(extent.width, extent.height);
  input.fill(std::span(plane.samples));
  return plane;
}

void scoreFrame(Input& input) {
  const LogPlane light = takePlane(input);
  const std::size_t count = light.samples.size();
  GuardedBuffer log(2 * count);
  std::memcpy(log.data(), light.samples.data(), 2 * count);
  GuardedBuffer scores(2 * count, 0x5A);
  std::optional<GuardedBuffer> work;
  if (count % 2 == 0 && input.flag()) work.emplace(5 * count);
  Memory memory(input, 60000);
  const std::uint32_t result = AME_GenerateRetinexLogGain(
      memory.manager(), work ? work->data() : nullptr, samplesOf<std::int16_t>(log), light.width,
      light.height, samplesOf<std::uint16_t>(scores));
  require(log.isIntact() && scores.isIntact() && (!work || work->isIntact()));
  if (result != TLUX_OK) {
    require(memory.isLimited() && result == TLUX_ERR_NO_MEMORY);
    require(std::ranges::all_of(scores.bytes(), [](int byte) { return byte == 0x5A; }));
    return;
  }
  std::vector<std::int16_t> expectedLog;
  const auto expected =
      reference::retinexScore(light.samples, light.width, light.height, &expectedLog);
  require(std::memcmp(log.data(), expectedLog.data(), 2 * count) == 0);
  require(std::memcmp(scores.data(), expected.data(), 2 * count) == 0);
}

// The coarse gains of a frame, and the table that they go through.
struct CoarseGains {
  int columns;
  int rows;
  GuardedBuffer bytes;
  std::vector<std::uint16_t> mapping;

  CoarseGains(Input& input, int wanted)
      : columns(wanted),
        rows(input.between(1, 5)),
        bytes(static_cast<std::size_t>(2 * columns * rows)),
        mapping(65536) {
    input.fill(bytes.bytes());
    input.fill(std::span(mapping));
  }
  const std::uint16_t* row(int y) { return samplesOf<std::uint16_t>(bytes) + y * columns; }
  auto values() {
    return [this](int k, int r) { return mapping[row(r)[k]]; };
  }
};

void expandGains(Input& input) {
  const bool isBy8 = input.flag();
  const int step = isBy8 ? 8 : 4;
  const int slack = isBy8 ? 8 : 0;
  const int width = input.between(1, 150);
  CoarseGains gains(input, std::max(width / step, 1));
  GuardedBuffer lines(static_cast<std::size_t>(6 * (width + slack)));
  for (int y = 0; y < gains.rows * step; ++y) {
    const int row = std::min(y / step + (y % step == 0 ? 0 : 1), gains.rows - 1);
    const auto expand = isBy8 ? TLUX_AME_TonemapExposure_Line8 : AME_TonemapExposure_Line;
    const std::uint16_t* line = expand(0, y, width, samplesOf<std::uint16_t>(lines), nullptr,
                                       gains.row(row), gains.mapping.data(), 0, 0);
    for (int x = 0; x < width + slack; ++x) {
      require(line[x] == reference::gainAt(x, y, step, gains.columns, gains.rows, gains.values()));
    }
  }
  require(lines.isIntact());
}

Frame takeFrame(Input& input, int width, int height) {
  const int lumaPitch = width + input.between(0, 20);
  Frame frame({width, height, lumaPitch, width + input.between(0, 20),
               input.flag() ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_YCBCR420_YPUV});
  for (int i = 0; i < 2; ++i)
    input.fill(frame.plane(i).bytes());
  return frame;
}

void mapFrame(Input& input) {
  const auto [width, height] = input.extent(100, 40);
  Frame before = takeFrame(input, width, height);
  CoarseGains gains(input, input.between(1, 14));
  Frame after = before.copy();
  Frame expected = before.copy();
  GuardedBuffer lines(static_cast<std::size_t>(6 * (width + 8)));
  const TLUX_MAPPING_STATE state = {
      gains.row(0),         TLUX_Degamma_Table, TLUX_Gamma_Table8, samplesOf<std::uint16_t>(lines),
      gains.mapping.data(), gains.columns,      gains.rows};
  const int band = 8 * input.between(1, 5);
  for (int first = 0; first < height; first += band) {
    const TLUX_MAPPING_CONTEXT context = {first, first + band, after.get(), &state};
    require(SingleThreadMapping(&context) == TLUX_OK);
  }
  const int columns = std::min(std::max(width / 8, 1), gains.columns);
  const int touched = std::min((width + 3) / 4 * 4, before->pitch[0]);
  forEachPixel(touched, height, [&](int x, int y) {
    const int gain = reference::gainAt(x, y, 8, columns, gains.rows, gains.values());
    expected.row(0, y)[x] = reference::mapLuma(before.row(0, y)[x], gain);
  });
  forEachPixel(std::min(touched, before->pitch[1]) / 2 * 2, height / 2, [&](int x, int y) {
    const std::uint8_t* oldPair = before.row(0, 2 * y) + x / 2 * 2;
    const std::uint8_t* newPair = expected.row(0, 2 * y) + x / 2 * 2;
    expected.row(1, y)[x] = reference::tonedChroma(before.row(1, y)[x], oldPair[0] + oldPair[1],
                                                   newPair[0] + newPair[1]);
  });
  require(after == expected && lines.isIntact());
}

// Chroma that follows the change of luma from one frame to the other.
void followLuma(Frame& after, Frame& before, int zone) {
  forEachPixel(after->width / 2 * 2, after->height / 2, [&](int x, int y) {
    const std::uint8_t* oldPair = before.row(0, 2 * y) + x / 2 * 2;
    const std::uint8_t* newPair = after.row(0, 2 * y) + x / 2 * 2;
    const int ratio = reference::chromaRatio(oldPair[0] + oldPair[1], newPair[0] + newPair[1]);
    after.row(1, y)[x] = reference::scaleChromaSample(before.row(1, y)[x], ratio, zone);
  });
}

void scaleChroma(Input& input) {
  const auto [width, height] = input.extent(120, 40);
  Frame before = takeFrame(input, width, height);
  Frame after = takeFrame(input, width, height);
  Frame expected = after.copy();
  followLuma(expected, before, 8);
  require(NV21NV12_ToneMT(before.get(), after.get()) == TLUX_OK);
  require(after == expected);
}

void addDetail(Input& input) {
  const auto [width, height] = input.extent(120, 40);
  Frame base = takeFrame(input, width, height);
  Frame detail = takeFrame(input, width, height);
  Frame output = takeFrame(input, width, height);
  Frame& target = input.flag() ? output : base;
  Frame expected = target.copy();
  forEachPixel(width, height, [&](int x, int y) {
    const int changed = base.row(0, y)[x] + detail.row(0, y)[x] - 128;
    expected.row(0, y)[x] = static_cast<std::uint8_t>(std::clamp(changed, 0, 255));
  });
  followLuma(expected, base, 32);
  require(NV21NV12_ToneMap(target.get(), base.get(), detail.get()) == TLUX_OK);
  require(target == expected);
}

void filterGuided(Input& input) {
  const auto [width, height] = input.extent(16, 20, 2);
  const int lowPitch = width + input.between(0, 3);
  const int fullPitch = 8 * width + input.between(0, 20);
  GuardedBuffer low[] = {GuardedBuffer(static_cast<std::size_t>((height - 1) * lowPitch + width)),
                         GuardedBuffer(static_cast<std::size_t>((height - 1) * lowPitch + width))};
  for (GuardedBuffer& plane : low)
    input.fill(plane.bytes());
  const auto fullBytes = static_cast<std::size_t>((8 * height - 1) * fullPitch + 8 * width);
  GuardedBuffer guide(fullBytes);
  GuardedBuffer output(fullBytes, 0x5A);
  input.fill(guide.bytes());
  const int radius = input.between(1, 20);
  const int eps = input.flag() ? 20 : input.between(1, 70000);
  Memory memory(input, 60000);
  std::vector<std::uint8_t> expected(fullBytes, 0x5A);
  const std::uint32_t result =
      FastGuideFilterMT(memory.manager(), low[0].data(), low[1].data(), guide.data(), output.data(),
                        width, height, lowPitch, fullPitch, radius, eps);
  if (result == TLUX_OK) {
    reference::fastGuidedFilter(low[0].data(), low[1].data(), guide.data(), expected.data(), width,
                                height, lowPitch, fullPitch, fullPitch, radius, eps);
  }
  require(result == TLUX_OK || (memory.isLimited() && result == TLUX_ERR_NO_MEMORY));
  require(std::ranges::equal(output.bytes(), expected) && output.isIntact());
}

void smoothMaps(Input& input) {
  const auto extent = input.extent(40, 30);
  const int width = extent.width;
  const int height = extent.height;
  const int stride = width + input.between(0, 3);
  GuardedBuffer map(static_cast<std::size_t>(4 * ((height - 1) * stride + width)));
  input.fill(map.bytes());
  const auto* samples = samplesOf<std::int32_t>(map);
  // Sums of larger samples would wrap, which the formula of a band leaves out.
  for (std::size_t i = 0; i < map.size() / 4; ++i)
    samplesOf<std::int32_t>(map)[i] %= 1 << 20;
  const int first = input.between(0, height - 1);
  const int rows = input.between(1, height);
  const int end = std::min(first + rows, height);
  const int radius = input.between(1, 12);
  GuardedBuffer smooth(static_cast<std::size_t>(4 * width * height), 0x5A);
  const auto* out = samplesOf<std::int32_t>(smooth);
  require(BlockMeanVarIntMT(nullptr, first, rows, samples, height, width, stride,
                            samplesOf<std::int32_t>(smooth), radius) == TLUX_OK);
  const auto sample = [&](int u, int v) { return samples[v * stride + u]; };
  forEachPixel(width, height, [&](int x, int y) {
    const bool isInside = y >= first && y < end;
    require(out[y * width + x] ==
            (isInside ? reference::windowSum(x, y, radius, width, 0, height, sample) /
                            (4 * radius * radius)
                      : 0x5A5A5A5A));
  });
  std::ranges::fill(smooth.bytes(), 0x5A);
  require(BlockMeanVarIntMTBorder(nullptr, first, rows, samples, height, width, stride,
                                  samplesOf<std::int32_t>(smooth), radius) == TLUX_OK);
  forEachPixel(width, height, [&](int x, int y) {
    // The three-tap groups of a band shorter than two radii reach over its edges.
    const bool isWritten = (y >= first && y < std::max(end, first + radius)) ||
                           (y >= first + rows - radius && y < end);
    require(out[y * width + x] == (isWritten
                                       ? reference::smoothedInBand(samples, x, y, width, height,
                                                                   stride, first, rows, radius)
                                       : 0x5A5A5A5A));
  });
  require(smooth.isIntact());
}

void selectExposures(Input& input) {
  const auto ratio = std::bit_cast<double>(std::uint64_t{input.word()} << 32 | input.word());
  require(AME_ConvertExposureValue(ratio) ==
          (ratio != ratio ? 0 : reference::exposureValue(ratio)));

  const auto ev = [&] { return input.between(-90000, 90000) / 20000.0; };
  double range[] = {ev(), ev(), ev()};
  std::sort(std::begin(range), std::end(range));
  const int levels = input.between(2, 256);
  double values[40];
  for (double& value : values)
    value = ev();
  std::uint8_t indices[40];
  std::vector<double> table(static_cast<std::size_t>(levels / 2 * 2 + 1));
  require(AME_SelectExposure(values, indices, 40, levels, table.data(), range[0], range[1],
                             range[2]) == TLUX_OK);
  for (int i = 0; i < 40; ++i) {
    require(indices[i] == static_cast<std::uint8_t>(reference::selectionIndex(
                              values[i], levels, range[0], range[1], range[2])));
  }
}

} // namespace

void checkTone(Input& input) {
  constexpr void (*kChecks[])(Input&) = {scoreFrame, expandGains,  mapFrame,   scaleChroma,
                                         addDetail,  filterGuided, smoothMaps, selectExposures};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
