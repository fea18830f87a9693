#include "tlux/image_list.h"

#include "base/result.hpp"
#include "image/clone.hpp"
#include "image/rect.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {
namespace {

void releaseNode(TLUX_IMAGE_NODE* node, MMemMgr manager) {
  if (node->aux != nullptr) MMemFree(manager, node->aux);
  TLUX_FreeImage_IMK(&node->image, manager);
  MMemFree(manager, node);
}

// Copies the frame (or its rectangle) and the byte map, which covers the whole frame.
Result fillNode(TLUX_IMAGE_NODE& node, const TLUX_IMAGE& frame, const TLUX_RECT* rect,
                const std::uint8_t* map, MMemMgr manager) {
  const Result result = cloneImage(&node.image, frame, rect, manager);
  if (result != Result::kOk || map == nullptr) return result;
  const std::int64_t mapBytes = std::int64_t{frame.width} * frame.height;
  node.aux = static_cast<std::uint8_t*>(allocateBytes(manager, mapBytes));
  if (node.aux == nullptr) return Result::kNoMemory;
  MMemCpy(node.aux, map, static_cast<std::uint64_t>(mapBytes));
  return Result::kOk;
}

void append(TLUX_IMAGE_LIST& list, TLUX_IMAGE_NODE* node) {
  node->prev = list.last;
  if (list.first == nullptr) {
    list.first = node;
  } else {
    list.last->next = node;
  }
  list.last = node;
  ++list.count;
}

struct Tags {
  std::uint32_t first;
  std::uint32_t second;
};

// Appends a copy of the frame; the list is unchanged when that fails.
Result insert(TLUX_IMAGE_LIST& list, const TLUX_IMAGE& frame, const TLUX_RECT* rect,
              const std::uint8_t* map, Tags tags, MMemMgr manager) {
  auto* node = static_cast<TLUX_IMAGE_NODE*>(allocateBytes(manager, sizeof(TLUX_IMAGE_NODE)));
  if (node == nullptr) return Result::kNoMemory;
  *node = {};
  node->tag1 = tags.first;
  node->tag2 = tags.second;
  const Result result = fillNode(*node, frame, rect, map, manager);
  if (result != Result::kOk) {
    releaseNode(node, manager);
    return result;
  }
  append(list, node);
  return Result::kOk;
}

// The node under the cursor, or null at the end; returns its image and tags.
TLUX_IMAGE_NODE* readCurrent(const TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, std::uint32_t* tags) {
  TLUX_IMAGE_NODE* node = list != nullptr ? list->current : nullptr;
  if (node == nullptr) return nullptr;
  if (image != nullptr) *image = node->image;
  if (tags != nullptr) {
    tags[0] = node->tag1;
    tags[1] = node->tag2;
  }
  return node;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_InsertImageToLink_IMK(TLUX_IMAGE_LIST* list, const TLUX_IMAGE* image,
                                    const uint8_t* map, uint32_t tag1, uint32_t tag2,
                                    MMemMgr manager) noexcept {
  if (list == nullptr || image == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(insert(*list, *image, nullptr, map, {tag1, tag2}, manager));
}

uint32_t TLUX_InsertImageToLinkROI_IMK(TLUX_IMAGE_LIST* list, const TLUX_IMAGE* image,
                                       const uint8_t* map, const TLUX_RECT* rect, uint32_t tag1,
                                       uint32_t tag2, MMemMgr manager) noexcept {
  if (list == nullptr || image == nullptr || rect == nullptr) return TLUX_ERR_INVALID_PARAM;
  const bool wasEmpty = list->first == nullptr;
  const Result result = insert(*list, *image, rect, map, {tag1, tag2}, manager);
  if (result == Result::kOk && wasEmpty) list->current = list->first;
  return codeOf(result);
}

void SetCurrentImageToFirstOne_IMK(TLUX_IMAGE_LIST* list) noexcept {
  if (list != nullptr) list->current = list->first;
}

void SetCurrentImageToLastOne_IMK(TLUX_IMAGE_LIST* list) noexcept {
  if (list != nullptr) list->current = list->last;
}

int32_t GetCurrentImage_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** /*map*/,
                            uint32_t tags[2]) noexcept {
  const TLUX_IMAGE_NODE* node = readCurrent(list, image, tags);
  if (node == nullptr) return 0;
  list->current = node->next;
  return 1;
}

int32_t GetCurrentImageINV_IMK(TLUX_IMAGE_LIST* list, TLUX_IMAGE** image, uint8_t** map,
                               uint32_t tags[2]) noexcept {
  const TLUX_IMAGE_NODE* node = readCurrent(list, image, tags);
  if (node == nullptr) return 0;
  if (map != nullptr) *map = node->aux;
  list->current = node->prev;
  return 1;
}

uint32_t RemoveFirstImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) noexcept {
  if (list == nullptr || list->first == nullptr) return TLUX_OK;
  TLUX_IMAGE_NODE* removed = list->first;
  list->first = removed->next;
  list->current = list->first;
  if (list->first != nullptr) {
    list->first->prev = nullptr;
  } else {
    list->last = nullptr;
  }
  --list->count;
  releaseNode(removed, manager);
  return TLUX_OK;
}

uint32_t RemoveLastImage_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) noexcept {
  if (list == nullptr || list->first == nullptr || list->last == nullptr) return TLUX_OK;
  TLUX_IMAGE_NODE* removed = list->last;
  list->last = removed->prev;
  if (list->last != nullptr) {
    list->last->next = nullptr;
  } else {
    list->first = nullptr;
    list->current = nullptr;
  }
  --list->count;
  releaseNode(removed, manager);
  return TLUX_OK;
}

void TLUX_FreeImageLink_IMK(TLUX_IMAGE_LIST* list, MMemMgr manager) noexcept {
  if (list == nullptr || list->first == nullptr) return;
  for (TLUX_IMAGE_NODE* node = list->first; node != nullptr;) {
    TLUX_IMAGE_NODE* next = node->next;
    releaseNode(node, manager);
    node = next;
  }
  list->count = 0;
  list->first = nullptr;
  list->last = nullptr;
}
