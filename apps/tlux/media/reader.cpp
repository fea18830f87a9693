#include "media/reader.hpp"

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "errors.hpp"

namespace tlux::app {

namespace {

/** An opened file; the container reads through a stream of its own, which goes after it. */
struct Source {
  IoPtr io;
  FormatPtr container;
};

Error unreadable(const std::filesystem::path& file, const std::string& reason) {
  return {ExitCode::kUnreadableInput, file.string(), reason};
}

/** Null when the content tells no known format. */
Source openByContent(const std::string& url) {
  Source source;
  AVIOContext* io = nullptr;
  check(avio_open(&io, url.c_str(), AVIO_FLAG_READ));
  source.io.reset(io);

  AVFormatContext* container = checkAllocated(avformat_alloc_context());
  container->pb = io;
  // Nothing inside a picture may make us open other files or addresses.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "none", 0);
  const int result = avformat_open_input(&container, nullptr, nullptr, &options);
  av_dict_free(&options);
  if (result == AVERROR_INVALIDDATA) return {};
  check(result);
  source.container.reset(container);
  return source;
}

/** For the few formats without a signature, such as TGA. */
Source openByExtension(const std::string& url) {
  AVFormatContext* container = nullptr;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  av_dict_set(&options, "pattern_type", "none", 0);
  const int result =
      avformat_open_input(&container, url.c_str(), av_find_input_format("image2"), &options);
  av_dict_free(&options);
  if (result < 0) throw std::runtime_error("is not a picture of a known kind");
  return {nullptr, FormatPtr(container)};
}

int findPictureStream(AVFormatContext& container) {
  if (container.nb_streams == 0) check(avformat_find_stream_info(&container, nullptr));
  const int stream = av_find_best_stream(&container, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (stream < 0) throw std::runtime_error("holds no picture");
  return stream;
}

CodecPtr openDecoder(const AVCodecParameters& parameters) {
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  if (codec == nullptr) {
    throw std::runtime_error(std::string("there is no decoder for ") +
                             avcodec_get_name(parameters.codec_id));
  }
  CodecPtr decoder(checkAllocated(avcodec_alloc_context3(codec)));
  check(avcodec_parameters_to_context(decoder.get(), &parameters));
  // A damaged picture is refused instead of patched up. The TIFF decoder would refuse harmless
  // unknown tags too, and notices missing data by itself.
  if (codec->id != AV_CODEC_ID_TIFF) decoder->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
  check(avcodec_open2(decoder.get(), codec, nullptr));
  return decoder;
}

/** Pictures come one by one out of a decoder that is fed from one stream of a container. */
class PictureStream {
 public:
  explicit PictureStream(AVFormatContext& container)
      : container_(container),
        stream_(findPictureStream(container)),
        decoder_(openDecoder(*container.streams[stream_]->codecpar)),
        packet_(checkAllocated(av_packet_alloc())) {}

  /** Null after the last picture. */
  FramePtr next() {
    FramePtr frame = makeFrame();
    while (true) {
      const int result = avcodec_receive_frame(decoder_.get(), frame.get());
      if (result == AVERROR_EOF) return nullptr;
      if (result != AVERROR(EAGAIN)) {
        check(result);
        return frame;
      }
      feed();
    }
  }

 private:
  void feed() {
    int result = 0;
    do {
      av_packet_unref(packet_.get());
      result = av_read_frame(&container_, packet_.get());
    } while (result >= 0 && packet_->stream_index != stream_);
    if (result != AVERROR_EOF) check(result);
    check(avcodec_send_packet(decoder_.get(), result == AVERROR_EOF ? nullptr : packet_.get()));
  }

  AVFormatContext& container_;
  int stream_;
  CodecPtr decoder_;
  PacketPtr packet_;
};

/** Formats of single pictures; cameras append further ones (previews, depth, gain maps) to them. */
bool isPictureFile(const AVInputFormat& format) {
  const std::string_view name = format.name;
  return name == "image2" || name.ends_with("_pipe");
}

FramePtr decodePicture(AVFormatContext& container) {
  PictureStream stream(container);
  FramePtr picture = stream.next();
  if (picture == nullptr) throw std::runtime_error("holds no picture");
  if (!isPictureFile(*container.iformat) && stream.next() != nullptr) {
    throw std::runtime_error("is a video or an animation, not a single picture");
  }
  return picture;
}

FramePtr decodeFile(const std::filesystem::path& file) {
  // The prefix keeps names such as "a:b.jpg" from being taken for an address.
  const std::string url = "file:" + file.string();
  Source source = openByContent(url);
  if (source.container == nullptr) source = openByExtension(url);
  return decodePicture(*source.container);
}

} // namespace

void checkReadable(const std::filesystem::path& file) {
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

Picture readPicture(const std::filesystem::path& file) {
  checkReadable(file);
  try {
    return toPicture(*decodeFile(file));
  } catch (const AvError& error) {
    throw unreadable(file, std::string("cannot be decoded: ") + error.what());
  } catch (const std::runtime_error& error) {
    throw unreadable(file, error.what());
  }
}

} // namespace tlux::app
