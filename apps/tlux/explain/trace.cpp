#include "explain/trace.hpp"

#include "base/library_result.hpp"
#include "explain/stage_units.hpp"
#include "media/semi_planar.hpp"
#include "output/report.hpp"

namespace tlux::app {

namespace {

constexpr int kRepetitions = 7;

FramePtr copyOf(const AVFrame& frame) {
  FramePtr copy = makeSemiPlanarLike(frame);
  check(av_frame_copy(copy.get(), &frame));
  return copy;
}

/** Applies a gain in linear light; below unity, its reciprocal to the inverted code. */
std::vector<uint8_t> mapCodes(std::vector<uint8_t> codes, std::vector<uint16_t> gains) {
  constexpr int32_t kOddRow = 1; // a row without chroma
  const size_t pixels = codes.size();
  codes.resize((pixels + 3) / 4 * 4); // as far as the library works
  gains.resize(codes.size());
  AME_NV21NV12_LineTone(kOddRow, codes.data(), nullptr, static_cast<int32_t>(pixels), gains.data(),
                        TLUX_Degamma_Table, TLUX_Gamma_Table8);
  codes.resize(pixels);
  return codes;
}

/** The gain of every score at a strength. */
std::vector<uint16_t> gainTableOf(uint32_t strength) {
  Engine engine;
  checkResult(engine.status());
  checkResult(TLUX_TonemapGainLUT(nullptr, engine.get(), strength));
  const uint16_t* gains = engine.get()->gainLut;
  return {gains, gains + kScores};
}

/** What the library saw in its latest frame. */
void takeOver(const TLUX_STREAM_REPORT& report, Trace& trace) {
  trace.width = report.width;
  trace.height = report.height;
  const auto pixels = static_cast<ptrdiff_t>(report.width) * report.height;
  for (int y = 0; y < report.height; ++y) {
    const uint8_t* row = report.reference + ptrdiff_t{y} * report.referencePitch;
    trace.reference.insert(trace.reference.end(), row, row + report.width);
  }
  trace.scores.assign(report.scores, report.scores + pixels);
  trace.gains.assign(report.gains, report.gains + pixels);
  trace.mapped = mapCodes(trace.reference, trace.gains);
}

} // namespace

Trace traceRun(const AVFrame& frame, const Tones& tones) {
  Trace trace;
  trace.strength = tones.strength;
  trace.gainTable = gainTableOf(tones.strength);
  const TLUX_STREAM_OPTIONS options = streamOptions(tones);
  trace.cost.bytes = TLUX_GetStreamPoolSize(&options, frame.width, frame.height);
  Enhancer enhancer(tones);
  for (int i = 0; i <= kRepetitions; ++i) {
    trace.output = copyOf(frame);
    enhancer.startAnew();
    Stopwatch watch;
    enhancer.enhance(*trace.output);
    const double time = watch.lapMilliseconds();
    if (i == 0) trace.cost.firstMilliseconds = time;
    if (i == 1 || (i > 1 && time < trace.cost.milliseconds)) trace.cost.milliseconds = time;
  }
  takeOver(enhancer.report().value(), trace);
  return trace;
}

} // namespace tlux::app
