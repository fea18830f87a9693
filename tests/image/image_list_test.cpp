#include "tlux/image_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/fault_injection.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

constexpr int kWidth = 6;
constexpr int kHeight = 4;

// A gray image and a byte map that hold one value everywhere.
struct Gray {
  explicit Gray(std::uint8_t value) : pixels(kWidth * kHeight, value), map(pixels) {}
  std::vector<std::uint8_t> pixels;
  std::vector<std::uint8_t> map;
  TLUX_IMAGE image{TLUX_FMT_GRAY, kWidth, kHeight, {pixels.data()}, {kWidth}};
};

struct Entry {
  int value; // of the image's pixels
  int map;   // of the byte map's, -1 for none
  std::uint32_t tags[2];

  friend bool operator==(const Entry&, const Entry&) = default;
};

int mapValue(const std::uint8_t* map) {
  if (map == nullptr) return -1;
  EXPECT_TRUE(std::all_of(map, map + kWidth * kHeight, [=](auto byte) { return byte == *map; }));
  return *map;
}

// What the getter hands out from where the cursor stands to the end.
template <class Getter>
std::vector<Entry> walk(TLUX_IMAGE_LIST& list, Getter get) {
  std::vector<Entry> entries;
  TLUX_IMAGE* image = nullptr;
  std::uint8_t untouched = 99;
  std::uint8_t* map = &untouched;
  std::uint32_t tags[2] = {};
  while (get(&list, &image, &map, tags) == 1) {
    const int mapSeen = map == &untouched ? untouched : mapValue(map);
    entries.push_back({image->plane[0][0], mapSeen, {tags[0], tags[1]}});
  }
  EXPECT_EQ(list.current, nullptr);
  return entries;
}

std::vector<Entry> forward(TLUX_IMAGE_LIST& list) {
  SetCurrentImageToFirstOne_IMK(&list);
  return walk(list, GetCurrentImage_IMK);
}

std::vector<Entry> backward(TLUX_IMAGE_LIST& list) {
  SetCurrentImageToLastOne_IMK(&list);
  return walk(list, GetCurrentImageINV_IMK);
}

void insert(TLUX_IMAGE_LIST& list, std::uint8_t value, bool withMap = true) {
  Gray frame(value);
  EXPECT_EQ(TLUX_InsertImageToLink_IMK(&list, &frame.image, withMap ? frame.map.data() : nullptr,
                                       value + 100u, value + 200u, nullptr),
            TLUX_OK);
}

TEST(ImageList, KeepsCopiesInOrder) {
  const long live = liveAllocations();
  TLUX_IMAGE_LIST list{};
  insert(list, 1);
  insert(list, 2, false);
  insert(list, 3);
  EXPECT_EQ(list.count, 3u);
  EXPECT_EQ(list.current, nullptr); // a plain insert leaves the cursor
  // Walking forward does not hand out byte maps.
  const std::vector<Entry> onward = {{1, 99, {101, 201}}, {2, 99, {102, 202}}, {3, 99, {103, 203}}};
  const std::vector<Entry> back = {{3, 3, {103, 203}}, {2, -1, {102, 202}}, {1, 1, {101, 201}}};
  EXPECT_EQ(forward(list), onward);
  EXPECT_EQ(backward(list), back);
  SetCurrentImageToFirstOne_IMK(&list);
  EXPECT_EQ(GetCurrentImage_IMK(&list, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(GetCurrentImageINV_IMK(&list, nullptr, nullptr, nullptr), 1);
  TLUX_FreeImageLink_IMK(&list, nullptr);
  EXPECT_EQ(liveAllocations(), live);
}

TEST(ImageList, RemovesFromBothEnds) {
  const long live = liveAllocations();
  TLUX_IMAGE_LIST list{};
  for (std::uint8_t value = 1; value <= 5; ++value) {
    insert(list, value);
  }
  SetCurrentImageToLastOne_IMK(&list);
  TLUX_IMAGE_NODE* newest = list.last;
  EXPECT_EQ(RemoveLastImage_IMK(&list, nullptr), 0u);
  EXPECT_EQ(list.current, newest); // dangling until it is set anew
  EXPECT_EQ(RemoveFirstImage_IMK(&list, nullptr), 0u);
  EXPECT_EQ(list.current, list.first);
  EXPECT_EQ(list.count, 3u);
  EXPECT_EQ(forward(list).front().value, 2);
  EXPECT_EQ(backward(list).front().value, 4);
  EXPECT_EQ(backward(list).size(), 3u);

  const TLUX_IMAGE_NODE* cursor = list.current;
  TLUX_FreeImageLink_IMK(&list, nullptr);
  EXPECT_EQ(list.count, 0u);
  EXPECT_EQ(list.first, nullptr);
  EXPECT_EQ(list.last, nullptr);
  EXPECT_EQ(list.current, cursor); // kept until it is set anew
  EXPECT_EQ(liveAllocations(), live);
}

TEST(ImageList, InsertsRectanglesWithTheMapOfTheWholeFrame) {
  TLUX_IMAGE_LIST list{};
  Gray frame(5);
  frame.pixels[2 * kWidth + 3] = 50;
  const TLUX_RECT rect{3, 2, 5, 4};
  EXPECT_EQ(
      TLUX_InsertImageToLinkROI_IMK(&list, &frame.image, frame.map.data(), &rect, 1, 2, nullptr),
      TLUX_OK);
  ASSERT_NE(list.first, nullptr);
  EXPECT_EQ(list.current, list.first); // into an empty list: sets the cursor
  insert(list, 6);
  SetCurrentImageToLastOne_IMK(&list);
  EXPECT_EQ(TLUX_InsertImageToLinkROI_IMK(&list, &frame.image, nullptr, &rect, 3, 4, nullptr),
            TLUX_OK);
  EXPECT_EQ(list.current, list.last->prev);
  EXPECT_EQ(list.first->image->width, 2);
  EXPECT_EQ(list.first->image->height, 2);
  const std::vector<Entry> back = {{50, -1, {3, 4}}, {6, 6, {106, 206}}, {50, 5, {1, 2}}};
  EXPECT_EQ(backward(list), back);
  TLUX_FreeImageLink_IMK(&list, nullptr);
}

TEST(ImageList, IsUnchangedWhenAnInsertFails) {
  TLUX_IMAGE_LIST list{};
  insert(list, 1);
  const TLUX_IMAGE_LIST before = list;
  const long live = liveAllocations();
  Gray frame(2);
  const TLUX_RECT part{0, 0, 2, 2};
  const auto expectUnchanged = [&] {
    EXPECT_EQ(MMemCmp(&list, &before, sizeof list), 0);
    EXPECT_EQ(list.last->next, nullptr);
    EXPECT_EQ(liveAllocations(), live);
  };
  for (const TLUX_RECT* rect : {static_cast<const TLUX_RECT*>(nullptr), &part}) {
    const auto tryInsert = [&] {
      const std::uint32_t result =
          rect == nullptr
              ? TLUX_InsertImageToLink_IMK(&list, &frame.image, frame.map.data(), 0, 0, nullptr)
              : TLUX_InsertImageToLinkROI_IMK(&list, &frame.image, frame.map.data(), rect, 0, 0,
                                              nullptr);
      if (result == TLUX_OK) RemoveLastImage_IMK(&list, nullptr);
      expectUnchanged();
      return result;
    };
    for (const std::uint32_t format : {TLUX_FMT_BAYER, 0x804u, 0u}) {
      frame.image.format = format;
      EXPECT_EQ(tryInsert(), TLUX_ERR_UNSUPPORTED);
    }
    frame.image.format = TLUX_FMT_GRAY;
    frame.image.plane[0] = nullptr;
    EXPECT_EQ(tryInsert(), TLUX_ERR_INVALID_PARAM);
    frame.image.plane[0] = frame.pixels.data();
  }
  for (const TLUX_RECT& rect : {TLUX_RECT{0, 0, kWidth + 1, 1}, {-1, 0, 1, 1}}) {
    EXPECT_EQ(TLUX_InsertImageToLinkROI_IMK(&list, &frame.image, nullptr, &rect, 0, 0, nullptr),
              TLUX_ERR_INVALID_PARAM);
  }
  for (TLUX_IMAGE_LIST* to : {static_cast<TLUX_IMAGE_LIST*>(nullptr), &list}) {
    const TLUX_IMAGE* image = to == nullptr ? &frame.image : nullptr;
    EXPECT_EQ(TLUX_InsertImageToLink_IMK(to, image, nullptr, 0, 0, nullptr),
              TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(TLUX_InsertImageToLinkROI_IMK(to, image, nullptr, &part, 0, 0, nullptr),
              TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_EQ(TLUX_InsertImageToLinkROI_IMK(&list, &frame.image, nullptr, nullptr, 0, 0, nullptr),
            TLUX_ERR_INVALID_PARAM);
  expectUnchanged();
  TLUX_FreeImageLink_IMK(&list, nullptr);
}

} // namespace
} // namespace tlux::test
