#pragma once

// Macros that steer the compiler where its own choice costs speed. None of them changes a result.

// TLUX_MULTIVERSION before a function compiles it twice on x86-64, for processors with AVX2 and for
// all others; the loader picks one when the library is loaded. Both use the same integer and IEEE
// arithmetic, so the bytes are the same. Such a function is never inlined, even where only one
// version exists.
//
// Use it for functions that walk a whole row. Their callees must be inlined to be compiled along
// with them, and a template needs a plain function around it, since Clang makes no versions of
// templates. Names must be unique in the library, even in anonymous namespaces: the resolvers that
// Clang generates have external linkage. A test of the interface checks this.
#if defined(TLUX_AVX2) && TLUX_AVX2 && defined(__x86_64__) && defined(__ELF__) && \
    (!defined(__clang__) || __clang_major__ >= 14)
#define TLUX_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#else
#define TLUX_MULTIVERSION __attribute__((noinline))
#endif

// TLUX_INLINED before a function, TLUX_INLINED_LAMBDA after the parameters of a lambda: for code
// called by a TLUX_MULTIVERSION function, which has to be compiled along with it.
#define TLUX_INLINED [[gnu::always_inline]] inline
#define TLUX_INLINED_LAMBDA __attribute__((always_inline))

// TLUX_OUT_OF_LINE before a row function with __restrict parameters: compilers forget the promise
// not to alias once the function is inlined into the loop over rows.
#define TLUX_OUT_OF_LINE [[gnu::noinline]]

// Before a loop with independent iterations, where a compiler cannot prove it and would check at
// run time or give up.
#if defined(__clang__)
#define TLUX_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define TLUX_INDEPENDENT _Pragma("GCC ivdep")
#endif
