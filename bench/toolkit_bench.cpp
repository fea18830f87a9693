#include <cstdint>
#include <cstdlib>
#include <vector>

#include "pictures.hpp"
#include "tlux/equalization.h"
#include "tlux/histogram_match.h"
#include "tlux/mask.h"
#include "tlux/selection.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// Blobs of all sizes, about half set.
std::vector<std::uint8_t> makeMask(int width, int height) {
  std::vector<std::uint8_t> mask;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int value = (x * x / 512 + y * y / 700) ^ (x * 3 + y * 5);
      mask.push_back((value & 128) != 0 ? 255 : 0);
    }
  }
  return mask;
}

// Erodes or dilates; their pitch parameters have different types.
template <auto Tool>
void shapeMask(benchmark::State& state) {
  const auto width = static_cast<int>(state.range(0));
  const auto height = static_cast<int>(state.range(1));
  const auto original = makeMask(width, height);
  auto mask = original;
  for (auto _ : state) {
    mask = original; // the tools work in place
    benchmark::DoNotOptimize(Tool(mask.data(), state.range(0), static_cast<std::uint32_t>(width),
                                  static_cast<std::uint32_t>(height),
                                  static_cast<int>(state.range(2)), nullptr));
  }
}
constexpr auto maskSizes = bench::sizesAnd<8, 1, 50>;
BENCHMARK(shapeMask<TLUX_ErodeEx>)->Name("Erode")->Apply(maskSizes);
BENCHMARK(shapeMask<TLUX_DilateEx>)->Name("Dilate")->Apply(maskSizes);

struct Frame {
  explicit Frame(const benchmark::State& state, std::uint32_t seed = 1)
      : width(static_cast<int>(state.range(0))),
        height(static_cast<int>(state.range(1))),
        bytes(bench::scene(width, height * 3 / 2, 1, seed)) {
    std::uint8_t* const planes[] = {bytes.data(),
                                    bytes.data() + static_cast<std::ptrdiff_t>(width) * height};
    const std::int32_t pitches[] = {width, width};
    TLUX_SetImage_IMK(&image, width, height, TLUX_FMT_YCBCR420_YPVU, planes, pitches);
  }
#ifdef TLUX_BENCH_OPENCV
  cv::Mat luma() {
    return {height, width, CV_8U, bytes.data()};
  }
#endif

  int width;
  int height;
  std::vector<std::uint8_t> bytes;
  TLUX_IMAGE image{};
};
constexpr void (*frameSizes)(benchmark::internal::Benchmark*) = bench::frameSizes;

void countHistogram(benchmark::State& state) {
  const Frame frame(state);
  std::uint32_t histogram[256] = {};
  for (auto _ : state) {
    CalHistogram(&frame.image, histogram, nullptr);
    benchmark::DoNotOptimize(histogram);
  }
}
BENCHMARK(countHistogram)->Name("Histogram")->Apply(frameSizes);

void applyTable(benchmark::State& state) {
  Frame frame(state);
  std::uint8_t table[256];
  for (int i = 0; i < 256; ++i) {
    table[i] = static_cast<std::uint8_t>(255 - i);
  }
  for (auto _ : state) {
    TLUX_AdjustImageByTable(&frame.image, table);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(applyTable)->Name("Table")->Apply(frameSizes);

void equalize(benchmark::State& state) {
  const Frame frame(state);
  for (auto _ : state) {
    HistogramEqualization(nullptr, &frame.image);
  }
}
BENCHMARK(equalize)->Name("Equalize")->Apply(frameSizes);

// The peer has no chroma step; this one includes it.
void equalizeTiles(benchmark::State& state) {
  const Frame frame(state);
  Frame out(state, 2);
  for (auto _ : state) {
    AdaptiveHistogramEqualization(nullptr, &frame.image, &out.image);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(equalizeTiles)->Name("EqualizeTiles")->Apply(frameSizes);

void smoothSelection(benchmark::State& state) {
  const Frame frame(state);
  Frame out(state, 2);
  for (auto _ : state) {
    AME_SmoothSelect(nullptr, frame.bytes.data(), out.bytes.data(), frame.width, frame.height);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(smoothSelection)
    ->Name("SmoothSelection")
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond);

#ifdef TLUX_BENCH_OPENCV
void countHistogramOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame(state);
  const cv::Mat source = frame.luma();
  cv::Mat histogram;
  const int channels[] = {0};
  const int bins[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  for (auto _ : state) {
    cv::calcHist(&source, 1, channels, cv::Mat(), histogram, 1, bins, ranges);
  }
}
BENCHMARK(countHistogramOpenCv)->Name("Histogram/opencv")->Apply(frameSizes);

void applyTableOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame(state);
  cv::Mat image = frame.luma();
  cv::Mat table(1, 256, CV_8U);
  for (int i = 0; i < 256; ++i) {
    table.at<std::uint8_t>(i) = static_cast<std::uint8_t>(255 - i);
  }
  for (auto _ : state) {
    cv::LUT(image, table, image);
  }
}
BENCHMARK(applyTableOpenCv)->Name("Table/opencv")->Apply(frameSizes);

void equalizeOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame(state);
  const cv::Mat source = frame.luma();
  cv::Mat out;
  for (auto _ : state) {
    cv::equalizeHist(source, out);
  }
}
BENCHMARK(equalizeOpenCv)->Name("Equalize/opencv")->Apply(frameSizes);

void equalizeTilesOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame(state);
  const cv::Mat source = frame.luma();
  cv::Mat out;
  const auto clahe = cv::createCLAHE(40.0, cv::Size(frame.width / 16, frame.height / 16));
  for (auto _ : state) {
    clahe->apply(source, out);
  }
}
BENCHMARK(equalizeTilesOpenCv)->Name("EqualizeTiles/opencv")->Apply(frameSizes);

cv::Mat diamond(int radius) {
  cv::Mat kernel(2 * radius + 1, 2 * radius + 1, CV_8U);
  for (int y = -radius; y <= radius; ++y) {
    for (int x = -radius; x <= radius; ++x) {
      kernel.at<std::uint8_t>(y + radius, x + radius) = std::abs(x) + std::abs(y) <= radius ? 1 : 0;
    }
  }
  return kernel;
}

void shapeMaskOpenCv(benchmark::State& state, int operation) {
  cv::setNumThreads(1);
  const auto width = static_cast<int>(state.range(0));
  const auto height = static_cast<int>(state.range(1));
  auto mask = makeMask(width, height);
  const cv::Mat source(height, width, CV_8U, mask.data());
  cv::Mat out;
  const cv::Mat kernel = diamond(static_cast<int>(state.range(2)));
  for (auto _ : state) {
    source.copyTo(out); // in place, as above
    cv::morphologyEx(out, out, operation, kernel);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(shapeMaskOpenCv, erode, cv::MORPH_ERODE)->Name("Erode/opencv")->Apply(maskSizes);
BENCHMARK_CAPTURE(shapeMaskOpenCv, dilate, cv::MORPH_DILATE)
    ->Name("Dilate/opencv")
    ->Apply(maskSizes);
#endif

} // namespace
