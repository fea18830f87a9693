# What every target of this project shares: language level, warnings, sanitizers.
function(tlux_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_EXTENSIONS OFF)
  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wundef
            -Wvla
            -Wcast-qual
            -Wdouble-promotion
            -Wfloat-conversion
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
            $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
            $<$<BOOL:${TLUX_WARNINGS_AS_ERRORS}>:-Werror>)
  # A loop that is marked as free of dependences need not be vectorised in every build.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-pass-failed>)
  if(TLUX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE})
  endif()
endfunction()

# The instruction sets that kernels are compiled for, and what the compiler needs for each.
set(TLUX_KERNEL_LEVELS Base)
if(TLUX_AVX2 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  list(APPEND TLUX_KERNEL_LEVELS Avx2 Avx512)
endif()
set(TLUX_KERNEL_OPTIONS_Avx2 -mavx2)
set(TLUX_KERNEL_OPTIONS_Avx512 -mavx512f -mavx512bw -mavx512vl)

# Adds sources of one subsystem that are compiled once for each level; see src/base/lanes.hpp. Vectors
# of the compiler wrap where they overflow, as those of processors do.
function(tlux_add_kernels)
  foreach(level IN LISTS TLUX_KERNEL_LEVELS)
    foreach(source IN LISTS ARGN)
      target_sources(tlux_kernels_${level} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
    endforeach()
  endforeach()
endfunction()

# Adds the sources of one subsystem; called from the subsystem's own folder, which also lists the
# names it exports in exports.list.
function(tlux_add_subsystem)
  foreach(source IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH source) # generated ones lie elsewhere
    target_sources(tlux_objects PRIVATE "${source}")
  endforeach()
  set_property(GLOBAL APPEND PROPERTY TLUX_EXPORT_LISTS "${CMAKE_CURRENT_SOURCE_DIR}/exports.list")
endfunction()
