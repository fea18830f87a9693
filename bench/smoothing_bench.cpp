#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "tlux/detail.h"
#include "tlux/smoothing.h"

#if TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc.hpp>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kEps = 100;
constexpr float kRangeSigma = 25;

// A smooth scene with some noise, as cameras give.
std::vector<std::uint8_t> scene(int channels = 1, std::uint32_t seed = 1) {
  std::vector<std::uint8_t> samples(std::size_t{kWidth} * kHeight *
                                    static_cast<std::size_t>(channels));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    seed = seed * 1664525u + 1013904223u;
    const std::size_t pixel = i / static_cast<std::size_t>(channels);
    samples[i] =
        static_cast<std::uint8_t>(pixel % kWidth / 12 + pixel / kWidth / 14 + (seed >> 28));
  }
  return samples;
}

template <auto Filter, int Guides, int Inputs>
void guidedPlanes(benchmark::State& state) {
  const auto guide = scene(Guides);
  const auto input = scene(Inputs, 2);
  auto output = scene(Inputs);
  for (auto _ : state) {
    Filter(nullptr, guide.data(), kWidth * Guides, input.data(), kWidth * Inputs, output.data(),
           kWidth * Inputs, kWidth, kHeight, static_cast<int>(state.range(0)), kEps);
  }
}
BENCHMARK(guidedPlanes<TLUX_GuidedFilter1D, 1, 1>)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(guidedPlanes<GuidedFilter1D_3C, 1, 3>)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(guidedPlanes<GuidedFilter3D, 3, 1>)->Arg(8)->Unit(benchmark::kMillisecond);

void fastGuidedPlanes(benchmark::State& state) {
  const auto guide = scene();
  const auto input = scene(1, 2);
  auto output = scene();
  for (auto _ : state) {
    TLUX_GuidedFilter1DS(nullptr, guide.data(), kWidth, input.data(), kWidth, output.data(), kWidth,
                         kWidth, kHeight, static_cast<int>(state.range(0)), kEps,
                         static_cast<int>(state.range(1)));
  }
}
BENCHMARK(fastGuidedPlanes)->Args({8, 2})->Args({16, 4})->Unit(benchmark::kMillisecond);

void bilateral(benchmark::State& state) {
  const auto input = scene();
  auto output = scene();
  const auto radius = static_cast<int>(state.range(0));
  for (auto _ : state) {
    BilateralFilter1D(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, radius,
                      kRangeSigma, static_cast<float>(radius));
  }
}
BENCHMARK(bilateral)->Arg(2)->Arg(4)->Arg(7)->Unit(benchmark::kMillisecond);

#if TLUX_BENCH_OPENCV
cv::Mat matOf(std::vector<std::uint8_t>& samples, int channels = 1) {
  return {kHeight, kWidth, CV_8UC(channels), samples.data()};
}

template <int Guides, int Inputs>
void cvGuidedPlanes(benchmark::State& state) {
  cv::setNumThreads(1);
  auto guide = scene(Guides);
  auto input = scene(Inputs, 2);
  cv::Mat output;
  for (auto _ : state) {
    cv::ximgproc::guidedFilter(matOf(guide, Guides), matOf(input, Inputs), output,
                               static_cast<int>(state.range(0)), kEps);
  }
}
BENCHMARK(cvGuidedPlanes<1, 1>)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(cvGuidedPlanes<1, 3>)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(cvGuidedPlanes<3, 1>)->Arg(8)->Unit(benchmark::kMillisecond);

void cvBilateral(benchmark::State& state) {
  cv::setNumThreads(1);
  auto input = scene();
  cv::Mat output;
  const auto radius = static_cast<int>(state.range(0));
  for (auto _ : state) {
    cv::bilateralFilter(matOf(input), output, 2 * radius + 1, static_cast<double>(kRangeSigma),
                        radius, cv::BORDER_REPLICATE);
  }
}
BENCHMARK(cvBilateral)->Arg(2)->Arg(4)->Arg(7)->Unit(benchmark::kMillisecond);
#endif

void variance(benchmark::State& state) {
  const auto input = scene();
  std::vector<std::uint16_t> output(input.size());
  for (auto _ : state) {
    TLUX_CalculateVairance(nullptr, input.data(), kWidth, output.data(), 2 * kWidth, kWidth,
                           kHeight, static_cast<int>(state.range(0)));
  }
}
BENCHMARK(variance)->Arg(3)->Unit(benchmark::kMillisecond);

void lee(benchmark::State& state) {
  const auto input = scene();
  auto output = scene();
  for (auto _ : state) {
    LeeFilterEnhancement(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 3,
                         2048);
  }
}
BENCHMARK(lee)->Unit(benchmark::kMillisecond);

void adaptiveContrast(benchmark::State& state) {
  const auto input = scene();
  auto output = scene();
  for (auto _ : state) {
    ImgEnhancement(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 8, 40,
                   3072);
  }
}
BENCHMARK(adaptiveContrast)->Unit(benchmark::kMillisecond);

void coredResidual(benchmark::State& state) {
  const auto input = scene();
  auto output = scene();
  for (auto _ : state) {
    ResFilter(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 8, kEps, 4,
              2048);
  }
}
BENCHMARK(coredResidual)->Unit(benchmark::kMillisecond);

void falseColours(benchmark::State& state) {
  const auto input = scene();
  auto output = scene(3);
  for (auto _ : state) {
    ColorMap(input.data(), kWidth, output.data(), 3 * kWidth, kWidth, kHeight);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(falseColours)->Unit(benchmark::kMillisecond);

} // namespace
