#include "output/output_file.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "base/errors.hpp"
#include "output/report.hpp"

namespace tlux::app {

namespace {

/** The current temporary files; locked for every change, so a signal handler sees a consistent
 * list. */
struct Temporaries {
  std::mutex mutex;
  std::set<std::filesystem::path> paths;
};

Temporaries& temporaries() {
  // Never destroyed, since the signal thread may outlive everything else.
  static auto& instance = *new Temporaries;
  return instance;
}

void waitForSignal(sigset_t signals) {
  int signal = 0;
  sigwait(&signals, &signal);
  // Never unlocked: from here on no file is created or renamed.
  temporaries().mutex.lock();
  for (const std::filesystem::path& path : temporaries().paths) {
    unlink(path.c_str());
  }
  endStatus();
  std::signal(signal, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::raise(signal);
}

bool isIgnored(int signal) {
  struct sigaction current = {};
  sigaction(signal, nullptr, &current);
  return current.sa_handler == SIG_IGN;
}

/** The umask of the process; reading it changes it for a moment. */
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

std::filesystem::path folderOf(const std::filesystem::path& file) {
  return file.has_parent_path() ? file.parent_path() : ".";
}

std::string temporaryPattern(const std::filesystem::path& file) {
  return (file.parent_path() / ".tlux-XXXXXX").string();
}

/** A name in the folder of @p file that most likely does not exist. */
std::string unusedName(const std::filesystem::path& file) {
  static std::mutex mutex;
  static std::minstd_rand random(std::random_device{}());
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
  const std::lock_guard lock(mutex);
  std::string name = temporaryPattern(file);
  for (size_t i = name.size() - 6; i < name.size(); ++i) {
    name[i] = kLetters[random() % kLetters.size()];
  }
  return name;
}

/** A path by which an open file can be reopened or linked. */
std::string nameOf(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

/** The target of symbolic links, whether it exists or not; nothing if they form a loop. */
std::optional<std::filesystem::path> followLinks(std::filesystem::path file) {
  constexpr int kMostLinks = 40; // Linux's own limit
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code error;
    if (!std::filesystem::is_symlink(std::filesystem::symlink_status(file, error))) return file;
    const std::filesystem::path next = std::filesystem::read_symlink(file, error);
    if (error) return file;
    file = file.parent_path() / next; // an absolute path replaces the folder
  }
  return std::nullopt;
}

} // namespace

bool isPipe(const std::filesystem::path& name) {
  return name == "-";
}

OutputFile::OutputFile(const std::filesystem::path& target) : target_(target), file_(target) {
  if (isPipe(target)) {
    descriptor_ = dup(STDOUT_FILENO);
  } else if (isDirect(target)) {
    descriptor_ = open(target.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    const std::optional<std::filesystem::path> file = followLinks(target);
    if (!file) fail(ELOOP);
    file_ = *file;
    openWithoutName();
    if (descriptor_ < 0) openTemporary();
  }
  if (descriptor_ < 0) fail(errno);
}

void OutputFile::openWithoutName() {
  descriptor_ = open(folderOf(file_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor_ < 0) return;
  way_ = Way::kNameless;
  // Without /proc the file can be neither reopened nor linked.
  if (access(nameOf(descriptor_).c_str(), F_OK) == 0) return;
  close(std::exchange(descriptor_, -1));
}

void OutputFile::openTemporary() {
  std::string path = temporaryPattern(file_);
  const std::lock_guard lock(temporaries().mutex);
  descriptor_ = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) return;
  way_ = Way::kTemporary;
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
  switch (way_) {
    case Way::kNameless:
      return "file:" + nameOf(descriptor_);
    case Way::kTemporary:
      return "file:" + temporary_.string();
    default:
      return "file:" + target_.string();
  }
}

void OutputFile::publish() {
  if (way_ != Way::kDirect) finishContent();
  if (way_ == Way::kNameless) nameContent();
  if (close(std::exchange(descriptor_, -1)) != 0) fail(errno);
  if (way_ == Way::kTemporary) replaceTarget(temporary_);
}

/** Makes the content survive a power loss. Called before naming the file, which could otherwise be
 * found empty. */
void OutputFile::finishContent() {
  // Private until now; the finished file gets the permissions of any new file.
  if (fchmod(descriptor_, 0666 & ~permissionMask()) != 0) fail(errno);
  // Some user-space file systems do not support fsync().
  if (fsync(descriptor_) != 0 && errno != EINVAL && errno != ENOTSUP) fail(errno);
}

/** A link cannot replace an existing file in one step, so this uses a temporary name for a moment.
 */
void OutputFile::nameContent() {
  const std::string content = nameOf(descriptor_);
  const auto link = [&content](const std::string& name) {
    return linkat(AT_FDCWD, content.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
  };
  if (link(file_.string())) return;
  while (errno == EEXIST) {
    const std::string name = unusedName(file_);
    const std::lock_guard lock(temporaries().mutex);
    if (!link(name)) continue;
    temporary_ = name;
    temporaries().paths.insert(temporary_);
    break;
  }
  if (temporary_.empty()) fail(errno);
  replaceTarget(temporary_);
}

void OutputFile::replaceTarget(const std::filesystem::path& name) {
  const std::lock_guard lock(temporaries().mutex);
  if (std::rename(name.c_str(), file_.c_str()) != 0) fail(errno);
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
  // A reader that closes the pipe is treated like any failed write.
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // Signals that the parent made us ignore (nohup) stay ignored.
    if (!isIgnored(signal)) sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread(waitForSignal, signals).detach();
}

} // namespace tlux::app
