#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "tlux/box_blur.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

template <class Sample>
std::vector<Sample> randomPlane() {
  std::minstd_rand random(1);
  std::vector<Sample> plane(std::size_t{kWidth} * kHeight);
  for (Sample& sample : plane) {
    sample = static_cast<Sample>(random() % 256);
  }
  return plane;
}

template <auto Blur, class Sample>
void boxBlur(benchmark::State& state) {
  auto plane = randomPlane<Sample>();
  for (auto _ : state) {
    Blur(nullptr, plane.data(), kWidth, kHeight, kWidth, static_cast<int>(state.range(0)), 0);
  }
}
BENCHMARK(boxBlur<TLUX_BoxBlur_Byte, std::uint8_t>)->Arg(1)->Arg(5)->Arg(16);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int8, std::int8_t>)->Arg(1)->Arg(5)->Arg(16);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int16, std::int16_t>)->Arg(1)->Arg(5)->Arg(16);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int32, std::int32_t>)->Arg(1)->Arg(5)->Arg(16);

#ifdef TLUX_BENCH_OPENCV
template <int Depth, class Sample>
void cvBlur(benchmark::State& state) {
  cv::setNumThreads(1);
  auto samples = randomPlane<Sample>();
  cv::Mat plane(kHeight, kWidth, Depth, samples.data());
  const int d = 2 * static_cast<int>(state.range(0)) + 1;
  for (auto _ : state) {
    cv::blur(plane, plane, cv::Size(d, d), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  }
}
BENCHMARK(cvBlur<CV_8U, std::uint8_t>)->Arg(1)->Arg(5)->Arg(16);
BENCHMARK(cvBlur<CV_16S, std::int16_t>)->Arg(1)->Arg(5)->Arg(16);
BENCHMARK(cvBlur<CV_32S, std::int32_t>)->Arg(1)->Arg(5)->Arg(16);
#endif

} // namespace
