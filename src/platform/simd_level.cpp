#include "platform/simd_level.hpp"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace tlux::detail {
namespace {

SimdLevel levelOfProcessor() {
#if defined(TLUX_X86_LEVELS)
  __builtin_cpu_init();
  // Excludes the first processors with AVX-512, which run slower for a while after wide
  // instructions: these features came with later ones.
  if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi2")) {
    return SimdLevel::kAvx512;
  }
  if (__builtin_cpu_supports("avx2")) return SimdLevel::kAvx2;
#endif
  return SimdLevel::kBase;
}

SimdLevel highestWanted() {
  const char* const name = std::getenv("TLUX_SIMD");
  if (name == nullptr) return SimdLevel::kAvx512;
  if (std::strcmp(name, "sse2") == 0) return SimdLevel::kBase;
  if (std::strcmp(name, "avx2") == 0) return SimdLevel::kAvx2;
  return SimdLevel::kAvx512;
}

} // namespace

SimdLevel simdLevel() {
  constexpr int kUnknown = -1;
  static std::atomic<int> known{kUnknown};
  int level = known.load(std::memory_order_relaxed);
  if (level == kUnknown) {
    level = static_cast<int>(std::min(levelOfProcessor(), highestWanted()));
    known.store(level, std::memory_order_relaxed);
  }
  return static_cast<SimdLevel>(level);
}

} // namespace tlux::detail
