#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tlux/base.h"

namespace tlux::test {

// Calls call(arguments...) once for each pointer among the arguments, with null instead of it. An
// argument given as nullptr is optional and not counted.
template <class Call, class... Arguments>
void callWithEachNull(Call call, Arguments... arguments) {
  const auto callWithout =
      [&]<std::size_t kMissing>(std::integral_constant<std::size_t, kMissing>) {
        std::tuple given(arguments...);
        if constexpr (std::is_pointer_v<std::tuple_element_t<kMissing, decltype(given)>>) {
          SCOPED_TRACE(testing::Message() << "without argument " << kMissing);
          std::get<kMissing>(given) = nullptr;
          std::apply(call, given);
        }
      };
  [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    (callWithout(std::integral_constant<std::size_t, kIndex>()), ...);
  }
  (std::index_sequence_for<Arguments...>());
}

// The same for a function that must return `result` each time.
template <class Function, class... Arguments>
void expectEachNullAnswers(std::uint32_t result, Function* function, Arguments... arguments) {
  callWithEachNull([&](auto... given) { EXPECT_EQ(function(given...), result); }, arguments...);
}
template <class Function, class... Arguments>
void expectRefusesEachNull(Function* function, Arguments... arguments) {
  expectEachNullAnswers(TLUX_ERR_INVALID_PARAM, function, arguments...);
}

} // namespace tlux::test
