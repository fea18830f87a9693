#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "support/frame.hpp"
#include "tlux/stream.h"

namespace tlux::test {

inline TLUX_STREAM_OPTIONS streamOptions(std::uint32_t tones) {
  TLUX_STREAM_OPTIONS options;
  EXPECT_EQ(TLUX_InitStreamOptions(&options, sizeof options, tones), TLUX_OK);
  return options;
}

// A stream that lives as long as its scope.
class ScopedStream {
 public:
  explicit ScopedStream(const TLUX_STREAM_OPTIONS& options, MMemMgr manager = nullptr) {
    EXPECT_EQ(TLUX_OpenStream(manager, &options, &stream_), TLUX_OK);
  }
  explicit ScopedStream(std::uint32_t tones) : ScopedStream(streamOptions(tones)) {}
  ScopedStream(const ScopedStream&) = delete;
  ScopedStream& operator=(const ScopedStream&) = delete;
  ~ScopedStream() { TLUX_CloseStream(&stream_); }

  TLUX_STREAM* get() { return stream_; }
  std::uint32_t run(Frame& source, Frame& output, std::uint32_t strength) {
    return TLUX_RunStream(stream_, &source.image(), &output.image(), strength);
  }

 private:
  TLUX_STREAM* stream_ = nullptr;
};

} // namespace tlux::test
