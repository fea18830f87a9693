#include <algorithm>
#include <memory>
#include <utility>

#include "base/library_result.hpp"
#include "cli/number_option.hpp"
#include "ops/operation.hpp"

namespace tlux::app {

namespace {

/** The chroma radius whose window covers about the same part of the picture. */
int chromaRadius(const Channels& picture, int radius) {
  return picture.hasHalvedChroma() ? (radius + 1) / 2 : radius;
}

/** Calls smooth(channel, radius) for luma and both chroma channels; transparency is unchanged. */
template <typename Smooth>
Finding smoothEach(Channels& picture, int radius, Smooth smooth) {
  smooth(picture.luma, radius);
  smooth(picture.cb, chromaRadius(picture, radius));
  smooth(picture.cr, chromaRadius(picture, radius));
  return {};
}

Apply addBlur(CLI::App& parser) {
  const auto radius = std::make_shared<int>(4);
  addNumber(parser, "-r,--radius", *radius, 1, 20, "Pixels to each side");
  return [radius](Channels& picture) {
    return smoothEach(picture, *radius, [](Channel& channel, int r) {
      checkResult(TLUX_BoxBlur_Byte(nullptr, channel.data(), channel.width, channel.height,
                                    channel.width, r, 0));
    });
  };
}

/** A 4:4:4 frame with the channel as luma; planes 1 and 2 are needed but not read. */
TLUX_IMAGE asLuma(Channel& luma, Channel& second, Channel& third) {
  TLUX_IMAGE image = luma.gray();
  image.format = TLUX_FMT_YCBCR444_P;
  image.plane[1] = second.data();
  image.plane[2] = third.data();
  image.pitch[1] = image.pitch[2] = luma.width;
  return image;
}

void smoothOnce(Channel& channel) {
  constexpr uint32_t kLumaOnly = 1;
  Channel smoothed(channel.width, channel.height);
  Channel second = smoothed;
  Channel third = smoothed;
  const TLUX_IMAGE source = asLuma(channel, channel, channel);
  TLUX_IMAGE target = asLuma(smoothed, second, third);
  checkResult(GaussSmoothI444(&source, &target, kLumaOnly));
  channel = std::move(smoothed);
}

Apply addGauss(CLI::App& parser) {
  const auto passes = std::make_shared<int>(1);
  addNumber(parser, "-p,--passes", *passes, 1, 64, "Number of passes with the 3 x 3 kernel");
  return [passes](Channels& picture) {
    // Halved chroma needs a quarter of the variance, but at least one pass to be smoothed at all.
    const int chromaPasses = picture.hasHalvedChroma() ? (*passes + 3) / 4 : *passes;
    return smoothEach(picture, *passes, [&](Channel& channel, int) {
      const int count = &channel == &picture.luma ? *passes : chromaPasses;
      for (int pass = 0; pass < count; ++pass) {
        smoothOnce(channel);
      }
    });
  };
}

struct Bilateral {
  int radius = 5;
  float range = 25;
  float space = 2.5;
};

Apply addBilateral(CLI::App& parser) {
  const auto options = std::make_shared<Bilateral>();
  addNumber(parser, "-r,--radius", options->radius, 1, 64, "Pixels to each side");
  addNumber(parser, "--range", options->range, 1.0F, 255.0F,
            "Difference in levels that counts as an edge");
  addNumber(parser, "--space", options->space, 0.5F, 64.0F,
            "Standard deviation of the weights in pixels; try half the radius");
  return [options](Channels& picture) {
    return smoothEach(picture, options->radius, [&](Channel& channel, int r) {
      const float scale = channel.width == picture.luma.width ? 1.0F : 0.5F;
      checkResult(BilateralFilter1D(nullptr, channel.data(), channel.width, channel.data(),
                                    channel.width, channel.width, channel.height, r, options->range,
                                    options->space * scale));
    });
  };
}

struct Guided {
  int radius = 8;
  int regularisation = 400;
  int reduction = 1;
};

Apply addGuided(CLI::App& parser) {
  const auto options = std::make_shared<Guided>();
  addNumber(parser, "-r,--radius", options->radius, 1, 1000, "Pixels to each side");
  addNumber(parser, "-e,--regularisation", options->regularisation, 1, 65025,
            "Square of the difference in levels that counts as an edge");
  addNumber(parser, "--fast", options->reduction, 1, 16,
            "Work on a reduced picture; up to a quarter of the radius");
  return [options](Channels& picture) {
    // Colours vary about a quarter as much as brightness, so this weighs their edges equally.
    const int chromaRegularisation = std::max(options->regularisation / 16, 1);
    return smoothEach(picture, options->radius, [&](Channel& channel, int r) {
      const bool isLuma = &channel == &picture.luma;
      checkResult(TLUX_GuidedFilter1DS(
          nullptr, channel.data(), channel.width, channel.data(), channel.width, channel.data(),
          channel.width, channel.width, channel.height, r,
          isLuma ? options->regularisation : chromaRegularisation, options->reduction));
    });
  };
}

} // namespace

const Operation kBlur = {"blur", "Blur with the mean of the square around each pixel",
                         "The time does not depend on the radius. The limit is 20 because beyond "
                         "it the rounding of the\n"
                         "library's box blur changes the brightness by more than a hundredth.\n"
                         "\n"
                         "Examples:\n"
                         "  tlux op blur photo.jpg -o soft.jpg\n"
                         "  tlux op blur photo.jpg -o backdrop.jpg --radius 20",
                         addBlur};

const Operation kGauss = {
    "gauss", "Blur with a small Gaussian, the kernel 1 2 1 along both axes",
    "Each pass adds half a pixel of variance: N passes have a standard deviation of sqrt(N/2).\n"
    "\n"
    "Examples:\n"
    "  tlux op gauss photo.jpg -o smooth.jpg\n"
    "  tlux op gauss photo.jpg -o softer.jpg --passes 8       a deviation of 2 pixels",
    addGauss};

const Operation kBilateral = {
    "bilateral", "Smooth and keep edges: mean of nearby pixels of similar brightness",
    "Differences much larger than --range count as edges and stay. The time grows with the square\n"
    "of the radius; that of 'tlux op guided' does not.\n"
    "\n"
    "Examples:\n"
    "  tlux op bilateral photo.jpg -o smooth.jpg\n"
    "  tlux op bilateral noisy.png -o clean.png --radius 8 --range 40 --space 4",
    addBilateral};

const Operation kGuided = {
    "guided", "Smooth and keep edges: guided filter, fast at any radius",
    "Variations smaller than the square root of the regularisation are smoothed away: 400 means "
    "20\n"
    "levels and leaves only strong edges, 10 keeps fine texture.\n"
    "\n"
    "Examples:\n"
    "  tlux op guided photo.jpg -o smooth.jpg\n"
    "  tlux op guided photo.jpg -o painted.jpg --radius 16 --regularisation 900 --fast 4",
    addGuided};

} // namespace tlux::app
