#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "reliability/good_call.hpp"

// What functions of planes and rows refuse: a good call of each, and its damages.
namespace tlux::test {
namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr std::uint32_t kLarge = 0x80000000;
constexpr std::uint32_t kNone = TLUX_OK; // nothing to do is not an error

TEST_F(Refusals, OfFilters) {
  const auto [in, out, more] = std::tuple(m.bytes[0], m.bytes[1], m.bytes[2]);
  GOOD(TLUX_GuidedFilter1D, nullptr, more, 8, in, 8, out, 8, 8, 6, 2, 10)
  (planes<3>(), at<2>(7, -8), at<9>(-1, kMin), at<10>(0, -1), at<2, 4, 6, 7, 8>(1 << 20));
  GOOD(TLUX_GuidedFilter1DS, nullptr, more, 8, in, 8, out, 8, 8, 6, 2, 10, 2)
  (planes<3>(), at<2>(7, -8), at<9>(-1), at<10>(0), at<11>(0, -1, 17));
  GOOD(GuidedFilter1D_3C, nullptr, more, 8, in, 24, out, 24, 8, 6, 2, 10)
  (planes<3>(), at<2>(7), at<4>(23), at<6>(23), at<10>(0));
  GOOD(GuidedFilter3D, nullptr, more, 24, in, 8, out, 8, 8, 6, 2, 10)
  (planes<3>(), at<2>(23), at<10>(0));
  GOOD(BilateralFilter1D, nullptr, in, 8, out, 8, 8, 6, 2, 20.F, 2.F)
  (planes<1>(), at<7>(-1, 65), at<8>(0, -1, kNan), at<9>(0, -1, kNan), at<2, 4, 5, 6>(1 << 20));
  GOOD(TLUX_CalculateVairance, nullptr, in, 8, m.words[0], 16, 8, 6, 1)
  (planes<1>(), at<4>(15), at<7>(-1), answers(kNone, at<5>(kMin)));
  GOOD(DstFilterChannel, nullptr, more, 8, in, 8, out, 8, 8, 6, 1)
  (planes<3>(TLUX_ERR_INVALID_PARAM), at<2>(7), at<9>(-1), at<2, 4, 6, 7, 8>(1 << 26));
  const auto noBlur = answers(kNone, at<5>(0, -1), at<2>(0), at<3>(-2));
  GOOD(TLUX_BoxBlur_Byte, nullptr, in, 8, 6, 8, 1, 0)(nulls, noBlur);
  GOOD(TLUX_BoxBlur_Int8, nullptr, reinterpret_cast<std::int8_t*>(in), 8, 6, 8, 1, 0)
  (nulls, noBlur);
  GOOD(TLUX_BoxBlur_Int16, nullptr, m.shorts[0], 8, 6, 8, 1, 0)(nulls, noBlur);
  GOOD(TLUX_BoxBlur_Int32, nullptr, m.ints[0], 8, 6, 8, 1, 0)(nulls, noBlur);
}

TEST_F(Refusals, OfEnhancement) {
  const auto [in, out] = std::tuple(m.bytes[0], m.bytes[1]);
  GOOD(LeeFilterEnhancement, nullptr, in, 8, out, 8, 8, 6, 2, 2000)
  (planes<1>(), at<7>(-1), at<8>(-1, 16385));
  GOOD(ImgEnhancement, nullptr, in, 8, out, 8, 8, 6, 2, 50, 9000)
  (planes<1>(), at<7>(-1), at<8>(0, 128), at<9>(1023, 16385));
  GOOD(ResFilter, nullptr, in, 8, out, 8, 8, 6, 2, 90, 3, 2000)
  (planes<1>(), at<7>(-1), at<8>(0), at<9>(-1, 256), at<10>(-1, 16385));
  testing::internal::CaptureStdout(); // it prints
  GOOD(BaseDetail, nullptr, in, 8, out, 8, 8, 6, 2, 0.1F, 2.F)
  (planes<1>(), at<7>(0, 23171), at<8>(0, kNan), at<9>(1, kNan));
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_FALSE(HasFailure()) << printed;
  GOOD(ColorMap, in, 8, out, 24, 8, 6)(planes<0>(), at<3>(23));
}

TEST_F(Refusals, OfResizers) {
  const auto [in, out] = std::tuple(m.bytes[0], m.bytes[1]);
  const auto sizes = [](auto& call, std::uint32_t) {
    call(nulls, at<1>(0, -1), at<2>(0, -1), at<3>(7, -8), at<5>(0, -4), at<6>(0, -4),
         at<7>(9, -10));
  };
  static std::int16_t table[TLUX_CUBIC_TABLE_SIZE];
  EXPECT_EQ(InitCubicCoeffTab(table, TLUX_CUBIC_SMOOTH), TLUX_OK);
  GOOD(asfImageResize_BL_C1, in, 8, 6, 8, out, 10, 9, 10)(sizes);
  GOOD(ImageResize_Cubic_C1, in, 8, 6, 8, out, 10, 9, 10)(sizes);
  GOOD(Resize_Bicubic_8u_C1, in, 8, 6, 8, out, 10, 9, 10, table)(sizes);
  EXPECT_EQ(InitCubicCoeffTab(table, -257), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(InitCubicCoeffTab(table, 1), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(InitCubicCoeffTab(nullptr, TLUX_CUBIC_SMOOTH), TLUX_ERR_INVALID_PARAM);
  GOOD(TLUX_UpscaleCalLine8s, in, in + 8, 8, 0, out)(nulls, at<2>(0, 1 << 28), at<3>(8, -1));
  GOOD(UpcaleCropGray, in, 2, 2, 2, 3, 1, out, 4, 4, 4)
  (nulls, at<3>(1), at<4>(-1, 13, kMax), at<5>(-1, 13, kMax), at<7>(0), at<8>(0), at<9>(3));
}

TEST_F(Refusals, OfRegions) {
  const auto [mask, labels, count] = std::tuple(m.bytes[0], m.counts[0], m.counts[1]);
  auto* const odd = reinterpret_cast<std::uint32_t*>(m.bytes[2] + 2);
  std::ranges::fill(m.bytes[0], 0);
  for (const int set : {2, 9, 11, 18, 27}) // a hole, and a pixel by itself
    mask[set] = 7;
  const auto sizes = [](auto& call, std::uint32_t) {
    call(at<2>(7, -7, 0), at<3>(0, kLarge, ~0U), at<4>(0, kLarge, ~0U), at<2, 3, 4>(65536));
  };
  const auto fifth = at<5>(0, 1, 5, 6, 7, 9, 260, ~0U); // the connectivity
  const auto labelled = [&](auto& call, std::uint32_t) {
    call(nulls, sizes, at<5>(odd), at<6>(31, 34, -28, 0));
  };
  GOOD(TRegionLabel_RegionLabel4, nullptr, mask, 8, 8, 6, labels, 32, count)(labelled);
  GOOD(TRegionLabel_RegionLabel8, nullptr, mask, 8, 8, 6, labels, 32, count)(labelled);
  GOOD(TLUX_TRegionLabel_RemoveSmall, nullptr, mask, 8, 8, 6, 8, 9, count)
  (at<1>(nullptr), sizes, fifth);
  GOOD(TLUX_TRegionLabel_FillHoles, nullptr, mask, 8, 8, 6, 8, count)
  (at<1>(nullptr), sizes, fifth);
  GOOD(TLUX_TRegionLabel_Boundary, mask, 8, 8, 6, 4, m.bytes[1], 8)
  (nulls, at<1>(7, -7, 0), at<2>(0, kLarge, ~0U), at<3>(0, kLarge, ~0U),
   at<4>(0, 1, 5, 7, 9, 260, ~0U), at<6>(7, -7, 0));
  GOOD(TLUX_TRegionLabel_Compare, mask, 8, m.bytes[1], 8, 8, 6, &m.agreement)
  (nulls, at<1>(7, -7, 0), at<3>(7, -7, 0), at<4>(0, kLarge), at<5>(0, kLarge));
  GOOD(TLUX_TRegionLabel_Statistics, labels, 32, 8, 6, m.regions, 2)
  (nulls, at<0>(odd), at<1>(28, 34, 0), at<2>(0, kLarge), at<3>(0, kLarge));
}

TEST_F(Refusals, OfGuidedUpsampling) {
  const auto [in, out, a, b] = std::tuple(m.bytes[0], m.bytes[1], m.ints[2], m.ints[3]);
  const auto band = [](auto& call, std::uint32_t) {
    call(nulls, at<1>(-1), answers(kNone, at<1>(6, kMax), at<2>(0)));
  };
  GOOD(GuideBlockIntMT, nullptr, 1, 3, in, out, 6, 8, 8, a, b, 2, 20)
  (band, answers(kNone, at<5>(0), at<6>(0)), at<7>(7), at<10>(0, -1, 23171));
  const auto smooth = [&](auto& call, std::uint32_t) {
    call(band, answers(kNone, at<4>(0), at<5>(0)), at<6>(7), at<8>(0, 23171));
  };
  GOOD(BlockMeanVarIntMT, nullptr, 1, 3, m.ints[0], 6, 8, 8, a, 2)(smooth);
  GOOD(BlockMeanVarIntMTBorder, nullptr, 0, 6, m.ints[0], 6, 8, 8, a, 2)(smooth);
  GOOD(GuideBlock, nullptr, m.floats[0], m.floats[1], 6, 8, 8, m.floats[2], m.floats[3], 2, 1.F)
  (nulls, at<5>(7), at<8>(0));
  GOOD(BlockMeanVar, nullptr, m.floats[0], 6, 8, 8, m.floats[2], m.floats[3], 2)
  (nulls, at<4>(7), at<7>(0));
  GOOD(UPSampleLine8Int, 0, 16, m.ints[0], a)(nulls, at<0>(-1));
  GOOD(FastGuideFilterMT, nullptr, in, in + 4, m.bytes[2], out, 2, 2, 2, 16, 1, 20)
  (nulls, answers(kNone, at<5>(0), at<6>(0)), at<7>(1), at<8>(15), at<9>(0), at<5, 6, 7, 8>(kMax),
   answers(TLUX_ERR_NO_MEMORY, at<6>(-2), at<5, 6>(-2)));
}

TEST_F(Refusals, OfGains) {
  std::iota(m.words[0], m.words[0] + 1024, std::uint16_t{900});
  static const std::vector<std::uint16_t> table(65536, 1500);
  for (const auto line : {TLUX_AME_TonemapExposure_Line8, AME_TonemapExposure_Line})
    GOOD(line, 0, 0, 8, m.words[1], nullptr, m.words[0], table.data(), 0, 0)(nulls, at<2>(0, -8));
  for (auto* const chroma : {static_cast<std::uint8_t*>(nullptr), m.bytes[1]}) {
    GOOD(AME_NV21NV12_LineTone, chroma == nullptr, m.bytes[0], chroma, 8, table.data(),
         TLUX_Degamma_Table, TLUX_Gamma_Table8)
    (nulls, at<3>(0, -4));
  }
  auto& state = m.mapping = {
      m.words[0], TLUX_Degamma_Table, TLUX_Gamma_Table8, m.words[1], table.data(), 1, 1};
  m.mapped = {0, 8, &m.source, &state};
  GOOD(SingleThreadMapping, &m.mapped)
  (nulls, planesOf(m.source), set(m.mapped.firstRow, -8), set(m.mapped.frame, nullptr),
   set(m.mapped.state, nullptr), set(state.gains, nullptr), set(state.degamma, nullptr),
   set(state.gamma, nullptr), set(state.mapping, nullptr), set(state.gainWidth, 0, -1),
   set(state.gainHeight, 0, -1), answers(TLUX_ERR_NO_MEMORY, set(state.lineBuffer, nullptr)),
   answers(kNone, set(m.mapped.endRow, 0), set(m.mapped.firstRow, 9)));
  AME_GenerateFillLighrGainLUT(nullptr, 50, 1024);
  EXPECT_EQ(TLUX_TonemapGainLUT(nullptr, nullptr, 50), TLUX_ERR_INVALID_PARAM);
}

TEST_F(Refusals, OfSelection) {
  const auto [in, out] = std::tuple(m.bytes[0], m.bytes[1]);
  static const std::uint64_t histogram[4096] = {};
  GOOD(AME_CalExposureByMaxvalue, histogram, m.doubles, 20, 20)(nulls);
  m.doubles[3] = m.doubles[4] = 9;
  GOOD(AME_CalMinMaxExposure, m.doubles, 2, m.doubles + 3, m.doubles + 4)(nulls);
  GOOD(AME_SelectExposure, m.doubles, out, 8, 2, m.doubles + 20, -1, 0, 1)(nulls);
  const auto none = answers(kNone, at<3>(0, -1, -kMax), at<4>(0, -1));
  GOOD(AME_SmoothSelect, nullptr, in, out, 8, 6)(nulls, none);
  GOOD(AME_SmoothMidSelect, nullptr, in, out, 8, 6)(nulls, none);
  GOOD(AME_ReduceBlock, in, out, 8, 6, 0)(nulls, at<2>(0, -8), at<3>(0, -6));
  GOOD(AME_ConvertTo8Bit, out, m.indices, 8, 6, in)(nulls, at<2>(0, -8), at<3>(0, -6));
}

TEST_F(Refusals, OfScores) {
  auto& [a, b, c] = m.shorts;
  static std::int16_t scratch[1024];
  GOOD(AME_LogTable_mageMean, a, b, m.counts[0], 8, 6)(nulls, at<3>(0), at<4>(-1));
  GOOD(AME_Adjust_meanLogLum, a, 3, 8, 6)(nulls, at<2>(0), at<3>(-1));
  GOOD(AME_Generate_Score, a, b, m.words[1], c, m.counts[0], 8, 6, 1024)(nulls, at<5>(0));
  GOOD(AME_Downscale2x2_lines, a, b, 4, c, m.counts[1])(nulls);
  GOOD(AME_Downscale2x2, a, 8, 6, b, 4, 3, m.doubles)(at<0>(nullptr), at<3>(nullptr), at<4>(3));
  GOOD(AME_PyramidFilter, nullptr, nullptr, a, 8, 6, b, 8, 6, scratch, 1024)
  (nulls, at<4>(5), at<9>(-1, 0, 8));
  GOOD(AME_GenerateRetinexLogGain, nullptr, nullptr, a, 8, 6, m.words[0])
  (nulls, answers(kNone, at<3>(0), at<4>(0)),
   answers(TLUX_ERR_NO_MEMORY, at<3>(-3), at<4>(-3), at<3, 4>(-3, kMax)));
}

} // namespace
} // namespace tlux::test
