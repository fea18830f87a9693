#include "explain/luma_statistics.hpp"

#include <algorithm>

namespace tlux::app {

Histogram histogramOf(const AVFrame& frame) {
  const auto top = static_cast<int>(frame.crop_top);
  const auto bottom = frame.height - static_cast<int>(frame.crop_bottom);
  const auto left = static_cast<int>(frame.crop_left);
  const auto right = frame.width - static_cast<int>(frame.crop_right);
  std::array<int64_t, 256> counts = {};
  for (int y = top; y < bottom; ++y) {
    const uint8_t* row = frame.data[0] + ptrdiff_t{y} * frame.linesize[0];
    for (int x = left; x < right; ++x) {
      ++counts[row[x]];
    }
  }
  const double pixels = double{1} * (right - left) * (bottom - top);
  Histogram histogram = {};
  std::transform(counts.begin(), counts.end(), histogram.begin(),
                 [pixels](int64_t count) { return static_cast<double>(count) / pixels; });
  return histogram;
}

double meanOf(const Histogram& histogram) {
  double mean = 0;
  for (size_t code = 0; code < histogram.size(); ++code) {
    mean += static_cast<double>(code) * histogram[code];
  }
  return mean;
}

double shareOf(const Histogram& histogram, int first, int last) {
  double share = 0;
  for (int code = first; code <= last; ++code) {
    share += histogram[static_cast<size_t>(code)];
  }
  return share;
}

std::vector<ToneStep> toneCurveOf(const Trace& trace) {
  constexpr int kCodes = 4; // to a range
  constexpr size_t kFewest = 3;
  std::array<std::vector<double>, 256 / kCodes> mapped;
  for (size_t i = 0; i < trace.pixels(); ++i) {
    mapped[trace.reference[i] / kCodes].push_back(trace.mapped[i]);
  }
  std::vector<ToneStep> steps;
  for (size_t range = 0; range < mapped.size(); ++range) {
    if (mapped[range].size() < kFewest) continue;
    steps.push_back({static_cast<double>(range) * kCodes + (kCodes - 1) / 2.0,
                     quantile(mapped[range], 0.1), quantile(mapped[range], 0.5),
                     quantile(mapped[range], 0.9)});
  }
  return steps;
}

double quantile(std::vector<double> values, double share) {
  const auto index = static_cast<ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + index, values.end());
  return values[static_cast<size_t>(index)];
}

} // namespace tlux::app
