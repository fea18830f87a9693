// The filter as a host calls it: any size, alpha, parameters, order of frames, instances on threads
// of their own.
#include <dlfcn.h>
#include <frei0r.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <thread>

#include "support/frame.hpp"
#include "tlux.hpp"

namespace tlux::test {
namespace {

enum Parameter { kStrength, kColour, kSteady };

template <class Function>
Function* find(const char* name) {
  static void* const plugin = dlopen(TLUX_FREI0R_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  return reinterpret_cast<Function*>(plugin != nullptr ? dlsym(plugin, name) : nullptr);
}
#define TLUX_FREI0R_CALL(name) find<decltype(name)>(#name)

struct Size {
  int width;
  int height;
};

void PrintTo(const Size& size, std::ostream* out) {
  *out << size.width << " x " << size.height;
}

class Filter {
 public:
  explicit Filter(Size size)
      : instance_(TLUX_FREI0R_CALL(f0r_construct)(static_cast<unsigned>(size.width),
                                                  static_cast<unsigned>(size.height))) {}
  ~Filter() { TLUX_FREI0R_CALL(f0r_destruct)(instance_); }
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  double get(int parameter) const {
    double value = -1;
    TLUX_FREI0R_CALL(f0r_get_param_value)(instance_, &value, parameter);
    return value;
  }
  void set(int parameter, double value) {
    TLUX_FREI0R_CALL(f0r_set_param_value)(instance_, &value, parameter);
  }
  Bytes update(double time, const Bytes& source) {
    GuardedBuffer input(source.size());
    GuardedBuffer output(source.size());
    std::ranges::copy(source, input.data());
    update(time, input.data(), output.data());
    EXPECT_TRUE(std::ranges::equal(source, input.bytes()));
    return {output.bytes().begin(), output.bytes().end()};
  }
  void update(double time, const std::uint8_t* source, std::uint8_t* output) {
    TLUX_FREI0R_CALL(f0r_update)
    (instance_, time, reinterpret_cast<const std::uint32_t*>(source),
     reinterpret_cast<std::uint32_t*>(output));
  }

 private:
  f0r_instance_t instance_;
};

// A coloured scene whose alpha varies; each seed is somewhat darker.
Bytes makePicture(Size size, int seed) {
  Bytes pixels;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    const int light = (x * 3 + y) % 200 + (x % 64 > 40 ? 40 : 0);
    for (const int shade : {0, 20, 35})
      pixels.push_back(static_cast<std::uint8_t>(std::max(0, light - shade) * (64 - seed) / 64));
    pixels.push_back(static_cast<std::uint8_t>(x * 7 + y));
  });
  return pixels;
}

// What the library makes of pictures one after the other.
class Expected {
 public:
  explicit Expected(Size size) : size_(size) {}

  void reset() { stream_.reset(); }
  Bytes run(Bytes pixels, std::uint32_t strength) {
    EXPECT_EQ(stream_.change(options), TLUX_OK);
    const TLUX_PICTURE picture = {pixels.data(), size_.width * 4, size_.width,
                                  size_.height,  TLUX_RGBA,       0};
    Frame frame({.width = (size_.width + 1) / 2 * 2,
                 .height = (size_.height + 1) / 2 * 2,
                 .format = TLUX_FMT_YCBCR420_YPUV});
    EXPECT_EQ(TLUX_PictureToFrame(&picture, frame.get()), TLUX_OK);
    EXPECT_EQ(stream_.run(*frame.get(), strength), TLUX_OK);
    EXPECT_EQ(TLUX_FrameToPicture(frame.get(), &picture), TLUX_OK);
    return pixels;
  }

  TLUX_STREAM_OPTIONS options = Stream::options(TLUX_TONES_NATURAL);

 private:
  Size size_;
  Stream stream_;
};

class Frei0r : public testing::TestWithParam<Size> {};

TEST_P(Frei0r, PicturesAreThoseOfTheLibraryAndAlphaIsKept) {
  const Size size = GetParam();
  Filter filter(size);
  filter.set(kStrength, 0.6);
  Bytes picture = makePicture(size, 0);
  const Bytes expected = Expected(size).run(picture, 60);
  EXPECT_EQ(filter.update(0, picture), expected);
  filter.update(1, picture.data(), picture.data()); // some hosts work in place
  EXPECT_EQ(picture, expected);
}

INSTANTIATE_TEST_SUITE_P(Sizes, Frei0r,
                         testing::Values(Size{8, 8}, Size{320, 184}, Size{33, 17}, Size{1, 1},
                                         Size{2, 301}, Size{1920, 1080}, Size{4096, 16}));

TEST(Frei0rInstances, RefuseSizesThatNoFrameHas) {
  auto* construct = TLUX_FREI0R_CALL(f0r_construct);
  EXPECT_EQ(construct(0, 8), nullptr);
  EXPECT_EQ(construct(8, 0), nullptr);
  EXPECT_EQ(construct(~0U, ~0U), nullptr);
}

TEST(Frei0rParameters, AreDescribedKeptAndHeldInRange) {
  f0r_plugin_info_t info;
  TLUX_FREI0R_CALL(f0r_get_plugin_info)(&info);
  EXPECT_EQ(info.num_params, 3);
  EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);
  Filter filter({8, 8});
  for (int i = 0; i < info.num_params; ++i) {
    f0r_param_info_t parameter = {};
    TLUX_FREI0R_CALL(f0r_get_param_info)(&parameter, i);
    SCOPED_TRACE(parameter.name);
    EXPECT_GE(filter.get(i), 0);
    for (const auto& [wanted, kept] :
         {std::pair{0.25, 0.25}, {7.0, 1.0}, {-7.0, 0.0}, {NAN, 0.0}}) {
      filter.set(i, wanted);
      EXPECT_EQ(filter.get(i), kept);
    }
  }
}

TEST(Frei0rParameters, TakeEffectWithTheNextFrame) {
  const Size size = {96, 64};
  Filter filter(size);
  Expected expected(size);
  const Bytes picture = makePicture(size, 0);
  for (const std::uint32_t per_cent : {100U, 35U, 50U}) {
    filter.set(kStrength, per_cent / 100.0);
    filter.set(kColour, per_cent / 100.0);
    expected.options.colour = per_cent;
    expected.reset();
    EXPECT_EQ(filter.update(per_cent, picture), expected.run(picture, per_cent));
  }
  filter.set(kStrength, 0);
  EXPECT_EQ(filter.update(0, picture), picture);
}

TEST(Frei0rOrder, MattersOnlyWhenSteady) {
  const Size size = {96, 64};
  Filter filter(size);
  Expected expected(size);
  filter.set(kStrength, 0.5);
  for (const int time : {0, 1, 2, 3, 9, 3, 4, 4}) {
    expected.reset();
    EXPECT_EQ(filter.update(time, makePicture(size, time)),
              expected.run(makePicture(size, time), 50));
  }
  filter.set(kSteady, 1);
  int latest = 100; // the clip is played again
  for (const int time : {0, 1, 2, 3, 9, 3, 4, 4}) {
    if (time <= latest) expected.reset();
    latest = time;
    EXPECT_EQ(filter.update(time, makePicture(size, time)),
              expected.run(makePicture(size, time), 50));
  }
}

TEST(Frei0rInstances, WorkAtOnce) {
  const Size size = {160, 90};
  const Bytes picture = makePicture(size, 0);
  const Bytes expected = Expected(size).run(picture, 30);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 5; ++round) {
        Filter filter(size);
        EXPECT_EQ(filter.update(0, picture), expected);
        EXPECT_EQ(filter.update(1, picture), expected);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

} // namespace
} // namespace tlux::test
