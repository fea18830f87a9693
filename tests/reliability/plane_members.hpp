#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <span>
#include <vector>

#include "reference/guided_filter.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::test {

using reference::Size;

// The memory of one call: rows of samples and their pitch in bytes.
struct PlaneCall {
  const std::uint8_t* input;
  int inputPitch;
  Size inputSize;
  std::uint8_t* output;
  int outputPitch;
  Size size;
};

// An exported function of planes and its bit-exact formula.
struct PlaneMember {
  const char* name;
  int inputBytes; // a pixel
  int outputBytes;
  std::uint32_t (*apply)(const PlaneCall& call);
  // Of rows end to end.
  std::vector<std::uint8_t> (*formula)(const std::vector<std::uint8_t>& input, Size inputSize,
                                       Size size);
  bool isPacked = false; // takes rows end to end only
  Size (*inputSize)(Size size) = [](Size size) { return size; };
};

inline std::ostream& operator<<(std::ostream& out, const PlaneMember& member) {
  return out << member.name;
}

std::span<const PlaneMember> planeMembers();

// Whether the member's output for the samples that fill(row) puts into its input equals its
// formula's, and nothing else is touched. Planes have this many samples between their rows; packed
// planes have none.
struct Gaps {
  int input;
  int output;
};
bool followsItsFormula(const PlaneMember& member, Size size, Gaps gaps, Guard guard,
                       const std::function<void(std::span<std::uint8_t> row)>& fill);

} // namespace tlux::test
