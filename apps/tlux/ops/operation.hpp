#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "ops/channels.hpp"

namespace tlux::app {

/** What an operation counted; has no name if the picture is the only result. */
struct Finding {
  std::string name; // "components"
  uint32_t count = 0;
  std::string text; // "3 components"
};

/** Changes a picture. */
using Apply = std::function<Finding(Channels&)>;

/** An operation of the toolkit that the command offers for pictures. */
struct Operation {
  const char* name;
  const char* summary; // one line
  const char* lesson;  // what to know, with examples
  Apply (*addOptions)(CLI::App& parser);
};

/** All operations, in the order in which the help lists them. */
std::span<const Operation* const> operations();

// resample.cpp
extern const Operation kReduce;
extern const Operation kResize;
// flip.cpp
extern const Operation kFlip;
// smooth.cpp
extern const Operation kBlur;
extern const Operation kGauss;
extern const Operation kBilateral;
extern const Operation kGuided;
// detail.cpp
extern const Operation kSharpen;
extern const Operation kContrast;
// tones.cpp
extern const Operation kEqualize;
extern const Operation kMatch;
// masks.cpp
extern const Operation kErode;
extern const Operation kDilate;
extern const Operation kFill;
extern const Operation kClean;
extern const Operation kOutline;
extern const Operation kLabel;

} // namespace tlux::app
