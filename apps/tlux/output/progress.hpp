#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace tlux::app {

/** Shows the progress over all files on the terminal. Any thread may report. */
class Progress {
 public:
  /** @param isShown false to show nothing. */
  Progress(int64_t files, bool isShown) : files_(files), isShown_(isShown) {}
  ~Progress() { hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /** A video begins; @p frames is 0 if its length is unknown. */
  void expectFrames(int64_t frames);
  void frameDone();
  void fileDone();

 private:
  using Clock = std::chrono::steady_clock;

  void show();
  void hide();

  std::mutex mutex_;
  int64_t files_;
  bool isShown_;
  int64_t filesDone_ = 0;
  int64_t frames_ = 0;
  int64_t framesDone_ = 0;
  bool isLengthKnown_ = true;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastShown_;
};

/** Whether standard error is a terminal. */
bool isTerminalWatched();

} // namespace tlux::app
