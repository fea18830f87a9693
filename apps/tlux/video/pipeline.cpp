#include "video/pipeline.hpp"

#include <fmt/format.h>

#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "base/interruption.hpp"
#include "video/bounded_queue.hpp"

namespace tlux::app {

namespace {

// Enough to smooth out frames of uneven cost; more would only use memory.
constexpr size_t kFramesBetweenStages = 3;

using PortionQueue = BoundedQueue<Portion>;

/** The queues of a stream, and the failure that ended it early. */
class Line {
 public:
  PortionQueue decoded{kFramesBetweenStages};
  PortionQueue enhanced{kFramesBetweenStages};

  /** Runs a stage; the first failure of any stage stops them all. */
  template <typename Stage>
  void run(Stage stage) {
    try {
      stage();
    } catch (...) {
      {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::current_exception();
      }
      decoded.stop();
      enhanced.stop();
    }
  }

  bool hasFailed() {
    const std::lock_guard lock(mutex_);
    return failure_ != nullptr;
  }

  /** Call it after all stages have ended. */
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr failure_;
};

void readAll(FrameSource& source, PortionQueue& decoded, double& busy) {
  while (true) {
    Portion portion;
    Stopwatch watch;
    const bool isThere = source.read(portion);
    busy += watch.lapMilliseconds();
    if (!isThere || !decoded.push(std::move(portion))) break;
  }
  decoded.end();
}

void enhanceAll(Line& line, Enhancer& enhancer, double& busy) {
  enhancer.startAnew();
  while (std::optional<Portion> portion = line.decoded.pop()) {
    Stopwatch watch;
    if (portion->frame != nullptr) enhancer.enhance(*portion->frame);
    busy += watch.lapMilliseconds();
    if (!line.enhanced.push(std::move(*portion))) return;
  }
  line.enhanced.end();
}

void writeAll(PortionQueue& enhanced, FrameSink& sink, Progress& progress, StreamTimings& timings) {
  while (std::optional<Portion> portion = enhanced.pop()) {
    const bool hasFrame = portion->frame != nullptr;
    Stopwatch watch;
    sink.write(std::move(*portion));
    timings.busy.encode += watch.lapMilliseconds();
    if (!hasFrame) continue;
    ++timings.frames;
    progress.frameDone();
  }
}

double percent(double part, const StreamTimings& timings) {
  return timings.whole > 0 ? 100 * part / timings.whole : 0;
}

} // namespace

StreamTimings enhanceStream(FrameSource& source, Enhancer& enhancer, FrameSink& sink,
                            Progress& progress) {
  progress.expectFrames(source.properties().frameCount);
  StreamTimings timings;
  Stopwatch whole;
  Line line;
  std::atomic<bool> isReadingDone = false;
  {
    std::jthread reader; // joined before the line is destroyed
    std::jthread worker;
    line.run([&] {
      reader = std::jthread([&] {
        line.run([&] { readAll(source, line.decoded, timings.busy.decode); });
        isReadingDone = true;
      });
      worker =
          std::jthread([&] { line.run([&] { enhanceAll(line, enhancer, timings.busy.run); }); });
      writeAll(line.enhanced, sink, progress, timings);
    });
    // A reader blocked on a silent pipe would delay the exit.
    if (line.hasFailed() && reader.joinable()) {
      interruptReads(reader.native_handle(), isReadingDone);
    }
  }
  line.rethrowFailure();
  Stopwatch watch;
  sink.finish();
  timings.busy.encode += watch.lapMilliseconds();
  timings.whole = whole.lapMilliseconds();
  return timings;
}

std::string describeSpeed(const StreamTimings& timings) {
  const double seconds = timings.whole / 1000;
  return fmt::format("{} in {:.2f} s, {:.1f} per second", counted(timings.frames, "frame"), seconds,
                     seconds > 0 ? static_cast<double>(timings.frames) / seconds : 0);
}

std::string describeShares(const StreamTimings& timings) {
  return fmt::format("at work: decode {:.0f} %, library {:.0f} %, encode {:.0f} % of the time",
                     percent(timings.busy.decode, timings), percent(timings.busy.run, timings),
                     percent(timings.busy.encode, timings));
}

} // namespace tlux::app
