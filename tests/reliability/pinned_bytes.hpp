#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tlux::test {

// Checks that a function still writes the bytes it always wrote, the same with every compiler,
// optimisation level and processor.
void expectPinned(const std::string& name, std::span<const std::uint8_t> bytes);

} // namespace tlux::test
