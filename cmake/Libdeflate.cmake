# libdeflate as one target, `libdeflate::interface`: what compresses chunks and takes them
# apart again. Its own CMake files are not everywhere where the library is.
find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h)
find_library(LIBDEFLATE_LIBRARY deflate)
mark_as_advanced(LIBDEFLATE_INCLUDE_DIR LIBDEFLATE_LIBRARY)
if(NOT LIBDEFLATE_INCLUDE_DIR OR NOT LIBDEFLATE_LIBRARY)
  message(FATAL_ERROR
    "libdeflate was not found; needed are its library and header (Debian: libdeflate-dev), and "
    "-DCMAKE_PREFIX_PATH=<prefix> says where they are.")
endif()

add_library(libdeflate_interface INTERFACE)
add_library(libdeflate::interface ALIAS libdeflate_interface)
target_include_directories(libdeflate_interface SYSTEM INTERFACE "${LIBDEFLATE_INCLUDE_DIR}")
target_link_libraries(libdeflate_interface INTERFACE "${LIBDEFLATE_LIBRARY}")
