#include "output/report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <system_error>

#include "base/errors.hpp"

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

bool write(std::FILE* stream, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
         std::fflush(stream) == 0;
}

/** Returns 0, or the error number if the text could not be written. */
int print(std::FILE* stream, std::string_view text) {
  const std::lock_guard lock(mutex);
  if (!status.empty()) write(stderr, kClearLine);
  const int reason = write(stream, text) ? 0 : errno;
  if (!status.empty()) write(stderr, status);
  return reason;
}

/** Failures are ignored: there is nowhere to report them. */
void printToErrors(std::string_view prefix, std::string_view text) {
  print(stderr, fmt::format("{}{}\n", prefix, oneLine(text)));
}

} // namespace

std::string describe(const Timings& timings) {
  return fmt::format("decode {:.1f} ms, run {:.1f} ms, encode {:.1f} ms", timings.decode,
                     timings.run, timings.encode);
}

JsonObject toJson(const Timings& timings) {
  return JsonObject()
      .add("decode", timings.decode, 3)
      .add("run", timings.run, 3)
      .add("encode", timings.encode, 3);
}

void printError(std::string_view message) {
  printToErrors("tlux: ", message);
}

void printWarning(std::string_view message) {
  printToErrors("tlux: warning: ", message);
}

void printNote(std::string_view text) {
  printToErrors("tlux: ", text);
}

void printLine(std::string_view text) {
  printText(oneLine(text) + "\n");
}

void printText(std::string_view text) {
  const int reason = print(stdout, text);
  if (reason == 0) return;
  throw Error(ExitCode::kFailed, "standard output",
              "cannot write: " + std::generic_category().message(reason));
}

void showStatus(std::string_view text) {
  const std::lock_guard lock(mutex);
  if (!status.empty() || !text.empty()) write(stderr, kClearLine + oneLine(text));
  status = text;
}

void endStatus() {
  // Does not wait: another thread may be blocked by the terminal, and the program is about to end.
  const std::unique_lock lock(mutex, std::try_to_lock);
  if (!lock || status.empty()) return;
  write(stderr, "\n");
  status.clear();
}

std::string counted(int64_t number, std::string_view noun) {
  return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

} // namespace tlux::app
