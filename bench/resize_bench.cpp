#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tlux.h"

#if TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

// Resizes of a full HD plane to the size of the range, on one thread.
namespace {

using ResizePlane = uint32_t(const std::uint8_t*, std::int32_t, std::int32_t, std::int32_t,
                             std::uint8_t*, std::int32_t, std::int32_t, std::int32_t);

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

std::vector<std::uint8_t> noise(int width, int height) {
  std::vector<std::uint8_t> plane(static_cast<std::size_t>(width) * height);
  std::uint32_t state = 1;
  for (std::uint8_t& sample : plane) {
    state = state * 1664525u + 1013904223u;
    sample = static_cast<std::uint8_t>(state >> 24);
  }
  return plane;
}

struct Sizes {
  explicit Sizes(const benchmark::State& state)
      : width(static_cast<int>(state.range(0))), height(static_cast<int>(state.range(1))) {}
  int width;
  int height;
};

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1280, 720})->Args({3840, 2160})->Unit(benchmark::kMillisecond);
}

void resizePlane(benchmark::State& state, ResizePlane* resize) {
  const Sizes to(state);
  const auto source = noise(kWidth, kHeight);
  std::vector<std::uint8_t> target(static_cast<std::size_t>(to.width) * to.height);
  for (auto _ : state) {
    resize(source.data(), kWidth, kHeight, kWidth, target.data(), to.width, to.height, to.width);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizePlane, bilinear, asfImageResize_BL_C1)->Apply(sizes);
BENCHMARK_CAPTURE(resizePlane, bicubic, ImageResize_Cubic_C1)->Apply(sizes);

void resizeNv21(benchmark::State& state, uint32_t (*resize)(const TLUX_IMAGE*, TLUX_IMAGE*)) {
  const Sizes to(state);
  auto source = noise(kWidth, kHeight * 3 / 2);
  std::vector<std::uint8_t> target(static_cast<std::size_t>(to.width) * to.height * 3 / 2);
  const auto image = [](std::uint8_t* data, int width, int height) {
    return TLUX_IMAGE{TLUX_FMT_YCBCR420_YPVU,
                      width,
                      height,
                      {data, data + static_cast<std::ptrdiff_t>(width) * height},
                      {width, width}};
  };
  const TLUX_IMAGE from = image(source.data(), kWidth, kHeight);
  TLUX_IMAGE into = image(target.data(), to.width, to.height);
  for (auto _ : state) {
    resize(&from, &into);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizeNv21, nearest, asfImageResize_NN)->Apply(sizes);
BENCHMARK_CAPTURE(resizeNv21, bilinear, asfImageResize_BL)->Apply(sizes);

#if TLUX_BENCH_OPENCV
void resizeOpenCv(benchmark::State& state, int interpolation) {
  const Sizes to(state);
  auto data = noise(kWidth, kHeight);
  const cv::Mat source(kHeight, kWidth, CV_8UC1, data.data());
  cv::Mat target(to.height, to.width, CV_8UC1);
  cv::setNumThreads(1);
  for (auto _ : state) {
    cv::resize(source, target, target.size(), 0, 0, interpolation);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizeOpenCv, nearest, cv::INTER_NEAREST)->Apply(sizes);
BENCHMARK_CAPTURE(resizeOpenCv, bilinear, cv::INTER_LINEAR)->Apply(sizes);
BENCHMARK_CAPTURE(resizeOpenCv, bicubic, cv::INTER_CUBIC)->Apply(sizes);
#endif

} // namespace
