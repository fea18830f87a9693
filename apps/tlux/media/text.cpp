#include "media/text.hpp"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/opt.h>
}

#include <fmt/format.h>

#include "base/errors.hpp"

namespace tlux::app {

namespace {

using GraphPtr = std::unique_ptr<AVFilterGraph, Release<avfilter_graph_free>>;

constexpr const char* kFont = "DejaVu Sans"; // or the system's substitute
constexpr const char* kColor = "0xE8E8E8";
constexpr const char* kBoxColor = "0x000000A0";

void setOption(AVFilterContext& filter, const char* name, const std::string& value) {
  check(av_opt_set(&filter, name, value.c_str(), AV_OPT_SEARCH_CHILDREN));
}

/** A chain of filters from a frame source to a sink. */
class Chain {
 public:
  explicit Chain(const AVFrame& model) : graph_(checkAllocated(avfilter_graph_alloc())) {
    graph_->nb_threads = 1;
    source_ = add("buffer");
    setOption(*source_, "video_size", fmt::format("{}x{}", model.width, model.height));
    setOption(*source_, "pix_fmt", fmt::format("{}", model.format));
    setOption(*source_, "time_base", "1/1");
    initialise(*source_);
  }

  void addLabel(const Label& label, TextStyle style) {
    AVFilterContext* text = add("drawtext");
    setOption(*text, "font", kFont);
    setOption(*text, "fontsize", fmt::format("{}", style.size));
    setOption(*text, "fontcolor", kColor);
    setOption(*text, "expansion", "none");
    setOption(*text, "text", label.text);
    setOption(*text, "x", fmt::format("{}{}", label.x, label.endsAtX ? "-text_w" : ""));
    setOption(*text, "y", fmt::format("{}", label.y));
    if (style.hasBox) {
      setOption(*text, "box", "1");
      setOption(*text, "boxcolor", kBoxColor);
      setOption(*text, "boxborderw", fmt::format("{}", style.size / 2));
    }
    initialise(*text);
  }

  FramePtr apply(const AVFrame& frame) {
    AVFilterContext* sink = add("buffersink");
    initialise(*sink);
    check(avfilter_graph_config(graph_.get(), nullptr));
    const FramePtr input(checkAllocated(av_frame_clone(&frame)));
    input->pts = 0;
    check(av_buffersrc_add_frame(source_, input.get()));
    FramePtr output = makeFrame();
    check(av_buffersink_get_frame(sink, output.get()));
    return output;
  }

 private:
  AVFilterContext* add(const char* name) {
    const AVFilter* filter = avfilter_get_by_name(name);
    if (filter == nullptr) check(AVERROR_FILTER_NOT_FOUND);
    return checkAllocated(avfilter_graph_alloc_filter(graph_.get(), filter, nullptr));
  }

  /** Finishes the filter's options and links it to the previous filter. */
  void initialise(AVFilterContext& filter) {
    check(avfilter_init_str(&filter, nullptr));
    if (last_ != nullptr) check(avfilter_link(last_, 0, &filter, 0));
    last_ = &filter;
  }

  GraphPtr graph_;
  AVFilterContext* source_ = nullptr;
  AVFilterContext* last_ = nullptr;
};

} // namespace

int textWidth(size_t characters, int size) {
  return static_cast<int>(characters) * size * 2 / 3;
}

FramePtr drawLabels(const AVFrame& frame, const std::vector<Label>& labels, TextStyle style) {
  try {
    Chain chain(frame);
    for (const Label& label : labels) {
      chain.addLabel(label, style);
    }
    return chain.apply(frame);
  } catch (const AvError& error) {
    throw Error(ExitCode::kFailed, "labels",
                std::string("cannot be drawn; is a font installed? ") + error.what());
  }
}

} // namespace tlux::app
