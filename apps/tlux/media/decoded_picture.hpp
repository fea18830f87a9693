#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "media/metadata.hpp"

namespace tlux::app {

constexpr const char* kTooLarge =
    "is too large: the limit is 268 megapixels and 65534 pixels on a side";

/** Throws std::runtime_error for a picture that is too large or empty. Readers call it before they
 * allocate memory. */
void checkPictureSize(int64_t width, int64_t height);

/** A picture as stored in its file; the frame has its orientation and RGB profile. */
struct DecodedPicture {
  FramePtr frame;
  std::vector<std::string> remarks; // for the user, as warnings
  std::string damage;               // why parts are missing; empty for an intact picture
  MetadataPtr metadata;             // if the decoder provides it
};

/** Records the value of the EXIF tag Orientation for orientationOf(). */
void setOrientation(AVFrame& frame, int exifValue);

/** Attaches an RGB profile; @p profile may be empty. */
void setColorProfile(AVFrame& frame, const void* profile, size_t size);

} // namespace tlux::app
