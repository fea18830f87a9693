#include <cstdint>
#include <vector>

#include "pictures.hpp"
#include "tlux/box_blur.h"
#include "tlux/guided_filter.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc.hpp>
#endif

namespace {

struct Arguments {
  explicit Arguments(const benchmark::State& state)
      : width(static_cast<int>(state.range(0))),
        height(static_cast<int>(state.range(1))),
        radius(static_cast<int>(state.range(2))) {}

  int width;
  int height;
  int radius;
};

template <class Sample>
std::vector<Sample> randomPlane(const Arguments& of) {
  const auto bytes = bench::noise(static_cast<std::size_t>(of.width) * of.height);
  return {bytes.begin(), bytes.end()};
}

template <auto Blur, class Sample>
void boxBlur(benchmark::State& state) {
  const Arguments of(state);
  auto plane = randomPlane<Sample>(of);
  for (auto _ : state) {
    Blur(nullptr, plane.data(), of.width, of.height, of.width, of.radius, 0);
  }
}
constexpr auto boxSizes = bench::sizesAnd<5, 1, 16>;
BENCHMARK(boxBlur<TLUX_BoxBlur_Byte, std::uint8_t>)->Name("BoxBlur/u8")->Apply(boxSizes);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int8, std::int8_t>)->Name("BoxBlur/s8")->Apply(boxSizes);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int16, std::int16_t>)->Name("BoxBlur/s16")->Apply(boxSizes);
BENCHMARK(boxBlur<TLUX_BoxBlur_Int32, std::int32_t>)->Name("BoxBlur/s32")->Apply(boxSizes);

#ifdef TLUX_BENCH_OPENCV
template <int Depth, class Sample>
void cvBlur(benchmark::State& state) {
  cv::setNumThreads(1);
  const Arguments of(state);
  auto samples = randomPlane<Sample>(of);
  cv::Mat plane(of.height, of.width, Depth, samples.data());
  const int d = 2 * of.radius + 1;
  for (auto _ : state) {
    cv::blur(plane, plane, cv::Size(d, d), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  }
}
BENCHMARK(cvBlur<CV_8U, std::uint8_t>)->Name("BoxBlur/u8/opencv")->Apply(boxSizes);
// OpenCV has no blur of signed bytes, so these are compared with the unsigned one.
BENCHMARK(cvBlur<CV_8U, std::uint8_t>)->Name("BoxBlur/s8/opencv")->Apply(boxSizes);
BENCHMARK(cvBlur<CV_16S, std::int16_t>)->Name("BoxBlur/s16/opencv")->Apply(boxSizes);
BENCHMARK(cvBlur<CV_32S, std::int32_t>)->Name("BoxBlur/s32/opencv")->Apply(boxSizes);
#endif

// A simple image over random samples.
struct RandomImage {
  RandomImage(const Arguments& of, int channels)
      : samples(bench::noise(static_cast<std::size_t>(of.width) * of.height * channels,
                             static_cast<std::uint32_t>(channels))),
        rows(static_cast<std::size_t>(of.height)) {
    const int stride = of.width * channels;
    for (std::size_t y = 0; y < rows.size(); ++y) {
      rows[y] = samples.data() + y * static_cast<std::size_t>(stride);
    }
    image = {of.width, of.height, stride,         of.height * stride,
             channels, 8,         samples.data(), rows.data()};
  }

  std::vector<std::uint8_t> samples;
  std::vector<std::uint8_t*> rows;
  img image{};
};

template <auto Filter, int Channels>
void guidedFilter(benchmark::State& state) {
  const Arguments of(state);
  const RandomImage guide(of, Channels);
  const RandomImage input(of, 1);
  RandomImage output(of, 1);
  for (auto _ : state) {
    Filter(nullptr, &guide.image, &input.image, &output.image, of.radius);
  }
}

// The processor time of a threaded filter includes all its threads.
void guidedSizes(benchmark::internal::Benchmark* family) {
  bench::sizesAnd<8, 60>(family);
  family->MeasureProcessCPUTime()->UseRealTime();
}
void fullHd(benchmark::internal::Benchmark* family) {
  family->Args({1920, 1080, 8})->Unit(benchmark::kMillisecond);
  family->MeasureProcessCPUTime()->UseRealTime();
}
BENCHMARK(guidedFilter<guided_filter_1d, 1>)->Name("GuidedFilter/1d")->Apply(guidedSizes);
BENCHMARK(guidedFilter<guided_filter_1dI, 1>)->Name("GuidedFilter/1dI")->Apply(guidedSizes);
BENCHMARK(guidedFilter<guided_filter_3d, 3>)->Name("GuidedFilter/3d")->Apply(fullHd);
BENCHMARK(guidedFilter<guided_filter_bin_blocks3d, 3>)
    ->Name("GuidedFilter/bin_blocks3d")
    ->Apply(fullHd);

#ifdef TLUX_BENCH_OPENCV
template <int Channels, int Threads>
void cvGuidedFilter(benchmark::State& state) {
  cv::setNumThreads(Threads);
  const Arguments of(state);
  RandomImage guide(of, Channels);
  RandomImage input(of, 1);
  const cv::Mat guideMat(of.height, of.width, CV_8UC(Channels), guide.samples.data());
  const cv::Mat inputMat(of.height, of.width, CV_8U, input.samples.data());
  cv::Mat output;
  for (auto _ : state) {
    cv::ximgproc::guidedFilter(guideMat, inputMat, output, of.radius, 10);
  }
}
BENCHMARK(cvGuidedFilter<1, 1>)->Name("GuidedFilter/1d/opencv")->Apply(guidedSizes);
BENCHMARK(cvGuidedFilter<1, 4>)->Name("GuidedFilter/1dI/opencv")->Apply(guidedSizes);
BENCHMARK(cvGuidedFilter<3, 1>)->Name("GuidedFilter/3d/opencv")->Apply(fullHd);
#endif

} // namespace
