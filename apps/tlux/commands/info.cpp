#include <fmt/format.h>

#include <iterator>
#include <memory>
#include <thread>
#include <vector>

#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "commands/processor.hpp"
#include "commands/resolutions.hpp"
#include "media/av.hpp"
#include "media/picture_format.hpp"
#include "output/json.hpp"
#include "tlux.h"

namespace tlux::app {

namespace {

constexpr const char* kLesson =
    "Pool is the memory that a program must provide if the library is to work in a pool, for\n"
    "frames of each size with rows as long as those of the library's own images.\n"
    "\n"
    "Example:\n"
    "  tlux info";

void printJson(const TLUX_VERSION& version) {
  std::vector<JsonObject> pools;
  pools.reserve(std::size(kUsualResolutions));
  for (const Size size : kUsualResolutions) {
    pools.push_back(JsonObject()
                        .add("width", size.width)
                        .add("height", size.height)
                        .add("bytes", TLUX_GetPoolSize(size.width, size.height)));
  }
  printLine(JsonObject::report("tlux.info.1")
                .add("version", version.version)
                .add("buildDate", version.buildDate)
                .add("vectorUnit", vectorUnit())
                .add("processors", std::thread::hardware_concurrency())
                .add("ffmpeg", av_version_info())
                .add("pools", pools)
                .toString());
}

ExitCode info(bool json) {
  const TLUX_VERSION& version = *TLUX_GetVersion();
  if (json) {
    printJson(version);
    return ExitCode::kDone;
  }
  printLine(fmt::format("Library    {} of {}", version.version, version.buildDate));
  printLine(fmt::format("Processor  {}, {} threads at once", vectorUnit(),
                        std::thread::hardware_concurrency()));
  printLine(fmt::format("FFmpeg     {}", av_version_info()));
  printLine(fmt::format("Writes     {}, nv21, nv12", writableExtensions()));
  for (const Size size : kUsualResolutions) {
    printLine(fmt::format("Pool       {:>9} bytes for frames of {}x{}",
                          TLUX_GetPoolSize(size.width, size.height), size.width, size.height));
  }
  printLine(version.notice);
  return ExitCode::kDone;
}

} // namespace

Command addInfo(CLI::App& app) {
  CLI::App* parser =
      app.add_subcommand("info", "Show versions, formats, the vector unit and memory needs");
  const auto json = std::make_shared<bool>(false);
  addJsonOption(*parser, *json);
  parser->footer(kLesson);
  return {parser, [json] { return info(*json); }};
}

} // namespace tlux::app
