#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tlux::app {

/** The name that stands for standard input or standard output. */
bool isPipe(const std::filesystem::path& name);

/**
 * What is being written. It grows without a name in the target's folder and gets its name only once
 * it is whole and on the disk, so that the name never holds half a file. File systems that know no
 * files without a name (NFS, FAT and older network ones) get a temporary name, ".tlux-" and six
 * letters, which only a killed process leaves behind.
 * A symbolic link stays one: the file that it leads to is written. What is not a regular file
 * (standard output, a named pipe, a device) is written as it stands.
 * All functions throw Error naming the target.
 */
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& target);
  ~OutputFile(); // leaves nothing behind unless publish() was called
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::span<const uint8_t> content);

  /** Where FFmpeg writes the content, instead of write(). */
  std::string url() const;

  void publish();

 private:
  /** How the content gets to its name. */
  enum class Way { kDirect, kNameless, kTemporary };

  [[noreturn]] void fail(int reason) const;
  void openWithoutName();
  void openTemporary();
  void finishContent();
  void nameContent();
  void replaceTarget(const std::filesystem::path& name);

  std::filesystem::path target_; // as the user named it
  std::filesystem::path file_;   // what links lead to
  std::filesystem::path temporary_;
  Way way_ = Way::kDirect;
  int descriptor_ = -1;
};

/** Writes a whole file by way of OutputFile. */
void writeFileAtomically(const std::filesystem::path& target, std::span<const uint8_t> content);

/**
 * Makes Ctrl-C and a request to terminate remove the temporaries of all writes under way. Call it
 * before any other thread is started: the signals are left to a thread of their own.
 */
void removeTemporariesOnSignals();

} // namespace tlux::app
