#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace tlux::app {

using Bytes = std::vector<uint8_t>;

/** The kind of a file by its first bytes, as far as it decides who reads it. */
enum class FileKind { kJpeg, kPng, kTiff, kWebp, kHeif, kJpegXl, kOther };

FileKind kindOf(std::span<const uint8_t> content);

/** The kind of a regular file; kOther for anything that reading would consume. */
FileKind kindOfFile(const std::filesystem::path& file);

/** An input that may be a picture. */
struct PictureFile {
  FileKind kind = FileKind::kOther;
  Bytes content;        // the whole file, unless a decoder should stream it
  uint64_t size = 0;    // of the file in bytes
  bool isWhole = false; // whether the content is complete
  std::optional<std::filesystem::file_time_type> modified; // of a regular file
};

/**
 * Loads picture files, and inputs that cannot be read twice (standard input, a named pipe).
 * Throws Error naming the file.
 */
PictureFile loadPictureFile(const std::filesystem::path& file);

} // namespace tlux::app
