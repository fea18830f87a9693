#pragma once

#include <string>

#include "media/av.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/** A picture of the page, also written as a separate file. */
struct EmbeddedPicture {
  std::string fileName;
  int width = 0;
  int height = 0;
  Bytes content; // the encoded file

  /** The picture as an element of a self-contained page. */
  std::string toHtml(const std::string& description) const;
};

/** Encodes RGB24 by the name's extension, png or jpg, scaled down to fit a page. */
EmbeddedPicture embed(FramePtr rgb, const std::string& fileName);

} // namespace tlux::app
