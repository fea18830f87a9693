#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "output/json.hpp"

namespace tlux::app {

/** Time since it was made or last asked, for the figures the command prints. */
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

/** Prints exactly one line on standard error, whatever characters file names bring along. */
void printError(std::string_view message);
void printWarning(std::string_view message);

/** Prints one line on standard output. Throws Error if that cannot be written. */
void printLine(std::string_view text);

/** Prints whole lines on standard output, likewise. */
void printText(std::string_view text);

/** Prints one line on standard error that is neither an error nor a warning. */
void printNote(std::string_view text);

/**
 * Shows a line on the terminal behind standard error until the next one takes its place; an empty
 * one takes it away. All other printing goes above it. Any thread may print.
 */
void showStatus(std::string_view text);

/** For the end of the program: leaves the line that is shown, what follows begins a new one. */
void endStatus();

/** "1 frame", "2 frames". */
std::string counted(int64_t number, std::string_view noun);

} // namespace tlux::app
