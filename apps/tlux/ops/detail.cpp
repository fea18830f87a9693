#include <cmath>
#include <memory>

#include "base/library_result.hpp"
#include "cli/number_option.hpp"
#include "ops/operation.hpp"

namespace tlux::app {

namespace {

constexpr float kMaxGain = 16;

int32_t toQ10(float gain) {
  return static_cast<int32_t>(std::lround(gain * 1024));
}

struct Sharpen {
  int radius = 2;
  float gain = 2;
  int threshold = 2;
};

Apply addSharpen(CLI::App& parser) {
  const auto options = std::make_shared<Sharpen>();
  addNumber(parser, "-r,--radius", options->radius, 1, 1000, "Pixels to each side");
  addNumber(parser, "-g,--gain", options->gain, 0.0F, kMaxGain,
            "Factor for detail; 1 leaves it unchanged");
  addNumber(parser, "-t,--threshold", options->threshold, 0, 255,
            "Detail up to this many levels is removed as noise");
  return [options](Channels& picture) {
    constexpr int kRegularisation = 400; // edges of 20 levels do not count as detail
    Channel& luma = picture.luma;
    checkResult(ResFilter(nullptr, luma.data(), luma.width, luma.data(), luma.width, luma.width,
                          luma.height, options->radius, kRegularisation, options->threshold,
                          toQ10(options->gain)));
    return Finding();
  };
}

struct Contrast {
  int radius = 24;
  int deviation = 40;
  float gain = 3;
};

Apply addContrast(CLI::App& parser) {
  const auto options = std::make_shared<Contrast>();
  addNumber(parser, "-r,--radius", options->radius, 1, 1000, "Pixels to each side");
  addNumber(parser, "-d,--deviation", options->deviation, 1, 127,
            "Standard deviation to aim for around each pixel, in levels");
  addNumber(parser, "-g,--gain", options->gain, 1.0F, kMaxGain,
            "Largest factor by which contrast is raised");
  return [options](Channels& picture) {
    Channel& luma = picture.luma;
    checkResult(ImgEnhancement(nullptr, luma.data(), luma.width, luma.data(), luma.width,
                               luma.width, luma.height, options->radius, options->deviation,
                               toQ10(options->gain)));
    return Finding();
  };
}

} // namespace

const Operation kSharpen = {
    "sharpen", "Strengthen fine detail and remove noise",
    "Detail is what a guided filter smooths away; edges stay unchanged and get\n"
    "no halos. With a gain of 1 and a threshold above the noise, this only\n"
    "removes noise.\n"
    "\n"
    "Examples:\n"
    "  tlux op sharpen photo.jpg -o crisp.jpg\n"
    "  tlux op sharpen night.jpg -o quiet.jpg --gain 1 --threshold 6",
    addSharpen};

const Operation kContrast = {"contrast", "Raise the local contrast where it is low",
                             "Each pixel moves away from the mean of its surroundings until their "
                             "deviation is --deviation.\n"
                             "\n"
                             "Examples:\n"
                             "  tlux op contrast haze.jpg -o clear.jpg\n"
                             "  tlux op contrast xray.png -o readable.png --radius 60 --gain 6",
                             addContrast};

} // namespace tlux::app
