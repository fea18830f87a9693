#include "reliability/entry_points.hpp"

#include "reliability/entry_calls.hpp"

namespace tlux::test {
namespace {

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
    {"TLUX_OpenStream", kFrameBytes, streamTwice},
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

    // allocates nothing; listed for its bytes
    {"ColorMap", 3 * kPixels,
     [](MMemMgr, std::uint8_t* out) {
       return ColorMap(pixels(), kWidth, out, 3 * kWidth, kWidth, kHeight);
     },
     Failure::kReported, false, false},

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
