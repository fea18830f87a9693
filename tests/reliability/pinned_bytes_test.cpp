#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "reliability/entry_points.hpp"
#include "reliability/pinned_bytes.hpp"
#include "reliability/plane_members.hpp"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// FNV-1a.
std::uint64_t hashOf(std::span<const std::uint8_t> bytes) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const std::uint8_t byte : bytes)
    hash = (hash ^ byte) * 0x100000001B3;
  return hash;
}

void expectPinned(const EntryPoint& entry) {
  // As words, since some outputs are.
  std::vector<std::uint64_t> words(entry.outputBytes / 8 + 1);
  auto* const output = reinterpret_cast<std::uint8_t*>(words.data());
  std::copy_n(beforePixels().begin(), entry.outputBytes, output);
  EXPECT_EQ(entry.call(nullptr, output), TLUX_OK);
  test::expectPinned(entry.name, {output, entry.outputBytes});
}

void expectPinned(const PlaneMember& member) {
  const Size size{161, 29};
  const Size inputSize = member.inputSize(size);
  const int pitch = inputSize.width * member.inputBytes;
  Bytes input;
  for (int i = 0; i < pitch * inputSize.height; ++i)
    input.push_back(beforePixels()[static_cast<std::size_t>(i) * 7 % beforePixels().size()]);
  std::vector<std::uint64_t> words(static_cast<std::size_t>(size.width * size.height));
  auto* const output = reinterpret_cast<std::uint8_t*>(words.data());
  const int outputPitch = size.width * member.outputBytes;
  EXPECT_EQ(member.apply({input.data(), pitch, inputSize, output, outputPitch, size}), TLUX_OK);
  test::expectPinned(std::string("plane of ") + member.name,
                     {output, static_cast<std::size_t>(outputPitch * size.height)});
}

const std::map<std::string, std::uint64_t> kPinned = {
    {"AME_GenerateRetinexLogGain", 0x6EE5B99B99BF47B9},
    {"AME_PyramidFilter", 0x886E64F40EDA9610},
    {"AME_SmoothMidSelect", 0x47F75668826E9C20},
    {"AME_SmoothSelect", 0x47F75668826E9C20},
    {"AdaptiveHistogramEqualization", 0xAB93F545A7CFB265},
    {"BaseDetail", 0x8D9379E39EC826C5},
    {"BilateralFilter1D", 0xFF59629A4AE5EC03},
    {"BlockMeanVar", 0xE7C7C8E89CE664CC},
    {"BlockMeanVarIntMT", 0x30899150D4D82325},
    {"BlockMeanVarIntMTBorder", 0xEEF3C93D6DE7DED1},
    {"ColorMap", 0xF3956E0324457BC8},
    {"DstFilterChannel", 0x0FEC382F4E72D8C6},
    {"FastGuideFilterMT", 0xD8B61347EA34383D},
    {"FastGuideFilterSingleThread", 0xD6561EFC93124DD1},
    {"FastGuidedFilter", 0x38B8327BD37EDCF9},
    {"GenerateTonemapping", 0xEB2DC07F642F658A},
    {"GuideBlock", 0xE79D99180DF77A2D},
    {"GuideBlockIntMT", 0xFBDC636D6EB9D0AB},
    {"GuideFilterNV21", 0x8C827297DB05AFEF},
    {"GuidedFilter1D_3C", 0x46B9357DA5711E9F},
    {"GuidedFilter3D", 0x9F5599CE1F1AADF4},
    {"ImgEnhancement", 0xA6FBBDF0404E1083},
    {"LeeFilterEnhancement", 0x361485D3A46BE223},
    {"MultiThreadGuideTone", 0xEBB6F72C8E320EA5},
    {"NV21NV12_ToneMT", 0x81999FF93458E37D},
    {"ResFilter", 0xB3192C7C2FC9D8F0},
    {"SingleThreadGuideTone", 0xB4715A71BE6047F5},
    {"TLUX_BoxBlur_Byte", 0x630802ECE1E1ED2C},
    {"TLUX_BoxBlur_Int16", 0x37045F8F4EAC8FBE},
    {"TLUX_BoxBlur_Int32", 0x2296F8DD2E206AD2},
    {"TLUX_BoxBlur_Int8", 0xDA62B727C1A88C5A},
    {"TLUX_CalculateVairance", 0xCF1085E8B22679DA},
    {"TLUX_CloneImageROI_IMK", 0xDCDE7CB9E025435A},
    {"TLUX_CloneImage_IMK", 0xA4285E78F8F1520A},
    {"TLUX_GenerateTonemappingBayer", 0xF0CF3D35C9B18735},
    {"TLUX_GetMatchTable", 0xC59D81921DBD50F1},
    {"TLUX_GuidedFilter1D", 0x47F75127DD461893},
    {"TLUX_GuidedFilter1DS", 0xA71A4FB1BDA4B9F7},
    {"TLUX_InsertImageToLinkROI_IMK", 0x9E57E8D4E0F8ABA6},
    {"TLUX_InsertImageToLink_IMK", 0x9E57E8D4E0F8ABA6},
    {"TLUX_OpenStream", 0xF8932B887429051B},
    {"TLUX_RunDynamicRangeOptimizationImage", 0x19FD677EDD032BD1},
    {"TLUX_TRegionLabel_FillHoles", 0x8D06623B77840BC3},
    {"TLUX_TRegionLabel_RemoveSmall", 0x0C3AC95115AFD5A9},
    {"TLUX_TonemapGainLUT", 0xEB0A3BAD2DAE1E77},
    {"TLUX_Tonemapping", 0xFB39922A19B506AF},
    {"TRegionLabel_RegionLabel4", 0x302FE559C54B3AD1},
    {"TRegionLabel_RegionLabel8", 0x29701AD1CD2D421D},
    {"cloneimg", 0xAD9310BAE3BDEEFD},
    {"each_guided", 0xD00D0FEFF43762E5},
    {"guided_box_alpha", 0x4D2268B2F260AA9E},
    {"guided_box_alpha_half", 0x182D62B1EDC2406B},
    {"guided_filter_1d", 0xC12B5B59F6A81C57},
    {"guided_filter_1dI", 0xC12B5B59F6A81C57},
    {"guided_filter_3d", 0xD00D0FEFF43762E5},
    {"guided_filter_bin_blocks3d", 0xD00D0FEFF43762E5},
    {"plane of AME_SmoothSelect", 0xCBA0EF9092B40399},
    {"plane of BilateralFilter1D", 0xCFF3F420338027A0},
    {"plane of DstFilterChannel", 0xD0D0C8BE2CBFF65A},
    {"plane of GaussSmoothI444", 0x9B886FB9EDB44F36},
    {"plane of ImageResize_Cubic_C1", 0x75DB531889B3D3BF},
    {"plane of TLUX_AdjustImageByTable", 0x08E0F764F1C52EC9},
    {"plane of TLUX_DilateEx", 0xFFE453BD8853E3B2},
    {"plane of TLUX_ErodeEx", 0xADB4E094C89EA044},
    {"plane of TLUX_TRegionLabel_Boundary", 0x96FEB4267B428C54},
    {"plane of ToneNV21Line", 0xC992AC35CA355D34},
    {"plane of UpcaleCropGray", 0x22C71F7259AD4B0B},
    {"plane of asfImageResize_BL_C1", 0x38240E09ED513685},
    {"plane of img_lab", 0x1BABC36CE1EDF987},
    {"plane of to_gray", 0x1D60A71A07821C10},
    {"plane of to_maxgray", 0x7E4EE82894E35CA4},
    {"resize_C1", 0xEEE0F3A7DB299EC8},
};

TEST(PinnedBytes, OfEveryFunctionOfTheTables) {
  for (const EntryPoint& entry : entryPoints()) {
    if (entry.outputBytes > 0) expectPinned(entry);
  }
  for (const PlaneMember& member : planeMembers())
    expectPinned(member);
}

} // namespace

void expectPinned(const std::string& name, std::span<const std::uint8_t> bytes) {
  const std::uint64_t hash = hashOf(bytes);
  const auto pinned = kPinned.find(name);
  EXPECT_TRUE(pinned != kPinned.end() && pinned->second == hash)
      << "{\"" << name << "\", 0x" << std::hex << std::uppercase << hash << "},";
}

} // namespace tlux::test
