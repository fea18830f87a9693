# OpenCV as a peer in tests and benchmarks, never a dependency. Defines the target tlux_opencv_peer if
# the modules are installed, with or without OpenCV's package file; ximgproc is available if
# TLUX_OPENCV_XIMGPROC_LIBRARY is set.
find_path(TLUX_OPENCV_INCLUDE_DIR opencv2/imgproc.hpp PATH_SUFFIXES opencv4)
foreach(module IN ITEMS CORE IMGPROC XIMGPROC)
  string(TOLOWER "${module}" name)
  find_library(TLUX_OPENCV_${module}_LIBRARY opencv_${name})
endforeach()
if(NOT TARGET tlux_opencv_peer AND TLUX_OPENCV_INCLUDE_DIR AND TLUX_OPENCV_CORE_LIBRARY
   AND TLUX_OPENCV_IMGPROC_LIBRARY)
  add_library(tlux_opencv_peer INTERFACE)
  target_include_directories(tlux_opencv_peer SYSTEM INTERFACE "${TLUX_OPENCV_INCLUDE_DIR}")
  target_link_libraries(
    tlux_opencv_peer
    INTERFACE "$<$<BOOL:${TLUX_OPENCV_XIMGPROC_LIBRARY}>:${TLUX_OPENCV_XIMGPROC_LIBRARY}>"
              "${TLUX_OPENCV_IMGPROC_LIBRARY}" "${TLUX_OPENCV_CORE_LIBRARY}")
endif()
