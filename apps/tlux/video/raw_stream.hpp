#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>

#include "media/raw.hpp"
#include "output/output_file.hpp"
#include "video/frame_pool.hpp"
#include "video/frame_stream.hpp"

namespace tlux::app {

/** Raw frames without gaps, from a file or standard input. */
class RawReader : public FrameSource {
 public:
  RawReader(const std::filesystem::path& file, const RawLayout& layout, AVRational frameRate);

  const StreamProperties& properties() const override { return properties_; }
  bool read(Portion& portion) override;

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::filesystem::path file_;
  std::unique_ptr<std::FILE, Close> stream_;
  StreamProperties properties_;
  FramePool frames_;
  int64_t count_ = 0;
};

/** Writes the library's even-sized frames, with chroma in the order of a format. */
class RawWriter : public FrameSink {
 public:
  /** @param pitch bytes from row to row, 0 for the width; bytes past the width are zero. */
  RawWriter(const std::filesystem::path& file, AVPixelFormat format, int pitch);

  void write(Portion portion) override;
  void finish() override { output_.publish(); }

 private:
  std::filesystem::path file_;
  OutputFile output_;
  AVPixelFormat format_;
  int pitch_;
  std::vector<uint8_t> content_;
};

} // namespace tlux::app
