#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tlux/resample.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef TLUX_BENCH_LIBYUV
#include <libyuv.h>
#endif

// The reduction of a 12-megapixel frame by each factor, beside a copy of that frame (the bandwidth
// of the machine) and box filters of the same planes.
namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr int kFrameBytes = kWidth * kHeight * 3 / 2;

std::vector<std::uint8_t> frame(std::size_t bytes) {
  std::vector<std::uint8_t> result(bytes);
  std::uint32_t state = 1;
  for (auto& byte : result) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return result;
}

void copyOfTheFrame(benchmark::State& state) {
  const auto source = frame(kFrameBytes);
  std::vector<std::uint8_t> destination(source.size());
  for (auto _ : state) {
    std::memcpy(destination.data(), source.data(), source.size());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(copyOfTheFrame)->Name("resample/copy_of_the_frame")->Unit(benchmark::kMillisecond);

using Member = void (*)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);

void reduce(benchmark::State& state, Member member, int factor) {
  // Room for every layout, and for the pair before the first chroma row.
  auto bytes = frame(std::size_t{4} * kWidth * kHeight + 2);
  TLUX_IMAGE source{};
  source.width = kWidth;
  source.height = kHeight;
  const bool packed = state.range(0) == TLUX_FMT_YCBYCR || state.range(0) == TLUX_FMT_BAYER;
  const bool interleaved = (state.range(0) >> 8) == 8;
  source.plane[0] = bytes.data();
  source.plane[1] = bytes.data() + kWidth * kHeight + 2;
  source.plane[2] = source.plane[1] + kWidth * kHeight / 2;
  source.pitch[0] = packed ? 2 * kWidth : kWidth;
  source.pitch[1] = source.pitch[2] = interleaved ? kWidth : kWidth / 2;
  const int width = kWidth / factor / 2 * 2;
  const int height = kHeight / factor / 2 * 2;
  std::vector<std::uint8_t> output(std::size_t{3} * width * height);
  TLUX_IMAGE destination{};
  destination.width = width;
  for (int i = 0; i < 3; ++i) {
    destination.plane[i] = output.data() + i * width * height;
    destination.pitch[i] = width;
  }
  const TLUX_CROP_RECT crop{0, 0, width * factor - 1, height * factor - 1};
  for (auto _ : state) {
    member(&source, &destination, &crop);
    benchmark::ClobberMemory();
  }
}
#define BENCH_MEMBER(FUNCTION, LAYOUT, N)          \
  BENCHMARK_CAPTURE(reduce, FUNCTION, FUNCTION, N) \
      ->Name("resample/" #LAYOUT "/" #N)           \
      ->Arg(TLUX_FMT_##LAYOUT)                     \
      ->Unit(benchmark::kMillisecond);
TLUX_RESAMPLE_DISPATCHED_MEMBERS(BENCH_MEMBER)

#ifdef TLUX_BENCH_LIBYUV
// The same output, planes of full chroma, from box filters.
void libyuvBox(benchmark::State& state, bool interleaved) {
  const int factor = static_cast<int>(state.range(0));
  const int width = kWidth / factor / 2 * 2;
  const int height = kHeight / factor / 2 * 2;
  const int chromaWidth = width * factor / 2;
  const int chromaHeight = height * factor / 2;
  const auto source = frame(kFrameBytes);
  const std::uint8_t* chroma = source.data() + kWidth * kHeight;
  std::vector<std::uint8_t> output(std::size_t{3} * width * height);
  std::vector<std::uint8_t> pairs(std::size_t{2} * width * height);
  std::uint8_t* first = output.data() + width * height;
  std::uint8_t* second = first + width * height;
  for (auto _ : state) {
    libyuv::ScalePlane(source.data(), kWidth, width * factor, height * factor, output.data(), width,
                       width, height, libyuv::kFilterBox);
    if (interleaved) {
      libyuv::UVScale(chroma, kWidth, chromaWidth, chromaHeight, pairs.data(), 2 * width, width,
                      height, libyuv::kFilterBox);
      libyuv::SplitUVPlane(pairs.data(), 2 * width, first, width, second, width, width, height);
    } else {
      libyuv::ScalePlane(chroma, kWidth / 2, chromaWidth, chromaHeight, first, width, width, height,
                         libyuv::kFilterBox);
      libyuv::ScalePlane(chroma + kWidth * kHeight / 4, kWidth / 2, chromaWidth, chromaHeight,
                         second, width, width, height, libyuv::kFilterBox);
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(libyuvBox, semiPlanar, true)
    ->Name("resample/libyuv_box_semi_planar")
    ->DenseRange(2, 8)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libyuvBox, planar, false)
    ->Name("resample/libyuv_box_planar")
    ->DenseRange(2, 8)
    ->Unit(benchmark::kMillisecond);
#endif

#ifdef TLUX_BENCH_OPENCV
void openCvArea(benchmark::State& state) {
  const int factor = static_cast<int>(state.range(0));
  cv::setNumThreads(1);
  auto source = frame(kFrameBytes);
  const cv::Mat luma(kHeight, kWidth, CV_8UC1, source.data());
  const cv::Mat chroma(kHeight / 2, kWidth / 2, CV_8UC2, source.data() + kWidth * kHeight);
  const cv::Size size(kWidth / factor, kHeight / factor);
  cv::Mat lumaOut;
  cv::Mat chromaOut;
  for (auto _ : state) {
    cv::resize(luma, lumaOut, size, 0, 0, cv::INTER_AREA);
    cv::resize(chroma, chromaOut, size / 2, 0, 0, cv::INTER_AREA);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(openCvArea)
    ->Name("resample/opencv_area")
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
