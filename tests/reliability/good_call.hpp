#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "reliability/fault_sweep.hpp"
#include "reliability/pinned_bytes.hpp"
#include "support/random.hpp"
#include "tlux.h"

namespace tlux::test {

// Everything the calls read and write.
struct CallMemory {
  alignas(16) std::uint8_t bytes[3][2048];
  std::int16_t shorts[3][1024];
  std::uint16_t words[2][1024];
  std::int32_t ints[4][64];
  std::uint32_t counts[2][512];
  std::int64_t indices[64];
  float floats[4][64];
  double doubles[300];
  TLUX_IMAGE source, target, other;
  TLUX_RECT rect;
  TLUX_PICTURE picture;
  img simple[4];
  std::uint8_t* rows[4][8];
  TLUX_REGION regions[2];
  TLUX_MASK_AGREEMENT agreement;
  TLUX_MAPPING_STATE mapping;
  TLUX_MAPPING_CONTEXT mapped;

  // Everything except the records.
  std::span<std::uint8_t> outputs() { return {bytes[0], offsetof(CallMemory, source)}; }
};

inline CallMemory& callMemory() {
  static CallMemory memory;
  return memory;
}

// A call that its function accepts. If the function takes a memory manager, the call is swept for
// faults and its bytes are pinned. Applied to damages, it repeats the call with one damage at a
// time: the function must return the code, if it returns one, and leave the memory unchanged.
template <class Result, class... Arguments>
class GoodCall {
 public:
  GoodCall(const char* name, Result (*function)(Arguments...),
           std::type_identity_t<Arguments>... arguments)
      : name_(name), function_(function), arguments_(arguments...) {
    SCOPED_TRACE(name_);
    std::memcpy(&whole_, &callMemory(), sizeof whole_);
    call(TLUX_OK, arguments_);
    EXPECT_NE(std::memcmp(&callMemory(), &whole_, sizeof whole_), 0) << "does nothing";
    if constexpr (kIsSwept) expectPinned(name_, callMemory().outputs());
    std::memcpy(&callMemory(), &whole_, sizeof whole_);
    if constexpr (kIsSwept) sweep();
  }

  template <class... Damages>
  void operator()(Damages... damages) {
    (damages(*this, TLUX_ERR_INVALID_PARAM), ...);
  }

  template <std::size_t... kAt, class Value>
  void replace(std::uint32_t code, Value value) {
    auto arguments = arguments_;
    ((std::get<kAt>(arguments) = static_cast<Argument<kAt>>(value)), ...);
    refused(code, arguments);
  }
  template <std::size_t kAt>
  void replaceByNull(std::uint32_t code) {
    if constexpr (std::is_pointer_v<Argument<kAt>>) {
      if (std::get<kAt>(arguments_) != nullptr) replace<kAt>(code, nullptr);
    }
  }
  void replaceByNulls(std::uint32_t code) {
    [&]<std::size_t... kAt>(std::index_sequence<kAt...>) {
      (replaceByNull<kAt>(code), ...);
    }
    (std::index_sequence_for<Arguments...>());
  }
  // With damaged memory.
  void refused(std::uint32_t code) { refused(code, arguments_); }

 private:
  template <std::size_t kAt>
  using Argument = std::tuple_element_t<kAt, std::tuple<Arguments...>>;

  // An engine keeps its data outside this memory.
  using Second = std::tuple_element_t<1, std::tuple<Arguments..., void*>>;
  static constexpr bool kIsSwept =
      std::is_same_v<Argument<0>, MMemMgr> && !std::is_same_v<Second, TLUX_ENGINE*>;

  void sweep() {
    constexpr std::string_view kPartial[] = {"FastGuideFilterMT", "MultiThreadGuideTone",
                                             "BlockMeanVarIntMTBorder",
                                             "AME_GenerateRetinexLogGain"};
    const bool isPartial = std::ranges::find(kPartial, name_) != std::end(kPartial);
    constexpr auto kOther = std::is_void_v<Result> ? Failure::kSilent : Failure::kReported;
    FaultSweeper sweeper({callMemory().outputs(),
                          [this](MMemMgr manager) {
                            auto arguments = arguments_;
                            std::get<0>(arguments) = manager;
                            if constexpr (!std::is_void_v<Result>)
                              return static_cast<std::uint32_t>(std::apply(function_, arguments));
                            std::apply(function_, arguments);
                            return TLUX_OK;
                          },
                          isPartial ? Failure::kPartial : kOther,
                          std::string_view(name_) == "guided_filter_1dI"});
    const bool ignoresManager = std::string_view(name_) == "resize_C1";
    EXPECT_EQ(sweeper.everyFailedAllocation() == 0, ignoresManager);
    sweeper.everyFailedThreadStart();
    EXPECT_GT(sweeper.everyPoolThatIsTooSmall(), 0);
    std::memcpy(&callMemory(), &whole_, sizeof whole_);
  }

  void refused(std::uint32_t code, const std::tuple<Arguments...>& arguments) {
    SCOPED_TRACE(testing::Message() << name_ << ", case " << ++cases_);
    std::memcpy(&given_, &callMemory(), sizeof given_);
    call(code, arguments);
    EXPECT_EQ(std::memcmp(&callMemory(), &given_, sizeof given_), 0) << "writes";
    std::memcpy(&callMemory(), &whole_, sizeof whole_);
  }

  void call(std::uint32_t code, const std::tuple<Arguments...>& arguments) {
    if constexpr (std::is_same_v<Result, std::uint32_t>) {
      EXPECT_EQ(std::apply(function_, arguments), code);
    } else {
      std::apply(function_, arguments);
    }
  }

  const char* name_;
  Result (*function_)(Arguments...);
  std::tuple<Arguments...> arguments_;
  CallMemory whole_;
  CallMemory given_;
  int cases_ = 0;
};

// Replaces each non-null pointer by null.
inline constexpr auto nulls = [](auto& call, std::uint32_t code) { call.replaceByNulls(code); };

// Tries each value for one argument, or for several arguments at once.
template <std::size_t... kAt, class... Values>
auto at(Values... values) {
  return
      [=](auto& call, std::uint32_t code) { (call.template replace<kAt...>(code, values), ...); };
}

// Tries each value in a field of a record; setAll() sets one value in several fields.
template <class Field, class... Values>
auto set(Field& field, Values... values) {
  return [=, &field](auto& call, std::uint32_t code) {
    ((field = static_cast<Field>(values), call.refused(code)), ...);
  };
}
template <class Value, class... Fields>
auto setAll(Value value, Fields&... fields) {
  return [=, &fields...](auto& call, std::uint32_t code) {
    ((fields = value), ...);
    call.refused(code);
  };
}

// The code to expect for these damages.
template <class... Damages>
auto answers(std::uint32_t code, Damages... damages) {
  return [=](auto& call, std::uint32_t) { (damages(call, code), ...); };
}

// Damages of the six arguments input, pitch, output, pitch, width and height, for rows of 8 bytes.
template <std::size_t kInput>
auto planes(std::uint32_t whenEmpty = TLUX_OK) {
  return [=](auto& call, std::uint32_t) {
    call(nulls, at<kInput + 1>(7, -8), at<kInput + 3>(7, -8),
         answers(whenEmpty, at<kInput + 4>(0, -1), at<kInput + 5>(0, -1)));
  };
}

// Each plane of an image missing, or with a pitch that is too small.
inline auto planesOf(TLUX_IMAGE& image) {
  return [&](auto& call, std::uint32_t code) {
    for (int i = 0; i < 4 && image.plane[i] != nullptr; ++i)
      call(answers(code, set(image.plane[i], nullptr), set(image.pitch[i], 7, -16)));
  };
}

#define GOOD(FUNCTION, ...) GoodCall(#FUNCTION, FUNCTION, __VA_ARGS__)

// Memory filled with noise, and valid records.
class Refusals : public testing::Test {
 protected:
  Refusals() {
    std::memset(&m, 0, sizeof m);
    Random random(1);
    for (auto& plane : m.bytes)
      random.noise(plane);
    for (auto& plane : m.shorts)
      random.fill(std::span<std::int16_t>(plane), 0, 255);
    for (auto& plane : m.ints)
      random.fill(std::span<std::int32_t>(plane), 0, 255);
    for (auto& plane : m.floats)
      for (float& sample : plane)
        sample = static_cast<float>(random.intBetween(0, 255));
    random.fill(std::span<std::int64_t>(m.indices), 0, 255);
    m.rect = {0, 0, 16, 16};
    setFrames(TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPVU);
    m.other = m.source;
  }

  static TLUX_IMAGE frame(std::uint32_t format, std::uint8_t* bytes, int side = 16) {
    TLUX_IMAGE image{format, side, side, {}, {}};
    const int planes = format == TLUX_FMT_GRAY ? 1 : (format >> 8 == 8 ? 2 : 3);
    for (int i = 0; i < planes; ++i) {
      image.plane[i] = bytes + i * side * side;
      image.pitch[i] = side;
    }
    return image;
  }
  void setFrames(std::uint32_t source, std::uint32_t target) {
    m.source = frame(source, m.bytes[0]);
    m.target = frame(target, m.bytes[1]);
  }

  // Images of 8 × 6 pixels.
  img* simple(int i, void* pixels, int channels = 1, int depth = 8) {
    const int stride = 8 * channels * depth / 8;
    for (int y = 0; y < 6; ++y)
      m.rows[i][y] = static_cast<std::uint8_t*>(pixels) + y * stride;
    m.simple[i] = {8, 6, stride, 6 * stride, channels, depth, m.rows[i][0], m.rows[i]};
    return &m.simple[i];
  }

  CallMemory& m = callMemory();
};

} // namespace tlux::test
