#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tlux::app {

/** Whether the name means standard input or output. */
bool isPipe(const std::filesystem::path& name);

/**
 * An output file. It is written without a name in the target's folder and gets its name only once
 * it is complete and on disk, so no incomplete file is ever visible. On file systems without
 * unnamed files (NFS, FAT and older network ones) it has a temporary name, ".tlux-" and six
 * letters, which only a killed process leaves behind. If the target is a symbolic link, the file it
 * points to is written. Anything but a regular file (standard output, a named pipe, a device) is
 * written directly. All functions throw Error naming the target.
 */
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& target);
  ~OutputFile(); // removes the file unless publish() was called
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::span<const uint8_t> content);

  /** URL for FFmpeg to write the content to, instead of write(). */
  std::string url() const;

  void publish();

 private:
  /** How the content gets its name. */
  enum class Way { kDirect, kNameless, kTemporary };

  [[noreturn]] void fail(int reason) const;
  void openWithoutName();
  void openTemporary();
  void finishContent();
  void nameContent();
  void replaceTarget(const std::filesystem::path& name);

  std::filesystem::path target_; // as given by the user
  std::filesystem::path file_;   // with links resolved
  std::filesystem::path temporary_;
  Way way_ = Way::kDirect;
  int descriptor_ = -1;
};

/** Writes a whole file through OutputFile. */
void writeFileAtomically(const std::filesystem::path& target, std::span<const uint8_t> content);

/**
 * Removes the temporary files of all current writes on Ctrl-C or a termination request. Call it
 * before starting any other thread: a separate thread handles the signals.
 */
void removeTemporariesOnSignals();

} // namespace tlux::app
