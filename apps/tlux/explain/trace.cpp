#include "explain/trace.hpp"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "explain/metered_pool.hpp"
#include "library_result.hpp"
#include "media/semi_planar.hpp"
#include "report.hpp"

namespace tlux::app {

namespace {

constexpr int kRepetitions = 7;
constexpr size_t kGainTableEntries = 65536;

/** Twice what a run may need, rows of its four workers included. */
uint64_t poolBytes(const AVFrame& frame) {
  const auto referencePixels =
      static_cast<uint64_t>(frame.width / 8) * static_cast<uint64_t>(frame.height / 8);
  const auto row = static_cast<uint64_t>(frame.width);
  return 2 * (52 * referencePixels + 160 * row + (2U << 20));
}

FramePtr makeWithoutPadding(const AVFrame& model) {
  return makeSemiPlanar(static_cast<AVPixelFormat>(model.format), model.width, model.height,
                        FFALIGN(model.width, 4));
}

std::vector<uint8_t> packed(const uint8_t* plane, int width, int height, int pitch) {
  std::vector<uint8_t> samples;
  samples.reserve(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = plane + ptrdiff_t{y} * pitch;
    samples.insert(samples.end(), row, row + width);
  }
  return samples;
}

/** What @p engine knows after a run. */
void takeOver(const TLUX_ENGINE& engine, Trace& trace) {
  const TLUX_IMAGE& reference = *engine.images[0];
  trace.width = reference.width;
  trace.height = reference.height;
  for (size_t i = 0; i < trace.reference.size(); ++i) {
    trace.reference[i] =
        packed(reference.plane[i], reference.width, reference.height, reference.pitch[0]);
  }
  // An NV12 frame is reduced as if it were NV21: its reference has the chroma planes exchanged.
  if (engine.source->format == TLUX_FMT_YCBCR420_YPUV) {
    std::swap(trace.reference[1], trace.reference[2]);
  }
  const auto pixels = static_cast<size_t>(trace.width) * static_cast<size_t>(trace.height);
  trace.scores.resize(pixels);
  std::memcpy(trace.scores.data(), engine.logGainMap, pixels * sizeof(int16_t));
  trace.gainTable.assign(engine.gainLut, engine.gainLut + kGainTableEntries);
}

/** Keeps the fastest of several runs. */
void addTime(Cost& cost, double milliseconds, bool isFirst) {
  if (isFirst || milliseconds < cost.milliseconds) cost.milliseconds = milliseconds;
}

void addMemory(Cost& cost, const MeteredPool& pool) {
  cost.peakBytes = pool.peakBytes();
  cost.keptBytes = pool.keptBytes();
}

/** One frame, worked on with a pool of its own. */
class Tracer {
 public:
  Tracer(const AVFrame& frame, uint32_t strength)
      : source_(makeWithoutPadding(frame)), pool_(poolBytes(frame)) {
    check(av_frame_copy(source_.get(), &frame));
    trace_.strength = strength;
    trace_.output = makeWithoutPadding(frame);
    check(av_frame_copy_props(trace_.output.get(), &frame));
  }

  Trace trace() {
    for (int i = 0; i < kRepetitions; ++i) {
      runAtOnce(i == 0);
      runByStages(i == 0);
    }
    return std::move(trace_);
  }

 private:
  // Memory and results are taken from the first run, times from all.

  void runAtOnce(bool isFirst) {
    pool_.reset();
    if (isFirst) pool_.startMeasuring();
    TLUX_ENGINE* engine = nullptr;
    checkResult(TLUX_Init(pool_.handle(), &engine));
    const TLUX_IMAGE input = imageOf(*source_);
    TLUX_IMAGE output = imageOf(*trace_.output);
    Stopwatch watch;
    checkResult(TLUX_RunDynamicRangeOptimizationImage(pool_.handle(), engine, &input, 1, &output,
                                                      &trace_.strength, 0));
    addTime(trace_.run, watch.lapMilliseconds(), isFirst);
    if (!isFirst) return;
    addMemory(trace_.run, pool_);
    takeOver(*engine, trace_);
  }

  void runByStages(bool isFirst) {
    pool_.reset();
    const FramePtr output = makeWithoutPadding(*source_);
    Stages stages(pool_.handle(), *source_, *output, trace_.strength);
    for (size_t i = 0; i < kStages.size(); ++i) {
      if (isFirst) pool_.startMeasuring();
      Stopwatch watch;
      (stages.*kStages[i].run)();
      addTime(trace_.stages[i], watch.lapMilliseconds(), isFirst);
      if (isFirst) addMemory(trace_.stages[i], pool_);
    }
    if (!isFirst) return;
    const TLUX_IMAGE& reference = *stages.engine().images[0];
    trace_.mapped = packed(stages.mapped(), reference.width, reference.height, reference.pitch[0]);
    checkSame(stages.engine(), *output);
  }

  /** What is shown of the stages must be what the run does. */
  void checkSame(const TLUX_ENGINE& engine, const AVFrame& output) const {
    Trace parts;
    takeOver(engine, parts);
    const auto bytes = static_cast<size_t>(semiPlanarBytes(output.height, output.linesize[0]));
    if (parts.reference != trace_.reference || parts.scores != trace_.scores ||
        parts.gainTable != trace_.gainTable ||
        std::memcmp(output.data[0], trace_.output->data[0], bytes) != 0) {
      throw std::runtime_error("the stages one by one do not come to the result of the run");
    }
  }

  FramePtr source_;
  MeteredPool pool_;
  Trace trace_;
};

} // namespace

Trace traceRun(const AVFrame& frame, uint32_t strength) {
  return Tracer(frame, strength).trace();
}

} // namespace tlux::app
