#pragma once

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

// Before a loop whose iterations touch nothing of each other's, where a compiler cannot see that
// and would check at run time, or give up.
#if defined(__clang__)
#define TLUX_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define TLUX_INDEPENDENT _Pragma("GCC ivdep")
#endif
