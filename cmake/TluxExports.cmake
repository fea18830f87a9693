# The exported interface is the union of src/*/exports.list, one name per line. The version script of
# the shared library and the interface tests are generated from it, so they always agree.
function(tlux_write_version_script output names_output)
  get_property(lists GLOBAL PROPERTY TLUX_EXPORT_LISTS)
  set(names "")
  foreach(list IN LISTS lists)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
    file(STRINGS "${list}" lines REGEX "^[A-Za-z_]")
    list(APPEND names ${lines})
  endforeach()
  list(SORT names)
  list(JOIN names "\n" text)
  file(CONFIGURE OUTPUT "${names_output}" CONTENT "@text@\n" @ONLY)
  list(JOIN names ";\n    " text)
  file(CONFIGURE OUTPUT "${output}" CONTENT "TLUX_1 {\n  global:\n    @text@;\n  local:\n    *;\n};\n"
       @ONLY)
endfunction()
