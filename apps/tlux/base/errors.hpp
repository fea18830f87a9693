#pragma once

#include <stdexcept>
#include <string>

namespace tlux::app {

/** Exit codes of the command. With several files, the highest code is returned. */
enum class ExitCode : int {
  kDone = 0,
  kUsage = 1,           // invalid command line
  kUnreadableInput = 2, // missing, damaged or of an unknown kind
  kFailed = 3,          // processing failed or the output cannot be written
};

/** A failure reported to the user in one line: the file or option concerned, and the reason. */
class Error : public std::runtime_error {
 public:
  Error(ExitCode code, const std::string& subject, const std::string& reason)
      : std::runtime_error(subject + ": " + reason), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

} // namespace tlux::app
