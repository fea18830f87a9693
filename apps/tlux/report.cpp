#include "report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace tlux::app {

namespace {

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

std::string oneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

} // namespace

std::string describe(const Timings& timings) {
  return fmt::format("decode {:.1f} ms, run {:.1f} ms, encode {:.1f} ms", timings.decode,
                     timings.run, timings.encode);
}

void printError(std::string_view message) {
  fmt::print(stderr, "tlux: {}\n", oneLine(message));
}

void printWarning(std::string_view message) {
  fmt::print(stderr, "tlux: warning: {}\n", oneLine(message));
}

void printLine(std::string_view text) {
  fmt::print("{}\n", oneLine(text));
  std::fflush(stdout);
}

} // namespace tlux::app
