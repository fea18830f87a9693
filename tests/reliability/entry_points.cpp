#include "reliability/entry_points.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "support/random.hpp"
#include "tlux.h"

namespace tlux::test {
namespace {

// Sides of the planes. Frames have 8 times the sides of kLowWidth × kLowHeight planes.
constexpr int kWidth = 24;
constexpr int kHeight = 20;
constexpr int kPixels = kWidth * kHeight;
constexpr int kLowWidth = 4;
constexpr int kLowHeight = 6;
constexpr int kLowPixels = kLowWidth * kLowHeight;
constexpr int kFrameWidth = 8 * kLowWidth;
constexpr int kFrameHeight = 8 * kLowHeight;
constexpr int kFrameLuma = kFrameWidth * kFrameHeight;
constexpr int kFrameBytes = kFrameLuma * 3 / 2;
constexpr int kRadius = 2;
constexpr std::uint32_t kStrength = 50;

constexpr std::size_t kTexture = 8192;

const std::array<std::uint8_t, kTexture>& texture(std::uint32_t seed) {
  static const auto kTextures = [] {
    std::array<std::array<std::uint8_t, kTexture>, 2> textures{};
    for (std::uint32_t i = 0; i < textures.size(); ++i) {
      Random random(i + 1);
      // Broad levels with noise on top, and black specks: edges, detail, regions and holes.
      for (std::size_t k = 0; k < kTexture; ++k) {
        const auto level = static_cast<std::uint32_t>(k / 7 % 16 * 12);
        const std::uint32_t noise = random.bits();
        textures[i][k] = static_cast<std::uint8_t>(noise % 3 == 0 ? 0 : level + noise / 3 % 64);
      }
    }
    return textures;
  }();
  return kTextures[seed];
}

const std::uint8_t* pixels() {
  return texture(1).data();
}

// The fields of a record are not const, though inputs are only read.
std::uint8_t* writable(const std::uint8_t* bytes) {
  return const_cast<std::uint8_t*>(bytes);
}

TLUX_IMAGE frameOver(const std::uint8_t* bytes) {
  std::uint8_t* luma = writable(bytes);
  return {TLUX_FMT_YCBCR420_YPVU,
          kFrameWidth,
          kFrameHeight,
          {luma, luma + kFrameLuma},
          {kFrameWidth, kFrameWidth}};
}

TLUX_IMAGE grayOver(const std::uint8_t* bytes) {
  return {TLUX_FMT_GRAY, kWidth, kHeight, {writable(bytes)}, {kWidth}};
}

// A simple image over packed pixels.
class Simple {
 public:
  explicit Simple(const std::uint8_t* bytes, int channels = 1, int depth = 8, int width = kWidth,
                  int height = kHeight) {
    const int stride = width * channels * depth / 8;
    for (int y = 0; y < height; ++y)
      rows_[static_cast<std::size_t>(y)] = writable(bytes) + std::ptrdiff_t{y} * stride;
    record_ = {width, height, stride, height * stride, channels, depth, rows_[0], rows_.data()};
  }
  operator img*() { return &record_; }

 private:
  std::array<std::uint8_t*, kHeight> rows_{};
  img record_{};
};

template <class T>
std::vector<T> widened(T scale) {
  std::vector<T> samples;
  for (int i = 0; i < kPixels; ++i)
    samples.push_back(static_cast<T>(pixels()[i] * scale));
  return samples;
}

template <auto Blur, class T>
constexpr EntryPoint blur(const char* name) {
  return {name, kPixels * sizeof(T), [](MMemMgr manager, std::uint8_t* out) {
            return Blur(manager, reinterpret_cast<T*>(out), kWidth, kHeight, kWidth, kRadius, 0);
          }};
}

template <auto Filter, int kChannels, bool kMayDoWithout = false>
constexpr EntryPoint guided(const char* name) {
  return {name, kPixels,
          [](MMemMgr manager, std::uint8_t* out) {
            Simple guide(pixels(), kChannels);
            Simple input(pixels() + kPixels);
            Simple output(out);
            Filter(manager, guide, input, output, kRadius);
            return TLUX_OK;
          },
          Failure::kSilent, kMayDoWithout};
}

template <auto Alpha, int kDivisor>
constexpr EntryPoint alpha(const char* name) {
  constexpr int kWide = kWidth / kDivisor;
  constexpr int kHigh = kHeight / kDivisor;
  return {name, 8 * kWide * kHigh,
          [](MMemMgr manager, std::uint8_t* out) {
            Simple guide(pixels());
            Simple input(pixels() + kPixels);
            Simple a(out, 1, 32, kWide, kHigh);
            Simple b(out + 4 * kWide * kHigh, 1, 32, kWide, kHigh);
            Alpha(manager, guide, input, a, b, kRadius);
            return TLUX_OK;
          },
          Failure::kSilent};
}

// Filter(manager, guide, pitch, input, pitch, output, pitch, width, height, arguments…)
template <auto Filter, int kGuideChannels, int kChannels, int... kArguments>
constexpr EntryPoint planes(const char* name) {
  return {name, kPixels * kChannels, [](MMemMgr manager, std::uint8_t* out) {
            return Filter(manager, pixels(), kWidth * kGuideChannels, pixels() + kPixels,
                          kWidth * kChannels, out, kWidth * kChannels, kWidth, kHeight,
                          kArguments...);
          }};
}

// Filter(manager, input, pitch, output, pitch, width, height, arguments…)
template <auto Filter, auto... kArguments>
constexpr EntryPoint plane(const char* name) {
  return {name, kPixels, [](MMemMgr manager, std::uint8_t* out) {
            return Filter(manager, pixels(), kWidth, out, kWidth, kWidth, kHeight, kArguments...);
          }};
}

template <auto Label>
constexpr EntryPoint label(const char* name) {
  return {name, 4 * kPixels, [](MMemMgr manager, std::uint8_t* out) {
            std::uint32_t count = 0;
            return Label(manager, pixels(), kWidth, kWidth, kHeight,
                         reinterpret_cast<std::uint32_t*>(out), 4 * kWidth, &count);
          }};
}

template <auto Clone, auto... kRect>
constexpr EntryPoint clone(const char* name) {
  return {name, kFrameLuma, [](MMemMgr manager, std::uint8_t* out) {
            const TLUX_IMAGE source = frameOver(pixels());
            TLUX_IMAGE* copy = nullptr;
            const std::uint32_t result = Clone(&copy, &source, kRect..., manager);
            EXPECT_EQ(copy != nullptr, result == TLUX_OK);
            if (copy == nullptr) return result;
            std::memcpy(out, copy->plane[0],
                        static_cast<std::size_t>(copy->pitch[0]) * copy->height);
            TLUX_FreeImage_IMK(&copy, manager);
            return result;
          }};
}

constexpr TLUX_RECT kRect{4, 2, 28, 46};

template <auto Insert, auto... kRectangle>
constexpr EntryPoint insert(const char* name) {
  return {name, 8, [](MMemMgr manager, std::uint8_t* out) {
            const TLUX_IMAGE source = grayOver(pixels());
            TLUX_IMAGE_LIST list{};
            const std::uint32_t result =
                Insert(&list, &source, pixels(), kRectangle..., 1, 2, manager);
            EXPECT_EQ(list.count, result == TLUX_OK ? 1U : 0U);
            if (result == TLUX_OK) std::memcpy(out, list.first->aux, 8);
            TLUX_FreeImageLink_IMK(&list, manager);
            return result;
          }};
}

constexpr TLUX_RECT kPart{1, 1, 9, 8};

constexpr TLUX_GUIDE_CONTEXT kBand = {
    nullptr, nullptr,    nullptr,   nullptr,    nullptr,   nullptr,     nullptr, nullptr, nullptr,
    1,       kLowHeight, kLowWidth, kLowHeight, kLowWidth, kFrameWidth, kRadius, 20};

// The work of one thread of the fast guided filter; maps are the caller's.
template <class Work>
void onBand(MMemMgr manager, std::uint8_t* out, Work work) {
  std::vector<std::int32_t> maps(4 * kLowPixels);
  TLUX_GUIDE_CONTEXT band = kBand;
  band.manager = manager;
  band.rawA = maps.data();
  band.rawB = maps.data() + kLowPixels;
  band.smoothA = maps.data() + 2 * kLowPixels;
  band.smoothB = maps.data() + 3 * kLowPixels;
  band.input = pixels();
  band.guide = pixels() + kLowPixels;
  band.fullGuide = beforePixels().data();
  band.fullOut = out;
  work(band);
}

// Scores of 0 stand for a score that had no memory.
template <auto Generate>
std::uint32_t generateScores(MMemMgr manager, std::uint8_t* out) {
  const TLUX_IMAGE source = grayOver(pixels());
  TLUX_TONEMAP_CONTEXT context{&source, kWidth, kHeight, TLUX_Degamma_Table, nullptr, nullptr};
  std::uint32_t result = Generate(manager, &context);
  if (result == TLUX_OK) {
    if (std::all_of(context.gains, context.gains + kPixels, [](int score) { return score == 0; }))
      result = TLUX_ERR_NO_MEMORY;
    else
      std::memcpy(out, context.gains, 2 * kPixels);
  }
  MMemFree(manager, context.gains);
  MMemFree(manager, context.logLuma);
  return result;
}

// Two frames on one engine. On the heap only one of them can meet the fault, and the engine serves
// the other as if nothing had happened.
std::uint32_t runTwice(MMemMgr manager, std::uint8_t* out) {
  TLUX_ENGINE* engine = nullptr;
  const std::uint32_t created = TLUX_Init(manager, &engine);
  EXPECT_EQ(engine != nullptr, created == TLUX_OK);
  if (engine == nullptr) return created;
  const TLUX_IMAGE source = frameOver(beforePixels().data());
  std::array<std::uint8_t, kFrameBytes> again{};
  TLUX_IMAGE first = frameOver(out);
  TLUX_IMAGE second = frameOver(again.data());
  const auto run = [&](TLUX_IMAGE& output) {
    return TLUX_RunDynamicRangeOptimizationImage(manager, engine, &source, 1, &output, &kStrength,
                                                 0);
  };
  const std::uint32_t results[] = {run(first), run(second)};
  EXPECT_TRUE(manager != nullptr || results[0] == TLUX_OK || results[1] == TLUX_OK);
  if (results[0] == TLUX_OK && results[1] == TLUX_OK) {
    EXPECT_EQ(std::memcmp(out, again.data(), again.size()), 0);
  }
  EXPECT_EQ(TLUX_Uninit(manager, engine), TLUX_OK);
  return std::max(results[0], results[1]);
}

// The stage of a run, on a reference frame of the caller's.
std::uint32_t toneMap(MMemMgr manager, std::uint8_t* out) {
  TLUX_IMAGE reference{TLUX_FMT_YCBCR444_P,
                       kLowWidth,
                       kLowHeight,
                       {writable(pixels()), writable(pixels()), writable(pixels())},
                       {kLowWidth, kLowWidth, kLowWidth}};
  TLUX_ENGINE engine{};
  engine.images[0] = &reference;
  engine.refWidth = kLowWidth;
  engine.refHeight = kLowHeight;
  engine.degammaTable = TLUX_Degamma_Table;
  engine.gammaTable = TLUX_Gamma_Table8;
  const TLUX_IMAGE source = frameOver(beforePixels().data());
  TLUX_IMAGE output = frameOver(out);
  const std::uint32_t result = TLUX_Tonemapping(manager, &engine, &source, &output, 0, &kStrength);
  MMemFree(manager, engine.logGainMap);
  MMemFree(manager, engine.gainLut);
  return result;
}

const EntryPoint kEntryPoints[] = {
    // Engine and its stage
    {"TLUX_Init", 0,
     [](MMemMgr manager, std::uint8_t*) {
       TLUX_ENGINE* engine = nullptr;
       const std::uint32_t result = TLUX_Init(manager, &engine);
       EXPECT_EQ(engine != nullptr, result == TLUX_OK);
       if (engine != nullptr) TLUX_Uninit(manager, engine);
       return result;
     }},
    {"TLUX_RunDynamicRangeOptimizationImage", kFrameBytes, runTwice, Failure::kPartial, true},
    {"TLUX_Tonemapping", kFrameBytes, toneMap, Failure::kPartial},
    {"TLUX_TonemapGainLUT", 16,
     [](MMemMgr manager, std::uint8_t* out) {
       TLUX_ENGINE engine{};
       const std::uint32_t result = TLUX_TonemapGainLUT(manager, &engine, kStrength);
       EXPECT_EQ(engine.gainLut != nullptr, result == TLUX_OK);
       if (engine.gainLut != nullptr) std::memcpy(out, engine.gainLut, 16);
       MMemFree(manager, engine.gainLut);
       return result;
     }},

    // Tone and exposure
    {"FastGuideFilterMT", kFrameLuma,
     [](MMemMgr manager, std::uint8_t* out) {
       return FastGuideFilterMT(manager, pixels(), pixels() + kLowPixels, beforePixels().data(),
                                out, kLowWidth, kLowHeight, kLowWidth, kFrameWidth, kRadius, 20);
     },
     Failure::kPartial},
    {"FastGuideFilterSingleThread", kFrameLuma,
     [](MMemMgr manager, std::uint8_t* out) {
       onBand(manager, out, [](const auto& band) { FastGuideFilterSingleThread(&band); });
       return TLUX_OK;
     },
     Failure::kSilent},
    {"MultiThreadGuideTone", kFrameBytes,
     [](MMemMgr manager, std::uint8_t* out) {
       const TLUX_IMAGE source = frameOver(beforePixels().data());
       TLUX_IMAGE output = frameOver(out);
       return MultiThreadGuideTone(manager, &source, &output, pixels(), pixels() + kLowPixels,
                                   kLowWidth, kLowHeight, kLowWidth, kRadius, 20);
     },
     Failure::kPartial},
    {"SingleThreadGuideTone", kFrameBytes,
     [](MMemMgr manager, std::uint8_t* out) {
       onBand(manager, out, [&](const auto& band) {
         const TLUX_GUIDE_TONE_CONTEXT context = {band,
                                                  beforePixels().data() + kFrameLuma,
                                                  out + kFrameLuma,
                                                  kFrameWidth,
                                                  kFrameWidth,
                                                  kFrameWidth};
         SingleThreadGuideTone(&context);
       });
       return TLUX_OK;
     },
     Failure::kSilent},
    {"NV21NV12_ToneMT", kFrameBytes,
     [](MMemMgr, std::uint8_t* out) {
       const TLUX_IMAGE source = frameOver(pixels());
       TLUX_IMAGE output = frameOver(out);
       return NV21NV12_ToneMT(&source, &output);
     },
     Failure::kPartial, false, false},
    {"GuideBlockIntMT", 8 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       auto* const maps = reinterpret_cast<std::int32_t*>(out);
       return GuideBlockIntMT(manager, 3, 9, pixels(), pixels() + kPixels, kHeight, kWidth, kWidth,
                              maps, maps + kPixels, kRadius, 20);
     }},
    {"GuideBlock", 8 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       const auto input = widened<float>(0.5F);
       auto* const maps = reinterpret_cast<float*>(out);
       return GuideBlock(manager, input.data(), input.data(), kHeight, kWidth, kWidth, maps,
                         maps + kPixels, kRadius, 20);
     }},
    {"BlockMeanVarIntMTBorder", 4 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       const auto map = widened<std::int32_t>(7);
       return BlockMeanVarIntMTBorder(manager, 3, 9, map.data(), kHeight, kWidth, kWidth,
                                      reinterpret_cast<std::int32_t*>(out), kRadius);
     },
     Failure::kPartial},
    {"BlockMeanVarIntMT", 4 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       const auto map = widened<std::int32_t>(7);
       return BlockMeanVarIntMT(manager, 3, 9, map.data(), kHeight, kWidth, kWidth,
                                reinterpret_cast<std::int32_t*>(out), kRadius);
     }},
    {"BlockMeanVar", 8 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       const auto samples = widened<float>(0.5F);
       auto* const means = reinterpret_cast<float*>(out);
       return BlockMeanVar(manager, samples.data(), kHeight, kWidth, kWidth, means, means + kPixels,
                           kRadius);
     }},
    {"FastGuidedFilter", kFrameLuma,
     [](MMemMgr manager, std::uint8_t* out) {
       const TLUX_IMAGE source = frameOver(pixels());
       TLUX_IMAGE output = frameOver(out);
       return FastGuidedFilter(manager, &source, &source, &output, kRadius, 20);
     }},
    {"AME_GenerateRetinexLogGain", 2 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       auto light = widened<std::int16_t>(16);
       return AME_GenerateRetinexLogGain(manager, nullptr, light.data(), kWidth, kHeight,
                                         reinterpret_cast<std::uint16_t*>(out));
     }},
    {"GenerateTonemapping", 2 * kPixels, generateScores<GenerateTonemapping>},
    {"TLUX_GenerateTonemappingBayer", 2 * kPixels, generateScores<TLUX_GenerateTonemappingBayer>},
    {"AME_PyramidFilter", 2 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       const auto samples = widened<std::int16_t>(16);
       std::vector<std::int16_t> scratch(1024);
       AME_PyramidFilter(manager, nullptr, samples.data(), kWidth, kHeight,
                         reinterpret_cast<std::int16_t*>(out), kWidth, kHeight, scratch.data(),
                         static_cast<int>(scratch.size()));
       return TLUX_OK;
     },
     Failure::kSilent},
    {"AME_SmoothSelect", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       return AME_SmoothSelect(manager, pixels(), out, kWidth, kHeight);
     }},
    {"AME_SmoothMidSelect", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       return AME_SmoothMidSelect(manager, pixels(), out, kWidth, kHeight);
     }},

    // Images
    {"TLUX_CreateImage_IMK", 0,
     [](MMemMgr manager, std::uint8_t*) {
       TLUX_IMAGE* image = nullptr;
       const std::uint32_t result =
           TLUX_CreateImage_IMK(&image, kWidth, kHeight, TLUX_FMT_YCBCR420_P, manager);
       EXPECT_EQ(image != nullptr, result == TLUX_OK);
       TLUX_FreeImage_IMK(&image, manager);
       return result;
     }},
    clone<TLUX_CloneImage_IMK>("TLUX_CloneImage_IMK"),
    clone<TLUX_CloneImageROI_IMK, &kRect>("TLUX_CloneImageROI_IMK"),
    insert<TLUX_InsertImageToLink_IMK>("TLUX_InsertImageToLink_IMK"),
    insert<TLUX_InsertImageToLinkROI_IMK, &kPart>("TLUX_InsertImageToLinkROI_IMK"),
    {"createimg_pesudo", 0,
     [](MMemMgr manager, std::uint8_t*) {
       img* image = createimg_pesudo(manager, writable(pixels()), kWidth, kHeight, 8, 1, kWidth);
       if (image == nullptr) return TLUX_ERR_NO_MEMORY;
       release_img_pesudo(manager, &image);
       return TLUX_OK;
     }},
    {"cloneimg", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       Simple source(pixels());
       img* copy = cloneimg(manager, source);
       if (copy == nullptr) return TLUX_ERR_NO_MEMORY;
       std::memcpy(out, copy->data, kPixels);
       release_img(manager, &copy);
       return TLUX_OK;
     }},

    // Filters and enhancement
    blur<TLUX_BoxBlur_Byte, std::uint8_t>("TLUX_BoxBlur_Byte"),
    blur<TLUX_BoxBlur_Int8, std::int8_t>("TLUX_BoxBlur_Int8"),
    blur<TLUX_BoxBlur_Int16, std::int16_t>("TLUX_BoxBlur_Int16"),
    blur<TLUX_BoxBlur_Int32, std::int32_t>("TLUX_BoxBlur_Int32"),
    guided<guided_filter_1d, 1>("guided_filter_1d"),
    guided<guided_filter_1dI, 1, true>("guided_filter_1dI"),
    guided<guided_filter_3d, 3>("guided_filter_3d"),
    guided<guided_filter_bin_blocks3d, 3>("guided_filter_bin_blocks3d"),
    guided<each_guided, 3>("each_guided"),
    alpha<guided_box_alpha, 1>("guided_box_alpha"),
    alpha<guided_box_alpha_half, 2>("guided_box_alpha_half"),
    planes<TLUX_GuidedFilter1D, 1, 1, kRadius, 20>("TLUX_GuidedFilter1D"),
    planes<TLUX_GuidedFilter1DS, 1, 1, kRadius, 20, 2>("TLUX_GuidedFilter1DS"),
    planes<GuidedFilter1D_3C, 1, 3, kRadius, 20>("GuidedFilter1D_3C"),
    planes<GuidedFilter3D, 3, 1, kRadius, 20>("GuidedFilter3D"),
    planes<DstFilterChannel, 1, 1, kRadius>("DstFilterChannel"),
    plane<BilateralFilter1D, kRadius, 20, 2>("BilateralFilter1D"),
    {"TLUX_CalculateVairance", 2 * kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       return TLUX_CalculateVairance(manager, pixels(), kWidth,
                                     reinterpret_cast<std::uint16_t*>(out), 2 * kWidth, kWidth,
                                     kHeight, kRadius);
     }},
    plane<LeeFilterEnhancement, kRadius, 2000>("LeeFilterEnhancement"),
    plane<ImgEnhancement, kRadius, 40, 3000>("ImgEnhancement"),
    plane<ResFilter, kRadius, 20, 3, 2000>("ResFilter"),
    {"BaseDetail", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       testing::internal::CaptureStdout(); // it prints
       const std::uint32_t result =
           BaseDetail(manager, pixels(), kWidth, out, kWidth, kWidth, kHeight, kRadius, 0.05F, 3);
       testing::internal::GetCapturedStdout();
       return result;
     }},
    {"HistogramEqualization", 0,
     [](MMemMgr manager, std::uint8_t*) {
       const TLUX_IMAGE image = grayOver(pixels());
       HistogramEqualization(manager, &image);
       return TLUX_OK;
     },
     Failure::kSilent, true},
    {"AdaptiveHistogramEqualization", kFrameBytes,
     [](MMemMgr manager, std::uint8_t* out) {
       const TLUX_IMAGE source = frameOver(pixels());
       TLUX_IMAGE output = frameOver(out);
       AdaptiveHistogramEqualization(manager, &source, &output);
       return TLUX_OK;
     },
     Failure::kSilent},
    {"TLUX_GetMatchTable", 256,
     [](MMemMgr manager, std::uint8_t* out) {
       const TLUX_IMAGE target = grayOver(pixels());
       const TLUX_IMAGE source = grayOver(pixels() + kPixels);
       return TLUX_GetMatchTable(manager, &target, &source, out);
     }},
    {"GuideFilterNV21", kFrameBytes,
     [](MMemMgr manager, std::uint8_t* out) {
       const TLUX_IMAGE source = frameOver(pixels());
       TLUX_IMAGE target = frameOver(out);
       return GuideFilterNV21(manager, &source, &target, kRadius);
     }},

    // Regions
    label<TRegionLabel_RegionLabel4>("TRegionLabel_RegionLabel4"),
    label<TRegionLabel_RegionLabel8>("TRegionLabel_RegionLabel8"),
    {"TLUX_TRegionLabel_RemoveSmall", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       return TLUX_TRegionLabel_RemoveSmall(manager, out, kWidth, kWidth, kHeight, 4, 9, nullptr);
     }},
    {"TLUX_TRegionLabel_FillHoles", kPixels,
     [](MMemMgr manager, std::uint8_t* out) {
       return TLUX_TRegionLabel_FillHoles(manager, out, kWidth, kWidth, kHeight, 8, nullptr);
     }},

    // Threads and events
    {"TLUX_MEventCreate", 0,
     [](MMemMgr, std::uint8_t*) {
       TLUX_MEvent* event = TLUX_MEventCreate();
       if (event == nullptr) return TLUX_ERR_NO_MEMORY;
       TLUX_MEventDestroy(nullptr, event);
       return TLUX_OK;
     },
     Failure::kReported, false, false},
    {"TLUX_MThreadCreate", 0,
     [](MMemMgr, std::uint8_t*) {
       const TLUX_MThread thread =
           TLUX_MThreadCreate([](void* argument) { return argument; }, nullptr);
       TLUX_MThreadExit(thread);
       return thread == 0 ? TLUX_ERR_THREAD : TLUX_OK;
     },
     Failure::kReported, false, false},
};

} // namespace

std::span<const EntryPoint> entryPoints() {
  return kEntryPoints;
}

std::span<const std::uint8_t> beforePixels() {
  return texture(0);
}

} // namespace tlux::test
