#include <gtest/gtest.h>

#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "region/region_masks.hpp"
#include "tlux/region.h"

namespace tlux::test {
namespace {

// Whether two label planes are the same up to the numbers.
bool isSamePartition(const cv::Mat& a, const std::vector<std::uint32_t>& b, std::uint32_t count) {
  std::vector<std::int64_t> bOf(count + 1, -1);
  std::vector<std::int64_t> aOf(count + 1, -1);
  bOf[0] = aOf[0] = 0;
  for (std::size_t i = 0; i < b.size(); ++i) {
    const auto labelA = static_cast<std::uint32_t>(a.ptr<std::int32_t>()[i]);
    if (labelA > count || b[i] > count) return false;
    if (bOf[labelA] < 0) bOf[labelA] = b[i];
    if (aOf[b[i]] < 0) aOf[b[i]] = labelA;
    if (bOf[labelA] != b[i] || aOf[b[i]] != labelA) return false;
  }
  return true;
}

TEST(RegionLabel, PartitionsLikeOpenCv) {
  cv::setNumThreads(1);
  Random random(31);
  std::vector<MaskGrid> masks = shapedMasks(401, 203);
  for (const int density : {5, 300, 407, 500, 593, 800, 995}) {
    masks.push_back(randomMask(random, 640, 360, density));
    masks.push_back(randomMask(random, 321, 243, density));
  }
  for (MaskGrid& mask : masks) {
    const cv::Mat in(mask.height, mask.width, CV_8U, mask.values.data());
    for (const int connectivity : {4, 8}) {
      cv::Mat expected;
      const int count = cv::connectedComponents(in, expected, connectivity) - 1;
      std::vector<std::uint32_t> labels(mask.values.size());
      std::uint32_t actualCount = 0;
      const auto label = connectivity == 4 ? TRegionLabel_RegionLabel4 : TRegionLabel_RegionLabel8;
      ASSERT_EQ(
          label(nullptr, mask.values.data(), mask.width, static_cast<std::uint32_t>(mask.width),
                static_cast<std::uint32_t>(mask.height), labels.data(), 4 * mask.width,
                &actualCount),
          TLUX_OK);
      ASSERT_EQ(actualCount, static_cast<std::uint32_t>(count));
      ASSERT_TRUE(isSamePartition(expected, labels, actualCount));
    }
  }
}

} // namespace
} // namespace tlux::test
