#include "video/raw_stream.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "media/input_container.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

std::FILE* openInput(const std::filesystem::path& file) {
  checkReadable(file);
  std::FILE* stream = isPipe(file) ? stdin : std::fopen(file.c_str(), "rb");
  if (stream == nullptr) throw unreadable(file, std::generic_category().message(errno));
  // Whole frames are read, so buffering would only copy.
  std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

/** The number of frames if it is known before reading; for a pipe it is not. */
int64_t countFrames(const std::filesystem::path& file, const RawLayout& layout) {
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(file, error);
  if (error) return 0;
  const auto frame = static_cast<std::uintmax_t>(semiPlanarBytes(layout.height, layout.pitch));
  if (bytes % frame != 0) {
    throw unreadable(
        file, fmt::format("has {} bytes, but raw frames of {}x{} with rows of {} bytes have {}",
                          bytes, layout.width, layout.height, layout.pitch, frame));
  }
  return static_cast<int64_t>(bytes / frame);
}

} // namespace

RawReader::RawReader(const std::filesystem::path& file, const RawLayout& layout,
                     AVRational frameRate)
    : file_(file), stream_(openInput(file)), frames_([layout] {
        FramePtr frame = makeSemiPlanar(layout.format, layout.width, layout.height, layout.pitch);
        frame->colorspace = AVCOL_SPC_BT470BG;
        frame->pkt_duration = 1;
        return frame;
      }) {
  properties_.width = layout.width;
  properties_.height = layout.height;
  properties_.timeBase = av_inv_q(frameRate);
  properties_.frameRate = frameRate;
  properties_.matrix = AVCOL_SPC_BT470BG;
  properties_.frameCount = countFrames(file, layout);
}

bool RawReader::read(Portion& portion) {
  FramePtr frame = frames_.take();
  const auto wanted = static_cast<size_t>(semiPlanarBytes(frame->height, frame->linesize[0]));
  const size_t got = std::fread(frame->data[0], 1, wanted, stream_.get());
  if (std::ferror(stream_.get()) != 0) {
    throw unreadable(file_, std::generic_category().message(errno));
  }
  if (got == 0 && count_ > 0) return false;
  if (got < wanted) {
    throw unreadable(file_, got == 0 ? std::string("is empty")
                                     : fmt::format("ends in the middle of frame {}", count_ + 1));
  }
  frame->pts = count_++;
  portion.frame = std::move(frame);
  return true;
}

RawWriter::RawWriter(const std::filesystem::path& file, AVPixelFormat format, int pitch)
    : file_(file), output_(file), format_(format), pitch_(pitch) {}

void RawWriter::write(Portion portion) {
  if (portion.frame != nullptr) {
    output_.write(packRaw(*portion.frame, file_, format_, pitch_, content_));
  }
}

} // namespace tlux::app
