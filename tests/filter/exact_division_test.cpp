#include "filter/exact_division.hpp"

#include <gtest/gtest.h>

#include "support/random.hpp"

namespace tlux::test {
namespace {

// Next to whole quotients is where a rounded one would go wrong.
TEST(ExactDivision, QuotientsOfFloatsAreThoseOfIntegersForEveryDivisor) {
  Random random(1);
  for (int n = 1; n <= 65035; ++n) {
    const int largest = 65025 * 256 / n;
    for (const int whole : {largest, random.intBetween(1, largest), 1}) {
      for (const int a : {whole * n - 1, whole * n, std::min(whole * n + 1, 65025 * 256)}) {
        ASSERT_EQ(truncatedQuotient(a, n), a / n) << a << " / " << n;
        ASSERT_EQ(truncatedQuotient(-a, n), -a / n) << -a << " / " << n;
      }
    }
  }
}

TEST(ExactDivision, ProductsWithTheReciprocalAreTruncatedQuotients) {
  Random random(2);
  const auto expectQuotients = [&](std::int64_t n) {
    const std::int64_t largest = ((std::int64_t{1} << 51) - n) / n - 1;
    for (const std::int64_t whole : {largest, random.between(1, largest), std::int64_t{1}}) {
      for (const std::int64_t a : {whole * n - 1, whole * n, whole * n + 1}) {
        const double product = static_cast<double>(a) * reciprocalAbove(n);
        ASSERT_EQ(static_cast<std::int64_t>(product), a / n) << a << " / " << n;
        ASSERT_EQ(static_cast<std::int64_t>(-product), -a / n) << -a << " / " << n;
      }
    }
  };
  for (std::int64_t n = 1; n <= 200000; ++n) {
    expectQuotients(n);
  }
  for (int i = 0; i < 200000; ++i) {
    expectQuotients(random.between(1, std::int64_t{1} << 28));
  }
}

} // namespace
} // namespace tlux::test
