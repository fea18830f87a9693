#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "cli/number_option.hpp"
#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "commands/processor.hpp"
#include "commands/resolutions.hpp"
#include "media/semi_planar.hpp"
#include "output/json.hpp"
#include "stream/enhancer.hpp"
#include "tlux.h"

namespace tlux::app {

namespace {

struct BenchOptions {
  Size size; // empty for all resolutions
  Tones tones;
  double seconds = 1;
  bool json = false;
};

struct Measurement {
  Size size;
  size_t runs = 0;
  double run = 0;  // milliseconds, median
  double copy = 0; // of the frame with memcpy, likewise

  double framesPerSecond() const { return 1000 / run; }
  double ratio() const { return run / copy; }
};

constexpr const char* kLesson =
    "Examples:\n"
    "  tlux bench\n"
    "  tlux bench --size 1920x1080 --seconds 10\n"
    "  tlux bench --json >bench.json\n"
    "\n"
    "Times are medians over runs on one frame that is not in the processor's caches when the run\n"
    "starts, as if a camera had just written it. The time to copy the frame shows how fast the\n"
    "machine's memory is; compare machines by the ratio of the two.";

/** Overwrites more memory than fits the caches. */
class CacheFlusher {
 public:
  CacheFlusher() : block_(bytes()) {}

  void flush() {
    ++value_;
    std::fill(block_.begin(), block_.end(), value_);
  }

 private:
  static size_t bytes() {
    constexpr size_t kLeast = size_t{64} << 20;
    constexpr size_t kMost = size_t{512} << 20;
    const long lastLevel = sysconf(_SC_LEVEL3_CACHE_SIZE);
    return std::clamp(lastLevel > 0 ? 2 * static_cast<size_t>(lastLevel) : 0, kLeast, kMost);
  }

  std::vector<uint8_t> block_;
  uint8_t value_ = 0;
};

/** With the row length of the library's own images. */
FramePtr makeFrameFor(Size size) {
  return makeSemiPlanar(AV_PIX_FMT_NV21, size.width, size.height, FFALIGN(size.width, 4));
}

/** A dark room with a bright window, and fine noise, so every stage has work to do. */
void paintScene(AVFrame& frame) {
  uint32_t noise = 1;
  for (int y = 0; y < frame.height; ++y) {
    uint8_t* row = frame.data[0] + ptrdiff_t{y} * frame.linesize[0];
    for (int x = 0; x < frame.width; ++x) {
      noise = noise * 1664525 + 1013904223; // Numerical Recipes
      const bool inWindow = x > frame.width / 2 && y < frame.height / 2;
      const int light = inWindow ? 210 : 15 + 40 * x / frame.width;
      row[x] = static_cast<uint8_t>(light + static_cast<int>(noise >> 28));
    }
  }
  const ptrdiff_t chromaBytes = ptrdiff_t{frame.linesize[1]} * (frame.height / 2);
  for (ptrdiff_t i = 0; i < chromaBytes; ++i) {
    frame.data[1][i] = static_cast<uint8_t>(116 + i % 24);
  }
}

double medianOf(std::vector<double>& times) {
  const auto middle = times.begin() + static_cast<ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

Measurement measure(Size size, const BenchOptions& options, CacheFlusher& cache) {
  const FramePtr source = makeFrameFor(size);
  const FramePtr frame = makeFrameFor(size);
  paintScene(*source);
  const auto bytes = static_cast<size_t>(semiPlanarBytes(size.height, source->linesize[0]));
  const auto copy = [&] { std::memcpy(frame->data[0], source->data[0], bytes); };
  Enhancer enhancer(options.tones);
  const auto run = [&] { enhancer.enhance(*frame); };
  copy();
  run(); // starts threads and allocates memory

  std::vector<double> runs;
  std::vector<double> copies;
  constexpr size_t kLeastRuns = 5;
  const auto timed = [&](auto work) {
    cache.flush();
    Stopwatch watch;
    work();
    return watch.lapMilliseconds();
  };
  double spent = 0;
  for (Stopwatch watch; runs.size() < kLeastRuns || spent < 1000 * options.seconds;
       spent += watch.lapMilliseconds()) {
    copies.push_back(timed(copy));
    runs.push_back(timed(run));
  }
  return {size, runs.size(), medianOf(runs), medianOf(copies)};
}

void printTable(const std::vector<Measurement>& measurements) {
  printLine(fmt::format("{:>10}  {:>10}  {:>9}  {:>10}  {:>6}", "frame", "run", "frames/s", "copy",
                        "ratio"));
  for (const Measurement& m : measurements) {
    printLine(fmt::format("{:>10}  {:>7.2f} ms  {:>9.1f}  {:>7.3f} ms  {:>6.1f}",
                          fmt::format("{}x{}", m.size.width, m.size.height), m.run,
                          m.framesPerSecond(), m.copy, m.ratio()));
  }
}

void printJson(const std::vector<Measurement>& measurements, const BenchOptions& options) {
  std::vector<JsonObject> results;
  results.reserve(measurements.size());
  for (const Measurement& m : measurements) {
    results.push_back(JsonObject()
                          .add("width", m.size.width)
                          .add("height", m.size.height)
                          .add("runs", m.runs)
                          .add("milliseconds", m.run, 4)
                          .add("framesPerSecond", m.framesPerSecond(), 2)
                          .add("copyMilliseconds", m.copy, 4)
                          .add("ratio", m.ratio(), 2));
  }
  printLine(JsonObject::report("tlux.bench.1")
                .add("version", TLUX_GetVersion()->version)
                .add("vectorUnit", vectorUnit())
                .add("processors", std::thread::hardware_concurrency())
                .add("strength", options.tones.strength)
                .add("tones", nameOf(options.tones))
                .add("results", results)
                .toString());
}

ExitCode bench(const BenchOptions& options) {
  std::vector<Size> sizes(kUsualResolutions.begin(), kUsualResolutions.end());
  if (!options.size.isEmpty()) sizes = {options.size};
  CacheFlusher cache;
  std::vector<Measurement> measurements;
  measurements.reserve(sizes.size());
  for (const Size size : sizes) {
    measurements.push_back(measure(size, options, cache));
  }
  if (options.json) {
    printJson(measurements, options);
  } else {
    printTable(measurements);
  }
  return ExitCode::kDone;
}

} // namespace

Command addBench(CLI::App& app) {
  const auto options = std::make_shared<BenchOptions>();
  CLI::App* parser = app.add_subcommand("bench", "Measure how fast this machine enhances frames");
  addFrameSizeOption(*parser, "--size", options->size, "One frame size instead of the usual ones");
  addToneOptions(*parser, options->tones);
  addNumber(*parser, "--seconds", options->seconds, 0.0, 3600.0, "Time to spend on each size");
  addJsonOption(*parser, options->json);
  parser->footer(kLesson);
  return {parser, [options] { return bench(*options); }};
}

} // namespace tlux::app
