#include "properties/properties.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/effort.hpp"
#include "support/random.hpp"

namespace tlux::properties {
namespace {

struct Property {
  const char* name; // that of the folder of seeds too
  void (*check)(Input& input);
  int inputs; // where time allows
};

constexpr Property kProperties[] = {
    {"pool", checkPool, 300},      {"image", checkImage, 6000},
    {"plane", checkPlane, 2000},   {"resample", checkResample, 2000},
    {"resize", checkResize, 4000}, {"run", checkRun, 150},
    {"stream", checkStream, 150},  {"tone", checkTone, 4000},
    {"filter", checkFilter, 2000}, {"histogram", checkHistogram, 2000},
    {"mask", checkMask, 8000},
};

class Properties : public testing::TestWithParam<Property> {
 protected:
  static void check(std::span<const std::uint8_t> bytes) {
    Input input(bytes);
    try {
      GetParam().check(input);
    } catch (const std::logic_error& error) {
      FAIL() << "not as it should be: " << error.what();
    }
  }
};

INSTANTIATE_TEST_SUITE_P(All, Properties, testing::ValuesIn(kProperties),
                         [](const auto& property) { return property.param.name; });

TEST_P(Properties, HoldForRandomInputs) {
  test::Random random(1);
  for (int i = 0; i < GetParam().inputs / (test::kIsFast ? 1 : 8); ++i) {
    SCOPED_TRACE(testing::Message() << "input " << i);
    const auto size = static_cast<std::size_t>(random.intBetween(1, i % 8 == 0 ? 4000 : 300));
    check(random.values<std::uint8_t>(size));
    if (HasFatalFailure()) return;
  }
}

// The inputs with the best coverage found by the fuzzers.
TEST_P(Properties, HoldForTheSeedsOfTheFuzzers) {
  int seeds = 0;
  const auto folder = std::filesystem::path(TLUX_FUZZ_SEEDS) / GetParam().name;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    check({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    ++seeds;
  }
  EXPECT_GT(seeds, 0);
}

} // namespace
} // namespace tlux::properties
