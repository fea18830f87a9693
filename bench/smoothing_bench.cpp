#include <cstdint>
#include <vector>

#include "pictures.hpp"
#include "tlux/detail.h"
#include "tlux/smoothing.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc.hpp>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kEps = 100;
constexpr float kRangeSigma = 25;

template <auto Filter, int Guides, int Inputs>
void guidedPlanes(benchmark::State& state) {
  const auto guide = bench::scene(kWidth, kHeight, Guides);
  const auto input = bench::scene(kWidth, kHeight, Inputs, 2);
  std::vector<std::uint8_t> output(input.size());
  for (auto _ : state) {
    Filter(nullptr, guide.data(), kWidth * Guides, input.data(), kWidth * Inputs, output.data(),
           kWidth * Inputs, kWidth, kHeight, static_cast<int>(state.range(0)), kEps);
  }
}

void planeRadius(benchmark::internal::Benchmark* family) {
  family->Arg(8)->Unit(benchmark::kMillisecond);
}
BENCHMARK(guidedPlanes<TLUX_GuidedFilter1D, 1, 1>)->Name("GuidedPlanes/1D")->Apply(planeRadius);
BENCHMARK(guidedPlanes<GuidedFilter1D_3C, 1, 3>)->Name("GuidedPlanes/1D_3C")->Apply(planeRadius);
BENCHMARK(guidedPlanes<GuidedFilter3D, 3, 1>)->Name("GuidedPlanes/3D")->Apply(planeRadius);

void fastGuidedPlanes(benchmark::State& state) {
  const auto guide = bench::scene(kWidth, kHeight);
  const auto input = bench::scene(kWidth, kHeight, 1, 2);
  std::vector<std::uint8_t> output(input.size());
  for (auto _ : state) {
    TLUX_GuidedFilter1DS(nullptr, guide.data(), kWidth, input.data(), kWidth, output.data(), kWidth,
                         kWidth, kHeight, static_cast<int>(state.range(0)), kEps,
                         static_cast<int>(state.range(1)));
  }
}
BENCHMARK(fastGuidedPlanes)
    ->Name("GuidedPlanes/1DS")
    ->Args({8, 2})
    ->Args({16, 4})
    ->Unit(benchmark::kMillisecond);

void bilateral(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint8_t> output(input.size());
  const auto radius = static_cast<int>(state.range(0));
  for (auto _ : state) {
    BilateralFilter1D(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, radius,
                      kRangeSigma, static_cast<float>(radius));
  }
}

void bilateralRadii(benchmark::internal::Benchmark* family) {
  family->Arg(2)->Arg(4)->Arg(7)->Unit(benchmark::kMillisecond);
}
BENCHMARK(bilateral)->Name("Bilateral")->Apply(bilateralRadii);

#ifdef TLUX_BENCH_OPENCV
cv::Mat matOf(std::vector<std::uint8_t>& samples, int channels = 1) {
  return {kHeight, kWidth, CV_8UC(channels), samples.data()};
}

template <int Guides, int Inputs>
void cvGuidedPlanes(benchmark::State& state) {
  cv::setNumThreads(1);
  auto guide = bench::scene(kWidth, kHeight, Guides);
  auto input = bench::scene(kWidth, kHeight, Inputs, 2);
  cv::Mat output;
  for (auto _ : state) {
    cv::ximgproc::guidedFilter(matOf(guide, Guides), matOf(input, Inputs), output,
                               static_cast<int>(state.range(0)), kEps);
  }
}
BENCHMARK(cvGuidedPlanes<1, 1>)->Name("GuidedPlanes/1D/opencv")->Apply(planeRadius);
BENCHMARK(cvGuidedPlanes<1, 3>)->Name("GuidedPlanes/1D_3C/opencv")->Apply(planeRadius);
BENCHMARK(cvGuidedPlanes<3, 1>)->Name("GuidedPlanes/3D/opencv")->Apply(planeRadius);

void cvBilateral(benchmark::State& state) {
  cv::setNumThreads(1);
  auto input = bench::scene(kWidth, kHeight);
  cv::Mat output;
  const auto radius = static_cast<int>(state.range(0));
  for (auto _ : state) {
    cv::bilateralFilter(matOf(input), output, 2 * radius + 1, static_cast<double>(kRangeSigma),
                        radius, cv::BORDER_REPLICATE);
  }
}
BENCHMARK(cvBilateral)->Name("Bilateral/opencv")->Apply(bilateralRadii);
#endif

void variance(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint16_t> output(input.size());
  for (auto _ : state) {
    TLUX_CalculateVairance(nullptr, input.data(), kWidth, output.data(), 2 * kWidth, kWidth,
                           kHeight, static_cast<int>(state.range(0)));
  }
}
BENCHMARK(variance)->Name("Variance")->Arg(3)->Unit(benchmark::kMillisecond);

void lee(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint8_t> output(input.size());
  for (auto _ : state) {
    LeeFilterEnhancement(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 3,
                         2048);
  }
}
BENCHMARK(lee)->Name("Lee")->Unit(benchmark::kMillisecond);

void adaptiveContrast(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint8_t> output(input.size());
  for (auto _ : state) {
    ImgEnhancement(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 8, 40,
                   3072);
  }
}
BENCHMARK(adaptiveContrast)->Name("AdaptiveContrast")->Unit(benchmark::kMillisecond);

void coredResidual(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint8_t> output(input.size());
  for (auto _ : state) {
    ResFilter(nullptr, input.data(), kWidth, output.data(), kWidth, kWidth, kHeight, 8, kEps, 4,
              2048);
  }
}
BENCHMARK(coredResidual)->Name("CoredResidual")->Unit(benchmark::kMillisecond);

void falseColours(benchmark::State& state) {
  const auto input = bench::scene(kWidth, kHeight);
  std::vector<std::uint8_t> output(3 * input.size());
  for (auto _ : state) {
    ColorMap(input.data(), kWidth, output.data(), 3 * kWidth, kWidth, kHeight);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(falseColours)->Name("FalseColours")->Unit(benchmark::kMillisecond);

} // namespace
