#pragma once

#include <string>
#include <vector>

#include "cli/size.hpp"
#include "explain/embedded_picture.hpp"
#include "explain/findings.hpp"
#include "media/picture.hpp"
#include "stream/enhancer.hpp"

namespace tlux::app {

/** A page that explains one run, and the pictures in it. */
struct Report {
  std::string html;
  std::vector<EmbeddedPicture> pictures;
  Findings findings;
  Size reference; // size of the frame that the decisions were made on
};

/** File names of the pictures of every report. */
std::vector<std::string> reportPictureNames();

/** @param name of the picture, for the heading. */
Report explainRun(const Picture& picture, const Tones& tones, const std::string& name);

} // namespace tlux::app
