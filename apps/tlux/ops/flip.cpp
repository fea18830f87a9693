#include <memory>
#include <stdexcept>
#include <utility>

#include "base/library_result.hpp"
#include "ops/operation.hpp"

namespace tlux::app {

namespace {

Apply addFlip(CLI::App& parser) {
  const auto way = std::make_shared<std::string>("mirror");
  parser.add_option("-w,--way", *way, "Left to right, top to bottom, or both")
      ->check(CLI::IsMember({"mirror", "upside-down", "half-turn"}).description(""))
      ->type_name("mirror|upside-down|half-turn")
      ->capture_default_str();
  return [way](Channels& picture) {
    const uint32_t flags = *way == "mirror"        ? TLUX_ROLL_COLUMNS
                           : *way == "upside-down" ? TLUX_ROLL_ROWS
                                                   : TLUX_ROLL_ROWS | TLUX_ROLL_COLUMNS;
    picture.each([flags](Channel& channel) {
      Channel turned(channel.width, channel.height);
      const TLUX_IMAGE source = channel.gray();
      TLUX_IMAGE target = turned.gray();
      checkResult(ImageRollOver(&source, &target, flags));
      channel = std::move(turned);
    });
    return Finding();
  };
}

} // namespace

const Operation kFlip = {"flip", "Mirror a picture or turn it upside down",
                         "Examples:\n"
                         "  tlux op flip selfie.jpg -o selfie-mirrored.jpg\n"
                         "  tlux op flip scan.png -o upright.png --way half-turn",
                         addFlip};

} // namespace tlux::app
