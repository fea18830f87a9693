#pragma once

#include <array>
#include <cstdint>

#include "base/result.hpp"
#include "gain/gain_table.hpp"
#include "score/steadiness.hpp"
#include "stream/crew.hpp"
#include "stream/frame_memory.hpp"
#include "stream/render.hpp"
#include "tlux/stream.h"

// The record behind the interface; see tlux/stream.h for what each call does.
struct TLUX_STREAM {
 public:
  TLUX_STREAM(MMemMgr manager, const TLUX_STREAM_OPTIONS& options);

  MMemMgr manager() const { return manager_; }
  tlux::detail::Result change(const TLUX_STREAM_OPTIONS& options);
  tlux::detail::Result run(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                           std::uint32_t strength);
  void reset();
  tlux::detail::Result report(TLUX_STREAM_REPORT& report) const;

 private:
  tlux::detail::Result optimize(const tlux::detail::StreamFrame& frame, std::uint32_t strength);
  tlux::detail::Result scoreReference(tlux::detail::Steadiness& steadiness);
  void mapReference();
  void updateGainTable(std::uint32_t strength);
  void fillGains() const;

  MMemMgr manager_;
  TLUX_STREAM_OPTIONS options_;
  tlux::detail::Crew crew_;
  tlux::detail::FrameMemory memory_;

  tlux::detail::Steadiness steadiness_;
  bool hasReport_ = false;

  std::uint32_t tableStrength_ = 0;
  bool hasTable_ = false;
  std::array<std::uint16_t, tlux::detail::kGainTableEntries> gainTable_;
};

namespace tlux::detail {

// Bytes of a pool for a stream and frames up to this size.
std::int64_t streamPoolBytes(const TLUX_STREAM_OPTIONS& options, std::int32_t width,
                             std::int32_t height);

} // namespace tlux::detail
