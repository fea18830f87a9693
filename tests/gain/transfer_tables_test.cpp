#include <gtest/gtest.h>

#include <cmath>

#include "tlux/transfer.h"

namespace tlux::test {
namespace {

TEST(TransferTables, EveryEntryIsTheRoundedCurve) {
  for (int i = 0; i < 256; ++i) {
    const double c = i / 255.0;
    const double linear = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    EXPECT_EQ(TLUX_Degamma_Table[i], std::lround(4095 * linear)) << i;
  }
  for (int i = 0; i < 4096; ++i) {
    const double c = i / 4095.0;
    const double code = c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
    EXPECT_EQ(TLUX_Gamma_Table8[i], std::lround(255 * code)) << i;
  }
}

} // namespace
} // namespace tlux::test
