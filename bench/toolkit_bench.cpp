#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "tlux/equalization.h"
#include "tlux/histogram_match.h"
#include "tlux/mask.h"
#include "tlux/selection.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

// Blobs of all sizes, about half set.
std::vector<std::uint8_t> makeMask() {
  std::vector<std::uint8_t> mask(std::size_t{kWidth} * kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const int value = (x * x / 512 + y * y / 700) ^ (x * 3 + y * 5);
      mask[static_cast<std::size_t>(y) * kWidth + x] = (value & 128) != 0 ? 255 : 0;
    }
  }
  return mask;
}

void erodeMask(benchmark::State& state) {
  const auto original = makeMask();
  auto mask = original;
  for (auto _ : state) {
    mask = original;
    benchmark::DoNotOptimize(TLUX_ErodeEx(mask.data(), kWidth, kWidth, kHeight,
                                          static_cast<int>(state.range(0)), nullptr));
  }
}
BENCHMARK(erodeMask)->Arg(1)->Arg(8)->Arg(50)->Arg(253)->Unit(benchmark::kMillisecond);

// A smooth scene with some noise, as cameras give.
struct Frame {
  explicit Frame(std::uint32_t seed = 1) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      seed = seed * 1664525u + 1013904223u;
      const std::size_t x = i % kWidth;
      const std::size_t y = i / kWidth;
      bytes[i] = static_cast<std::uint8_t>(x / 12 + y / 14 + (seed >> 29));
    }
    std::uint8_t* const planes[] = {bytes.data(), bytes.data() + std::size_t{kWidth} * kHeight};
    const std::int32_t pitches[] = {kWidth, kWidth};
    TLUX_SetImage_IMK(&image, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, planes, pitches);
  }

  std::vector<std::uint8_t> bytes =
      std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight * 3 / 2);
  TLUX_IMAGE image{};
};

void countHistogram(benchmark::State& state) {
  const Frame frame;
  std::uint32_t histogram[256] = {};
  for (auto _ : state) {
    CalHistogram(&frame.image, histogram, nullptr);
    benchmark::DoNotOptimize(histogram);
  }
}
BENCHMARK(countHistogram)->Unit(benchmark::kMillisecond);

void applyTable(benchmark::State& state) {
  Frame frame;
  std::uint8_t table[256];
  for (int i = 0; i < 256; ++i) {
    table[i] = static_cast<std::uint8_t>(255 - i);
  }
  for (auto _ : state) {
    TLUX_AdjustImageByTable(&frame.image, table);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(applyTable)->Unit(benchmark::kMillisecond);

void equalize(benchmark::State& state) {
  const Frame frame;
  for (auto _ : state) {
    HistogramEqualization(nullptr, &frame.image);
  }
}
BENCHMARK(equalize)->Unit(benchmark::kMillisecond);

// The peer has no chroma step; this one includes it.
void equalizeTiles(benchmark::State& state) {
  const Frame frame;
  Frame out(2);
  for (auto _ : state) {
    AdaptiveHistogramEqualization(nullptr, &frame.image, &out.image);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(equalizeTiles)->Unit(benchmark::kMillisecond);

void smoothSelection(benchmark::State& state) {
  const Frame frame;
  Frame out(2);
  for (auto _ : state) {
    AME_SmoothSelect(nullptr, frame.bytes.data(), out.bytes.data(), kWidth, kHeight);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(smoothSelection)->Unit(benchmark::kMillisecond);

#ifdef TLUX_BENCH_OPENCV

cv::Mat luma(Frame& frame) {
  return {kHeight, kWidth, CV_8U, frame.bytes.data()};
}

void countHistogramOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame;
  const cv::Mat source = luma(frame);
  cv::Mat histogram;
  const int channels[] = {0};
  const int bins[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  for (auto _ : state) {
    cv::calcHist(&source, 1, channels, cv::Mat(), histogram, 1, bins, ranges);
  }
}
BENCHMARK(countHistogramOpenCv)->Unit(benchmark::kMillisecond);

void applyTableOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame;
  cv::Mat image = luma(frame);
  cv::Mat table(1, 256, CV_8U);
  for (int i = 0; i < 256; ++i) {
    table.at<std::uint8_t>(i) = static_cast<std::uint8_t>(255 - i);
  }
  for (auto _ : state) {
    cv::LUT(image, table, image);
  }
}
BENCHMARK(applyTableOpenCv)->Unit(benchmark::kMillisecond);

void equalizeOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame;
  const cv::Mat source = luma(frame);
  cv::Mat out;
  for (auto _ : state) {
    cv::equalizeHist(source, out);
  }
}
BENCHMARK(equalizeOpenCv)->Unit(benchmark::kMillisecond);

void equalizeTilesOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Frame frame;
  const cv::Mat source = luma(frame);
  cv::Mat out;
  const auto clahe = cv::createCLAHE(40.0, cv::Size(kWidth / 16, kHeight / 16));
  for (auto _ : state) {
    clahe->apply(source, out);
  }
}
BENCHMARK(equalizeTilesOpenCv)->Unit(benchmark::kMillisecond);

cv::Mat diamond(int radius) {
  cv::Mat kernel(2 * radius + 1, 2 * radius + 1, CV_8U);
  for (int y = -radius; y <= radius; ++y) {
    for (int x = -radius; x <= radius; ++x) {
      kernel.at<std::uint8_t>(y + radius, x + radius) = std::abs(x) + std::abs(y) <= radius ? 1 : 0;
    }
  }
  return kernel;
}

void erodeMaskOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  auto mask = makeMask();
  const cv::Mat source(kHeight, kWidth, CV_8U, mask.data());
  cv::Mat out;
  const cv::Mat kernel = diamond(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    cv::erode(source, out, kernel);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(erodeMaskOpenCv)->Arg(1)->Arg(8)->Arg(50)->Unit(benchmark::kMillisecond);

#endif

} // namespace
