#pragma once

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace tlux::test {

// Kernels process a row in pieces of a fixed number of columns, and bugs hide at the ends of
// pieces. Widths within two columns of one, two and three of each of these pieces, ascending.
inline std::vector<int> widthsAround(std::initializer_list<int> pieces) {
  std::vector<int> widths;
  for (const int piece : pieces) {
    for (int count = 1; count <= 3; ++count) {
      for (int offset = -2; offset <= 2; ++offset)
        widths.push_back(count * piece + offset);
    }
  }
  std::sort(widths.begin(), widths.end());
  widths.erase(std::unique(widths.begin(), widths.end()), widths.end());
  return widths;
}

// Around the pieces of all kernels.
inline const std::vector<int>& pieceWidths() {
  static const std::vector<int> kWidths = widthsAround({128, 240, 256, 512, 1024, 4096});
  return kWidths;
}

} // namespace tlux::test
