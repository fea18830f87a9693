#include "media/input_container.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/interruption.hpp"
#include "media/picture_file.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

/** A file in memory and the position of the next read. */
struct Memory {
  std::span<const uint8_t> content;
  size_t position = 0;

  static int read(void* opaque, uint8_t* target, int size) {
    Memory& memory = *static_cast<Memory*>(opaque);
    const size_t count =
        std::min(static_cast<size_t>(size), memory.content.size() - memory.position);
    if (count == 0) return AVERROR_EOF;
    std::memcpy(target, memory.content.data() + memory.position, count);
    memory.position += count;
    return static_cast<int>(count);
  }

  static int64_t seek(void* opaque, int64_t offset, int whence) {
    Memory& memory = *static_cast<Memory*>(opaque);
    const auto size = static_cast<int64_t>(memory.content.size());
    if (whence == AVSEEK_SIZE) return size;
    if (whence == SEEK_CUR) offset += static_cast<int64_t>(memory.position);
    if (whence == SEEK_END) offset += size;
    if (offset < 0 || offset > size) return AVERROR(EINVAL);
    memory.position = static_cast<size_t>(offset);
    return offset;
  }
};

InputContainer openContainer(std::shared_ptr<AVIOContext> io) {
  InputContainer source;
  source.io = std::move(io);
  AVFormatContext* container = checkAllocated(avformat_alloc_context());
  container->pb = source.io.get();
  // A file must not make us open other files or addresses.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "none", 0);
  const int result = avformat_open_input(&container, nullptr, nullptr, &options);
  av_dict_free(&options);
  if (result == AVERROR_INVALIDDATA) return {nullptr, nullptr, AvError(result).what()};
  check(result);
  source.format.reset(container);
  return source;
}

} // namespace

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
  // The prefix keeps names such as "a:b.jpg" from being parsed as a URL.
  return isPipe(file) ? "pipe:0" : "file:" + file.string();
}

InputContainer openByContent(const std::filesystem::path& file) {
  AVIOContext* io = nullptr;
  const AVIOInterruptCB interruption = {[](void*) { return isReadInterrupted() ? 1 : 0; }, nullptr};
  check(avio_open2(&io, inputUrl(file).c_str(), AVIO_FLAG_READ, &interruption, nullptr));
  return openContainer({io, [](AVIOContext* context) { avio_close(context); }});
}

InputContainer openByContent(std::span<const uint8_t> content) {
  constexpr int kBufferBytes = 1 << 15;
  auto memory = std::make_unique<Memory>(Memory{content});
  auto* buffer = checkAllocated(static_cast<uint8_t*>(av_malloc(kBufferBytes)));
  AVIOContext* io = avio_alloc_context(buffer, kBufferBytes, 0, memory.get(), Memory::read, nullptr,
                                       Memory::seek);
  if (io == nullptr) av_free(buffer);
  checkAllocated(io);
  return openContainer({io, [owned = memory.release()](AVIOContext* context) {
                          av_freep(&context->buffer); // FFmpeg may have replaced it
                          avio_context_free(&context);
                          delete owned;
                        }});
}

bool holdsOnePicture(const AVInputFormat& format) {
  const std::string_view name = format.name;
  return name == "image2" || name.ends_with("_pipe");
}

bool holdsOnePicture(const std::filesystem::path& file) {
  checkReadable(file);
  if (kindOfFile(file) == FileKind::kHeif) return true; // FFmpeg treats these as videos
  try {
    const InputContainer container = openByContent(file);
    return container.format == nullptr || holdsOnePicture(*container.format->iformat);
  } catch (const AvError&) {
    return true; // the picture reader will report the problem
  }
}

CodecPtr makeDecoder(const AVCodecParameters& parameters) {
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  if (parameters.codec_id == AV_CODEC_ID_NONE) {
    throw std::runtime_error("is not a picture or video");
  }
  if (codec == nullptr) {
    throw std::runtime_error(std::string("there is no decoder for ") +
                             avcodec_get_name(parameters.codec_id));
  }
  CodecPtr decoder(checkAllocated(avcodec_alloc_context3(codec)));
  check(avcodec_parameters_to_context(decoder.get(), &parameters));
  return decoder;
}

} // namespace tlux::app
