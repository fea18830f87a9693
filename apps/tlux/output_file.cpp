#include "output_file.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "errors.hpp"

namespace tlux::app {

namespace {

/** The temporaries under way; locked for every change, so that a signal finds each or none. */
struct Temporaries {
  std::mutex mutex;
  std::set<std::filesystem::path> paths;
};

Temporaries& temporaries() {
  // Never destroyed: the thread that waits for signals may outlive everything else.
  static auto& instance = *new Temporaries;
  return instance;
}

void waitForSignal(sigset_t signals) {
  int signal = 0;
  sigwait(&signals, &signal);
  // Held to the end: from here on nothing is made or renamed.
  temporaries().mutex.lock();
  for (const std::filesystem::path& path : temporaries().paths) {
    unlink(path.c_str());
  }
  std::signal(signal, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::raise(signal);
}

bool isIgnored(int signal) {
  struct sigaction current = {};
  sigaction(signal, nullptr, &current);
  return current.sa_handler == SIG_IGN;
}

/** What the process takes from the permissions of new files; asking changes it for a moment. */
mode_t permissionMask() {
  static const mode_t mask = [] {
    const mode_t current = umask(0);
    umask(current);
    return current;
  }();
  return mask;
}

bool isDirect(const std::filesystem::path& target) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(target, error);
  return std::filesystem::is_character_file(status) || std::filesystem::is_fifo(status) ||
         std::filesystem::is_block_file(status) || std::filesystem::is_socket(status);
}

} // namespace

bool isPipe(const std::filesystem::path& name) {
  return name == "-";
}

OutputFile::OutputFile(const std::filesystem::path& target) : target_(target) {
  if (isPipe(target)) {
    descriptor_ = dup(STDOUT_FILENO);
  } else if (isDirect(target)) {
    descriptor_ = open(target.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    openTemporary();
  }
  if (descriptor_ < 0) fail(errno);
}

void OutputFile::openTemporary() {
  std::string path = (target_.parent_path() / ".tlux-XXXXXX").string();
  const std::lock_guard lock(temporaries().mutex);
  descriptor_ = mkstemp(path.data());
  if (descriptor_ < 0) return;
  temporary_ = path;
  temporaries().paths.insert(temporary_);
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (temporary_.empty()) return;
  const std::lock_guard lock(temporaries().mutex);
  unlink(temporary_.c_str());
  temporaries().paths.erase(temporary_);
}

void OutputFile::write(std::span<const uint8_t> content) {
  while (!content.empty()) {
    const ssize_t written = ::write(descriptor_, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    content = content.subspan(static_cast<size_t>(written));
  }
}

std::string OutputFile::url() const {
  if (isPipe(target_)) return "pipe:1";
  return "file:" + (temporary_.empty() ? target_ : temporary_).string();
}

void OutputFile::publish() {
  // Temporaries are private; the finished file gets the permissions any new file would.
  if (!temporary_.empty() && fchmod(descriptor_, 0666 & ~permissionMask()) != 0) fail(errno);
  if (close(std::exchange(descriptor_, -1)) != 0) fail(errno);
  if (temporary_.empty()) return;
  const std::lock_guard lock(temporaries().mutex);
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
  temporaries().paths.erase(std::exchange(temporary_, {}));
}

void OutputFile::fail(int reason) const {
  throw Error(ExitCode::kFailed, target_.string(),
              "cannot write: " + std::generic_category().message(reason));
}

void writeFileAtomically(const std::filesystem::path& target, std::span<const uint8_t> content) {
  OutputFile file(target);
  file.write(content);
  file.publish();
}

void removeTemporariesOnSignals() {
  // A reader that goes away is a failed write like any other.
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // A signal the parent has us ignore (nohup) stays ignored.
    if (!isIgnored(signal)) sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread(waitForSignal, signals).detach();
}

} // namespace tlux::app
