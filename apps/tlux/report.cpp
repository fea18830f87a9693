#include "report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

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

constexpr const char* kClearLine = "\r\x1b[K";

std::mutex mutex;
std::string status;

void print(std::FILE* stream, std::string_view prefix, std::string_view text) {
  const std::lock_guard lock(mutex);
  if (!status.empty()) fmt::print(stderr, "{}", kClearLine);
  fmt::print(stream, "{}{}\n", prefix, oneLine(text));
  std::fflush(stream);
  if (!status.empty()) fmt::print(stderr, "{}", status);
}

} // namespace

std::string describe(const Timings& timings) {
  return fmt::format("decode {:.1f} ms, run {:.1f} ms, encode {:.1f} ms", timings.decode,
                     timings.run, timings.encode);
}

void printError(std::string_view message) {
  print(stderr, "tlux: ", message);
}

void printWarning(std::string_view message) {
  print(stderr, "tlux: warning: ", message);
}

void printLine(std::string_view text) {
  print(stdout, "", text);
}

void printNote(std::string_view text) {
  print(stderr, "tlux: ", text);
}

void showStatus(std::string_view text) {
  const std::lock_guard lock(mutex);
  if (!status.empty() || !text.empty()) fmt::print(stderr, "{}{}", kClearLine, oneLine(text));
  std::fflush(stderr);
  status = text;
}

} // namespace tlux::app
