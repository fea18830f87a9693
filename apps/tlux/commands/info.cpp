#include <fmt/format.h>

#include "commands/command.hpp"
#include "media/av.hpp"
#include "media/picture_format.hpp"
#include "tlux.h"

namespace tlux::app {

namespace {

ExitCode info() {
  const TLUX_VERSION& version = *TLUX_GetVersion();
  printLine(fmt::format("Library   {} of {}", version.version, version.buildDate));
  printLine(fmt::format("FFmpeg    {}", av_version_info()));
  printLine(fmt::format("Writes    {}, nv21, nv12", writableExtensions()));
  printLine(version.notice);
  return ExitCode::kDone;
}

} // namespace

Command addInfo(CLI::App& app) {
  return {app.add_subcommand("info", "Show versions and the formats that can be written"), info};
}

} // namespace tlux::app
