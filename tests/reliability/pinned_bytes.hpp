#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tlux::test {

// Whether a function still writes the bytes that it always wrote: the same from every compiler,
// optimisation and processor.
void expectPinned(const std::string& name, std::span<const std::uint8_t> bytes);

} // namespace tlux::test
