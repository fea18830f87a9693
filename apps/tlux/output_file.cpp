#include "output_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

#include "errors.hpp"

namespace tlux::app {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Path of the temporary being written, empty when there is none. Changed only while the signals
// that read it are held back.
char temporaryPath[PATH_MAX] = "";

extern "C" void removeTemporaryAndDie(int signal) {
  if (temporaryPath[0] != '\0') unlink(temporaryPath);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kSignals) {
      sigaddset(&set, signal);
    }
    pthread_sigmask(SIG_BLOCK, &set, &previous_);
  }
  ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

 private:
  sigset_t previous_;
};

/** The temporary file: open from construction on; gone at the end unless it was renamed. */
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target) : target_(target) {
    const std::string pattern = (target.parent_path() / ".tlux-XXXXXX").string();
    if (pattern.size() >= sizeof temporaryPath) fail(ENAMETOOLONG);
    const SignalsHeldBack guard;
    std::memcpy(temporaryPath, pattern.c_str(), pattern.size() + 1);
    descriptor_ = mkstemp(temporaryPath);
    if (descriptor_ < 0) {
      const int reason = errno;
      temporaryPath[0] = '\0';
      fail(reason);
    }
  }

  ~TemporaryFile() {
    if (descriptor_ >= 0) close(descriptor_);
    const SignalsHeldBack guard;
    if (temporaryPath[0] != '\0') unlink(temporaryPath);
    temporaryPath[0] = '\0';
  }

  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void write(std::span<const uint8_t> content) {
    while (!content.empty()) {
      const ssize_t written = ::write(descriptor_, content.data(), content.size());
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) fail(errno);
      content = content.subspan(static_cast<size_t>(written));
    }
  }

  void renameToTarget() {
    // Temporaries are private; the finished file gets the permissions any new file would.
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(descriptor_, 0666 & ~mask) != 0) fail(errno);
    if (close(std::exchange(descriptor_, -1)) != 0) fail(errno);
    const SignalsHeldBack guard;
    if (std::rename(temporaryPath, target_.c_str()) != 0) fail(errno);
    temporaryPath[0] = '\0';
  }

 private:
  [[noreturn]] void fail(int reason) const {
    throw Error(ExitCode::kFailed, target_.string(),
                "cannot write: " + std::generic_category().message(reason));
  }

  const std::filesystem::path& target_;
  int descriptor_ = -1;
};

} // namespace

void writeFileAtomically(const std::filesystem::path& target, std::span<const uint8_t> content) {
  TemporaryFile file(target);
  file.write(content);
  file.renameToTarget();
}

void removeTemporaryOnSignals() {
  for (const int signal : kSignals) {
    struct sigaction current = {};
    sigaction(signal, nullptr, &current);
    // A signal the parent has us ignore (nohup) stays ignored.
    if (current.sa_handler == SIG_IGN) continue;
    std::signal(signal, removeTemporaryAndDie);
  }
}

} // namespace tlux::app
