# WebAssembly by Debian's clang, with the C and C++ libraries of the packages wasi-libc and
# libc++-dev-wasm32.
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
# The linker is given these too. Told to optimise, clang hands its output to a wasm-opt that happens
# to be installed and may not know vectors; the library asks for -O3 by itself.
set(CMAKE_C_FLAGS_RELEASE -DNDEBUG CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELEASE -DNDEBUG CACHE STRING "")
set(CMAKE_EXECUTABLE_SUFFIX .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_C .wasm)
set(CMAKE_EXECUTABLE_SUFFIX_CXX .wasm)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
