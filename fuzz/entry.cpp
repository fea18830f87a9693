#include "properties/properties.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlux::properties::Input input({data, size});
  tlux::properties::TLUX_CHECK(input);
  return 0;
}
