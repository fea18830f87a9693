#pragma once

#include <string>

#include "media/av.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/** A picture of the page, which is also written as a file of its own. */
struct EmbeddedPicture {
  std::string fileName;
  int width = 0;
  int height = 0;
  Bytes content; // the encoded file

  /** The picture as an element of a page that needs no other file. */
  std::string toHtml(const std::string& description) const;
};

/** Encodes RGB24 by the extension of the name, png or jpg, scaled down to what suits a page. */
EmbeddedPicture embed(FramePtr rgb, const std::string& fileName);

} // namespace tlux::app
