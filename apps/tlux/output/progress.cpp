#include "output/progress.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "output/report.hpp"

namespace tlux::app {

namespace {

constexpr std::chrono::milliseconds kInterval(200);

std::string describeDuration(double seconds) {
  const auto whole = int64_t{std::lround(seconds)};
  return whole < 3600 ? fmt::format("{}:{:02}", whole / 60, whole % 60)
                      : fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

} // namespace

void Progress::expectFrames(int64_t frames) {
  const std::lock_guard lock(mutex_);
  frames_ += frames;
  isLengthKnown_ = isLengthKnown_ && frames > 0;
}

void Progress::frameDone() {
  const std::lock_guard lock(mutex_);
  ++framesDone_;
  if (Clock::now() - lastShown_ >= kInterval) show();
}

void Progress::fileDone() {
  const std::lock_guard lock(mutex_);
  ++filesDone_;
  if (files_ > 1) show();
}

void Progress::show() {
  if (!isShown_) return;
  lastShown_ = Clock::now();
  std::string text;
  if (files_ > 1) text += fmt::format("{} of {} files", filesDone_, files_);
  if (framesDone_ > 0) {
    const double seconds = std::chrono::duration<double>(lastShown_ - start_).count();
    const double rate = static_cast<double>(framesDone_) / std::max(seconds, 1e-3);
    if (!text.empty()) text += ", ";
    text += isLengthKnown_ ? fmt::format("{} of {}", framesDone_, counted(frames_, "frame"))
                           : counted(framesDone_, "frame");
    text += fmt::format(", {:.1f} per second", rate);
    if (isLengthKnown_ && frames_ > framesDone_) {
      text += fmt::format(", {} left",
                          describeDuration(static_cast<double>(frames_ - framesDone_) / rate));
    }
  }
  showStatus(text);
}

void Progress::hide() {
  if (isShown_) showStatus({});
}

bool isTerminalWatched() {
  return isatty(STDERR_FILENO) == 1;
}

} // namespace tlux::app
