#include "commands/processor.hpp"

namespace tlux::app {

const char* vectorUnit() {
#if defined(__x86_64__)
  // The same conditions as in the library.
  if (__builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi2") != 0) {
    return "AVX-512";
  }
  return __builtin_cpu_supports("avx2") != 0 ? "AVX2" : "SSE2";
#elif defined(__aarch64__)
  return "NEON"; // every such processor has it
#else
  return "unknown";
#endif
}

} // namespace tlux::app
