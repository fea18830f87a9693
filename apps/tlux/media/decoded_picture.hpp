#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "media/metadata.hpp"

namespace tlux::app {

constexpr const char* kTooLarge =
    "is too large, the limit is 268 megapixels and 65534 pixels on a side";

/** Throws std::runtime_error for a picture larger than that, or of no size. For readers to ask
 * before they take memory. */
void checkPictureSize(int64_t width, int64_t height);

/** A picture as it lies in its file; its orientation and RGB profile are told by the frame. */
struct DecodedPicture {
  FramePtr frame;
  std::vector<std::string> remarks; // what its owner should know
  std::string damage;               // why parts of it are missing; empty for a whole picture
  MetadataPtr metadata;             // where the decoder knows it already
};

/** Records the value of the EXIF tag Orientation where orientationOf() looks for it. */
void setOrientation(AVFrame& frame, int exifValue);

/** Attaches an RGB profile; @p profile may be empty. */
void setColorProfile(AVFrame& frame, const void* profile, size_t size);

} // namespace tlux::app
