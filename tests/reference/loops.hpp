#pragma once

#include <type_traits>
#include <vector>

namespace tlux::reference {

// Calls visit(x, y) for columns [x0, x1) of rows [y0, y1), row by row.
template <class Visit>
void forEachIn(int x0, int y0, int x1, int y1, Visit&& visit) {
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x)
      visit(x, y);
  }
}

template <class Visit>
void forEachPixel(int width, int height, Visit&& visit) {
  forEachIn(0, 0, width, height, visit);
}

// The packed plane of valueAt(x, y).
template <class ValueAt>
auto mapPixels(int width, int height, ValueAt&& valueAt) {
  std::vector<std::decay_t<decltype(valueAt(0, 0))>> plane;
  forEachPixel(width, height, [&](int x, int y) { plane.push_back(valueAt(x, y)); });
  return plane;
}

} // namespace tlux::reference
