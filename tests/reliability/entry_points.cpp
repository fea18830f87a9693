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
    {"FastGuideFilterSingleThread", kFrameLuma,
     [](MMemMgr manager, std::uint8_t* out) {
       onBand(manager, out, [](const auto& band) { FastGuideFilterSingleThread(&band); });
       return TLUX_OK;
     },
     Failure::kSilent},
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
    {"GenerateTonemapping", 2 * kPixels, generateScores<GenerateTonemapping>},
    {"TLUX_GenerateTonemappingBayer", 2 * kPixels, generateScores<TLUX_GenerateTonemappingBayer>},

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

    // Enhancement
    {"HistogramEqualization", 0,
     [](MMemMgr manager, std::uint8_t*) {
       const TLUX_IMAGE image = grayOver(pixels());
       HistogramEqualization(manager, &image);
       return TLUX_OK;
     },
     Failure::kSilent, true},

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
