#pragma once

#include <filesystem>
#include <optional>

#include "media/input_container.hpp"
#include "video/frame_import.hpp"
#include "video/frame_stream.hpp"

namespace tlux::app {

struct ReadingOptions {
  bool turnsUpright = false; // if the output does not support a display matrix
  bool fullRange = false;    // if the output is full range
  bool isStrict = false;     // treats damage as a failure
  int threads = 0;           // 0 for one per processor
};

/** The frames of a video in any container, with the packets of its other streams. */
class VideoReader : public FrameSource {
 public:
  /** Decodes up to the first frame. Throws Error naming the file. */
  VideoReader(const std::filesystem::path& file, const ReadingOptions& options);

  const StreamProperties& properties() const override { return properties_; }
  bool read(Portion& portion) override;
  std::vector<std::string> remarks() const override;

 private:
  void open(const ReadingOptions& options);
  void openDecoder(int threads);
  void describe(const AVFrame& first, Orientation orientation);
  bool decode(std::vector<PacketPtr>& packets);
  bool feed(std::vector<PacketPtr>& packets);
  void remember(const AVPacket& packet);
  void noteDamage();
  void endOfPackets(int reason);
  bool isCutShort() const;
  void setTimes(AVFrame& frame);
  AVStream& stream() const { return *container_.format->streams[properties_.stream]; }

  std::filesystem::path file_;
  InputContainer container_;
  CodecPtr decoder_;
  StreamProperties properties_;
  std::optional<FrameImporter> importer_;
  FramePtr decoded_ = makeFrame();
  std::vector<PacketPtr> packetsBeforeFirst_;
  bool holdsFirst_ = false;
  bool packetsEnded_ = false;
  int64_t lastByte_ = 0; // where the last packet ends in the file
  int64_t lastTime_ = 0; // where the latest packet ends, in AV_TIME_BASE
  bool isLastCorrupt_ = false;
  int64_t lastPts_ = 0;
  bool hasTimes_ = false;
  int64_t damaged_ = 0;
  bool isStrict_ = false;
  std::vector<std::string> remarks_;
};

} // namespace tlux::app
