#include "enhance/chroma_planes.hpp"
#include "base/result.hpp"

#include <utility>

#include "tlux/nv21_tools.h"
#include "tlux/platform.h"

namespace tlux::detail {
namespace {

void splitRow(const std::uint8_t* __restrict pairs, std::uint8_t* __restrict first,
              std::uint8_t* __restrict second, std::ptrdiff_t count) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    first[x] = pairs[2 * x];
    second[x] = pairs[2 * x + 1];
  }
}

void joinRow(const std::uint8_t* __restrict first, const std::uint8_t* __restrict second,
             std::uint8_t* __restrict pairs, std::ptrdiff_t count) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    pairs[2 * x] = first[x];
    pairs[2 * x + 1] = second[x];
  }
}

struct RowPair {
  const std::uint8_t* upper;
  const std::uint8_t* lower;
};

// Rounded means of the 2×2 blocks of two rows of each plane, in pairs.
void halveRows(const RowPair& first, const RowPair& second, std::uint8_t* __restrict pairs,
               std::ptrdiff_t count) {
  const auto mean = [](const RowPair& rows, std::ptrdiff_t x) {
    const int sum =
        rows.upper[2 * x] + rows.upper[2 * x + 1] + rows.lower[2 * x] + rows.lower[2 * x + 1];
    return static_cast<std::uint8_t>((sum + 2) >> 2);
  };
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    pairs[2 * x] = mean(first, x);
    pairs[2 * x + 1] = mean(second, x);
  }
}

bool isOrderCrCb(const TLUX_IMAGE& frame) {
  return findFormat(frame.format)->cbAt == 1;
}

Result checkChromaPlanes(const TLUX_IMAGE* frame, const std::uint8_t* u, const std::uint8_t* v,
                         std::int32_t pitch) {
  const Result outcome = checkSemiPlanar(frame);
  if (outcome != Result::kOk) return outcome;
  const ComponentPlane pairs = chromaPairsOf(*frame);
  if (pairs.isEmpty()) return Result::kOk;
  const bool areThere = u != nullptr && v != nullptr && pitch >= pairs.width;
  return areThere ? Result::kOk : Result::kInvalidParam;
}

void copyLuma(const TLUX_IMAGE& source, const TLUX_IMAGE& target) {
  for (std::int64_t y = 0; y < target.height; ++y) {
    MMemCpy(target.plane[0] + y * target.pitch[0], source.plane[0] + y * source.pitch[0],
            static_cast<std::uint64_t>(target.width));
  }
}

void halveChroma(const TLUX_IMAGE& source, const TLUX_IMAGE& target) {
  const ComponentPlane pairs = chromaPairsOf(target);
  const auto rowPairOf = [&](int plane, std::int64_t y) {
    const std::uint8_t* upper = source.plane[plane] + 2 * y * source.pitch[plane];
    return RowPair{upper, upper + source.pitch[plane]};
  };
  for (std::int64_t y = 0; y < pairs.height; ++y) {
    halveRows(rowPairOf(2, y), rowPairOf(1, y), pairs.row(y), pairs.width); // Cr first
  }
}

Result subsampleFrame(const TLUX_IMAGE* source, const TLUX_IMAGE* target) {
  if (source == nullptr || target == nullptr) return Result::kInvalidParam;
  if ((source->format != TLUX_FMT_YCBCR444_P && source->format != TLUX_FMT_YCBCR444_P_B) ||
      target->format != TLUX_FMT_YCBCR420_YPVU) {
    return Result::kUnsupported;
  }
  if (source->width != target->width || source->height != target->height ||
      !isComplete(*source, *findFormat(source->format)) ||
      !isComplete(*target, *findFormat(target->format))) {
    return Result::kInvalidParam;
  }
  copyLuma(*source, *target);
  halveChroma(*source, *target);
  return Result::kOk;
}

} // namespace

Result checkSemiPlanar(const TLUX_IMAGE* frame) {
  if (frame == nullptr) return Result::kInvalidParam;
  const Format* format = findFormat(frame->format);
  if (format == nullptr || format->planes != 2) return Result::kUnsupported;
  return isComplete(*frame, *format) ? Result::kOk : Result::kInvalidParam;
}

ComponentPlane chromaPairsOf(const TLUX_IMAGE& frame) {
  return planeOf(frame, componentsOf(*findFormat(frame.format)).list[1]);
}

void splitChroma(const TLUX_IMAGE& frame, std::uint8_t* u, std::uint8_t* v, std::ptrdiff_t pitch) {
  const ComponentPlane pairs = chromaPairsOf(frame);
  if (isOrderCrCb(frame)) std::swap(u, v);
  for (std::int64_t y = 0; y < pairs.height; ++y) {
    splitRow(pairs.row(y), u + y * pitch, v + y * pitch, pairs.width);
  }
}

void joinChroma(const std::uint8_t* u, const std::uint8_t* v, std::ptrdiff_t pitch,
                const TLUX_IMAGE& frame) {
  const ComponentPlane pairs = chromaPairsOf(frame);
  if (isOrderCrCb(frame)) std::swap(u, v);
  for (std::int64_t y = 0; y < pairs.height; ++y) {
    joinRow(u + y * pitch, v + y * pitch, pairs.row(y), pairs.width);
  }
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t ExtractUVchannel(const TLUX_IMAGE* frame, uint8_t* u, uint8_t* v, int32_t pitch) noexcept {
  const Result outcome = checkChromaPlanes(frame, u, v, pitch);
  if (outcome == Result::kOk) splitChroma(*frame, u, v, pitch);
  return codeOf(outcome);
}

uint32_t PushUVchannel(const uint8_t* u, const uint8_t* v, int32_t pitch,
                       TLUX_IMAGE* frame) noexcept {
  const Result outcome = checkChromaPlanes(frame, u, v, pitch);
  if (outcome == Result::kOk) joinChroma(u, v, pitch, *frame);
  return codeOf(outcome);
}

uint32_t FormatI444TONV21(const TLUX_IMAGE* source, TLUX_IMAGE* target) noexcept {
  return codeOf(subsampleFrame(source, target));
}
