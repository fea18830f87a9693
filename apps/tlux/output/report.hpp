#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "output/json.hpp"

namespace tlux::app {

/** Time since construction or the last call, for the printed figures. */
class Stopwatch {
 public:
  double lapMilliseconds() {
    const Clock::time_point now = Clock::now();
    const std::chrono::duration<double, std::milli> lap = now - start_;
    start_ = now;
    return lap.count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};

struct Timings {
  double decode = 0; // milliseconds, including the conversion to the library's layout
  double run = 0;
  double encode = 0; // including the conversion back and the writing
};

std::string describe(const Timings& timings);
JsonObject toJson(const Timings& timings);

/** Prints exactly one line on standard error, even if file names contain control characters. */
void printError(std::string_view message);
void printWarning(std::string_view message);

/** Prints one line on standard output. Throws Error if that cannot be written. */
void printLine(std::string_view text);

/** Prints whole lines on standard output; throws likewise. */
void printText(std::string_view text);

/** Prints one line on standard error that is neither an error nor a warning. */
void printNote(std::string_view text);

/**
 * Shows a status line on standard error, if a terminal, until the next one replaces it; an empty
 * one removes it. All other output goes above it. Any thread may print.
 */
void showStatus(std::string_view text);

/** For the end of the program: keeps the status line and starts a new one. */
void endStatus();

/** "1 frame", "2 frames". */
std::string counted(int64_t number, std::string_view noun);

} // namespace tlux::app
