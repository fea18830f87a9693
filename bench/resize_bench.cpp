#include <cstdint>
#include <vector>

#include "pictures.hpp"
#include "tlux.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

// Resizes of a plane and of an NV21 frame, from the first size of the arguments to the second.
namespace {

using ResizePlane = uint32_t(const std::uint8_t*, std::int32_t, std::int32_t, std::int32_t,
                             std::uint8_t*, std::int32_t, std::int32_t, std::int32_t);

struct Sizes {
  explicit Sizes(const benchmark::State& state)
      : width(static_cast<int>(state.range(0))),
        height(static_cast<int>(state.range(1))),
        newWidth(static_cast<int>(state.range(2))),
        newHeight(static_cast<int>(state.range(3))) {}

  std::size_t pixels() const { return static_cast<std::size_t>(width) * height; }
  std::size_t newPixels() const { return static_cast<std::size_t>(newWidth) * newHeight; }

  int width;
  int height;
  int newWidth;
  int newHeight;
};

void sizes(benchmark::internal::Benchmark* family) {
  family->Args({1920, 1080, 1280, 720})->Args({1920, 1080, 3840, 2160});
  family->Args({640, 480, 800, 600})->Args({4000, 3000, 1920, 1440});
  family->Unit(benchmark::kMillisecond);
}

void resizePlane(benchmark::State& state, ResizePlane* resize) {
  const Sizes of(state);
  const auto source = bench::noise(of.pixels());
  std::vector<std::uint8_t> target(of.newPixels());
  for (auto _ : state) {
    resize(source.data(), of.width, of.height, of.width, target.data(), of.newWidth, of.newHeight,
           of.newWidth);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizePlane, bilinear, asfImageResize_BL_C1)
    ->Name("Resize/bilinear")
    ->Apply(sizes);
BENCHMARK_CAPTURE(resizePlane, bicubic, ImageResize_Cubic_C1)->Name("Resize/bicubic")->Apply(sizes);

TLUX_IMAGE nv21(std::uint8_t* data, int width, int height) {
  return {TLUX_FMT_YCBCR420_YPVU,
          width,
          height,
          {data, data + static_cast<std::ptrdiff_t>(width) * height},
          {width, width}};
}

void resizeNv21(benchmark::State& state, uint32_t (*resize)(const TLUX_IMAGE*, TLUX_IMAGE*)) {
  const Sizes of(state);
  auto source = bench::noise(of.pixels() * 3 / 2);
  std::vector<std::uint8_t> target(of.newPixels() * 3 / 2);
  const TLUX_IMAGE from = nv21(source.data(), of.width, of.height);
  TLUX_IMAGE into = nv21(target.data(), of.newWidth, of.newHeight);
  for (auto _ : state) {
    resize(&from, &into);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizeNv21, nearest, asfImageResize_NN)
    ->Name("Resize/nv21_nearest")
    ->Apply(sizes);
BENCHMARK_CAPTURE(resizeNv21, bilinear, asfImageResize_BL)
    ->Name("Resize/nv21_bilinear")
    ->Apply(sizes);

#ifdef TLUX_BENCH_OPENCV
void resizeOpenCv(benchmark::State& state, int interpolation) {
  cv::setNumThreads(1);
  const Sizes of(state);
  auto data = bench::noise(of.pixels());
  const cv::Mat source(of.height, of.width, CV_8UC1, data.data());
  cv::Mat target(of.newHeight, of.newWidth, CV_8UC1);
  for (auto _ : state) {
    cv::resize(source, target, target.size(), 0, 0, interpolation);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizeOpenCv, bilinear, cv::INTER_LINEAR)
    ->Name("Resize/bilinear/opencv")
    ->Apply(sizes);
BENCHMARK_CAPTURE(resizeOpenCv, bicubic, cv::INTER_CUBIC)
    ->Name("Resize/bicubic/opencv")
    ->Apply(sizes);

void resizeNv21OpenCv(benchmark::State& state, int interpolation) {
  cv::setNumThreads(1);
  const Sizes of(state);
  auto data = bench::noise(of.pixels() * 3 / 2);
  const cv::Mat luma(of.height, of.width, CV_8UC1, data.data());
  const cv::Mat chroma(of.height / 2, of.width / 2, CV_8UC2, data.data() + of.pixels());
  cv::Mat newLuma(of.newHeight, of.newWidth, CV_8UC1);
  cv::Mat newChroma(of.newHeight / 2, of.newWidth / 2, CV_8UC2);
  for (auto _ : state) {
    cv::resize(luma, newLuma, newLuma.size(), 0, 0, interpolation);
    cv::resize(chroma, newChroma, newChroma.size(), 0, 0, interpolation);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(resizeNv21OpenCv, nearest, cv::INTER_NEAREST)
    ->Name("Resize/nv21_nearest/opencv")
    ->Apply(sizes);
BENCHMARK_CAPTURE(resizeNv21OpenCv, bilinear, cv::INTER_LINEAR)
    ->Name("Resize/nv21_bilinear/opencv")
    ->Apply(sizes);
#endif

} // namespace
