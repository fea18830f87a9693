#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tlux::app {

// Converts rows of 8-bit samples between limited range (luma 16 to 235, chroma 128 ± 112) and full
// range (0 to 255, 128 ± 127.5), rounded to nearest. Values outside the limited range are clamped.
// Sums and products fit 16 bits, so loops use 16-bit lanes.

struct Unchanged {
  static uint8_t luma(uint8_t value) { return value; }
  static uint8_t chroma(uint8_t value) { return value; }
};

struct ToFullRange {
  static uint8_t luma(uint8_t value) {
    const auto clamped = std::clamp<uint16_t>(value, 16, 235);
    return static_cast<uint8_t>(static_cast<uint16_t>((clamped - 16) * 255 + 109) / uint16_t{219});
  }
  static uint8_t chroma(uint8_t value) {
    // (value - 128) · 255 / 224 + 128, with every term over 224.
    const auto clamped = std::clamp<uint16_t>(value, 16, 240);
    const auto scaled =
        static_cast<uint16_t>(static_cast<uint16_t>(clamped * 255 - 3856) / uint16_t{224});
    return static_cast<uint8_t>(std::min<uint16_t>(scaled, 255));
  }
};

struct ToLimitedRange {
  static uint8_t luma(uint8_t value) {
    return static_cast<uint8_t>(16 + static_cast<uint16_t>(value * 219 + 127) / uint16_t{255});
  }
  static uint8_t chroma(uint8_t value) {
    // (value - 128) · 224 / 255 + 128, with every term over 255.
    return static_cast<uint8_t>(static_cast<uint16_t>(value * 224 + 4095) / uint16_t{255});
  }
};

template <typename Range>
void convertLuma(const uint8_t* __restrict from, uint8_t* __restrict to, ptrdiff_t count) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    to[i] = Range::luma(from[i]);
  }
}

template <typename Range>
void convertChroma(const uint8_t* __restrict from, uint8_t* __restrict to, ptrdiff_t pairs) {
  for (ptrdiff_t i = 0; i < 2 * pairs; ++i) {
    to[i] = Range::chroma(from[i]);
  }
}

template <typename Range>
void exchangeChroma(const uint8_t* __restrict from, uint8_t* __restrict to, ptrdiff_t pairs) {
  for (ptrdiff_t i = 0; i < pairs; ++i) {
    to[2 * i] = Range::chroma(from[2 * i + 1]);
    to[2 * i + 1] = Range::chroma(from[2 * i]);
  }
}

template <typename Range>
void joinChroma(const uint8_t* __restrict first, const uint8_t* __restrict second,
                uint8_t* __restrict to, ptrdiff_t pairs) {
  for (ptrdiff_t i = 0; i < pairs; ++i) {
    to[2 * i] = Range::chroma(first[i]);
    to[2 * i + 1] = Range::chroma(second[i]);
  }
}

template <typename Range>
void splitChroma(const uint8_t* __restrict from, uint8_t* __restrict first,
                 uint8_t* __restrict second, ptrdiff_t pairs) {
  for (ptrdiff_t i = 0; i < pairs; ++i) {
    first[i] = Range::chroma(from[2 * i]);
    second[i] = Range::chroma(from[2 * i + 1]);
  }
}

} // namespace tlux::app
