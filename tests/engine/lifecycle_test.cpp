#include <gtest/gtest.h>

#include "support/fault_injection.hpp"
#include "support/pool.hpp"
#include "tlux/engine.h"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

TEST(Engine, StartsEmptyWithItsTables) {
  const long live = liveAllocations();
  TLUX_ENGINE* engine = nullptr;
  ASSERT_EQ(TLUX_Init(nullptr, &engine), TLUX_OK);
  TLUX_ENGINE expected{};
  expected.degammaTable = TLUX_Degamma_Table;
  expected.gammaTable = TLUX_Gamma_Table8;
  EXPECT_EQ(MMemCmp(engine, &expected, sizeof expected), 0);
  EXPECT_EQ(TLUX_Uninit(nullptr, engine), TLUX_OK);
  EXPECT_EQ(liveAllocations(), live);
}

TEST(Engine, ReleasesEverythingItHolds) {
  const Pool pool(16384);
  TLUX_ENGINE* engine = nullptr;
  ASSERT_EQ(TLUX_Init(pool, &engine), TLUX_OK);
  engine->gainLut = static_cast<uint16_t*>(MMemAlloc(pool, 100));
  engine->logGainMap = static_cast<uint16_t*>(MMemAlloc(pool, 100));
  for (TLUX_IMAGE*& image : engine->images) {
    ASSERT_EQ(TLUX_CreateImage_IMK(&image, 8, 8, TLUX_FMT_GRAY, pool), TLUX_OK);
  }
  EXPECT_EQ(TLUX_Uninit(pool, engine), TLUX_OK);
  EXPECT_TRUE(pool.isWhole());
}

TEST(Engine, RefusesWhatItCannotDo) {
  TLUX_ENGINE other{};
  TLUX_ENGINE* engine = &other;
  EXPECT_EQ(TLUX_Init(Pool(64), &engine), TLUX_ERR_NO_MEMORY);
  EXPECT_EQ(engine, &other);
  EXPECT_EQ(TLUX_Init(nullptr, nullptr), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_Uninit(nullptr, nullptr), TLUX_ERR_NO_MEMORY);
}

TEST(Version, TellsNumbersAndText) {
  const TLUX_VERSION* version = TLUX_GetVersion();
  EXPECT_EQ(version->major, 1);
  EXPECT_EQ(version->minor, 0);
  EXPECT_EQ(version->build, 12523);
  EXPECT_EQ(version->revision, 18);
  EXPECT_STREQ(version->version, "Tolvane_LUX_1.0.12523.18");
  EXPECT_STREQ(version->buildDate, "12/28/2015");
  EXPECT_NE(version->notice, nullptr);
}

} // namespace
} // namespace tlux::test
