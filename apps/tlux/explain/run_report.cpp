#include "explain/run_report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "explain/diagrams.hpp"
#include "explain/findings.hpp"
#include "explain/heat_map.hpp"
#include "explain/html_page.hpp"
#include "explain/luma_statistics.hpp"
#include "explain/scales.hpp"
#include "explain/trace.hpp"
#include "media/rgb_copy.hpp"

namespace tlux::app {

namespace {

// In page order.
constexpr const char* kBefore = "before.jpg";
constexpr const char* kAfter = "after.jpg";
constexpr const char* kReference = "reference.png";
constexpr const char* kScore = "score.png";
constexpr const char* kGain = "gain.png";
constexpr const char* kMapped = "mapped.png";

FramePtr showGray(const std::vector<uint8_t>& samples, int width, int height) {
  FramePtr gray = makeFrame(AV_PIX_FMT_RGB24, width, height);
  const uint8_t* sample = samples.data();
  for (int y = 0; y < height; ++y) {
    uint8_t* row = gray->data[0] + ptrdiff_t{y} * gray->linesize[0];
    for (int x = 0; x < width; ++x) {
      std::memset(row + 3 * ptrdiff_t{x}, *sample++, 3);
    }
  }
  return gray;
}

FramePtr showScores(const Trace& trace) {
  std::vector<double> stops;
  for (const int16_t score : trace.scores) {
    stops.push_back(stopsOfScore(score));
  }
  return drawHeatMap(stops, trace.width, trace.height, scoreRange(trace));
}

FramePtr showGains(const Trace& trace) {
  std::vector<double> stops;
  for (size_t i = 0; i < trace.pixels(); ++i) {
    stops.push_back(std::log2(trace.gainOf(i)));
  }
  return drawHeatMap(stops, trace.width, trace.height, gainRange(trace));
}

void addCosts(const Trace& trace, HtmlPage& page) {
  const auto time = [](double milliseconds) { return fmt::format("{:.2f}&nbsp;ms", milliseconds); };
  page.addTable(
      "Time and memory", {"", "Here"},
      {{"First frame", time(trace.cost.firstMilliseconds)},
       {"Every frame after it", time(trace.cost.milliseconds)},
       {"Memory", fmt::format("{:.1f}&nbsp;KiB", static_cast<double>(trace.cost.bytes) / 1024)}},
      "The first frame starts the threads and allocates the memory that later frames reuse. The "
      "time of later frames is the fastest of several. Memory is the pool size required for "
      "frames of this size.");
}

/** Builds the page and its pictures. */
class ReportBuilder {
 public:
  ReportBuilder(const Picture& picture, const Tones& tones, const std::string& name)
      : source_(*picture.frame),
        trace_(traceRun(source_, tones)),
        before_(histogramOf(source_)),
        after_(histogramOf(*trace_.output)),
        page_("What tlux saw in " + name,
              fmt::format("{}×{} pixels, {}, reference frame of {}×{}, {}", picture.width(),
                          picture.height(), describe(tones), trace_.width, trace_.height,
                          TLUX_GetVersion()->version)) {}

  Report build() {
    page_.addList(describeFindings(trace_, before_, after_));
    addResult();
    addView();
    addDecision();
    addEffect();
    addCosts(trace_, page_);
    report_.html = page_.finish();
    report_.findings = findingsOf(trace_, before_, after_);
    report_.reference = {trace_.width, trace_.height};
    return std::move(report_);
  }

 private:
  void addPicture(const std::string& heading, FramePtr rgb, const char* fileName,
                  const std::string& legend, const std::string& caption) {
    report_.pictures.push_back(embed(std::move(rgb), fileName));
    page_.addFigure(heading, report_.pictures.back().toHtml(heading) + legend, caption);
  }

  void addResult() {
    page_.startFigures("Before and after");
    addPicture("Before", toRgb(source_), kBefore, "",
               fmt::format("The input picture, mean luma {:.0f}.", meanOf(before_)));
    addPicture("After", toRgb(*trace_.output), kAfter, "",
               fmt::format("The output at strength {}, mean luma {:.0f}.", trace_.strength,
                           meanOf(after_)));
    page_.addWideFigure("Luma histogram", drawHistograms(before_, after_),
                        "<span class=\"key before\"></span>before, "
                        "<span class=\"key after\"></span>after. Clipped areas at both ends may be "
                        "higher than the diagram.");
    page_.endFigures();
  }

  void addView() {
    page_.startFigures("What the run looks at");
    addPicture(
        "Reference frame", showGray(trace_.reference, trace_.width, trace_.height), kReference, "",
        fmt::format("Every decision is made on the luma of this small frame of {}×{} pixels, "
                    "an eighth of the size: detail too fine for it is never lifted or "
                    "darkened separately.",
                    trace_.width, trace_.height));
    const double range = scoreRange(trace_);
    addPicture("Score", showScores(trace_), kScore, drawLegend("scores", range, scoreTicks(range)),
               "How many stops a pixel is below (orange) or above (blue) a level half-way between "
               "the mean of the frame and middle grey, with detail normalised by the local "
               "contrast. Orange will be lifted, blue darkened. One stop is 710 units of the "
               "library's score.");
    page_.endFigures();
  }

  void addDecision() {
    page_.startFigures("How the strength decides");
    page_.addFigure("Gain curve", drawGainCurve(trace_),
                    fmt::format("The line is the gain that strength {} gives to each score; where "
                                "it is flat, a larger score makes no difference. The grey area "
                                "shows how often each score occurs in this frame.",
                                trace_.strength));
    const double range = gainRange(trace_);
    addPicture("Gain map", showGains(trace_), kGain, drawLegend("gains", range, gainTicks(range)),
               "The gain of each pixel, a factor of linear light. Below 1 the reciprocal is "
               "applied to the inverted picture, so that highlights are compressed the way "
               "shadows are lifted.");
    page_.endFigures();
  }

  void addEffect() {
    page_.startFigures("The result");
    addPicture("Mapped reference", showGray(trace_.mapped, trace_.width, trace_.height), kMapped,
               "",
               "Luma of the reference frame after its gains. The guided filter carries it to full "
               "size along the edges of the full-size luma; flat areas take its tones, edges keep "
               "their sharpness.");
    page_.addFigure("Effective tone curve", drawToneCurve(trace_),
                    "Luma of the reference frame before and after: the line is the median, the "
                    "band contains the middle 80&nbsp;%, the dashed line is no change. A wide band "
                    "means that the surroundings count more than the brightness itself.");
    page_.endFigures();
  }

  const AVFrame& source_;
  Trace trace_;
  Histogram before_;
  Histogram after_;
  HtmlPage page_;
  Report report_;
};

} // namespace

std::vector<std::string> reportPictureNames() {
  return {kBefore, kAfter, kReference, kScore, kGain, kMapped};
}

Report explainRun(const Picture& picture, const Tones& tones, const std::string& name) {
  return ReportBuilder(picture, tones, name).build();
}

} // namespace tlux::app
