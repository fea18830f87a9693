# WebAssembly with Debian's clang and the C and C++ libraries from wasi-libc and libc++-dev-wasm32.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(WASI TRUE)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)

set(CMAKE_C_FLAGS_INIT -msimd128)
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -fno-exceptions")
# No -O here: it would reach the linker, and clang would run any installed wasm-opt, which may not
# support vectors. The library sets -O3 itself.
set(CMAKE_C_FLAGS_RELEASE -DNDEBUG CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELEASE -DNDEBUG CACHE STRING "")
set(CMAKE_EXECUTABLE_SUFFIX .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_C .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_CXX .wasm)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
