#include "explain/trace.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "explain/metered_pool.hpp"
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

/** One frame and the pool it is worked on with. */
class Bench {
 public:
  Bench(const AVFrame& frame, uint32_t strength)
      : source_(makeWithoutPadding(frame)), pool_(poolBytes(frame)) {
    check(av_frame_copy(source_.get(), &frame));
    trace_.strength = strength;
    trace_.output = makeWithoutPadding(frame);
    check(av_frame_copy_props(trace_.output.get(), &frame));
  }

  Trace trace() {
    runAtOnce();
    runByStages();
    return std::move(trace_);
  }

 private:
  void runAtOnce() {
    std::vector<double> times;
    for (int i = 0; i < kRepetitions; ++i) {
      pool_.reset();
      const bool isFirst = i == 0;
      if (isFirst) pool_.startMeasuring();
      TLUX_ENGINE* engine = nullptr;
      checkResult(TLUX_Init(pool_.handle(), &engine));
      const TLUX_IMAGE input = imageOf(*source_);
      TLUX_IMAGE output = imageOf(*trace_.output);
      Stopwatch watch;
      checkResult(TLUX_RunDynamicRangeOptimizationImage(pool_.handle(), engine, &input, 1, &output,
                                                        &trace_.strength, 0));
      times.push_back(watch.lapMilliseconds());
      if (!isFirst) continue;
      trace_.run.peakBytes = pool_.peakBytes();
      trace_.run.keptBytes = pool_.keptBytes();
      takeOver(*engine, trace_);
    }
    trace_.run.milliseconds = median(times);
  }

  void runByStages() {
    const FramePtr output = makeWithoutPadding(*source_);
    std::array<std::vector<double>, kStages.size()> times;
    for (int i = 0; i < kRepetitions; ++i) {
      pool_.reset();
      Stages stages(pool_.handle(), *source_, *output, trace_.strength);
      for (size_t stage = 0; stage < kStages.size(); ++stage) {
        if (i == 0) pool_.startMeasuring();
        Stopwatch watch;
        (stages.*kStages[stage].run)();
        times[stage].push_back(watch.lapMilliseconds());
        if (i > 0) continue;
        trace_.stages[stage].peakBytes = pool_.peakBytes();
        trace_.stages[stage].keptBytes = pool_.keptBytes();
      }
      if (i > 0) continue;
      const TLUX_IMAGE& reference = *stages.engine().images[0];
      trace_.mapped =
          packed(stages.mapped(), reference.width, reference.height, reference.pitch[0]);
      checkSame(stages.engine(), *output);
    }
    for (size_t stage = 0; stage < kStages.size(); ++stage) {
      trace_.stages[stage].milliseconds = median(times[stage]);
    }
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

  static double median(std::vector<double>& times) {
    const auto middle = times.begin() + static_cast<ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

  FramePtr source_;
  MeteredPool pool_;
  Trace trace_;
};

} // namespace

Trace traceRun(const AVFrame& frame, uint32_t strength) {
  return Bench(frame, strength).trace();
}

} // namespace tlux::app
