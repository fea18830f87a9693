#include "media/color_profile.hpp"

namespace tlux::app {

std::string_view profileSpace(std::span<const uint8_t> profile) {
  constexpr size_t kOffset = 16;
  constexpr size_t kLength = 4;
  if (profile.size() < kOffset + kLength) return {};
  return {reinterpret_cast<const char*>(profile.data()) + kOffset, kLength};
}

void copyColorProfile(const AVFrame& from, AVFrame& to) {
  const AVFrameSideData* profile = av_frame_get_side_data(&from, AV_FRAME_DATA_ICC_PROFILE);
  if (profile == nullptr || profileSpace({profile->data, profile->size}) != "RGB ") return;
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
