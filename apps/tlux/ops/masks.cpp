#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "base/library_result.hpp"
#include "cli/number_option.hpp"
#include "ops/operation.hpp"
#include "output/report.hpp"

namespace tlux::app {

namespace {

/** Which pixels of a picture are set in its mask. */
struct MaskOptions {
  int threshold = 128;
  bool dark = false;
};

struct RadiusOptions : MaskOptions {
  int radius = 2;
};

struct RegionOptions : MaskOptions {
  uint32_t connectivity = 8;
  uint32_t minimumArea = 50;
};

void addMaskOptions(CLI::App& parser, MaskOptions& options) {
  addNumber(parser, "-t,--threshold", options.threshold, 1, 255,
            "Pixels at least this bright are set");
  parser.add_flag("--dark", options.dark, "Pixels below the threshold are set instead");
}

/** 255 for pixels that are set, else 0. */
Channel maskOf(Channels& picture, const MaskOptions& options) {
  Channel mask = std::move(picture.luma);
  for (uint8_t& sample : mask.samples) {
    sample = (sample >= options.threshold) != options.dark ? 255 : 0;
  }
  return mask;
}

uint32_t widthOf(const Channel& mask) {
  return static_cast<uint32_t>(mask.width);
}

uint32_t heightOf(const Channel& mask) {
  return static_cast<uint32_t>(mask.height);
}

/** Makes a mask of the picture, calls work(mask, options), which returns a finding, and shows it.
 */
template <typename Options, typename Work>
Apply onMask(std::shared_ptr<Options> options, Work work) {
  return [options, work](Channels& picture) {
    Channel mask = maskOf(picture, *options);
    Finding finding = work(mask, *options);
    picture = Channels::ofGray(std::move(mask));
    return finding;
  };
}

std::shared_ptr<RadiusOptions> addRadiusOptions(CLI::App& parser) {
  auto options = std::make_shared<RadiusOptions>();
  addNumber(parser, "-r,--radius", options->radius, 1, 253,
            "Steps from pixel to pixel, without diagonals");
  addMaskOptions(parser, *options);
  return options;
}

std::shared_ptr<RegionOptions> addRegionOptions(CLI::App& parser) {
  auto options = std::make_shared<RegionOptions>();
  parser
      .add_option("-c,--connectivity", options->connectivity,
                  "Connect pixels across edges only (4) or corners too (8)")
      ->check(CLI::IsMember({"4", "8"}).description(""))
      ->type_name("4|8")
      ->capture_default_str();
  addMaskOptions(parser, *options);
  return options;
}

Apply addErode(CLI::App& parser) {
  return onMask(addRadiusOptions(parser), [](Channel& mask, const RadiusOptions& options) {
    const uint32_t cleared = TLUX_ErodeEx(mask.data(), mask.width, widthOf(mask), heightOf(mask),
                                          options.radius, nullptr);
    return Finding{"cleared", cleared, counted(cleared, "pixel") + " cleared"};
  });
}

Apply addDilate(CLI::App& parser) {
  return onMask(addRadiusOptions(parser), [](Channel& mask, const RadiusOptions& options) {
    const uint32_t set = TLUX_DilateEx(mask.data(), widthOf(mask), widthOf(mask), heightOf(mask),
                                       options.radius, nullptr);
    return Finding{"set", set, counted(set, "pixel") + " set"};
  });
}

Apply addFill(CLI::App& parser) {
  return onMask(addRegionOptions(parser), [](Channel& mask, const RegionOptions& options) {
    uint32_t filled = 0;
    checkResult(TLUX_TRegionLabel_FillHoles(nullptr, mask.data(), mask.width, widthOf(mask),
                                            heightOf(mask), options.connectivity, &filled));
    return Finding{"filled", filled, counted(filled, "pixel") + " filled"};
  });
}

Apply addClean(CLI::App& parser) {
  const std::shared_ptr<RegionOptions> options = addRegionOptions(parser);
  addNumber(parser, "-a,--area", options->minimumArea, 1U, 1U << 28,
            "Smallest number of pixels of a part that is kept");
  return onMask(options, [](Channel& mask, const RegionOptions& o) {
    uint32_t removed = 0;
    checkResult(TLUX_TRegionLabel_RemoveSmall(nullptr, mask.data(), mask.width, widthOf(mask),
                                              heightOf(mask), o.connectivity, o.minimumArea,
                                              &removed));
    return Finding{"removed", removed, counted(removed, "pixel") + " removed"};
  });
}

Apply addOutline(CLI::App& parser) {
  return onMask(addRegionOptions(parser), [](Channel& mask, const RegionOptions& options) {
    Channel outline(mask.width, mask.height);
    checkResult(TLUX_TRegionLabel_Boundary(mask.data(), mask.width, widthOf(mask), heightOf(mask),
                                           options.connectivity, outline.data(), outline.width));
    mask = std::move(outline);
    return Finding();
  });
}

struct Color {
  uint8_t luma = 0;
  uint8_t cb = 128;
  uint8_t cr = 128;
};

/** Hues a golden section apart: consecutive parts differ strongly, and no hue repeats. */
Color colorOf(uint32_t label) {
  constexpr std::array<uint8_t, 4> kBrightness = {150, 200, 110, 175};
  constexpr double kSaturation = 70;
  if (label == 0) return {};
  const double hue = 2 * std::numbers::pi * label * (std::numbers::phi - 1);
  const auto chroma = [](double value) {
    return static_cast<uint8_t>(std::lround(128 + kSaturation * value));
  };
  return {kBrightness[label % kBrightness.size()], chroma(std::cos(hue)), chroma(std::sin(hue))};
}

Channels colorLabels(const std::vector<uint32_t>& labels, uint32_t count, const Channel& model) {
  std::vector<Color> colors(size_t{count} + 1);
  for (uint32_t label = 0; label <= count; ++label) {
    colors[label] = colorOf(label);
  }
  Channels map;
  map.luma = map.cb = map.cr = Channel(model.width, model.height);
  for (size_t i = 0; i < labels.size(); ++i) {
    const Color color = colors[labels[i]];
    map.luma.samples[i] = color.luma;
    map.cb.samples[i] = color.cb;
    map.cr.samples[i] = color.cr;
  }
  return map;
}

Apply addLabel(CLI::App& parser) {
  const std::shared_ptr<RegionOptions> options = addRegionOptions(parser);
  return [options](Channels& picture) {
    Channel mask = maskOf(picture, *options);
    std::vector<uint32_t> labels(mask.samples.size());
    uint32_t count = 0;
    const auto label =
        options->connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
    checkResult(label(nullptr, mask.data(), mask.width, widthOf(mask), heightOf(mask),
                      labels.data(), 4 * mask.width, &count));
    picture = colorLabels(labels, count, mask);
    return Finding{"components", count, counted(count, "component")};
  };
}

} // namespace

const Operation kErode = {
    "erode", "Shrink the bright parts of a picture by a few pixels",
    "The picture becomes a mask, white where it is at least as bright as the threshold. A white\n"
    "pixel with a black one, or the border of the picture, within --radius steps becomes black.\n"
    "\n"
    "Examples:\n"
    "  tlux op erode mask.png -o thinner.png\n"
    "  tlux op erode sheet.jpg -o ink.png --dark --threshold 90 --radius 1",
    addErode};

const Operation kDilate = {
    "dilate", "Grow the bright parts of a picture by a few pixels",
    "The picture becomes a mask, white where it is at least as bright as the threshold. A black\n"
    "pixel with a white one within --radius steps becomes white.\n"
    "\n"
    "Examples:\n"
    "  tlux op dilate mask.png -o thicker.png\n"
    "  tlux op dilate whiteboard.jpg -o strokes.png --dark --threshold 160 --radius 3",
    addDilate};

const Operation kFill = {"fill", "Fill the holes of the bright parts of a picture",
                         "A hole is a black part that does not touch the border of the picture.\n"
                         "\n"
                         "Examples:\n"
                         "  tlux op fill mask.png -o solid.png\n"
                         "  tlux op fill coins.jpg -o discs.png --dark --threshold 200",
                         addFill};

const Operation kClean = {"clean", "Remove the small bright parts of a picture",
                          "Examples:\n"
                          "  tlux op clean mask.png -o cleaned.png\n"
                          "  tlux op clean scan.png -o no-specks.png --dark --area 12",
                          addClean};

const Operation kOutline = {"outline", "Draw the contours of the bright parts of a picture",
                            "Examples:\n"
                            "  tlux op outline mask.png -o contours.png\n"
                            "  tlux op outline whiteboard.jpg -o notes.png --dark --threshold 160",
                            addOutline};

const Operation kLabel = {
    "label", "Count the bright parts of a picture and colour each",
    "Each connected part gets one colour, the rest is black; the number of parts is printed. "
    "Parts\n"
    "that follow each other down the picture get very different colours.\n"
    "\n"
    "Examples:\n"
    "  tlux op label mask.png -o parts.png\n"
    "  tlux op label whiteboard.jpg -o strokes.png --dark --threshold 160 --connectivity 4",
    addLabel};

} // namespace tlux::app
