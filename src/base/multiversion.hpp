#pragma once

// How compilers are steered, where their own choice costs speed. None of it changes a result.

// TLUX_MULTIVERSION before a function compiles it twice on x86-64, for processors with AVX2 and for
// all others; the loader picks one when the library is loaded. Integer and IEEE arithmetic is the
// same in both, so are the bytes. Such a function is never inlined, also where there is one
// version.
//
// Meant for functions that walk a whole row. What they call must be inlined into them to be
// compiled along, and templates need a plain function around them, since Clang makes no versions of
// a template. Their names must be unique in the library, in anonymous namespaces too: the choosing
// functions that Clang makes have external linkage; a test of the interface watches over it.
#if defined(TLUX_AVX2) && TLUX_AVX2 && defined(__x86_64__) && defined(__ELF__) && \
    (!defined(__clang__) || __clang_major__ >= 14)
#define TLUX_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#else
#define TLUX_MULTIVERSION __attribute__((noinline))
#endif

// TLUX_INLINED before a function, TLUX_INLINED_LAMBDA behind the parameters of a lambda: for what a
// TLUX_MULTIVERSION function calls, which has to be compiled along with it.
#define TLUX_INLINED [[gnu::always_inline]] inline
#define TLUX_INLINED_LAMBDA __attribute__((always_inline))

// TLUX_OUT_OF_LINE before a row function whose __restrict parameters compilers forget once it is
// inlined into the loop over rows: out of line, its pointers keep the promise not to alias.
#define TLUX_OUT_OF_LINE [[gnu::noinline]]

// Before a loop whose iterations touch nothing of each other's, where a compiler cannot see that
// and would check at run time, or give up.
#if defined(__clang__)
#define TLUX_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define TLUX_INDEPENDENT _Pragma("GCC ivdep")
#endif
