#include <cstdint>

#include "tlux/platform.h"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

void convertTo8Bit(const std::int64_t* source, std::int64_t width, std::int64_t height,
                   const std::uint8_t* table, std::uint8_t* destination) {
  const std::int64_t pitch = width + 2;
  std::uint8_t* row = destination;
  for (std::int64_t y = 0; y < height; ++y) {
    row += pitch;
    for (std::int64_t x = 0; x < width; ++x) {
      row[x + 1] = table[source[y * width + x]];
    }
    row[0] = row[1];
    row[width + 1] = row[width];
  }
  MMemCpy(destination, destination + pitch, static_cast<std::uint64_t>(pitch));
  MMemCpy(row + pitch, row, static_cast<std::uint64_t>(pitch));
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

int32_t AME_ConvertTo8Bit(uint8_t* destination, const int64_t* source, int64_t width,
                          int64_t height, const uint8_t* table) noexcept {
  if (destination == nullptr || source == nullptr || table == nullptr) return 0;
  if (width < 1 || height < 1) return 0;
  convertTo8Bit(source, width, height, table, destination);
  return 0;
}
