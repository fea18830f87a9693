#include "media/color_profile.hpp"

#include <cstring>

namespace tlux::app {

namespace {

bool isRgbProfile(const AVFrameSideData& profile) {
  // Bytes 16 to 19 of an ICC profile name the colour space of its device side.
  constexpr size_t kSpaceOffset = 16;
  constexpr char kRgb[] = {'R', 'G', 'B', ' '};
  return profile.size >= kSpaceOffset + sizeof kRgb &&
         std::memcmp(profile.data + kSpaceOffset, kRgb, sizeof kRgb) == 0;
}

} // namespace

void copyColorProfile(const AVFrame& from, AVFrame& to) {
  const AVFrameSideData* profile = av_frame_get_side_data(&from, AV_FRAME_DATA_ICC_PROFILE);
  if (profile == nullptr || !isRgbProfile(*profile)) return;
  AVBufferRef* shared = checkAllocated(av_buffer_ref(profile->buf));
  if (av_frame_new_side_data_from_buf(&to, AV_FRAME_DATA_ICC_PROFILE, shared) == nullptr) {
    av_buffer_unref(&shared);
    throw std::bad_alloc();
  }
}

bool hasColorProfile(const AVFrame& frame) {
  return av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE) != nullptr;
}

} // namespace tlux::app
