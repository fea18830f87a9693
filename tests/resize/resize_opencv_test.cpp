#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/random.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

// Where the conventions agree, an independent library gives the same within one level.
TEST(ResizePeer, AgreesWithOpenCvWithinOneLevel) {
  Random random(1);
  cv::setNumThreads(1);
  std::vector<std::uint8_t> samples(200 * 150);
  random.fill(std::span(samples));
  const cv::Mat source(150, 200, CV_8UC1, samples.data());
  for (const cv::Size size : {cv::Size(133, 100), cv::Size(400, 300), cv::Size(201, 149),
                              cv::Size(77, 301), cv::Size(50, 50), cv::Size(1, 1)}) {
    cv::Mat ours(size, CV_8UC1);
    cv::Mat peer;
    const auto differ = [&](int interpolation) {
      cv::resize(source, peer, size, 0, 0, interpolation);
      return cv::norm(ours, peer, cv::NORM_INF);
    };
    asfImageResize_BL_C1(samples.data(), 200, 150, 200, ours.data, size.width, size.height,
                         size.width);
    EXPECT_LE(differ(cv::INTER_LINEAR), 1) << size;
    ImageResize_Cubic_C1(samples.data(), 200, 150, 200, ours.data, size.width, size.height,
                         size.width);
    EXPECT_LE(differ(cv::INTER_CUBIC), 1) << size;
  }
}

} // namespace
} // namespace tlux::test
