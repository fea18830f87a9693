#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "reliability/entry_points.hpp"
#include "reliability/plane_members.hpp"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// FNV-1a.
std::uint64_t hashOf(const Bytes& bytes) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const std::uint8_t byte : bytes)
    hash = (hash ^ byte) * 0x100000001B3;
  return hash;
}

std::uint64_t hashOf(const EntryPoint& entry) {
  // As words, since some outputs are.
  std::vector<std::uint64_t> words(entry.outputBytes / 8 + 1);
  auto* const output = reinterpret_cast<std::uint8_t*>(words.data());
  std::copy_n(beforePixels().begin(), entry.outputBytes, output);
  EXPECT_EQ(entry.call(nullptr, output), TLUX_OK);
  return hashOf({output, output + entry.outputBytes});
}

std::uint64_t hashOf(const PlaneMember& member) {
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
  return hashOf({output, output + outputPitch * size.height});
}

// The same bytes from every compiler, optimisation and processor.
const std::map<std::string, std::uint64_t> kPinned = {
    {"AME_GenerateRetinexLogGain", 0xF0CF3D35C9B18735},
    {"AME_PyramidFilter", 0x8252657720CDFD22},
    {"AME_SmoothMidSelect", 0xFC97615BADA3982E},
    {"AME_SmoothSelect", 0xFC97615BADA3982E},
    {"AdaptiveHistogramEqualization", 0x00D5B2BA86178A9A},
    {"BaseDetail", 0xC3887D735CAD0F6C},
    {"BilateralFilter1D", 0x3740434D2B4E7E4C},
    {"BlockMeanVar", 0xB69159767C11EF93},
    {"BlockMeanVarIntMT", 0xC1D5E28DC330646E},
    {"BlockMeanVarIntMTBorder", 0x1E504FACD633E665},
    {"ColorMap", 0xF3956E0324457BC8},
    {"DstFilterChannel", 0x366696935D62F14C},
    {"FastGuideFilterMT", 0x689FBD44382A9042},
    {"FastGuideFilterSingleThread", 0xD6561EFC93124DD1},
    {"FastGuidedFilter", 0xBCAF77CD17383BC0},
    {"GenerateTonemapping", 0xEB2DC07F642F658A},
    {"GuideBlock", 0xF00C890D411E4D25},
    {"GuideBlockIntMT", 0x5592635C68471FDA},
    {"GuideFilterNV21", 0x01CF882925D44E60},
    {"GuidedFilter1D_3C", 0x1823CD5A80986D2F},
    {"GuidedFilter3D", 0xBEC725977D337191},
    {"ImgEnhancement", 0xC799D68B4DEF9CE1},
    {"LeeFilterEnhancement", 0x134AEBDB68697BB8},
    {"MultiThreadGuideTone", 0x6D9D3AA4AEE7064B},
    {"NV21NV12_ToneMT", 0x81999FF93458E37D},
    {"ResFilter", 0x18F5F4BAC15B8858},
    {"SingleThreadGuideTone", 0xB4715A71BE6047F5},
    {"TLUX_BoxBlur_Byte", 0x8C10294FF38F7C5E},
    {"TLUX_BoxBlur_Int16", 0x74D392FE1012A941},
    {"TLUX_BoxBlur_Int32", 0x4089E4CDD0498245},
    {"TLUX_BoxBlur_Int8", 0x0768A70009C1BD28},
    {"TLUX_CalculateVairance", 0x154E4CE56DD52F33},
    {"TLUX_CloneImageROI_IMK", 0xDCDE7CB9E025435A},
    {"TLUX_CloneImage_IMK", 0xA4285E78F8F1520A},
    {"TLUX_GenerateTonemappingBayer", 0xF0CF3D35C9B18735},
    {"TLUX_GetMatchTable", 0xEA8D791E0FDA6E51},
    {"TLUX_GuidedFilter1D", 0xCEEB9870B84F4019},
    {"TLUX_GuidedFilter1DS", 0x9651E7056B81D8EC},
    {"TLUX_InsertImageToLinkROI_IMK", 0x9E57E8D4E0F8ABA6},
    {"TLUX_InsertImageToLink_IMK", 0x9E57E8D4E0F8ABA6},
    {"TLUX_RunDynamicRangeOptimizationImage", 0x19FD677EDD032BD1},
    {"TLUX_OpenStream", 0xF8932B887429051B},
    {"TLUX_TRegionLabel_FillHoles", 0x6E78AC877B854451},
    {"TLUX_TRegionLabel_RemoveSmall", 0xA4DCF71D9092E6CF},
    {"TLUX_TonemapGainLUT", 0xEB0A3BAD2DAE1E77},
    {"TLUX_Tonemapping", 0xFB39922A19B506AF},
    {"TRegionLabel_RegionLabel4", 0xA6A2D061782C411E},
    {"TRegionLabel_RegionLabel8", 0x066D6DDA5A098855},
    {"cloneimg", 0xAD9310BAE3BDEEFD},
    {"each_guided", 0x240EC60064B756C0},
    {"guided_box_alpha", 0xF56209154ECEC8A6},
    {"guided_box_alpha_half", 0xDDBB43F36B2E469A},
    {"guided_filter_1d", 0x366696935D62F14C},
    {"guided_filter_1dI", 0x366696935D62F14C},
    {"guided_filter_3d", 0x240EC60064B756C0},
    {"guided_filter_bin_blocks3d", 0x240EC60064B756C0},
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
};

TEST(PinnedBytes, OfEveryFunctionOfTheTables) {
  std::map<std::string, std::uint64_t> hashes;
  for (const EntryPoint& entry : entryPoints()) {
    if (entry.outputBytes > 0) hashes[entry.name] = hashOf(entry);
  }
  for (const PlaneMember& member : planeMembers())
    hashes[std::string("plane of ") + member.name] = hashOf(member);
  for (const auto& [name, hash] : hashes) {
    const auto pinned = kPinned.find(name);
    EXPECT_TRUE(pinned != kPinned.end() && pinned->second == hash)
        << "{\"" << name << "\", 0x" << std::hex << std::uppercase << hash << "},";
  }
  EXPECT_EQ(hashes.size(), kPinned.size());
}

} // namespace
} // namespace tlux::test
