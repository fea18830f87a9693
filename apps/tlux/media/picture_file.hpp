#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace tlux::app {

using Bytes = std::vector<uint8_t>;

/** What the first bytes of a file say it is, as far as that decides who reads it. */
enum class FileKind { kJpeg, kPng, kTiff, kWebp, kHeif, kJpegXl, kOther };

FileKind kindOf(std::span<const uint8_t> content);

/** The kind of a regular file; kOther for what would be used up by looking. */
FileKind kindOfFile(const std::filesystem::path& file);

/** An input that may be a picture. */
struct PictureFile {
  FileKind kind = FileKind::kOther;
  Bytes content;        // the whole file, unless a decoder had better read it bit by bit
  uint64_t size = 0;    // of the file in bytes
  bool isWhole = false; // whether the content is there
  std::optional<std::filesystem::file_time_type> modified; // of a regular file
};

/**
 * Loads files of pictures, and whatever cannot be read twice (standard input, a named pipe).
 * Throws Error naming the file.
 */
PictureFile loadPictureFile(const std::filesystem::path& file);

} // namespace tlux::app
