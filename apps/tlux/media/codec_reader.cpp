#include "media/codec_reader.hpp"

#include "media/input_container.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

/** For the few formats without a signature, such as TGA. */
InputContainer openByExtension(const std::filesystem::path& file) {
  AVFormatContext* container = nullptr;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  av_dict_set(&options, "pattern_type", "none", 0);
  const int result = avformat_open_input(&container, inputUrl(file).c_str(),
                                         av_find_input_format("image2"), &options);
  av_dict_free(&options);
  if (result < 0) throw std::runtime_error("is not a picture or video");
  return {nullptr, FormatPtr(container), {}};
}

int findPictureStream(AVFormatContext& container) {
  if (container.nb_streams == 0) check(avformat_find_stream_info(&container, nullptr));
  const int stream = av_find_best_stream(&container, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (stream < 0) throw std::runtime_error("contains no picture");
  return stream;
}

CodecPtr openPictureDecoder(const AVCodecParameters& parameters) {
  CodecPtr decoder = makeDecoder(parameters);
  // Damaged pictures are refused instead of concealed. The TIFF decoder would also refuse harmless
  // unknown tags, and detects missing data anyway.
  if (decoder->codec_id != AV_CODEC_ID_TIFF) {
    decoder->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
  }
  check(avcodec_open2(decoder.get(), nullptr, nullptr));
  return decoder;
}

/** Decodes the pictures of one stream of a container, one by one. */
class PictureStream {
 public:
  explicit PictureStream(AVFormatContext& container)
      : container_(container),
        stream_(findPictureStream(container)),
        decoder_(openPictureDecoder(*container.streams[stream_]->codecpar)),
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

FramePtr decodePicture(AVFormatContext& container) {
  PictureStream stream(container);
  FramePtr picture = stream.next();
  if (picture == nullptr) throw std::runtime_error("contains no picture");
  if (!holdsOnePicture(*container.iformat) && stream.next() != nullptr) {
    throw std::runtime_error("is a video or an animation, not a single picture");
  }
  return picture;
}

InputContainer openPicture(const std::filesystem::path& file, const PictureFile& picture) {
  InputContainer source = picture.isWhole ? openByContent(picture.content) : openByContent(file);
  const bool canReadAgain = !isPipe(file) && std::filesystem::is_regular_file(file);
  if (source.format == nullptr && canReadAgain) source = openByExtension(file);
  if (source.format == nullptr) throw std::runtime_error("is not a picture or video");
  return source;
}

} // namespace

DecodedPicture readByCodec(const std::filesystem::path& file, const PictureFile& picture) {
  const InputContainer source = openPicture(file, picture);
  DecodedPicture decoded;
  decoded.frame = decodePicture(*source.format);
  return decoded;
}

} // namespace tlux::app
