#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "image/format.hpp"

namespace tlux::detail {

// Samples of a format that are processed together, at one resolution: a component, the pair of an
// interleaved chroma plane, or all bytes of a colour pixel.
struct Component {
  std::uint8_t plane;
  std::uint8_t offset;   // bytes before the first sample of a row
  std::uint8_t step;     // bytes from one sample to the next
  std::uint8_t channels; // samples of a pixel
  std::uint8_t shiftX;   // log2 of luma columns per pixel of the component
  std::uint8_t shiftY;   // log2 of luma rows per row of the component
  bool isChroma;
};

struct ComponentList {
  std::array<Component, 3> list;
  int count; // 0 for formats whose samples are not bytes, or lie in an unknown order

  const Component* begin() const { return list.data(); }
  const Component* end() const { return list.data() + count; }
};

ComponentList componentsOf(const Format& format);

// Where the samples of one of Y, Cb and Cr lie: sample c of a row is byte `offset` + c·`step`.
struct SamplePlace {
  std::int8_t plane;
  std::int8_t offset;
  std::int8_t step;
};

struct SamplePlaces {
  SamplePlace luma;
  SamplePlace cb;
  SamplePlace cr;
};

// For a format with chroma in a known order.
SamplePlaces placesOf(const Format& format);

// One component of an image. The last pixel of a packed row may be incomplete: an image of odd
// width has one chroma sample after its last pair.
struct ComponentPlane {
  std::uint8_t* data; // null when the image has no such plane, or nothing in it
  std::int64_t pitch;
  std::int64_t width;      // whole pixels
  std::int64_t height;     // rows
  std::int64_t rowSamples; // including those of a cut pixel

  std::uint8_t* row(std::int64_t y) const { return data + y * pitch; }
  bool isEmpty() const { return rowSamples == 0 || height == 0; }
};

ComponentPlane planeOf(const TLUX_IMAGE& image, const Component& component);

// Bytes of a row of a plane that hold samples.
std::int64_t rowBytesOf(const Format& format, int plane, std::int32_t width);

// Whether the image has a size, and every plane that holds samples exists and has rows that do not
// overlap.
bool isComplete(const TLUX_IMAGE& image, const Format& format);

} // namespace tlux::detail
