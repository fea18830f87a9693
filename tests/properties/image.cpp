// Copies, crops, clones and lists of images against the byte-wise rules.
#include <deque>

#include "image/picture.hpp"
#include "properties/properties.hpp"
#include "tlux/copy.h"
#include "tlux/image_list.h"

namespace tlux::properties {
namespace {

using reference::Picture;
using reference::PictureCopy;
using test::extentsOf;
using test::Frame;
using test::frameOf;
using test::kCopied;
using test::PlaneExtent;

// The last byte of a pixel of four is not copied.
int copiedBytes(std::uint32_t format, const PlaneExtent& extent) {
  const bool hasFour = format == TLUX_FMT_BGR32 || format == TLUX_FMT_BGR32_B;
  return hasFour ? extent.bytes / 4 * 3 : extent.bytes;
}

Picture takePicture(Input& input, std::uint32_t format) {
  Picture picture{format, input.between(1, 40), input.between(1, 14), {}};
  auto* plane = picture.planes;
  for (const PlaneExtent& extent : extentsOf(format, picture.width, picture.height)) {
    plane->pitch = extent.bytes + input.between(0, 9);
    plane->bytes = input.samples(static_cast<std::size_t>(plane->pitch * extent.rows));
    ++plane;
  }
  return picture;
}

TLUX_RECT takeRect(Input& input, const Picture& picture, int width, int height) {
  const int left = input.between(0, picture.width - width);
  const int top = input.between(0, picture.height - height);
  return {left, top, left + width, top + height};
}

// Compares all samples that a copy moves.
void requireSamples(const TLUX_IMAGE& image, const Picture& expected) {
  require(image.format == expected.format && image.width == expected.width &&
          image.height == expected.height);
  int i = 0;
  for (const PlaneExtent& extent : extentsOf(expected.format, expected.width, expected.height)) {
    const auto& plane = expected.planes[i];
    for (int y = 0; y < extent.rows; ++y) {
      const std::uint8_t* row = image.plane[i] + std::ptrdiff_t{y} * image.pitch[i];
      require(std::equal(row, row + copiedBytes(expected.format, extent),
                         plane.bytes.begin() + y * plane.pitch));
    }
    ++i;
  }
}

// The rectangle as a separate image.
Picture cutOut(const Picture& source, const TLUX_RECT& rect) {
  Picture part{source.format, rect.right - rect.left, rect.bottom - rect.top, {}};
  auto* plane = part.planes;
  for (const PlaneExtent& extent : extentsOf(part.format, part.width, part.height)) {
    plane->pitch = extent.bytes;
    plane->bytes.resize(static_cast<std::size_t>(plane->pitch * extent.rows));
    ++plane;
  }
  PictureCopy(part, {0, 0, part.width, part.height}, source, rect).plain();
  return part;
}

void copy(Input& input) {
  const std::uint32_t format = input.oneOf(kCopied);
  Picture source = takePicture(input, format);
  const Picture target = takePicture(input, format);
  const int width = input.between(0, std::min(source.width, target.width));
  const int height = input.between(0, std::min(source.height, target.height));
  const TLUX_RECT from = takeRect(input, source, width, height);
  const TLUX_RECT to = takeRect(input, target, width, height);
  if (test::readsCbHalfARowLow(format, from)) {
    auto& cb = source.planes[1];
    cb.bytes.resize(cb.bytes.size() + static_cast<std::size_t>(cb.pitch), 0x77);
  }
  Frame sourceFrame = frameOf(source);
  Frame plain = frameOf(target);
  Picture expected = target;
  PictureCopy(expected, to, source, from).plain();
  require(TLUX_CopyImageROI_IMK(plain.get(), &to, sourceFrame.get(), &from) == TLUX_OK);
  require(plain == frameOf(expected));

  const bool orderUnknown = format >= TLUX_FMT_YCBYCR_5 && format <= TLUX_FMT_YCBYCR_8;
  Frame odd = frameOf(target);
  expected = target;
  if (!orderUnknown) PictureCopy(expected, to, source, from).oddRect();
  require(TLUX_CopyImageROIOddRect_IMK(odd.get(), &to, sourceFrame.get(), &from) ==
          (orderUnknown ? TLUX_ERR_UNSUPPORTED : TLUX_OK));
  require(odd == frameOf(expected));
  require(sourceFrame == frameOf(source));
}

// Any rectangle: one that is not inside the image is tried only if it is rejected.
void refuse(Input& input) {
  const Picture picture = takePicture(input, input.oneOf(kCopied));
  const auto any = [&] { return static_cast<int>(input.word()); };
  const TLUX_RECT rect{any(), any(), any(), any()};
  const std::int64_t width = std::int64_t{rect.right} - rect.left;
  const std::int64_t height = std::int64_t{rect.bottom} - rect.top;
  if (rect.left >= 0 && rect.top >= 0 && width >= 0 && height >= 0 && width <= picture.width &&
      height <= picture.height) {
    return;
  }
  Frame source = frameOf(picture);
  Frame target = frameOf(picture);
  require(TLUX_CopyImageROI_IMK(target.get(), &rect, source.get(), &rect) ==
          TLUX_ERR_INVALID_PARAM);
  require(TLUX_CopyImageROIOddRect_IMK(target.get(), &rect, source.get(), &rect) != TLUX_OK);
  require(TLUX_CropImage_IMK(target.get(), &rect) == TLUX_ERR_INVALID_PARAM);
  require(target == frameOf(picture));
}

void cloneAndCrop(Input& input) {
  const Picture picture = takePicture(input, input.oneOf(kCopied));
  const TLUX_RECT rect =
      takeRect(input, picture, input.between(1, picture.width), input.between(1, picture.height));
  if (test::readsCbHalfARowLow(picture.format, rect)) return;
  Frame source = frameOf(picture);
  Memory memory(input, 9000);
  TLUX_IMAGE* whole = nullptr;
  TLUX_IMAGE* part = nullptr;
  const std::uint32_t cloned = TLUX_CloneImage_IMK(&whole, source.get(), memory.manager());
  const std::uint32_t cut = TLUX_CloneImageROI_IMK(&part, source.get(), &rect, memory.manager());
  for (const std::uint32_t result : {cloned, cut}) {
    require(result == TLUX_OK || (memory.isLimited() && result == TLUX_ERR_NO_MEMORY));
  }
  if (cut == TLUX_OK) requireSamples(*part, cutOut(picture, rect));
  if (cloned == TLUX_OK) {
    const Picture clone = cutOut(picture, {0, 0, picture.width, picture.height});
    requireSamples(*whole, clone);
    require(TLUX_CropImage_IMK(whole, &rect) == TLUX_OK);
    requireSamples(*whole, cutOut(clone, rect)); // of what the clone copied
    if (cut == TLUX_OK) require(std::ranges::equal(whole->pitch, part->pitch));
  }
  TLUX_FreeImage_IMK(&whole, memory.manager());
  TLUX_FreeImage_IMK(&part, memory.manager());
}

struct Entry {
  Picture picture;
  std::vector<std::uint8_t> map;
  std::uint32_t tag;
};

class List {
 public:
  explicit List(MMemMgr manager) : manager_(manager) {}
  List(const List&) = delete;
  List& operator=(const List&) = delete;
  ~List() { TLUX_FreeImageLink_IMK(&list_, manager_); }

  std::uint32_t insert(Input& input) {
    const Picture picture = takePicture(input, input.oneOf(kCopied));
    const std::uint32_t tag = input.word();
    const bool withMap = input.flag();
    const auto pixels = static_cast<std::size_t>(picture.width * picture.height);
    const auto map = withMap ? input.samples(pixels) : std::vector<std::uint8_t>();
    const std::uint8_t* mapData = withMap ? map.data() : nullptr;
    TLUX_RECT rect =
        takeRect(input, picture, input.between(1, picture.width), input.between(1, picture.height));
    const bool isPart = input.flag() && !test::readsCbHalfARowLow(picture.format, rect);
    Frame frame = frameOf(picture);
    const std::uint32_t result =
        isPart ? TLUX_InsertImageToLinkROI_IMK(&list_, frame.get(), mapData, &rect, tag, ~tag,
                                               manager_)
               : TLUX_InsertImageToLink_IMK(&list_, frame.get(), mapData, tag, ~tag, manager_);
    if (result == TLUX_OK) entries_.push_back({isPart ? cutOut(picture, rect) : picture, map, tag});
    return result;
  }
  void removeFirst() {
    RemoveFirstImage_IMK(&list_, manager_);
    if (!entries_.empty()) entries_.pop_front();
  }
  void removeLast() {
    RemoveLastImage_IMK(&list_, manager_);
    if (!entries_.empty()) entries_.pop_back();
  }

  void check() {
    require(list_.count == entries_.size());
    TLUX_IMAGE* image = nullptr;
    std::uint8_t* map = nullptr;
    std::uint32_t tags[2] = {};
    SetCurrentImageToFirstOne_IMK(&list_);
    for (const Entry& entry : entries_) {
      require(GetCurrentImage_IMK(&list_, &image, &map, tags) == 1);
      require(tags[0] == entry.tag && tags[1] == ~entry.tag && map == nullptr);
      requireSamples(*image, entry.picture);
    }
    require(GetCurrentImage_IMK(&list_, &image, &map, tags) == 0);
    SetCurrentImageToLastOne_IMK(&list_);
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
      require(GetCurrentImageINV_IMK(&list_, &image, &map, tags) == 1);
      require(tags[0] == entry->tag && (map == nullptr) == entry->map.empty());
      require(std::equal(entry->map.begin(), entry->map.end(), map));
    }
    require(GetCurrentImageINV_IMK(&list_, &image, &map, tags) == 0);
  }

 private:
  MMemMgr manager_;
  TLUX_IMAGE_LIST list_{};
  std::deque<Entry> entries_;
};

void list(Input& input) {
  Memory memory(input, 30000);
  List frames(memory.manager());
  for (int steps = 0; steps < 40 && !input.isEmpty(); ++steps) {
    const int action = input.between(0, 4);
    if (action == 0) {
      frames.removeFirst();
    } else if (action == 1) {
      frames.removeLast();
    } else {
      const std::uint32_t result = frames.insert(input);
      require(result == TLUX_OK || (memory.isLimited() && result == TLUX_ERR_NO_MEMORY));
    }
    frames.check();
  }
}

} // namespace

void checkImage(Input& input) {
  constexpr void (*kChecks[])(Input&) = {copy, refuse, cloneAndCrop, list};
  input.oneOf(kChecks)(input);
}

} // namespace tlux::properties
