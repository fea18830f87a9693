#include <gtest/gtest.h>

#include <vector>

#include "reference/retinex.hpp"
#include "support/fault_injection.hpp"
#include "tlux/retinex.h"

namespace tlux::test {
namespace {

// One engine through many strengths: the table is made once and refilled in place.
TEST(GainTable, HoldsTheGainsOfTheLatestStrength) {
  TLUX_ENGINE* engine = nullptr;
  ASSERT_EQ(TLUX_Init(nullptr, &engine), TLUX_OK);
  const std::uint16_t* first = nullptr;
  for (const std::uint32_t strength : {50u, 0u, 1u, 100u, 4294967295u, 30u}) {
    const long live = liveAllocations();
    ASSERT_EQ(TLUX_TonemapGainLUT(nullptr, engine, strength), TLUX_OK);
    EXPECT_EQ(liveAllocations() - live, first == nullptr ? 1 : 0);
    if (first == nullptr) first = engine->gainLut;
    EXPECT_EQ(engine->gainLut, first);
    EXPECT_EQ(std::vector<std::uint16_t>(first, first + 65536), reference::gainTable(strength));
    EXPECT_EQ(first[32768], first[32769]);
  }
  TLUX_Uninit(nullptr, engine);
  EXPECT_EQ(TLUX_TonemapGainLUT(nullptr, nullptr, 50), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test
