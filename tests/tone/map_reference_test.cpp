#include "tone/map_reference.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <vector>

#include "reference/map.hpp"
#include "support/simple_image.hpp"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

// Every code under every gain: one row per code, one column per gain.
TEST(MapReference, IsExactForEveryCodeAndGain) {
  constexpr int kGains = 65536;
  std::vector<std::uint16_t> gains(kGains);
  std::iota(gains.begin(), gains.end(), 0);
  const ToneTables tables{TLUX_Degamma_Table, TLUX_Gamma_Table8, gains.data()};
  std::vector<std::uint8_t> mapped(kGains);
  for (int code = 0; code < 256; ++code) {
    const std::vector<std::uint8_t> row(kGains, static_cast<std::uint8_t>(code));
    mapReference(packedPlane(row.data(), kGains, 1), gains.data(), tables,
                 packedPlane(mapped.data(), kGains, 1));
    for (int gain = 0; gain < kGains; ++gain) {
      ASSERT_EQ(mapped[static_cast<std::size_t>(gain)], reference::mapLuma(code, gain))
          << code << " under " << gain;
    }
  }
}

// Unity gain changes nothing.
TEST(MapReference, WalksRowsByTheirPitchAndScoresPacked) {
  constexpr int kWidth = 261;
  constexpr int kHeight = 3;
  Random random(1);
  TestImage reference(random, kWidth, kHeight, 1, 8, 3);
  TestImage mapped(kWidth, kHeight, 1, 8, 9);
  std::vector<std::uint16_t> scores(std::size_t{kWidth} * kHeight, 40000);
  std::vector<std::uint16_t> gains(65536, 2048);
  gains[40000] = 1024;
  mapReference({reference->data, kWidth, kHeight, reference->stride}, scores.data(),
               {TLUX_Degamma_Table, TLUX_Gamma_Table8, gains.data()},
               {mapped->data, kWidth, kHeight, mapped->stride});
  EXPECT_TRUE(mapped.isIntact());
  EXPECT_EQ(mapped.pixels(), reference.given());
}

} // namespace
} // namespace tlux::test
