#include "engine/reference_frame.hpp"
#include "base/result.hpp"

#include <algorithm>
#include <cstddef>

#include "image/format.hpp"
#include "platform/pool_need.hpp"
#include "tone/reference_rows.hpp"
#include "tone/stage.hpp"

namespace tlux::detail {
namespace {

constexpr std::uint32_t kReferenceFormat = TLUX_FMT_YCBCR444_P;

// The reference frame has even sides: frames are cut down to whole blocks of 16 × 16.
constexpr std::int32_t referenceSide(std::int32_t side) {
  return side / (2 * kReferenceReduction) * 2;
}

bool hasSize(const TLUX_IMAGE& image, std::int32_t width, std::int32_t height) {
  return image.width == width && image.height == height;
}

} // namespace

Result initReferenceFrame(MMemMgr manager, TLUX_ENGINE& engine, const TLUX_IMAGE& source) {
  engine.source = &source;
  engine.srcWidth = source.width;
  engine.srcHeight = source.height;
  engine.refWidth = referenceSide(source.width);
  engine.refHeight = referenceSide(source.height);
  engine.refScale = kReferenceReduction;

  TLUX_IMAGE*& reference = referenceOf(engine);
  if (reference != nullptr && !hasSize(*reference, engine.refWidth, engine.refHeight)) {
    TLUX_FreeImage_IMK(&reference, manager);
  }
  if (engine.refWidth == 0 || engine.refHeight == 0) return Result::kOk;
  if (reference != nullptr) return Result::kOk;
  return resultOf(TLUX_CreateImage_IMK(&reference, engine.refWidth, engine.refHeight,
                                       kReferenceFormat, manager));
}

void fillReferenceLuma(Team& team, const TLUX_IMAGE& source, const TLUX_IMAGE& reference) {
  constexpr std::int32_t kRows = 8; // made at a time by one thread
  shareRows(&team, reference.height, kRows, [&](Band rows, int /*slot*/) {
    fillReferenceRows(source, reference, rows, Components::kLuma);
  });
}

std::int64_t runPoolBytes(std::int32_t width, std::int32_t height) {
  const std::int32_t refWidth = referenceSide(width);
  const std::int32_t refHeight = referenceSide(height);
  if (refWidth == 0 || refHeight == 0) return 0;
  const auto planes = planeSizes(*findFormat(kReferenceFormat), refWidth, refHeight);
  return poolBlock(sizeof(TLUX_IMAGE)) + poolBlock(totalBytes(planes)) +
         toneMapPoolBytes(refWidth, refHeight, planes[0].pitch);
}

} // namespace tlux::detail
