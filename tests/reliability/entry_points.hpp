#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>

#include "tlux/platform.h"

namespace tlux::test {

// What a call does when memory runs out.
enum class Failure {
  kReported, // it says so, and its output is untouched
  kPartial,  // it says so; what it has written by then is what the whole call writes
  kSilent,   // it has no result; its output, if it has one, is untouched
};

// An exported function that allocates or starts threads, with a tiny scene to call it on.
struct EntryPoint {
  const char* name;
  std::size_t outputBytes;
  // The output is input as well: it first holds beforePixels(). The call owns and releases
  // everything else.
  std::uint32_t (*call)(MMemMgr manager, std::uint8_t* output);
  Failure failure = Failure::kReported;
  bool mayDoWithout = false; // whether it can also do all it should without
  bool takesManager = true;
};

inline std::ostream& operator<<(std::ostream& out, const EntryPoint& entry) {
  return out << entry.name;
}

std::span<const EntryPoint> entryPoints();

// The bytes that every output holds before the call; the source of calls that copy.
std::span<const std::uint8_t> beforePixels();

} // namespace tlux::test
