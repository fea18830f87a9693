#include "input.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlux::fuzz::Input input(data, size);
  tlux::fuzz::check(input);
  return 0;
}
