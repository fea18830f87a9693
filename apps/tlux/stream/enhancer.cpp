#include "stream/enhancer.hpp"

#include <fmt/format.h>

#include "base/errors.hpp"
#include "base/library_result.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

TLUX_STREAM_OPTIONS withThreads(TLUX_STREAM_OPTIONS options, int threads) {
  options.threads = static_cast<uint32_t>(threads);
  return options;
}

} // namespace

TLUX_STREAM_OPTIONS streamOptions(const Tones& tones) {
  if (tones.exact && (tones.steady || tones.colour)) {
    throw Error(ExitCode::kUsage, "--exact", "excludes --steady and --colour");
  }
  TLUX_STREAM_OPTIONS options =
      Stream::options(tones.exact ? TLUX_TONES_EXACT : TLUX_TONES_NATURAL);
  options.steady = tones.steady.value_or(options.steady);
  options.colour = tones.colour.value_or(options.colour);
  return options;
}

std::string describe(const Tones& tones) {
  std::string text = fmt::format("strength {}", tones.strength);
  if (tones.exact) text += ", exact";
  if (tones.steady) text += fmt::format(", steady {}", *tones.steady);
  if (tones.colour) text += fmt::format(", colour {}", *tones.colour);
  return text;
}

Enhancer::Enhancer(const Tones& tones, int threads)
    : strength_(tones.strength),
      options_(withThreads(streamOptions(tones), threads)),
      stream_(options_) {
  checkResult(stream_.status());
}

void Enhancer::enhance(AVFrame& frame) {
  setRange(frame.color_range == AVCOL_RANGE_MPEG ? TLUX_RANGE_LIMITED : TLUX_RANGE_FULL);
  const TLUX_IMAGE image = imageOf(frame);
  checkResult(stream_.run(image, strength_));
}

std::optional<TLUX_STREAM_REPORT> Enhancer::report() const {
  return stream_.report();
}

void Enhancer::setRange(uint32_t range) {
  if (options_.range == range) return;
  options_.range = range;
  checkResult(stream_.change(options_));
}

} // namespace tlux::app
