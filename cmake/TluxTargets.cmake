# Settings shared by all targets: language level, warnings, sanitizers.
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
  # Silences warnings about loops marked as independent that some builds do not vectorise.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-pass-failed>)
  if(TLUX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE})
  endif()
endfunction()

# The instruction sets that kernels are compiled for, with the compiler options for each.
set(TLUX_KERNEL_LEVELS Base)
if(TLUX_AVX2 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  list(APPEND TLUX_KERNEL_LEVELS Avx2 Avx512)
endif()
set(TLUX_KERNEL_OPTIONS_Avx2 -mavx2)
set(TLUX_KERNEL_OPTIONS_Avx512 -mavx512f -mavx512bw -mavx512vl)

# Adds sources of a subsystem that are compiled once for each level; see src/base/lanes.hpp. With
# -fwrapv, the compiler's vectors wrap on overflow as the processor's do.
function(tlux_add_kernels)
  foreach(level IN LISTS TLUX_KERNEL_LEVELS)
    foreach(source IN LISTS ARGN)
      target_sources(tlux_kernels_${level} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
    endforeach()
  endforeach()
endfunction()

# Adds the sources of a subsystem; called from its folder, whose exports.list has its exported names.
function(tlux_add_subsystem)
  foreach(source IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH source) # generated sources are elsewhere
    target_sources(tlux_objects PRIVATE "${source}")
  endforeach()
  set_property(GLOBAL APPEND PROPERTY TLUX_EXPORT_LISTS "${CMAKE_CURRENT_SOURCE_DIR}/exports.list")
endfunction()
