// Frames of any size and pitch through one stream, in place or not, on threads of three kinds:
// exact tones against the run as formulas, others against a stream of one thread.
#include "tlux/stream.h"
#include "properties/properties.hpp"
#include "reference/run.hpp"
#include "support/frame.hpp"
#include "support/runners.hpp"

namespace tlux::properties {
namespace {

using test::Frame;

TLUX_STREAM_OPTIONS takeOptions(Input& input) {
  TLUX_STREAM_OPTIONS options = {};
  require(TLUX_InitStreamOptions(&options, sizeof options, input.flag() ? 1 : 0) == TLUX_OK);
  if (input.flag()) return options;
  options.range = input.flag() ? TLUX_RANGE_LIMITED : TLUX_RANGE_FULL;
  options.steady = input.flag() ? 0 : static_cast<std::uint32_t>(input.between(0, 1000));
  options.colour = static_cast<std::uint32_t>(input.between(0, 100));
  options.fineWindows = input.flag() ? 1 : 0;
  return options;
}

// Opens and closes a stream.
struct OpenStream {
  TLUX_STREAM* stream = nullptr;
  std::uint32_t opened;

  OpenStream(MMemMgr manager, const TLUX_STREAM_OPTIONS& options)
      : opened(TLUX_OpenStream(manager, &options, &stream)) {
    require((opened == TLUX_OK) == (stream != nullptr));
  }
  OpenStream(const OpenStream&) = delete;
  OpenStream& operator=(const OpenStream&) = delete;
  ~OpenStream() { TLUX_CloseStream(&stream); }
};

// Runs one frame through `tested` and its reference, and compares.
void runFrame(Input& input, const Memory& memory, const TLUX_STREAM_OPTIONS& options,
              TLUX_STREAM* tested, TLUX_STREAM* plain) {
  constexpr std::uint32_t kFormats[] = {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV};
  const std::uint32_t format = input.oneOf(kFormats);
  const int width = 2 * input.between(1, 100);
  const int height = 2 * input.between(1, 80);
  const int lumaPitch = width + input.between(0, 40);
  const int chromaPitch = width + input.between(0, 40);
  const bool isInPlace = input.flag();
  const int padding = isInPlace ? 0 : input.between(0, 9);
  Frame source({width, height, lumaPitch, chromaPitch, format, true});
  source.visitPlanes([&](std::span<std::uint8_t> bytes) { input.fill(bytes); });
  Frame output =
      isInPlace ? source.copy()
                : Frame({width, height, lumaPitch + padding, chromaPitch + padding, format, true});
  Frame expected = output.copy();
  const std::uint32_t strength = input.flag() ? input.word() : input.word() % 128;
  const bool isExact = options.range == TLUX_RANGE_FULL && options.steady == 0 &&
                       options.colour == 100 && options.fineWindows == 0;
  const std::uint32_t result = TLUX_RunStream(tested, isInPlace ? &output.image() : &source.image(),
                                              &output.image(), strength);
  if (result == TLUX_OK && isExact) {
    reference::optimizeContinued(source.image(), expected.image(), strength);
  } else if (result == TLUX_OK) {
    require(TLUX_RunStream(plain, &source.image(), &expected.image(), strength) == TLUX_OK);
  } else {
    require(memory.isLimited() && result == TLUX_ERR_NO_MEMORY);
    reference::copyFrame(source.image(), expected.image());
  }
  require(output == expected);
}

} // namespace

void checkStream(Input& input) {
  Memory memory(input, 1500000);
  TLUX_STREAM_OPTIONS options = takeOptions(input);
  TLUX_STREAM_OPTIONS one = options;
  one.threads = 1;
  options.threads = input.flag() ? 1 : 3;
  if (input.flag()) {
    options.parallelFor = test::runBackwards;
    options.workers = static_cast<std::uint32_t>(input.between(1, 64));
  }
  const OpenStream tested(memory.manager(), options);
  const OpenStream plain(nullptr, one);
  require(tested.opened == TLUX_OK || (memory.isLimited() && tested.opened == TLUX_ERR_NO_MEMORY));
  for (int frames = 0; tested.stream != nullptr && frames < 3 && !input.isEmpty(); ++frames) {
    runFrame(input, memory, options, tested.stream, plain.stream);
    if (input.flag()) {
      TLUX_ResetStream(tested.stream);
      TLUX_ResetStream(plain.stream);
    }
  }
}

} // namespace tlux::properties
