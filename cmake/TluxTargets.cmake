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
  if(TLUX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TLUX_SANITIZE})
  endif()
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
