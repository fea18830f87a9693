#include <cstdint>
#include <cstring>
#include <vector>

#include "pictures.hpp"
#include "tlux/resample.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef TLUX_BENCH_LIBYUV
#include <libyuv.h>
#endif

// Reductions of frames by each factor, and conversions from B, G, R.
namespace {

struct Arguments {
  explicit Arguments(const benchmark::State& state)
      : sourceWidth(static_cast<int>(state.range(0))),
        sourceHeight(static_cast<int>(state.range(1))),
        factor(static_cast<int>(state.range(2))) {}

  std::size_t pixels() const { return static_cast<std::size_t>(sourceWidth) * sourceHeight; }
  std::size_t frameBytes() const { return pixels() * 3 / 2; }
  int width() const { return sourceWidth / factor / 2 * 2; }
  int height() const { return sourceHeight / factor / 2 * 2; }
  std::size_t outputPixels() const { return static_cast<std::size_t>(width()) * height(); }

  int sourceWidth;
  int sourceHeight;
  int factor;
};

template <int kFactor>
void reductions(benchmark::internal::Benchmark* family) {
  bench::frameSizes(family, {kFactor});
}

using Member = void (*)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);

void reduce(benchmark::State& state, Member member, std::uint32_t layout) {
  const Arguments of(state);
  const int width = of.sourceWidth;
  // Room for every layout, and for the pair before the first chroma row.
  auto bytes = bench::noise(4 * of.pixels() + 2);
  const bool packed = layout == TLUX_FMT_YCBYCR || layout == TLUX_FMT_BAYER;
  const int chromaPitch = (layout >> 8) == 8 ? width : width / 2;
  std::uint8_t* chroma = bytes.data() + of.pixels() + 2;
  const TLUX_IMAGE source{0,
                          width,
                          of.sourceHeight,
                          {bytes.data(), chroma, chroma + of.pixels() / 2},
                          {packed ? 2 * width : width, chromaPitch, chromaPitch}};
  std::vector<std::uint8_t> output(3 * of.outputPixels());
  TLUX_IMAGE destination{};
  destination.width = of.width();
  for (std::size_t i = 0; i < 3; ++i) {
    destination.plane[i] = output.data() + i * of.outputPixels();
    destination.pitch[i] = of.width();
  }
  const TLUX_CROP_RECT crop{0, 0, of.width() * of.factor - 1, of.height() * of.factor - 1};
  for (auto _ : state) {
    member(&source, &destination, &crop);
    benchmark::ClobberMemory();
  }
}
#define BENCH_MEMBER(FUNCTION, LAYOUT, N)                          \
  BENCHMARK_CAPTURE(reduce, FUNCTION, FUNCTION, TLUX_FMT_##LAYOUT) \
      ->Name("Reduce/" #LAYOUT)                                    \
      ->Apply(reductions<N>);
TLUX_RESAMPLE_DISPATCHED_MEMBERS(BENCH_MEMBER)

// Measures the memory bandwidth of the machine.
void copyFrame(benchmark::State& state) {
  const auto source = bench::noise(Arguments(state).frameBytes());
  std::vector<std::uint8_t> destination(source.size());
  for (auto _ : state) {
    std::memcpy(destination.data(), source.data(), source.size());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(copyFrame)->Name("Reduce/YCBCR420_YPVU/memcpy")->Apply(reductions<1>);

#ifdef TLUX_BENCH_LIBYUV
void everyFactor(benchmark::internal::Benchmark* family) {
  for (int factor = 2; factor <= 8; ++factor) {
    bench::frameSizes(family, {factor});
  }
}

// Box filters with the same output, planes of full chroma.
void libyuvBox(benchmark::State& state, bool interleaved) {
  const Arguments of(state);
  const int width = of.width();
  const int height = of.height();
  const int chromaWidth = width * of.factor / 2;
  const int chromaHeight = height * of.factor / 2;
  const auto source = bench::noise(of.frameBytes());
  const std::uint8_t* chroma = source.data() + of.pixels();
  std::vector<std::uint8_t> output(3 * of.outputPixels());
  std::vector<std::uint8_t> pairs(2 * of.outputPixels());
  std::uint8_t* first = output.data() + of.outputPixels();
  std::uint8_t* second = first + of.outputPixels();
  for (auto _ : state) {
    libyuv::ScalePlane(source.data(), of.sourceWidth, width * of.factor, height * of.factor,
                       output.data(), width, width, height, libyuv::kFilterBox);
    if (interleaved) {
      libyuv::UVScale(chroma, of.sourceWidth, chromaWidth, chromaHeight, pairs.data(), 2 * width,
                      width, height, libyuv::kFilterBox);
      libyuv::SplitUVPlane(pairs.data(), 2 * width, first, width, second, width, width, height);
    } else {
      const int pitch = of.sourceWidth / 2;
      libyuv::ScalePlane(chroma, pitch, chromaWidth, chromaHeight, first, width, width, height,
                         libyuv::kFilterBox);
      libyuv::ScalePlane(chroma + of.pixels() / 4, pitch, chromaWidth, chromaHeight, second, width,
                         width, height, libyuv::kFilterBox);
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(libyuvBox, semiPlanar, true)
    ->Name("Reduce/YCBCR420_YPVU/libyuv")
    ->Apply(everyFactor);
BENCHMARK_CAPTURE(libyuvBox, planar, false)->Name("Reduce/YCBCR420_P/libyuv")->Apply(everyFactor);

// A different output: both planes by the same factor, so chroma stays interleaved and has a
// quarter of the samples.
void libyuvBoxToNv21(benchmark::State& state) {
  const Arguments of(state);
  const int width = of.width();
  const int height = of.height();
  const auto source = bench::noise(of.frameBytes());
  std::vector<std::uint8_t> output(of.outputPixels() * 3 / 2);
  for (auto _ : state) {
    libyuv::ScalePlane(source.data(), of.sourceWidth, width * of.factor, height * of.factor,
                       output.data(), width, width, height, libyuv::kFilterBox);
    libyuv::UVScale(source.data() + of.pixels(), of.sourceWidth, width * of.factor / 2,
                    height * of.factor / 2, output.data() + of.outputPixels(), width, width / 2,
                    height / 2, libyuv::kFilterBox);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(libyuvBoxToNv21)->Name("Reduce/YCBCR420_YPVU/libyuv_nv21")->Apply(everyFactor);
#endif

template <auto Convert>
void convertBgr(benchmark::State& state) {
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  const auto source = bench::noise(std::size_t{3} * width * height);
  std::vector<std::uint8_t> output(source.size());
  for (auto _ : state) {
    Convert(source.data(), width, height, output.data());
    benchmark::ClobberMemory();
  }
}
constexpr void (*frameSizes)(benchmark::internal::Benchmark*) = bench::frameSizes;
BENCHMARK(convertBgr<BGRToYCbCr444>)->Name("BgrToYCbCr/1")->Apply(frameSizes);
BENCHMARK(convertBgr<ResampleImage4_BGRToYCbCr444>)->Name("BgrToYCbCr/4")->Apply(frameSizes);
BENCHMARK(convertBgr<ResampleImage8_BGRToYCbCr444>)->Name("BgrToYCbCr/8")->Apply(frameSizes);

#ifdef TLUX_BENCH_OPENCV
// Converts every second row, as the library does, or all rows of a reduced picture.
void convertBgrOpenCv(benchmark::State& state, int factor) {
  cv::setNumThreads(1);
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  auto samples = bench::noise(std::size_t{3} * width * height);
  cv::Mat source(height, width, CV_8UC3, samples.data());
  if (factor == 1)
    source = cv::Mat(height / 2, width, CV_8UC3, samples.data(), std::size_t{6} * width);
  cv::Mat reduced;
  cv::Mat output;
  for (auto _ : state) {
    if (factor > 1) {
      cv::resize(source, reduced, source.size() / factor, 0, 0, cv::INTER_AREA);
    }
    cv::cvtColor(factor > 1 ? reduced : source, output, cv::COLOR_BGR2YCrCb);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(convertBgrOpenCv, by1, 1)->Name("BgrToYCbCr/1/opencv")->Apply(frameSizes);
BENCHMARK_CAPTURE(convertBgrOpenCv, by4, 4)->Name("BgrToYCbCr/4/opencv")->Apply(frameSizes);
BENCHMARK_CAPTURE(convertBgrOpenCv, by8, 8)->Name("BgrToYCbCr/8/opencv")->Apply(frameSizes);
#endif

} // namespace
