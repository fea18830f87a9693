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
  bool isRaw = false;  // a camera frame without a file format around it
  int storedWidth = 0; // as it lies in the file, before it is turned upright
  int storedHeight = 0;
  MetadataPtr metadata; // null where the file tells nothing, or it is not wanted
  std::optional<std::filesystem::file_time_type> modified; // of the file, to be kept
  std::vector<std::string> remarks;                        // what its owner should know

  int width() const;
  int height() const;
};

/** Upright NV12 picture of a decoded frame, in the frame's own colour matrix. */
Picture toPicture(const AVFrame& decoded);

} // namespace tlux::app
