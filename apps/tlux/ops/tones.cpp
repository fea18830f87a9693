#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>

#include "base/library_result.hpp"
#include "media/reader.hpp"
#include "ops/operation.hpp"

namespace tlux::app {

namespace {

constexpr int kLevels = 256;

void equalizeGlobally(Channel& luma) {
  TLUX_IMAGE image = luma.gray();
  std::array<uint32_t, kLevels> map = {};
  HistogramMap(&image, map.data(), nullptr);
  std::array<uint8_t, kLevels> table = {};
  std::transform(map.begin(), map.end(), table.begin(),
                 [](uint32_t level) { return static_cast<uint8_t>(level); });
  TLUX_AdjustImageByTable(&image, table.data());
}

/** In place, so the library does not scale the chroma, which is a dummy here. */
void equalizeInTiles(Channel& luma) {
  Channel neutral(luma.width + luma.width % 2, (luma.height + 1) / 2, 128);
  TLUX_IMAGE frame = luma.gray();
  frame.format = TLUX_FMT_YCBCR420_YPVU;
  frame.plane[1] = neutral.data();
  frame.pitch[1] = neutral.width;
  AdaptiveHistogramEqualization(nullptr, &frame, &frame);
}

Apply addEqualize(CLI::App& parser) {
  const auto method = std::make_shared<std::string>("global");
  parser.add_option("-m,--method", *method, "Over the whole picture, or in tiles of 16 pixels")
      ->check(CLI::IsMember({"global", "adaptive"}).description(""))
      ->type_name("global|adaptive")
      ->capture_default_str();
  return [method](Channels& picture) {
    (*method == "global" ? equalizeGlobally : equalizeInTiles)(picture.luma);
    return Finding();
  };
}

/** Resized to @p model, since the table compares pixel counts of the two pictures. */
Channel lumaOf(const std::filesystem::path& file, const Channel& model) {
  Channels picture = takeApart(readPicture(file));
  Channel sampled(model.width, model.height);
  const TLUX_IMAGE source = picture.luma.gray();
  TLUX_IMAGE target = sampled.gray();
  checkResult(asfImageResize_NN(&source, &target));
  return sampled;
}

Apply addMatch(CLI::App& parser) {
  const auto model = std::make_shared<std::filesystem::path>();
  parser.add_option("--to", *model, "Picture whose tones to match")->required()->type_name("FILE");
  return [model](Channels& picture) {
    Channel wanted = lumaOf(*model, picture.luma);
    const TLUX_IMAGE target = wanted.gray();
    TLUX_IMAGE source = picture.luma.gray();
    std::array<uint8_t, kLevels> table = {};
    checkResult(TLUX_GetMatchTable(nullptr, &target, &source, table.data()));
    TLUX_AdjustImageByTable(&source, table.data());
    return Finding();
  };
}

} // namespace

const Operation kEqualize = {
    "equalize", "Spread the brightness evenly over all levels",
    "Colour differences stay unchanged.\n"
    "'adaptive' equalizes every tile of 16 x 16 pixels separately, without a limit to the "
    "contrast:\n"
    "each tile gets the full range of brightness, and flat ones show only noise. Use it to "
    "inspect\n"
    "whether a part that looks black or white contains any detail; to make each tile cover more,\n"
    "reduce the picture first ('tlux op reduce --by 4'). For photographs use 'tlux enhance'.\n"
    "\n"
    "Examples:\n"
    "  tlux op equalize dull.jpg -o lively.jpg",
    addEqualize};

const Operation kMatch = {
    "match", "Give a picture the brightness of another",
    "Each tenth of the pixels, from the darkest to the brightest, moves to its level in the other\n"
    "picture, which may have any size. Colour differences stay unchanged.\n"
    "\n"
    "Examples:\n"
    "  tlux op match second.jpg -o second-like-first.jpg --to first.jpg",
    addMatch};

} // namespace tlux::app
