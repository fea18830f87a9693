# The manual page and the completions of the command, each where its reader looks for it.
install(FILES "${PROJECT_SOURCE_DIR}/docs/man/tlux.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

# The page of `tlux tune`, where scripts/web.sh has built it.
install(FILES "${PROJECT_SOURCE_DIR}/build/web/tlux.html" DESTINATION "${CMAKE_INSTALL_DATADIR}/tlux"
        OPTIONAL)

# The command prints its completions itself, so it must run here.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()

function(tlux_install_completion shell folder name)
  set(file "${CMAKE_CURRENT_BINARY_DIR}/completion/${shell}/${name}")
  add_custom_command(
    OUTPUT "${file}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_CURRENT_BINARY_DIR}/completion/${shell}"
    COMMAND tlux_command completion ${shell} > "${file}"
    DEPENDS tlux_command
    VERBATIM)
  add_custom_target(tlux_${shell}_completion ALL DEPENDS "${file}")
  install(FILES "${file}" DESTINATION "${CMAKE_INSTALL_DATADIR}/${folder}")
endfunction()

tlux_install_completion(bash bash-completion/completions tlux)
tlux_install_completion(zsh zsh/site-functions _tlux)
tlux_install_completion(fish fish/vendor_completions.d tlux.fish)
