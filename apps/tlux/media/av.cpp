#include "media/av.hpp"

#include <utility>

namespace tlux::app {

namespace {

// One per thread, since several files may be processed at once.
thread_local std::string lastLogged;

void rememberError(void* /*context*/, int level, const char* format, va_list arguments) {
  if (level > AV_LOG_ERROR) return;
  char line[256] = "";
  int printPrefix = 0;
  // A null context omits the component's address from the text.
  av_log_format_line2(nullptr, level, format, arguments, line, sizeof line, &printPrefix);
  std::string text(line);
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) {
    text.pop_back();
  }
  lastLogged = std::move(text);
}

std::string describe(int code) {
  char reason[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(code, reason, sizeof reason);
  const std::string detail = std::exchange(lastLogged, {});
  return detail.empty() ? std::string(reason) : reason + (" (" + detail + ")");
}

} // namespace

AvError::AvError(int code) : std::runtime_error(describe(code)) {}

FramePtr makeFrame(AVPixelFormat format, int width, int height) {
  FramePtr frame = makeFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  check(av_frame_get_buffer(frame.get(), 0));
  return frame;
}

void captureAvLog() {
  av_log_set_callback(rememberError);
}

} // namespace tlux::app
