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
#include "media/block_padding.hpp"
#include "media/rgb_copy.hpp"

namespace tlux::app {

namespace {

// In the order of the page.
constexpr const char* kBefore = "before.jpg";
constexpr const char* kAfter = "after.jpg";
constexpr const char* kReference = "reference.png";
constexpr const char* kScore = "score.png";
constexpr const char* kGain = "gain.png";
constexpr const char* kMapped = "mapped.png";

/** The reference frame in colour. */
FramePtr showReference(const Trace& trace, const AVFrame& source) {
  const FramePtr planes = makeFrame(AV_PIX_FMT_YUV444P, trace.width, trace.height);
  planes->color_range = AVCOL_RANGE_JPEG;
  planes->colorspace = source.colorspace;
  for (size_t i = 0; i < trace.reference.size(); ++i) {
    for (int y = 0; y < trace.height; ++y) {
      std::memcpy(planes->data[i] + ptrdiff_t{y} * planes->linesize[i],
                  trace.reference[i].data() + ptrdiff_t{y} * trace.width,
                  static_cast<size_t>(trace.width));
    }
  }
  return toRgb(*planes);
}

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

std::string kibibytes(int64_t bytes) {
  return bytes == 0 ? "–" : fmt::format("{:.1f}&nbsp;KiB", static_cast<double>(bytes) / 1024);
}

std::vector<std::string> costRow(const std::string& stage, const Cost& cost, double bar) {
  return {stage, fmt::format("{:.2f}&nbsp;ms", cost.milliseconds),
          fmt::format("<span class=\"bar\" style=\"width:{:.0f}px\"></span>", bar),
          kibibytes(cost.peakBytes), kibibytes(cost.keptBytes)};
}

void addCosts(const Trace& trace, HtmlPage& page) {
  double longest = 0;
  for (const Cost& cost : trace.stages) {
    longest = std::max(longest, cost.milliseconds);
  }
  constexpr double kLongestBar = 160;
  std::vector<std::vector<std::string>> rows;
  for (size_t i = 0; i < kStages.size(); ++i) {
    const Stage& stage = kStages[i];
    rows.push_back(
        costRow(fmt::format("{}<small>{}: {}</small>", stage.name, stage.work, stage.functions),
                trace.stages[i], kLongestBar * trace.stages[i].milliseconds / longest));
  }
  rows.push_back(costRow("The run in one call", trace.run, 0));
  page.addTable(
      "Time and memory", {"Stage", "Time", "", "Memory at most", "Memory left"}, rows,
      "Times are those of the fastest of several runs on this machine. Memory is what a stage "
      "takes from the "
      "pool at one time, its workers included, and what it leaves there for later stages. The run "
      "keeps its reference frame, scores and gain table for the next frame, and skips the gain "
      "table as long as the strength stays.");
}

/** What the library is handed: pictures are extended to whole blocks. */
FramePtr frameFor(const Picture& picture) {
  FramePtr extended = picture.isRaw ? nullptr : extendToBlocks(*picture.frame);
  if (extended != nullptr) {
    extended->colorspace = picture.frame->colorspace;
    return extended;
  }
  return FramePtr(checkAllocated(av_frame_clone(picture.frame.get())));
}

FramePtr shownOutput(const Trace& trace, const AVFrame& source) {
  const bool wasExtended =
      trace.output->width != source.width || trace.output->height != source.height;
  return wasExtended ? cutFromBlocks(*trace.output, source)
                     : FramePtr(checkAllocated(av_frame_clone(trace.output.get())));
}

std::string paddingNote(const AVFrame& frame, const AVFrame& source) {
  const int columns = frame.width - source.width;
  const int rows = frame.height - source.height;
  if (columns == 0 && rows == 0) return "";
  const std::string left = fmt::format("{} columns at the left", columns);
  const std::string top = fmt::format("{} rows at the top", rows);
  return fmt::format(
      " For this, {}{}{} were repeated, so that the frame consists of whole blocks "
      "of 16.",
      columns > 0 ? left : "", columns > 0 && rows > 0 ? " and " : "", rows > 0 ? top : "");
}

/** The page as it grows, with the pictures it shows. */
class ReportBuilder {
 public:
  ReportBuilder(const Picture& picture, uint32_t strength, const std::string& name)
      : source_(*picture.frame),
        frame_(frameFor(picture)),
        trace_(traceRun(*frame_, strength)),
        output_(shownOutput(trace_, source_)),
        before_(histogramOf(source_)),
        after_(histogramOf(*output_)),
        page_("What tlux saw in " + name,
              fmt::format("{}×{} pixels, strength {}, reference frame of {}×{}, {}",
                          picture.width(), picture.height(), strength, trace_.width, trace_.height,
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
               fmt::format("The picture as it was read, mean luma {:.0f}.", meanOf(before_)));
    addPicture("After", toRgb(*output_), kAfter, "",
               fmt::format("What the library returns at strength {}, mean luma {:.0f}.",
                           trace_.strength, meanOf(after_)));
    page_.addWideFigure("Luma histogram", drawHistograms(before_, after_),
                        "<span class=\"key before\"></span>before, "
                        "<span class=\"key after\"></span>after. Clipped areas at both ends may be "
                        "higher than the diagram.");
    page_.endFigures();
  }

  void addView() {
    page_.startFigures("What the run looks at");
    addPicture("Reference frame", showReference(trace_, source_), kReference, "",
               fmt::format("Every decision is made on this small frame of {}×{} pixels, an eighth "
                           "of the size: finer detail than it shows is never lifted or darkened "
                           "by itself.{}",
                           trace_.width, trace_.height, paddingNote(*frame_, source_)));
    const double range = scoreRange(trace_);
    addPicture("Score", showScores(trace_), kScore, drawLegend("scores", range, scoreTicks(range)),
               "Stops by which a pixel lies below (orange) or above (blue) a level half-way "
               "between the mean of the frame and middle grey, its detail evened out by the local "
               "contrast. Orange will be lifted, blue darkened. One stop is 710 units of the "
               "library's score.");
    page_.endFigures();
  }

  void addDecision() {
    page_.startFigures("How the strength decides");
    page_.addFigure("Gain curve", drawGainCurve(trace_),
                    fmt::format("The line is the gain that strength {} gives to each score; where "
                                "it is flat, more contrast makes no difference. The grey area "
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
    page_.startFigures("What comes of it");
    addPicture("Mapped reference", showGray(trace_.mapped, trace_.width, trace_.height), kMapped,
               "",
               "Luma of the reference frame after its gains. The guided filter carries it to full "
               "size along the edges of the full-size luma; flat areas take its tones, edges stay "
               "as sharp as they were.");
    page_.addFigure("Effective tone curve", drawToneCurve(trace_),
                    "Luma of the reference frame before and after: the line is the median, the "
                    "band holds the middle 80&nbsp;%, dashed is no change. A wide band means that "
                    "the surroundings count more than the brightness itself.");
    page_.endFigures();
  }

  const AVFrame& source_;
  FramePtr frame_;
  Trace trace_;
  FramePtr output_;
  Histogram before_;
  Histogram after_;
  HtmlPage page_;
  Report report_;
};

} // namespace

std::vector<std::string> reportPictureNames() {
  return {kBefore, kAfter, kReference, kScore, kGain, kMapped};
}

Report explainRun(const Picture& picture, uint32_t strength, const std::string& name) {
  return ReportBuilder(picture, strength, name).build();
}

} // namespace tlux::app
