# The package that Gradle reads from an .aar (Prefab, schema 2), as the install component `prefab`. It
# has the same targets as the CMake package, tlux::tlux and tlux::static.
set(abi "${ANDROID_ABI}")
if(NOT abi)
  # Not built with the NDK: the layout is the same, for tests.
  set(abi "${CMAKE_SYSTEM_PROCESSOR}")
  if(abi STREQUAL "aarch64")
    set(abi "arm64-v8a")
  endif()
endif()
set(api "${ANDROID_PLATFORM_LEVEL}")
if(NOT api)
  set(api 21)
endif()
string(REGEX MATCH "^[0-9]+" ndk "${ANDROID_NDK_REVISION}")
if(NOT ndk)
  set(ndk 0)
endif()

set(staging "${PROJECT_BINARY_DIR}/prefab")
file(CONFIGURE OUTPUT "${staging}/AndroidManifest.xml" CONTENT [[
<?xml version="1.0" encoding="utf-8"?>
<manifest xmlns:android="http://schemas.android.com/apk/res/android" package="org.tlux">
  <uses-sdk android:minSdkVersion="@api@" />
</manifest>
]] @ONLY)
file(CONFIGURE OUTPUT "${staging}/prefab.json" CONTENT [[
{"schema_version": 2, "name": "tlux", "version": "@PROJECT_VERSION@", "dependencies": []}
]] @ONLY)
install(FILES "${staging}/AndroidManifest.xml" DESTINATION . COMPONENT prefab EXCLUDE_FROM_ALL)
install(FILES "${staging}/prefab.json" DESTINATION prefab COMPONENT prefab EXCLUDE_FROM_ALL)

foreach(module IN ITEMS tlux static)
  set(is_static false)
  if(module STREQUAL "static")
    set(is_static true)
  endif()
  file(CONFIGURE OUTPUT "${staging}/${module}/module.json" CONTENT [[
{"export_libraries": [], "library_name": "libtlux"}
]] @ONLY)
  file(CONFIGURE OUTPUT "${staging}/${module}/abi.json" CONTENT [[
{"abi": "@abi@", "api": @api@, "ndk": @ndk@, "stl": "none", "static": @is_static@}
]] @ONLY)

  set(folder "prefab/modules/${module}")
  set(libs "${folder}/libs/android.${abi}")
  install(FILES "${staging}/${module}/module.json" DESTINATION "${folder}"
          COMPONENT prefab EXCLUDE_FROM_ALL)
  install(FILES "${staging}/${module}/abi.json" DESTINATION "${libs}"
          COMPONENT prefab EXCLUDE_FROM_ALL)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" DESTINATION "${folder}/include"
          COMPONENT prefab EXCLUDE_FROM_ALL)
endforeach()
install(FILES $<TARGET_FILE:tlux_shared> DESTINATION "prefab/modules/tlux/libs/android.${abi}"
        RENAME libtlux.so COMPONENT prefab EXCLUDE_FROM_ALL)
install(FILES $<TARGET_FILE:tlux_static> DESTINATION "prefab/modules/static/libs/android.${abi}"
        COMPONENT prefab EXCLUDE_FROM_ALL)
