#pragma once

namespace tlux::detail {

// The instruction sets that kernels are compiled for: the baseline of the architecture (SSE2, NEON,
// none), and two more on x86-64.
enum class SimdLevel { kBase, kAvx2, kAvx512 };

// The best level that is compiled in and supported by the processor. The environment variable
// TLUX_SIMD (sse2, avx2 or avx512) selects a lower one, for tests; it is read once.
SimdLevel simdLevel();

// The table of kernels for one level, defined by the file compiled for that level; see
// base/lanes.hpp.
template <class Kernels, SimdLevel kLevel>
const Kernels& kernelsFor();

// The table to use.
template <class Kernels>
const Kernels& kernels() {
#if defined(TLUX_X86_LEVELS)
  switch (simdLevel()) {
    case SimdLevel::kAvx512:
      return kernelsFor<Kernels, SimdLevel::kAvx512>();
    case SimdLevel::kAvx2:
      return kernelsFor<Kernels, SimdLevel::kAvx2>();
    case SimdLevel::kBase:
      break;
  }
#endif
  return kernelsFor<Kernels, SimdLevel::kBase>();
}

} // namespace tlux::detail
