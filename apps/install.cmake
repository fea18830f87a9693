# The page of `tlux tune`, where scripts/web.sh has built it.
install(FILES "${PROJECT_SOURCE_DIR}/build/web/tlux.html" DESTINATION "${CMAKE_INSTALL_DATADIR}/tlux"
        OPTIONAL)

# The command prints its manual page and its completions itself, so it must run here.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()

# tlux_install_printed(FOLDER NAME WORD...): installs what `tlux WORD...` prints where its reader looks for it.
function(tlux_install_printed folder name)
  string(REPLACE ";" "_" target "tlux_${ARGN}")
  set(file "${CMAKE_CURRENT_BINARY_DIR}/printed/${folder}/${name}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/printed/${folder}")
  add_custom_command(
    OUTPUT "${file}"
    COMMAND tlux_command ${ARGN} > "${file}"
    DEPENDS tlux_command
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${file}")
  install(FILES "${file}" DESTINATION "${folder}")
endfunction()

tlux_install_printed("${CMAKE_INSTALL_MANDIR}/man1" tlux.1 help --manual)
tlux_install_printed("${CMAKE_INSTALL_DATADIR}/bash-completion/completions" tlux completion bash)
tlux_install_printed("${CMAKE_INSTALL_DATADIR}/zsh/site-functions" _tlux completion zsh)
tlux_install_printed("${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" tlux.fish completion fish)
