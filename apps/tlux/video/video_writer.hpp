#pragma once

#include <filesystem>
#include <map>
#include <optional>

#include "output/output_file.hpp"
#include "video/frame_export.hpp"
#include "video/frame_import.hpp"
#include "video/frame_stream.hpp"
#include "video/stream_copy.hpp"
#include "video/video_format.hpp"

namespace tlux::app {

struct WritingOptions {
  std::string encoder; // FFmpeg's name; empty for the container's default
  std::string preset;  // of the encoder; empty for its default
  int quality = 92;    // 1 to 100, for lossy encoders
  bool wholeChroma = false;
  int threads = 0; // 0 for one per processor
};

/** Encodes frames into a container and copies the other streams of their source. */
class VideoWriter : public FrameSink {
 public:
  VideoWriter(const std::filesystem::path& file, const VideoFormat& format,
              const WritingOptions& options, const StreamProperties& properties);

  void write(Portion portion) override;
  void finish() override;

  const char* encoderName() const { return encoder_->codec->name; }

  /** What the encoder and the container cannot preserve. */
  std::vector<std::string> remarks() const;

 private:
  std::string describeDepth() const;
  void open(const VideoFormat& format, const WritingOptions& options);
  void openEncoder(const VideoFormat& format, const WritingOptions& options);
  void addVideoStream(const VideoFormat& format);
  void encode(FramePtr frame);
  void drain();
  template <typename Work>
  void attempt(Work work);

  std::filesystem::path file_;
  StreamProperties properties_;
  OutputFile output_;
  IoPtr io_;
  OutputFormatPtr container_;
  CodecPtr encoder_;
  AVStream* stream_ = nullptr;
  std::optional<StreamCopies> copies_;
  std::optional<FrameExporter> exporter_;
  std::map<int64_t, int64_t> durations_; // of frames in the encoder, by their time
  int64_t nextPts_ = INT64_MIN;
  PacketPtr packet_;
};

} // namespace tlux::app
