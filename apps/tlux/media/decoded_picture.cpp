#include "media/decoded_picture.hpp"

extern "C" {
#include <libavutil/dict.h>
}

#include <cstring>
#include <stdexcept>

namespace tlux::app {

void checkPictureSize(int64_t width, int64_t height) {
  if (width <= 0 || height <= 0) throw std::runtime_error("contains no picture");
  // FFmpeg's limit for a frame: eight bytes a pixel, including margins, below 2 GiB.
  constexpr int64_t kMargin = 128;
  constexpr int64_t kMostPadded = int64_t{1} << 28;
  constexpr int64_t kMostOfASide = 65534;
  const bool fits = width <= kMostOfASide && height <= kMostOfASide &&
                    (width + kMargin) * (height + kMargin) < kMostPadded;
  if (!fits) throw std::runtime_error(kTooLarge);
}

void setOrientation(AVFrame& frame, int exifValue) {
  check(av_dict_set_int(&frame.metadata, "Orientation", exifValue, 0));
}

void setColorProfile(AVFrame& frame, const void* profile, size_t size) {
  if (size == 0) return;
  AVFrameSideData* copy =
      checkAllocated(av_frame_new_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE, size));
  std::memcpy(copy->data, profile, size);
}

} // namespace tlux::app
