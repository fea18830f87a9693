#include <limits>

#include "engine/scoped_engine.hpp"
#include "reliability/good_call.hpp"
#include "stream/scoped_stream.hpp"

// What functions of images and frames refuse: a good call of each, and its damages.
namespace tlux::test {
namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr std::uint32_t kNv21 = TLUX_FMT_YCBCR420_YPVU;
constexpr std::uint32_t kNv12 = TLUX_FMT_YCBCR420_YPUV;
constexpr std::uint32_t k444 = TLUX_FMT_YCBCR444_P;

auto missing(TLUX_IMAGE& image) {
  return [&](auto& call, std::uint32_t) {
    for (std::uint8_t*& plane : image.plane)
      if (plane != nullptr) call(set(plane, nullptr));
  };
}
// One image with an unknown format.
auto unknown(CallMemory& m) {
  return answers(TLUX_ERR_UNSUPPORTED, setAll(0x300, m.source.format, m.target.format));
}
// Images of different formats, or of sizes that do not fit.
auto unlike(CallMemory& m) {
  return [&](auto& call, std::uint32_t) {
    call(set(m.source.format, TLUX_FMT_YCBCR420_P), set(m.target.format, TLUX_FMT_GRAY),
         set(m.target.width, 14), set(m.target.height, 14));
  };
}

TEST_F(Refusals, OfFrameTools) {
  const auto frames = [&](auto& call, std::uint32_t) {
    call(nulls, planesOf(m.source), planesOf(m.target), set(m.source.width, 0),
         set(m.target.height, 0, -16), unknown(m));
  };
  GOOD(GuideFilterNV21, nullptr, &m.source, &m.target, 1)(frames, at<3>(-1));
  GOOD(ImageRollOver, &m.source, &m.target, TLUX_ROLL_ROWS)
  (frames, at<1>(&m.source), at<2>(4)); // not in place
  GOOD(ExtractUVchannel, &m.source, m.bytes[1], m.bytes[2], 8)
  (nulls, at<3>(7), set(m.source.plane[1], nullptr), set(m.source.pitch[1], 7),
   set(m.source.height, 0), unknown(m));
  GOOD(PushUVchannel, m.bytes[0], m.bytes[2], 8, &m.target)
  (nulls, at<2>(7), set(m.target.plane[1], nullptr), set(m.target.pitch[1], 7),
   set(m.target.height, 0), unknown(m));
  setFrames(k444, k444);
  GOOD(GaussSmoothI444, &m.source, &m.target, 7)(frames);
  setFrames(k444, kNv21);
  GOOD(FormatI444TONV21, &m.source, &m.target)
  (frames, set(m.target.width, 14, 18), set(m.target.height, 14, 18));
}

TEST_F(Refusals, OfHistograms) {
  setFrames(TLUX_FMT_GRAY, TLUX_FMT_GRAY);
  GOOD(CalHistogram, &m.source, m.counts[0], nullptr)(nulls, missing(m.source));
  GOOD(HistogramMap, &m.source, m.counts[0], nullptr)(nulls, missing(m.source));
  GOOD(TLUX_GetMatchTable, nullptr, &m.target, &m.source, m.bytes[2])
  (nulls, missing(m.source), missing(m.target));
  setFrames(kNv21, kNv21);
  GOOD(AdaptiveHistogramEqualization, nullptr, &m.source, &m.target)
  (nulls, unlike(m), missing(m.source), missing(m.target), set(m.source.pitch[0], 20),
   setAll(17, m.source.width, m.target.width), setAll(-2, m.source.width, m.target.width),
   setAll(0, m.source.height, m.target.height), setAll(-4, m.source.height, m.target.height),
   setAll(-16, m.source.pitch[0], m.target.pitch[0]));
}

TEST_F(Refusals, OfCopies) {
  setFrames(k444, k444);
  const auto rects = [&](auto& call, std::uint32_t) {
    call(at<0>(nullptr), at<2>(nullptr), missing(m.source), missing(m.target),
         set(m.source.format, TLUX_FMT_YCBCR444_P_B));
    for (const TLUX_RECT& rect : {TLUX_RECT{-1, 0, 15, 16},
                                  {0, -1, 16, 15},
                                  {16, 0, 0, 16},
                                  {0, 16, 16, 0},
                                  {0, 0, 17, 16},
                                  {0, 0, 16, 17},
                                  {0, 0, 15, 16},
                                  {0, 0, 16, 15},
                                  {kMin, 0, kMax, 16},
                                  {0, kMax, 16, kMin}})
      call(set(m.rect, rect));
  };
  GOOD(TLUX_CopyImageROI_IMK, &m.target, nullptr, &m.source, &m.rect)(rects);
  GOOD(TLUX_CopyImageROIOddRect_IMK, &m.target, nullptr, &m.source, &m.rect)(rects);
  GOOD(TLUX_CopyImage_IMK, &m.target, &m.source)(nulls, set(m.target.height, 15));
  // Nine rows of 5 bytes would become rows of 8, which do not all fit.
  m.source = {TLUX_FMT_GRAY, 5, 9, {m.bytes[0]}, {5}};
  m.rect = {0, 0, 5, 5};
  GOOD(TLUX_CropImage_IMK, &m.source, &m.rect)
  (nulls, set(m.source.plane[0], nullptr), set(m.rect.right, 6), set(m.rect.bottom, 6),
   answers(TLUX_ERR_UNSUPPORTED, set(m.source.format, TLUX_FMT_BAYER, 0x609)));
  std::uint8_t* const planes[4] = {};
  const int pitches[4] = {};
  GOOD(TLUX_SetImage_IMK, &m.other, 3, 2, TLUX_FMT_GRAY, planes, pitches)(at<0>(nullptr));
}

TEST_F(Refusals, OfPictures) {
  m.picture = {m.bytes[2], 60, 15, 15, TLUX_RGBA, 0};
  const auto records = [&](auto& call, std::uint32_t) {
    call(nulls, set(m.picture.pixels, nullptr), set(m.picture.width, 0),
         set(m.picture.height, 0, -15), set(m.picture.pitch, 59, -59), set(m.picture.layout, 4),
         planesOf(m.source), set(m.source.width, 14), set(m.source.height, 15),
         set(m.source.format, TLUX_FMT_YCBCR422_YPUV));
  };
  GOOD(TLUX_PictureToFrame, &m.picture, &m.source)(records);
  GOOD(TLUX_FrameToPicture, &m.source, &m.picture)(records);
}

TEST_F(Refusals, OfResizersOfImages) {
  m.source = frame(kNv21, m.bytes[0], 8);
  const auto frames = [&](auto& call, std::uint32_t) {
    call(nulls, set(m.source.format, kNv12), set(m.source.plane[1], nullptr),
         set(m.target.plane[0], nullptr), set(m.source.pitch[0], 7), set(m.target.pitch[1], 15),
         set(m.source.width, 0), unknown(m));
  };
  const auto unsupported =
      answers(TLUX_ERR_UNSUPPORTED, setAll(TLUX_FMT_BAYER, m.source.format, m.target.format),
              setAll(TLUX_FMT_YCBYCR_5, m.source.format, m.target.format));
  for (const auto resize : {asfImageResize_NN, asfImageResize_BL})
    GOOD(resize, &m.source, &m.target)(frames, unsupported);
  GOOD(asfImageResize_BL_Piece, &m.source, &m.target, 2, 9)
  (frames, unsupported, at<2>(-1, 10), at<3>(1, 17));
  GOOD(UpcaleCropImage, &m.source, 3, 5, &m.target)
  (frames, at<1>(-1, 49, kMax), at<2>(-1, 49, kMax));
  setFrames(TLUX_FMT_YCBCR420_P, k444);
  GOOD(TLUX_ScaleCropImage, &m.source, &m.target, nullptr, 2)
  (nulls, at<3>(0, -1, kMin), missing(m.source), missing(m.target));
  static const TLUX_CROP_RECT kWhole = {0, 0, 15, 15};
  GOOD(TLUX_ResampleImage2_YCBCR420_P, &m.source, &m.target, &kWhole)
  (nulls, missing(m.source), missing(m.target));
}

TEST_F(Refusals, OfTones) {
  const auto [in, out, other] = std::tuple(m.bytes[0], m.bytes[1], m.bytes[2]);
  GOOD(NV21NV12_Tone, in, in, out, other, 4, 16, 16)(nulls, at<4>(1, -2), at<5>(0));
  GOOD(ToneNV21Line, 0, out, other, in, in, 16)(nulls, at<0>(1), at<5>(0));
  GOOD(GuideToneNV21Line, 0, out, other, in, in, in, 16)(nulls);
  m.other = frame(kNv21, m.bytes[2]);
  const auto frames = [&](auto& call, std::uint32_t) {
    call(nulls, planesOf(m.source), planesOf(m.target),
         answers(TLUX_ERR_UNSUPPORTED, set(m.source.format, TLUX_FMT_YCBCR420_P)));
  };
  GOOD(NV21NV12_ToneMT, &m.source, &m.target)(frames, set(m.target.width, 14));
  GOOD(NV21NV12_ToneMap, &m.target, &m.source, &m.other)(frames, set(m.other.width, 14));
  GOOD(MultiThreadGuideTone, nullptr, &m.source, &m.target, other, other + 4, 2, 2, 2, 3, 20)
  (frames, set(m.source.width, 14), at<6>(3), at<7>(1), at<8>(0, -1), answers(TLUX_OK, at<5>(0)),
   answers(TLUX_ERR_NO_MEMORY, at<6>(-1)));
  std::ranges::fill(m.bytes[2], 90); // without a solution, unless eps makes one
  GOOD(FastGuidedFilter, nullptr, &m.other, &m.source, &m.target, 2, 1.F)
  (nulls, set(m.source.width, 14), set(m.other.width, 14), set(m.target.pitch[0], 7), at<4>(0),
   answers(TLUX_ERR_UNSUPPORTED, set(m.other.format, TLUX_FMT_GRAY)),
   answers(TLUX_GUIDE_UNSOLVABLE, at<5>(0)));
}

TEST_F(Refusals, OfTheRun) {
  const std::uint32_t strength = 50;
  ScopedEngine engine;
  auto run = GOOD(TLUX_RunDynamicRangeOptimizationImage, nullptr, &engine.state(), &m.source, 1,
                  &m.target, &strength, 0);
  const TLUX_ENGINE state = engine.state();
  run(nulls, at<3>(0, 2), unlike(m), planesOf(m.source), planesOf(m.target),
      set(m.source.width, 15, -16), set(m.source.height, 15, -16),
      set(m.source.format, TLUX_FMT_YCBCR422_YPUV),
      set(m.target.plane[0], m.source.plane[0])); // in place
  EXPECT_EQ(MMemCmp(&engine.state(), &state, sizeof state), 0);
  ScopedEngine withoutFrame;
  GOOD(TLUX_Tonemapping, nullptr, &engine.state(), &m.source, &m.target, 0, &strength)
  (nulls, at<1>(&withoutFrame.state()),
   setAll(8, m.source.width, m.source.height, m.target.width, m.target.height));
}

TEST_F(Refusals, OfStreams) {
  const auto [in, out] = std::tuple(m.bytes[0], m.bytes[1]);
  m.source = {kNv21, 16, 16, {in, in + 24 * 16}, {24, 24}};
  m.target = {kNv21, 16, 16, {out, out + 24 * 16}, {24, 24}};
  const auto likeSource = [&](auto& call, std::uint32_t code) {
    m.target = m.source;
    call(answers(code, set(m.target.pitch[0], 16)));
  };
  ScopedStream stream(TLUX_TONES_EXACT);
  GOOD(TLUX_RunStream, stream.get(), &m.source, &m.target, 50)
  (nulls, unlike(m), planesOf(m.source), planesOf(m.target), set(m.target.format, kNv12),
   setAll(15, m.source.width, m.target.width), setAll(15, m.source.height, m.target.height),
   setAll(-2, m.source.width, m.target.width), setAll(0, m.source.height, m.target.height),
   // Overlaps: a shifted plane, one plane of two, planes of the output that lie on each other, and
   // equal planes of other pitches.
   set(m.target.plane[0], in + 2, in + 20 * 10), set(m.target.plane[1], m.source.plane[1], in + 15),
   set(m.target.plane[1], out), likeSource);
}

// Damages each image of the call in turn.
auto simpleImages(CallMemory& m, int images) {
  return [&m, images](auto& call, std::uint32_t) {
    call(nulls);
    for (int i = 0; i < images; ++i) {
      img& image = m.simple[i];
      call(set(image.width, 9, 7, 0, -8), set(image.height, 7), set(image.rows, nullptr),
           set(image.channels, image.channels + 1), set(image.depth, image.depth + 1));
    }
    for (img& image : m.simple)
      image.width = image.height = 1 << 20;
    call.refused(TLUX_OK);
  };
}

TEST_F(Refusals, OfGuidedFiltersOfSimpleImages) {
  img* const p = simple(1, m.bytes[1]);
  img* I = simple(0, m.bytes[0]);
  img* const q = simple(2, m.bytes[2]);
  GOOD(guided_filter_1d, nullptr, I, p, q, 1)(simpleImages(m, 3), at<4>(-1));
  GOOD(guided_filter_1dI, nullptr, I, p, q, 1)(simpleImages(m, 3), at<4>(-1));
  I = simple(0, m.bytes[0], 3);
  GOOD(guided_filter_3d, nullptr, I, p, q, 1)(simpleImages(m, 3), at<4>(-1));
  GOOD(guided_filter_bin_blocks3d, nullptr, I, p, q, 1)(simpleImages(m, 3), at<4>(-1));
  GOOD(each_guided, nullptr, I, p, q, 1)(simpleImages(m, 3), at<4>(-1));
  I = simple(0, m.bytes[0]);
  img* const a = simple(2, m.ints[0], 1, 32);
  img* const b = simple(3, m.ints[1], 1, 32);
  GOOD(guided_box_alpha, nullptr, I, p, a, b, 1)(simpleImages(m, 4), at<5>(-1));
  a->width = b->width = 4;
  a->height = b->height = 3;
  GOOD(guided_box_alpha_half, nullptr, I, p, a, b, 1)(simpleImages(m, 4), at<5>(-1));
}

// Images that are too small for the first image of the call, or have too few channels.
TEST_F(Refusals, OfSimpleTools) {
  const auto tooSmall = [](img& image) {
    return answers(TLUX_ERR_INVALID_PARAM, set(image.width, 7), set(image.height, 5));
  };
  img& first = *simple(0, m.bytes[0], 3);
  for (const auto convert : {to_gray, to_maxgray, img_lab}) {
    img& out = *simple(1, m.bytes[1], convert == img_lab ? 3 : 1);
    GOOD(convert, &first, &out)(nulls, tooSmall(out), set(first.channels, 2));
  }
  img& colour = *simple(1, m.bytes[1], 3);
  GOOD(img_lab, &first, &colour)(set(colour.channels, 2));
  for (const auto resize : {resize_a, resize_bgr})
    GOOD(resize, &first, &colour)(nulls, set(colour.channels, 2), set(colour.width, 0));
  img* const a = simple(0, m.bytes[0]);
  img& b = *simple(1, m.bytes[1]);
  img& out = *simple(2, m.bytes[2]);
  GOOD(img_subnorm, a, &b, &out)(nulls, tooSmall(b), tooSmall(out));
  GOOD(img_or, a, &b, &out)(nulls, tooSmall(b), tooSmall(out));
  GOOD(img_subnorm3, a, a, &b, &out)(nulls, tooSmall(b), tooSmall(out));
  GOOD(img_subnorm2, a, a, a, a, &b, &out)(nulls, tooSmall(b), tooSmall(out));
  GOOD(resize_C1, nullptr, a, &out)(nulls, set(out.width, 0));
  img& samples = *simple(3, m.ints[0], 1, 32);
  GOOD(int2byte, &samples, m.bytes[0])(nulls);
  GOOD(byte2int, m.bytes[0], 0, &samples)(nulls, set(samples.height, -1), set(samples.width, -8));
  GOOD(clear_img, a)(nulls);
}

} // namespace
} // namespace tlux::test
