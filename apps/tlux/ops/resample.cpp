#include <fmt/format.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "base/library_result.hpp"
#include "cli/number_option.hpp"
#include "cli/size.hpp"
#include "media/semi_planar.hpp"
#include "ops/operation.hpp"

namespace tlux::app {

namespace {

constexpr int64_t kMostPixels = int64_t{1} << 28;

/** Luma, Cb and Cr, all of the reduced size. */
Channels reduceFrame(Channels& picture, int factor) {
  const Channel& luma = picture.luma;
  const int width = luma.width / (2 * factor) * 2;
  const int height = luma.height / (2 * factor) * 2;
  if (width == 0 || height == 0) {
    throw std::runtime_error(
        fmt::format("{}x{} pixels is too small to reduce by {}", luma.width, luma.height, factor));
  }
  // With this layout every factor outputs Cb before Cr.
  const FramePtr frame = toNv21(picture);
  const TLUX_IMAGE source = imageOf(*frame);
  Channels reduced;
  reduced.luma = reduced.cb = reduced.cr = Channel(width, height);
  TLUX_IMAGE target = reduced.luma.gray();
  target.format = TLUX_FMT_YCBCR444_P;
  target.plane[1] = reduced.cb.data();
  target.plane[2] = reduced.cr.data();
  target.pitch[1] = target.pitch[2] = width;
  const TLUX_CROP_RECT visible = {0, 0, luma.width - 1, luma.height - 1};
  checkResult(TLUX_ScaleCropImage(&source, &target, &visible, factor));
  return reduced;
}

Apply addReduce(CLI::App& parser) {
  const auto factor = std::make_shared<int>(2);
  addNumber(parser, "-n,--by", *factor, 2, 8, "Factor: N x N pixels become one");
  return [factor](Channels& picture) {
    Channels reduced = reduceFrame(picture, *factor);
    if (!picture.alpha.isEmpty()) {
      Channels alpha = Channels::ofGray(std::move(picture.alpha));
      reduced.alpha = reduceFrame(alpha, *factor).luma;
    }
    picture = std::move(reduced);
    return Finding();
  };
}

void resizeNearest(Channel& from, Channel& to) {
  const TLUX_IMAGE source = from.gray();
  TLUX_IMAGE target = to.gray();
  checkResult(asfImageResize_NN(&source, &target));
}

void resizeBilinear(Channel& from, Channel& to) {
  checkResult(asfImageResize_BL_C1(from.data(), from.width, from.height, from.width, to.data(),
                                   to.width, to.height, to.width));
}

void resizeBicubic(Channel& from, Channel& to) {
  checkResult(ImageResize_Cubic_C1(from.data(), from.width, from.height, from.width, to.data(),
                                   to.width, to.height, to.width));
}

using ResizeChannel = void (*)(Channel& from, Channel& to);

Apply addResize(CLI::App& parser) {
  const auto size = std::make_shared<Size>();
  const auto method = std::make_shared<std::string>("bicubic");
  addSizeOption(parser, "--to", *size, "Size of the result in pixels")->required();
  parser.add_option("-m,--method", *method, "Interpolation method")
      ->check(CLI::IsMember({"nearest", "bilinear", "bicubic"}).description(""))
      ->type_name("nearest|bilinear|bicubic")
      ->capture_default_str();
  return [size, method](Channels& picture) {
    if (int64_t{size->width} * size->height > kMostPixels) {
      throw std::runtime_error(fmt::format("{}x{} is too many pixels", size->width, size->height));
    }
    const ResizeChannel resize = *method == "nearest"    ? resizeNearest
                                 : *method == "bilinear" ? resizeBilinear
                                                         : resizeBicubic;
    const int shift = picture.hasHalvedChroma() ? 1 : 0;
    const Channel* luma = &picture.luma;
    const Channel* alpha = &picture.alpha;
    picture.each([&](Channel& channel) {
      const int down = &channel == luma || &channel == alpha ? 0 : shift;
      Channel resized((size->width + down) >> down, (size->height + down) >> down);
      resize(channel, resized);
      channel = std::move(resized);
    });
    return Finding();
  };
}

} // namespace

const Operation kReduce = {
    "reduce", "Make a picture smaller by a whole factor",
    "A block of N x N pixels becomes the mean of four (N = 2, 3, 4) or nine of its pixels, as in\n"
    "the small picture that the run uses to judge a scene. At the right and bottom, pixels that "
    "do\n"
    "not fill two blocks are dropped. From N = 5 on the result is one level darker, because the\n"
    "mean of nine is rounded down.\n"
    "\n"
    "Examples:\n"
    "  tlux op reduce photo.jpg -o half.jpg\n"
    "  tlux op reduce photo.jpg -o reference.png --by 8",
    addReduce};

const Operation kResize = {
    "resize", "Resize a picture to any size",
    "The result has exactly the size --to, so proportions may change. bilinear and bicubic use "
    "only\n"
    "the nearest pixels: to make a picture much smaller than half, use 'tlux op reduce' first, or\n"
    "fine detail shimmers. nearest preserves the pixels of drawings.\n"
    "\n"
    "Examples:\n"
    "  tlux op resize photo.jpg -o wide.jpg --to 1920x1080\n"
    "  tlux op resize icon.png -o large.png --to 512x512 --method nearest",
    addResize};

} // namespace tlux::app
