#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "base/errors.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** An opened file; the container reads through its own stream, which must outlive it. */
struct InputContainer {
  std::shared_ptr<AVIOContext> io;
  FormatPtr format;
  std::string reason; // why no format was found
};

Error unreadable(const std::filesystem::path& file, const std::string& reason);

/** Throws Error naming the file unless it exists, can be opened and is not empty. */
void checkReadable(const std::filesystem::path& file);

/** FFmpeg's URL for a file or standard input. */
std::string inputUrl(const std::filesystem::path& file);

/** Has no format if the content is of no known one. Throws AvError. */
InputContainer openByContent(const std::filesystem::path& file);

/** The same for a file in memory, which must outlive the container. */
InputContainer openByContent(std::span<const uint8_t> content);

/** Formats of single pictures; cameras append further ones (previews, depth, gain maps) to them. */
bool holdsOnePicture(const AVInputFormat& format);

/** The same for a file; also true if its content is not recognised. */
bool holdsOnePicture(const std::filesystem::path& file);

/** A decoder that is not open yet. */
CodecPtr makeDecoder(const AVCodecParameters& parameters);

} // namespace tlux::app
