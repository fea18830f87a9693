#pragma once

namespace tlux::test {

// Whether a test can afford its full sample: native, optimised code without instrumentation.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__) || \
    defined(__aarch64__)
inline constexpr bool kIsFast = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kIsFast = false;
#else
inline constexpr bool kIsFast = true;
#endif
#else
inline constexpr bool kIsFast = true;
#endif

} // namespace tlux::test
