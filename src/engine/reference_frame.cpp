#include "engine/reference_frame.hpp"

#include "tlux/resample.h"
#include "tone/stage.hpp"

namespace tlux {
namespace {

// The reference frame has even sides: frames are cut down to whole blocks of 16 × 16.
constexpr std::int32_t referenceSide(std::int32_t side) {
  return side / (2 * kReferenceReduction) * 2;
}

bool hasSize(const TLUX_IMAGE& image, std::int32_t width, std::int32_t height) {
  return image.width == width && image.height == height;
}

} // namespace

std::uint32_t initReferenceFrame(MMemMgr manager, TLUX_ENGINE& engine, const TLUX_IMAGE& source) {
  engine.source = &source;
  engine.srcWidth = source.width;
  engine.srcHeight = source.height;
  engine.refWidth = referenceSide(source.width);
  engine.refHeight = referenceSide(source.height);
  engine.refScale = kReferenceReduction;

  TLUX_IMAGE*& reference = engine.images[0];
  if (reference != nullptr && !hasSize(*reference, engine.refWidth, engine.refHeight)) {
    TLUX_FreeImage_IMK(&reference, manager);
  }
  if (engine.refWidth == 0 || engine.refHeight == 0) return TLUX_OK;
  if (reference == nullptr) {
    const std::uint32_t created = TLUX_CreateImage_IMK(
        &reference, engine.refWidth, engine.refHeight, TLUX_FMT_YCBCR444_P, manager);
    if (created != TLUX_OK) return created;
  }
  return TLUX_ScaleCropImage(&source, reference, nullptr, kReferenceReduction);
}

} // namespace tlux
