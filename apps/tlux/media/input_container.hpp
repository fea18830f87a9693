#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "base/errors.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** An opened file; the container reads through a stream of its own, which goes after it. */
struct InputContainer {
  std::shared_ptr<AVIOContext> io;
  FormatPtr format;
  std::string reason; // why there is no format
};

Error unreadable(const std::filesystem::path& file, const std::string& reason);

/** Throws Error naming the file unless it is there, can be opened and is not empty. */
void checkReadable(const std::filesystem::path& file);

/** The name FFmpeg knows a file or standard input by. */
std::string inputUrl(const std::filesystem::path& file);

/** Without a format when the content tells no known one. Throws AvError. */
InputContainer openByContent(const std::filesystem::path& file);

/** The same of a file in memory, which has to outlive the container. */
InputContainer openByContent(std::span<const uint8_t> content);

/** Formats of single pictures; cameras append further ones (previews, depth, gain maps) to them. */
bool holdsOnePicture(const AVInputFormat& format);

/** The same of a file; also true of one that cannot be told from its content. */
bool holdsOnePicture(const std::filesystem::path& file);

/** A decoder that has yet to be opened. */
CodecPtr makeDecoder(const AVCodecParameters& parameters);

} // namespace tlux::app
