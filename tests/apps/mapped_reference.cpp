// Writes the mapped luma of the reference frame of one raw frame, by the plain formulas.
// usage: mapped_reference WIDTH HEIGHT STRENGTH INPUT OUTPUT

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "reference/run.hpp"

int main(int argc, char** argv) {
  if (argc != 6) return 1;
  const int width = std::atoi(argv[1]);
  const int height = std::atoi(argv[2]);
  std::ifstream file(argv[4], std::ios::binary);
  std::vector<std::uint8_t> frame((std::istreambuf_iterator<char>(file)), {});
  TLUX_IMAGE source = {};
  source.plane[0] = frame.data();
  source.pitch[0] = width;
  const int smallWidth = width / 16 * 2;
  const int smallHeight = height / 16 * 2;
  const auto mapped = tlux::reference::mappedLuma(
      tlux::reference::reducedLuma(source, smallWidth, smallHeight), smallWidth, smallHeight,
      static_cast<std::uint32_t>(std::atoi(argv[3])));
  std::ofstream written(argv[5], std::ios::binary);
  for (const std::uint8_t sample : mapped) {
    written.put(static_cast<char>(sample));
  }
  return written.flush() ? 0 : 1;
}
