#include <cstring>
#include <vector>

#include "pictures.hpp"
#include "tlux/copy.h"
#include "tlux/resize.h"
#include "tlux/simple_image.h"

#ifdef TLUX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

void countPixels(benchmark::State& state, std::int64_t pixels) {
  state.SetItemsProcessed(state.iterations() * pixels);
}

struct Nv21 {
  Nv21() { TLUX_CreateImage_IMK(&image, kWidth, kHeight, TLUX_FMT_YCBCR420_YPVU, nullptr); }
  ~Nv21() { TLUX_FreeImage_IMK(&image, nullptr); }
  Nv21(const Nv21&) = delete;
  Nv21& operator=(const Nv21&) = delete;

  static constexpr std::size_t kBytes = std::size_t{kWidth} * kHeight * 3 / 2;
  TLUX_IMAGE* image = nullptr;
};

void copyNv21(benchmark::State& state) {
  const Nv21 source;
  const Nv21 target;
  std::memset(source.image->plane[0], 1, Nv21::kBytes);
  for (auto _ : state) {
    TLUX_CopyImage_IMK(target.image, source.image);
    benchmark::ClobberMemory();
  }
  countPixels(state, std::int64_t{kWidth} * kHeight);
}
BENCHMARK(copyNv21)->Name("CopyNv21")->Unit(benchmark::kMillisecond);

void copyNv21ByMemcpy(benchmark::State& state) {
  const Nv21 source;
  const Nv21 target;
  std::memset(source.image->plane[0], 1, Nv21::kBytes);
  for (auto _ : state) {
    std::memcpy(target.image->plane[0], source.image->plane[0], Nv21::kBytes);
    benchmark::ClobberMemory();
  }
  countPixels(state, std::int64_t{kWidth} * kHeight);
}
BENCHMARK(copyNv21ByMemcpy)->Name("CopyNv21/memcpy")->Unit(benchmark::kMillisecond);

void copyNv21OddRect(benchmark::State& state) {
  const Nv21 source;
  const Nv21 target;
  std::memset(source.image->plane[0], 1, Nv21::kBytes);
  const TLUX_RECT from{0, 0, kWidth - 2, kHeight - 2};
  const TLUX_RECT to{1, 1, kWidth - 1, kHeight - 1};
  for (auto _ : state) {
    TLUX_CopyImageROIOddRect_IMK(target.image, &to, source.image, &from);
    benchmark::ClobberMemory();
  }
  countPixels(state, std::int64_t{kWidth} * kHeight);
}
BENCHMARK(copyNv21OddRect)->Name("CopyNv21OddRect")->Unit(benchmark::kMillisecond);

class Simple {
 public:
  Simple(int depth, int channels, int width = 1920, int height = 1080)
      : image_(createimg(nullptr, width, height, depth, channels)) {
    std::uint32_t seed = 1;
    for (int i = 0; i < image_->size; ++i) {
      image_->data[i] = static_cast<std::uint8_t>(bench::nextNoise(seed));
    }
  }
  ~Simple() { release_img(nullptr, &image_); }
  Simple(const Simple&) = delete;
  Simple& operator=(const Simple&) = delete;

  operator img*() const { return image_; }
  img* operator->() const { return image_; }
  std::int64_t pixels() const { return std::int64_t{image_->width} * image_->height; }
#ifdef TLUX_BENCH_OPENCV
  cv::Mat mat() const {
    return {image_->height, image_->width, CV_8UC(image_->channels), image_->data,
            static_cast<std::size_t>(image_->stride)};
  }
#endif

 private:
  img* image_;
};

template <class Tool>
void run(benchmark::State& state, std::int64_t pixels, Tool tool) {
#ifdef TLUX_BENCH_OPENCV
  cv::setNumThreads(1);
#endif
  for (auto _ : state) {
    tool();
    benchmark::ClobberMemory();
  }
  countPixels(state, pixels);
}

void toGray(benchmark::State& state) {
  const Simple source(8, static_cast<int>(state.range(0)));
  const Simple target(8, 1);
  run(state, target.pixels(), [&] { to_gray(source, target); });
}
BENCHMARK(toGray)->Name("ToGray")->Unit(benchmark::kMillisecond)->Arg(3)->Arg(4);

void toMaxGray(benchmark::State& state) {
  const Simple source(8, static_cast<int>(state.range(0)));
  const Simple target(8, 1);
  run(state, target.pixels(), [&] { to_maxgray(source, target); });
}
BENCHMARK(toMaxGray)->Name("ToMaxGray")->Unit(benchmark::kMillisecond)->Arg(3)->Arg(4);

void lab(benchmark::State& state) {
  const Simple source(8, 3);
  const Simple target(8, 3);
  run(state, target.pixels(), [&] { img_lab(source, target); });
}
BENCHMARK(lab)->Name("Lab")->Unit(benchmark::kMillisecond);

void difference2(benchmark::State& state) {
  const Simple a(8, 1);
  const Simple b(8, 1);
  const Simple out(8, 1);
  run(state, out.pixels(), [&] { img_subnorm(a, b, out); });
}
BENCHMARK(difference2)->Name("Difference/2")->Unit(benchmark::kMillisecond);

void difference3(benchmark::State& state) {
  const Simple a(8, 1);
  const Simple b(8, 1);
  const Simple out(8, 1);
  run(state, out.pixels(), [&] { img_subnorm3(a, b, b, out); });
}
BENCHMARK(difference3)->Name("Difference/3")->Unit(benchmark::kMillisecond);

void difference5(benchmark::State& state) {
  const Simple a(8, 1);
  const Simple b(8, 1);
  const Simple out(8, 1);
  run(state, out.pixels(), [&] { img_subnorm2(a, b, b, b, b, out); });
}
BENCHMARK(difference5)->Name("Difference/5")->Unit(benchmark::kMillisecond);

void maskUnion(benchmark::State& state) {
  const Simple a(8, 1);
  const Simple b(8, 1);
  const Simple out(8, 1);
  run(state, out.pixels(), [&] { img_or(a, b, out); });
}
BENCHMARK(maskUnion)->Name("MaskUnion")->Unit(benchmark::kMillisecond);

void intToByte(benchmark::State& state) {
  const Simple image(32, 1);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(image.pixels()));
  run(state, image.pixels(), [&] { int2byte(image, bytes.data()); });
}
BENCHMARK(intToByte)->Name("IntToByte")->Unit(benchmark::kMillisecond);

void byteToInt(benchmark::State& state) {
  const Simple image(32, 1);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(image.pixels()));
  run(state, image.pixels(), [&] { byte2int(bytes.data(), 0, image); });
}
BENCHMARK(byteToInt)->Name("ByteToInt")->Unit(benchmark::kMillisecond);

// Arguments: channels, then the output size in quarters of the input.
void resizeA(benchmark::State& state) {
  const int channels = static_cast<int>(state.range(0));
  const int quarters = static_cast<int>(state.range(1));
  const Simple source(8, channels);
  const Simple target(8, channels, 480 * quarters, 270 * quarters);
  run(state, target.pixels(), [&] { resize_a(source, target); });
}
BENCHMARK(resizeA)->Name("ResizeA")->Unit(benchmark::kMillisecond)->ArgsProduct({{1, 3}, {3, 8}});

void resizeBilinear(benchmark::State& state) {
  const int quarters = static_cast<int>(state.range(0));
  const Simple source(8, 1);
  const Simple target(8, 1, 480 * quarters, 270 * quarters);
  run(state, target.pixels(), [&] { resize_C1(nullptr, source, target); });
}
BENCHMARK(resizeBilinear)->Name("ResizeC1")->Unit(benchmark::kMillisecond)->Arg(3)->Arg(8);

#ifdef TLUX_BENCH_OPENCV
void resizeAOpenCv(benchmark::State& state) {
  const int channels = static_cast<int>(state.range(0));
  const int quarters = static_cast<int>(state.range(1));
  const Simple source(8, channels);
  const Simple target(8, channels, 480 * quarters, 270 * quarters);
  cv::Mat out = target.mat();
  run(state, target.pixels(), [&] { cv::resize(source.mat(), out, out.size()); });
}
BENCHMARK(resizeAOpenCv)
    ->Name("ResizeA/opencv")
    ->Unit(benchmark::kMillisecond)
    ->ArgsProduct({{1, 3}, {3, 8}});

void toGrayOpenCv(benchmark::State& state) {
  const int channels = static_cast<int>(state.range(0));
  const Simple source(8, channels);
  const Simple target(8, 1);
  cv::Mat out = target.mat();
  const int code = channels == 3 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGRA2GRAY;
  run(state, target.pixels(), [&] { cv::cvtColor(source.mat(), out, code); });
}
BENCHMARK(toGrayOpenCv)->Name("ToGray/opencv")->Unit(benchmark::kMillisecond)->Arg(3)->Arg(4);

void labOpenCv(benchmark::State& state) {
  const Simple source(8, 3);
  const Simple target(8, 3);
  cv::Mat out = target.mat();
  run(state, target.pixels(), [&] { cv::cvtColor(source.mat(), out, cv::COLOR_LBGR2Lab); });
}
BENCHMARK(labOpenCv)->Name("Lab/opencv")->Unit(benchmark::kMillisecond);

void difference2OpenCv(benchmark::State& state) {
  const Simple a(8, 1);
  const Simple b(8, 1);
  const Simple target(8, 1);
  cv::Mat out = target.mat();
  run(state, target.pixels(), [&] { cv::absdiff(a.mat(), b.mat(), out); });
}
BENCHMARK(difference2OpenCv)->Name("Difference/2/opencv")->Unit(benchmark::kMillisecond);

void resizeBilinearOpenCv(benchmark::State& state) {
  const int quarters = static_cast<int>(state.range(0));
  const Simple source(8, 1);
  const Simple target(8, 1, 480 * quarters, 270 * quarters);
  cv::Mat out = target.mat();
  run(state, target.pixels(), [&] { cv::resize(source.mat(), out, out.size()); });
}
BENCHMARK(resizeBilinearOpenCv)
    ->Name("ResizeC1/opencv")
    ->Unit(benchmark::kMillisecond)
    ->Arg(3)
    ->Arg(8);
#endif

} // namespace
