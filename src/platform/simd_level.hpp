#pragma once

namespace tlux::detail {

// The instruction sets that kernels are compiled for: what every processor of the architecture has
// (SSE2, NEON, none), and on x86-64 two more.
enum class SimdLevel { kBase, kAvx2, kAvx512 };

// The best level that is compiled in and that the processor has. The environment variable TLUX_SIMD
// (sse2, avx2 or avx512) asks for a lower one, for tests; it is read once.
SimdLevel simdLevel();

// A table of kernels as it is for a level, defined by the file that was compiled for it; see
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
