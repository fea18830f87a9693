#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "tlux/box_blur.h"
#include "tlux/guided_filter.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc.hpp>
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

// A simple image over random samples.
struct RandomImage {
  explicit RandomImage(int channels)
      : samples(std::size_t{kWidth} * kHeight * static_cast<std::size_t>(channels)), rows(kHeight) {
    std::minstd_rand random(static_cast<unsigned>(channels));
    for (auto& sample : samples) {
      sample = static_cast<std::uint8_t>(random() >> 8);
    }
    const int stride = kWidth * channels;
    for (std::size_t y = 0; y < rows.size(); ++y) {
      rows[y] = samples.data() + y * static_cast<std::size_t>(stride);
    }
    image = {kWidth, kHeight, stride, kHeight * stride, channels, 8, samples.data(), rows.data()};
  }

  std::vector<std::uint8_t> samples;
  std::vector<std::uint8_t*> rows;
  img image{};
};

template <auto Filter, int Channels>
void guidedFilter(benchmark::State& state) {
  const RandomImage guide(Channels);
  const RandomImage input(1);
  RandomImage output(1);
  for (auto _ : state) {
    Filter(nullptr, &guide.image, &input.image, &output.image, static_cast<int>(state.range(0)));
  }
}
BENCHMARK(guidedFilter<guided_filter_1d, 1>)->Arg(8)->Arg(60)->UseRealTime();
BENCHMARK(guidedFilter<guided_filter_1dI, 1>)
    ->Arg(8)
    ->Arg(60)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(guidedFilter<guided_filter_3d, 3>)->Arg(8)->UseRealTime();
BENCHMARK(guidedFilter<guided_filter_bin_blocks3d, 3>)->Arg(8)->UseRealTime();

#ifdef TLUX_BENCH_OPENCV
template <int Channels, int Threads>
void cvGuidedFilter(benchmark::State& state) {
  cv::setNumThreads(Threads);
  RandomImage guide(Channels);
  RandomImage input(1);
  const cv::Mat guideMat(kHeight, kWidth, CV_8UC(Channels), guide.samples.data());
  const cv::Mat inputMat(kHeight, kWidth, CV_8U, input.samples.data());
  cv::Mat output;
  for (auto _ : state) {
    cv::ximgproc::guidedFilter(guideMat, inputMat, output, static_cast<int>(state.range(0)), 10);
  }
}
BENCHMARK(cvGuidedFilter<1, 1>)->Arg(8)->Arg(60)->UseRealTime();
BENCHMARK(cvGuidedFilter<1, 4>)->Arg(8)->UseRealTime();
BENCHMARK(cvGuidedFilter<3, 1>)->Arg(8)->UseRealTime();
#endif

} // namespace
