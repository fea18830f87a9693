# Rules for `cmake --install`: headers, both libraries, the CMake package, tlux.pc and, if built, the
# command. The installed tree can be moved.
include(CMakePackageConfigHelpers)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" TYPE INCLUDE)

# Both libraries, unless BUILD_SHARED_LIBS selects one kind, which is then tlux::tlux.
set_target_properties(tlux_shared PROPERTIES EXPORT_NAME tlux)
set_target_properties(tlux_static PROPERTIES EXPORT_NAME static)
set(pc_libs "-ltlux")
if(NOT DEFINED BUILD_SHARED_LIBS)
  install(TARGETS tlux_shared tlux_static EXPORT tlux-targets)
elseif(BUILD_SHARED_LIBS)
  install(TARGETS tlux_shared EXPORT tlux-targets)
else()
  set_target_properties(tlux_static PROPERTIES EXPORT_NAME tlux)
  install(TARGETS tlux_static EXPORT tlux-targets)
  string(APPEND pc_libs " -lm ${CMAKE_THREAD_LIBS_INIT}")
endif()
if(TLUX_BUILD_APPS)
  install(TARGETS tlux_command)
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tlux")
install(EXPORT tlux-targets NAMESPACE tlux:: DESTINATION "${package_dir}")
configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/tlux-config.cmake.in" "${PROJECT_BINARY_DIR}/tlux-config.cmake"
  INSTALL_DESTINATION "${package_dir}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/tlux-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/tlux-config.cmake"
              "${PROJECT_BINARY_DIR}/tlux-config-version.cmake"
        DESTINATION "${package_dir}")

# tlux.pc derives its prefix from its own location, unless folders were configured as absolute paths.
set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
  set(pc_libdir "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(pc_includedir "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
  file(RELATIVE_PATH up "/${pc_dir}" "/")
  string(REGEX REPLACE "/$" "" up "${up}")
  set(pc_prefix "\${pcfiledir}/${up}")
  set(pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
set(pc_libs_private "-lm ${CMAKE_THREAD_LIBS_INIT}")
string(STRIP "${pc_libs_private}" pc_libs_private)
configure_file("${CMAKE_CURRENT_LIST_DIR}/tlux.pc.in" "${PROJECT_BINARY_DIR}/tlux.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/tlux.pc" DESTINATION "${pc_dir}")

include(TluxPrefab)
