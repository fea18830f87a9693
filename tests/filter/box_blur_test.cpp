#include "tlux/box_blur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "reference/box_blur.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"

namespace tlux::test {
namespace {

template <auto Blur, class SampleType>
struct Member {
  using Sample = SampleType;
  static std::uint32_t blur(MMemMgr manager, Sample* plane, int width, int height, int pitch,
                            int radius, int path = 0) {
    return Blur(manager, plane, width, height, pitch, radius, path);
  }
  static constexpr std::int64_t kMin = std::numeric_limits<Sample>::min();
  static constexpr std::int64_t kMax = std::numeric_limits<Sample>::max();
};

template <class T>
class BoxBlur : public testing::Test {};

using Members =
    testing::Types<Member<TLUX_BoxBlur_Byte, std::uint8_t>, Member<TLUX_BoxBlur_Int8, std::int8_t>,
                   Member<TLUX_BoxBlur_Int16, std::int16_t>,
                   Member<TLUX_BoxBlur_Int32, std::int32_t>>;
TYPED_TEST_SUITE(BoxBlur, Members);

// Blurs a plane that ends at the last sample of its last row, with the rest of each pitch holding
// values that must stay, and compares all of it with the formula.
template <class M>
void expectFormula(int width, int height, int pitch, int radius, std::int64_t low,
                   std::int64_t high) {
  using Sample = typename M::Sample;
  SCOPED_TRACE(testing::Message() << width << "x" << height << " pitch " << pitch << " radius "
                                  << radius << " range " << low << ".." << high);
  Random random(static_cast<std::uint32_t>(width * 1000 + height * 10 + radius));
  auto expected = random.values<Sample>((height - 1) * pitch + width, low, high);
  GuardedBuffer buffer(expected.size() * sizeof(Sample));
  auto* plane = reinterpret_cast<Sample*>(buffer.data());
  std::copy(expected.begin(), expected.end(), plane);

  ASSERT_EQ(M::blur(nullptr, plane, width, height, pitch, radius), TLUX_OK);
  reference::boxBlur(expected, width, height, pitch, radius);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), plane));
  EXPECT_TRUE(buffer.isIntact());
}

// All but one of the window sums, means and clamps are at an end of their range here: the largest
// radii of each sum width, the first one whose reciprocal is 0, and planes of extremes.
TYPED_TEST(BoxBlur, EqualsTheFormulaAtTheLimits) {
  constexpr auto kMin = TypeParam::kMin;
  constexpr auto kMax = TypeParam::kMax;
  for (const int radius : {1, 7, 8, 9, 126, 127, 128, 180, 181, 1 << 15, 1 << 30}) {
    for (const auto& [low, high] : {std::pair{kMin, kMin}, {kMax, kMax}, {kMin, kMin + 1}}) {
      expectFormula<TypeParam>(9, 3, 11, radius, low, high);
    }
    expectFormula<TypeParam>(3, 9, 3, radius, kMin, kMax);
  }
}

// Every radius up to the first without a reciprocal, on uniform planes, where the mean is a
// product.
TYPED_TEST(BoxBlur, KeepsUniformPlanesUniformUpToTheRoundingOfTheReciprocal) {
  using Sample = typename TypeParam::Sample;
  for (int radius = 0; radius <= 182; ++radius) {
    const std::int64_t area = std::int64_t{2 * radius + 1} * (2 * radius + 1);
    const std::int64_t k = (area + 0x20000) / (2 * area);
    for (const std::int64_t value :
         {std::max(TypeParam::kMin, -128l), 1l, 100l, std::min(TypeParam::kMax, 255l)}) {
      std::vector<Sample> plane(12, static_cast<Sample>(value));
      ASSERT_EQ(TypeParam::blur(nullptr, plane.data(), 4, 3, 4, radius), TLUX_OK);
      const std::int64_t mean =
          std::clamp((value * area * k + 32768) >> 16, TypeParam::kMin, TypeParam::kMax);
      EXPECT_EQ(plane, std::vector<Sample>(12, static_cast<Sample>(mean))) << radius;
    }
  }
}

} // namespace
} // namespace tlux::test
