# Runs a portfile without vcpkg: its commands, as far as the recipe of tlux uses them, on a source archive that is there.
# usage: cmake -DPORTFILE=… -DARCHIVE=… -DWORK=… -P vcpkg.cmake
set(PORT tlux)
set(CURRENT_PACKAGES_DIR "${WORK}/packages")

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

function(vcpkg_download_distfile result)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FILENAME;SHA512" "URLS")
  get_filename_component(name "${ARCHIVE}" NAME)
  get_filename_component(asked "${arg_URLS}" NAME)
  file(SHA512 "${ARCHIVE}" sum)
  if(NOT "${name};${name};${sum}" STREQUAL "${asked};${arg_FILENAME};${arg_SHA512}")
    message(FATAL_ERROR "the portfile asks for another archive than ${name}")
  endif()
  set(${result} "${ARCHIVE}" PARENT_SCOPE)
endfunction()

function(vcpkg_extract_source_archive result)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "ARCHIVE" "")
  file(ARCHIVE_EXTRACT INPUT "${arg_ARCHIVE}" DESTINATION "${WORK}/source")
  file(GLOB folder "${WORK}/source/*")
  set(${result} "${folder}" PARENT_SCOPE)
endfunction()

function(vcpkg_cmake_configure)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
  run(cmake -S "${arg_SOURCE_PATH}" -B "${WORK}/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF
      -DCMAKE_INSTALL_PREFIX=${CURRENT_PACKAGES_DIR} ${arg_OPTIONS})
endfunction()

function(vcpkg_cmake_install)
  run(cmake --build "${WORK}/build" --target install)
endfunction()

function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONFIG_PATH" "")
  file(RENAME "${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}" "${CURRENT_PACKAGES_DIR}/share/${PORT}")
endfunction()

function(vcpkg_fixup_pkgconfig)
endfunction()

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${CURRENT_PACKAGES_DIR}/share")
include("${PORTFILE}")
foreach(file IN ITEMS include/tlux.h lib/libtlux.a lib/pkgconfig/tlux.pc share/tlux/tlux-config.cmake share/tlux/copyright)
  if(NOT EXISTS "${CURRENT_PACKAGES_DIR}/${file}")
    message(FATAL_ERROR "the portfile left no ${file}")
  endif()
endforeach()
