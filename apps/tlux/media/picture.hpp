#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "media/metadata.hpp"

namespace tlux::app {

/** A picture in the library's layout. */
struct Picture {
  FramePtr frame;      // NV12 or NV21; see semi_planar.hpp
  FramePtr alpha;      // gray frame of the cropped size, null for an opaque picture
  bool isRaw = false;  // a raw camera frame
  int storedWidth = 0; // size in the file, before rotation
  int storedHeight = 0;
  MetadataPtr metadata; // null if the file has none or it is not wanted
  std::optional<std::filesystem::file_time_type> modified; // of the file; preserved
  std::vector<std::string> remarks;                        // for the user, as warnings

  int width() const;
  int height() const;
};

/** Upright NV12 picture of a decoded frame, in the frame's own colour matrix. */
Picture toPicture(const AVFrame& decoded);

} // namespace tlux::app
