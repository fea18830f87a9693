#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tlux::app {

/** The name that stands for standard input or standard output. */
bool isPipe(const std::filesystem::path& name);

/**
 * What is being written. It grows under a temporary name in the target's folder and gets its final
 * name only once it is whole, so that the final name never holds half a file. What is not a regular
 * file (standard output, a named pipe, a device) is written as it stands.
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
  [[noreturn]] void fail(int reason) const;
  void openTemporary();

  std::filesystem::path target_;
  std::filesystem::path temporary_; // empty when the target is written directly
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
