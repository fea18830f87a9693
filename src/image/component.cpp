#include "image/component.hpp"

namespace tlux::detail {
namespace {

// Packed 4:2:2: luma in every second byte, Cb and Cr alternating in the others.
ComponentList packed422(std::int8_t lumaAt) {
  if (lumaAt == kNowhere) return {};
  const auto lumaOffset = static_cast<std::uint8_t>(lumaAt);
  const auto chromaOffset = static_cast<std::uint8_t>(1 - lumaOffset);
  return {{{{0, lumaOffset, 2, 1, 0, 0, false}, {0, chromaOffset, 2, 2, 1, 0, true}}}, 2};
}

std::int64_t halved(std::int32_t size, int shift) {
  return size >> shift;
}

} // namespace

ComponentList componentsOf(const Format& format) {
  if (format.copiedBytes == 0) return {}; // raw samples are no bytes
  if (format.isPacked422()) return packed422(format.lumaAt);
  ComponentList components{};
  components.list[0] = {0, 0, 1, format.pixelBytes, 0, 0, false};
  components.count = format.planes;
  const auto chromaChannels = static_cast<std::uint8_t>(format.planes == 2 ? 2 : 1);
  for (int plane = 1; plane < format.planes; ++plane) {
    components.list[static_cast<std::size_t>(plane)] = {static_cast<std::uint8_t>(plane),
                                                        0,
                                                        1,
                                                        chromaChannels,
                                                        format.chromaShiftX,
                                                        format.chromaShiftY,
                                                        true};
  }
  return components;
}

SamplePlaces placesOf(const Format& format) {
  const std::int8_t cb = format.cbAt;
  if (format.planes == 3) return {{0, 0, 1}, {1, 0, 1}, {2, 0, 1}};
  if (format.planes == 2) return {{0, 0, 1}, {1, cb, 2}, {1, static_cast<std::int8_t>(1 - cb), 2}};
  return {{0, format.lumaAt, 2}, {0, cb, 4}, {0, static_cast<std::int8_t>((cb + 2) % 4), 4}};
}

ComponentPlane planeOf(const TLUX_IMAGE& image, const Component& component) {
  const std::int64_t width = halved(image.width, component.shiftX);
  const std::int64_t height = halved(image.height, component.shiftY);
  const bool isPackedChroma = component.isChroma && component.step == 2;
  const std::int64_t rowSamples = isPackedChroma ? image.width : width * component.channels;
  std::uint8_t* plane = image.plane[component.plane];
  return {plane == nullptr ? nullptr : plane + component.offset, image.pitch[component.plane],
          width, height, rowSamples};
}

std::int64_t rowBytesOf(const Format& format, int plane, std::int32_t width) {
  if (plane == 0) return std::int64_t{format.pixelBytes} * width;
  return halved(width, format.chromaShiftX) * (format.planes == 2 ? 2 : 1);
}

bool isComplete(const TLUX_IMAGE& image, const Format& format) {
  if (image.width <= 0 || image.height <= 0) return false;
  for (int plane = 0; plane < format.planes; ++plane) {
    const std::int64_t rowBytes = rowBytesOf(format, plane, image.width);
    const std::int64_t rows = plane == 0 ? image.height : halved(image.height, format.chromaShiftY);
    if (rowBytes == 0 || rows == 0) continue;
    if (!hasRows(image, plane, rowBytes)) return false;
  }
  return true;
}

} // namespace tlux::detail
