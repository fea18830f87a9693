#include <new>
#include <utility>

#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "stream/options.hpp"
#include "stream/stream.hpp"

using namespace tlux::detail;

namespace {

constexpr bool isEvenSide(int32_t side) {
  return side >= 2 && side % 2 == 0;
}

} // namespace

uint32_t TLUX_InitStreamOptions(TLUX_STREAM_OPTIONS* options, uint32_t size,
                                uint32_t tones) noexcept {
  if (options == nullptr || size != sizeof *options || tones > TLUX_TONES_NATURAL) {
    return TLUX_ERR_INVALID_PARAM;
  }
  *options = optionsFor(tones);
  return TLUX_OK;
}

uint32_t TLUX_OpenStream(MMemMgr manager, const TLUX_STREAM_OPTIONS* options,
                         TLUX_STREAM** out) noexcept {
  if (out == nullptr) return TLUX_ERR_INVALID_PARAM;
  *out = nullptr;
  TLUX_STREAM_OPTIONS chosen;
  const Result read = readOptions(options, chosen);
  if (read != Result::kOk) return codeOf(read);
  void* memory = allocateBytes(manager, sizeof(TLUX_STREAM));
  if (memory == nullptr) return TLUX_ERR_NO_MEMORY;
  *out = new (memory) TLUX_STREAM(manager, chosen);
  return TLUX_OK;
}

uint32_t TLUX_ChangeStream(TLUX_STREAM* stream, const TLUX_STREAM_OPTIONS* options) noexcept {
  TLUX_STREAM_OPTIONS chosen;
  if (stream == nullptr || options == nullptr) return TLUX_ERR_INVALID_PARAM;
  const Result read = readOptions(options, chosen);
  return codeOf(read != Result::kOk ? read : stream->change(chosen));
}

uint32_t TLUX_RunStream(TLUX_STREAM* stream, const TLUX_IMAGE* source, const TLUX_IMAGE* output,
                        uint32_t strength) noexcept {
  if (stream == nullptr || source == nullptr || output == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(stream->run(*source, *output, strength));
}

void TLUX_ResetStream(TLUX_STREAM* stream) noexcept {
  if (stream != nullptr) stream->reset();
}

uint32_t TLUX_ReadStreamReport(const TLUX_STREAM* stream, TLUX_STREAM_REPORT* report) noexcept {
  if (stream == nullptr || report == nullptr || report->size != sizeof *report) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(stream->report(*report));
}

uint64_t TLUX_GetStreamPoolSize(const TLUX_STREAM_OPTIONS* options, int32_t width,
                                int32_t height) noexcept {
  TLUX_STREAM_OPTIONS chosen;
  const bool isRead = readOptions(options, chosen) == Result::kOk;
  if (!isRead || !isEvenSide(width) || !isEvenSide(height)) return 0;
  const std::int64_t bytes = streamPoolBytes(chosen, width, height);
  return bytes < kNoPool ? static_cast<uint64_t>(bytes) : 0;
}

void TLUX_CloseStream(TLUX_STREAM** stream) noexcept {
  if (stream == nullptr || *stream == nullptr) return;
  TLUX_STREAM* closed = std::exchange(*stream, nullptr);
  MMemMgr manager = closed->manager();
  closed->~TLUX_STREAM();
  MMemFree(manager, closed);
}
