#include "image/simple_image.hpp"

#include <limits>
#include <optional>

#include "platform/scratch.hpp"

namespace tlux::detail {
namespace {

constexpr std::int64_t kMaxInt = std::numeric_limits<std::int32_t>::max();

struct BlockSize {
  std::int32_t stride;
  std::int32_t size;
};

// Empty when a number is negative or does not fit the record.
std::optional<BlockSize> blockSize(std::int32_t width, std::int32_t height, std::int32_t depth,
                                   std::int32_t channels) {
  if (width < 0 || height < 0 || depth < 0 || channels < 0) return {};
  constexpr std::int64_t kWordBits = 32;
  std::int64_t bits = std::int64_t{width} * channels;
  if (__builtin_mul_overflow(bits, depth, &bits) || bits > kMaxInt * 8 - kWordBits) return {};
  const std::int64_t stride = (bits + kWordBits - 1) / kWordBits * 4;
  const std::int64_t size = stride * height;
  if (size > kMaxInt) return {};
  return BlockSize{static_cast<std::int32_t>(stride), static_cast<std::int32_t>(size)};
}

img* allocateRecord(MMemMgr manager) {
  return static_cast<img*>(allocateBytes(manager, sizeof(img)));
}

std::uint8_t** allocateRows(MMemMgr manager, std::int32_t height) {
  const std::int64_t bytes = std::int64_t{height} * std::int64_t{sizeof(std::uint8_t*)};
  return static_cast<std::uint8_t**>(allocateBytes(manager, bytes));
}

void fillRows(img& image) {
  for (std::int64_t y = 0; y < image.height; ++y) {
    image.rows[y] = image.data + y * image.stride;
  }
}

img* createImg(MMemMgr manager, std::int32_t width, std::int32_t height, std::int32_t depth,
               std::int32_t channels) {
  const auto block = blockSize(width, height, depth, channels);
  if (!block) return nullptr;
  img* image = allocateRecord(manager);
  if (image == nullptr) return nullptr;
  auto* data = static_cast<std::uint8_t*>(allocateBytes(manager, block->size));
  std::uint8_t** rows = allocateRows(manager, height);
  if (data == nullptr || rows == nullptr) {
    MMemFree(manager, image); // if only one of the two succeeded it stays allocated; intended
    return nullptr;
  }
  *image = {width, height, block->stride, block->size, channels, depth, data, rows};
  clear_img(image);
  fillRows(*image);
  return image;
}

img* createPseudoImg(MMemMgr manager, std::uint8_t* data, const img& numbers) {
  img* image = allocateRecord(manager);
  if (image == nullptr) return nullptr;
  *image = numbers;
  image->data = data;
  image->rows = allocateRows(manager, numbers.height);
  if (image->rows == nullptr) {
    MMemFree(manager, image);
    return nullptr;
  }
  fillRows(*image);
  return image;
}

img* cloneImg(MMemMgr manager, const img& source) {
  if (source.size > 0 && source.data == nullptr) return nullptr;
  Scratch<std::uint8_t> data(manager, source.size);
  if (!data) return nullptr;
  img* image = createPseudoImg(manager, data.get(), source);
  if (image == nullptr) return nullptr;
  if (source.size > 0) MMemCpy(data.get(), source.data, static_cast<std::uint64_t>(source.size));
  static_cast<void>(data.release());
  return image;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

img* createimg(MMemMgr manager, int32_t width, int32_t height, int32_t depth,
               int32_t channels) noexcept {
  return createImg(manager, width, height, depth, channels);
}

img* createimg_pesudo(MMemMgr manager, void* data, int32_t width, int32_t height, int32_t depth,
                      int32_t channels, int32_t stride) noexcept {
  const std::int64_t size = std::int64_t{height} * stride;
  if (data == nullptr || size > kMaxInt || size < -kMaxInt) return nullptr;
  const img numbers{width,    height, stride,  static_cast<std::int32_t>(size),
                    channels, depth,  nullptr, nullptr};
  return createPseudoImg(manager, static_cast<std::uint8_t*>(data), numbers);
}

img* cloneimg(MMemMgr manager, const img* image) noexcept {
  return image == nullptr ? nullptr : cloneImg(manager, *image);
}

void release_img(MMemMgr manager, img** image) noexcept {
  if (image == nullptr || *image == nullptr) return;
  if ((*image)->data != nullptr) MMemFree(manager, (*image)->data);
  release_img_pesudo(manager, image);
}

void release_img_pesudo(MMemMgr manager, img** image) noexcept {
  if (image == nullptr || *image == nullptr) return;
  if ((*image)->rows != nullptr) MMemFree(manager, (*image)->rows);
  MMemFree(manager, *image);
  *image = nullptr;
}

void clear_img(img* image) noexcept {
  if (image == nullptr || image->data == nullptr || image->size <= 0) return;
  MMemSet(image->data, 0, static_cast<std::uint64_t>(image->size));
}
