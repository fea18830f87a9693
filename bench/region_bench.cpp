#include <cstdint>
#include <vector>

#include "pictures.hpp"
#include "tlux/region.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

enum Kind {
  kNoise,
  kBlobs
}; // the first argument of every benchmark; the second is the connectivity

std::vector<std::uint8_t> noise() {
  std::vector<std::uint8_t> mask = bench::noise(kPixels);
  for (std::uint8_t& pixel : mask) {
    pixel = pixel >= 128 ? 255 : 0;
  }
  return mask;
}

// The majority of the noise within 25×25 pixels: blobs of all sizes, about half set.
std::vector<std::uint8_t> blobs() {
  constexpr std::ptrdiff_t kRadius = 12;
  const std::vector<std::uint8_t> source = noise();
  std::vector<std::int32_t> columns(kWidth);
  std::vector<std::uint8_t> mask(kPixels);
  for (std::ptrdiff_t y = 0; y < std::ptrdiff_t{kHeight}; ++y) {
    for (std::ptrdiff_t x = 0; x < std::ptrdiff_t{kWidth}; ++x) {
      columns[static_cast<std::size_t>(x)] = 0;
      for (std::ptrdiff_t dy = -kRadius; dy <= kRadius; ++dy) {
        const std::ptrdiff_t row = (y + dy + kHeight) % kHeight;
        const bool set = source[static_cast<std::size_t>(row * kWidth + x)] != 0;
        columns[static_cast<std::size_t>(x)] += set ? 1 : -1;
      }
    }
    for (std::ptrdiff_t x = 0; x < std::ptrdiff_t{kWidth}; ++x) {
      std::int32_t sum = 0;
      for (std::ptrdiff_t dx = -kRadius; dx <= kRadius; ++dx) {
        sum += columns[static_cast<std::size_t>((x + dx + kWidth) % kWidth)];
      }
      mask[static_cast<std::size_t>(y * kWidth + x)] = sum > 0 ? 255 : 0;
    }
  }
  return mask;
}

const std::vector<std::uint8_t>& maskOf(std::int64_t kind) {
  static const std::vector<std::uint8_t> masks[] = {noise(), blobs()};
  return masks[kind];
}

std::uint32_t label(std::int64_t connectivity, const std::vector<std::uint8_t>& mask,
                    std::vector<std::uint32_t>& labels) {
  std::uint32_t count = 0;
  const auto function = connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
  function(nullptr, mask.data(), kWidth, kWidth, kHeight, labels.data(), 4 * kWidth, &count);
  return count;
}

void everyMask(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgsProduct({{kNoise, kBlobs}, {4, 8}})->Unit(benchmark::kMillisecond);
}

void labelRegions(benchmark::State& state) {
  std::vector<std::uint32_t> labels(kPixels);
  for (auto _ : state) {
    benchmark::DoNotOptimize(label(state.range(1), maskOf(state.range(0)), labels));
  }
}
BENCHMARK(labelRegions)->Name("Label")->Apply(everyMask);

void labelAndMeasureRegions(benchmark::State& state) {
  std::vector<std::uint32_t> labels(kPixels);
  std::vector<TLUX_REGION> regions(kPixels);
  for (auto _ : state) {
    const std::uint32_t count = label(state.range(1), maskOf(state.range(0)), labels);
    TLUX_TRegionLabel_Statistics(labels.data(), 4 * kWidth, kWidth, kHeight, regions.data(), count);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(labelAndMeasureRegions)->Name("LabelAndMeasure")->Apply(everyMask);

// No region is too small, so every iteration does the same work.
void findSmallRegions(benchmark::State& state) {
  std::vector<std::uint8_t> mask = maskOf(state.range(0));
  for (auto _ : state) {
    TLUX_TRegionLabel_RemoveSmall(nullptr, mask.data(), kWidth, kWidth, kHeight,
                                  static_cast<std::uint32_t>(state.range(1)), 1, nullptr);
  }
}
BENCHMARK(findSmallRegions)->Name("RemoveSmall")->Apply(everyMask);

void markBoundary(benchmark::State& state) {
  const std::vector<std::uint8_t>& mask = maskOf(state.range(0));
  std::vector<std::uint8_t> out(kPixels);
  for (auto _ : state) {
    TLUX_TRegionLabel_Boundary(mask.data(), kWidth, kWidth, kHeight,
                               static_cast<std::uint32_t>(state.range(1)), out.data(), kWidth);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(markBoundary)->Name("Boundary")->Apply(everyMask);

void compareMasks(benchmark::State& state) {
  TLUX_MASK_AGREEMENT agreement;
  for (auto _ : state) {
    TLUX_TRegionLabel_Compare(maskOf(kNoise).data(), kWidth, maskOf(kBlobs).data(), kWidth, kWidth,
                              kHeight, &agreement);
    benchmark::DoNotOptimize(agreement);
  }
}
BENCHMARK(compareMasks)->Name("Compare")->Unit(benchmark::kMillisecond);

#ifdef TLUX_BENCH_OPENCV

cv::Mat matOf(std::int64_t kind) {
  cv::setNumThreads(1);
  return cv::Mat(maskOf(kind), true).reshape(1, kHeight);
}

void labelRegionsOpenCv(benchmark::State& state) {
  const cv::Mat mask = matOf(state.range(0));
  cv::Mat labels;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        cv::connectedComponents(mask, labels, static_cast<int>(state.range(1))));
  }
}
BENCHMARK(labelRegionsOpenCv)->Name("Label/opencv")->Apply(everyMask);

void labelAndMeasureRegionsOpenCv(benchmark::State& state) {
  const cv::Mat mask = matOf(state.range(0));
  cv::Mat labels;
  cv::Mat stats;
  cv::Mat centroids;
  for (auto _ : state) {
    cv::connectedComponentsWithStats(mask, labels, stats, centroids,
                                     static_cast<int>(state.range(1)));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(labelAndMeasureRegionsOpenCv)->Name("LabelAndMeasure/opencv")->Apply(everyMask);

#endif

} // namespace
