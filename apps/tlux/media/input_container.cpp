#include "media/input_container.hpp"

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "interruption.hpp"
#include "output_file.hpp"

namespace tlux::app {

Error unreadable(const std::filesystem::path& file, const std::string& reason) {
  return {ExitCode::kUnreadableInput, file.string(), reason};
}

void checkReadable(const std::filesystem::path& file) {
  if (isPipe(file)) return;
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) throw unreadable(file, "no such file");
  if (std::filesystem::is_directory(status)) throw unreadable(file, "is a folder");
  if (access(file.c_str(), R_OK) != 0) {
    throw unreadable(file, std::generic_category().message(errno));
  }
  if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(file, error) == 0) {
    throw unreadable(file, "is empty");
  }
}

std::string inputUrl(const std::filesystem::path& file) {
  // The prefix keeps names such as "a:b.jpg" from being taken for an address.
  return isPipe(file) ? "pipe:0" : "file:" + file.string();
}

InputContainer openByContent(const std::filesystem::path& file) {
  InputContainer source;
  AVIOContext* io = nullptr;
  const AVIOInterruptCB interruption = {[](void*) { return isReadInterrupted() ? 1 : 0; }, nullptr};
  check(avio_open2(&io, inputUrl(file).c_str(), AVIO_FLAG_READ, &interruption, nullptr));
  source.io.reset(io);

  AVFormatContext* container = checkAllocated(avformat_alloc_context());
  container->pb = io;
  // Nothing inside a file may make us open other files or addresses.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "none", 0);
  const int result = avformat_open_input(&container, nullptr, nullptr, &options);
  av_dict_free(&options);
  if (result == AVERROR_INVALIDDATA) return {nullptr, nullptr, AvError(result).what()};
  check(result);
  source.format.reset(container);
  return source;
}

bool holdsOnePicture(const AVInputFormat& format) {
  const std::string_view name = format.name;
  return name == "image2" || name.ends_with("_pipe");
}

bool holdsOnePicture(const std::filesystem::path& file) {
  checkReadable(file);
  try {
    const InputContainer container = openByContent(file);
    return container.format == nullptr || holdsOnePicture(*container.format->iformat);
  } catch (const AvError&) {
    return true; // the reader of pictures will tell what is wrong
  }
}

CodecPtr makeDecoder(const AVCodecParameters& parameters) {
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  if (codec == nullptr) {
    throw std::runtime_error(std::string("there is no decoder for ") +
                             avcodec_get_name(parameters.codec_id));
  }
  CodecPtr decoder(checkAllocated(avcodec_alloc_context3(codec)));
  check(avcodec_parameters_to_context(decoder.get(), &parameters));
  return decoder;
}

} // namespace tlux::app
