#include "tone/map_reference.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <vector>

#include "reference/loops.hpp"
#include "reference/map.hpp"
#include "support/simple_image.hpp"
#include "support/widths.hpp"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

using namespace detail;

// Every code under every gain: one row per code, one column per gain.
TEST(MapReference, IsExactForEveryCodeAndGain) {
  constexpr int kGains = 65536;
  std::vector<std::uint16_t> gains(kGains);
  std::iota(gains.begin(), gains.end(), 0);
  const ToneTables tables{{TLUX_Degamma_Table, TLUX_Gamma_Table8}, gains.data()};
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

TEST(MapReference, WalksRowsByTheirPitchAndScoresPacked) {
  constexpr int kHeight = 3;
  Random random(1);
  const auto gains = random.values<std::uint16_t>(65536, 0, 4096);
  for (const int width : widthsAround({1, 256})) {
    if (width < 1) continue;
    TestImage reference(random, width, kHeight, 1, 8, 3);
    TestImage mapped(width, kHeight, 1, 8, 9);
    const auto scores = random.values<std::uint16_t>(static_cast<std::size_t>(width * kHeight));
    mapReference({reference->data, width, kHeight, reference->stride}, scores.data(),
                 {{TLUX_Degamma_Table, TLUX_Gamma_Table8}, gains.data()},
                 {mapped->data, width, kHeight, mapped->stride});
    EXPECT_TRUE(mapped.isIntact());
    reference::forEachPixel(width, kHeight, [&](int x, int y) {
      ASSERT_EQ(mapped.at(x, y),
                reference::mapLuma(reference.at(x, y), gains[scores[y * width + x]]))
          << x << ", " << y << " of " << width;
    });
  }
}

} // namespace
} // namespace tlux::test
