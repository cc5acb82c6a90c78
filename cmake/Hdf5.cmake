# HDF5 as one target, `hdf5::interface`: the C library and its high-level part.
# -DHDF5_ROOT=<prefix> picks another one than the system's. For hosts of one's own,
# which have to share the library with the gateway: hdf5_headers, hdf5_library.
set(hdf5_oldest 1.8.6)

# What an earlier search has found elsewhere would be found again.
if(DEFINED hdf5_searched AND NOT "${HDF5_ROOT}" STREQUAL "${hdf5_searched}")
  get_directory_property(found CACHE_VARIABLES)
  list(FILTER found INCLUDE REGEX "^HDF5_")
  list(REMOVE_ITEM found HDF5_ROOT)
  foreach(variable IN LISTS found)
    unset(${variable} CACHE)
  endforeach()
endif()
set(hdf5_searched "${HDF5_ROOT}" CACHE INTERNAL "HDF5_ROOT of the search that is in this cache")

find_package(HDF5 QUIET COMPONENTS C HL)
set(hdf5_headers ${HDF5_INCLUDE_DIRS})

# The file of the first library whose name fits, of a list of files or targets.
function(first_library variable pattern)
  list(FILTER ARGN INCLUDE REGEX "${pattern}")
  list(POP_FRONT ARGN library)
  if(TARGET "${library}")
    get_target_property(library "${library}" LOCATION)
  endif()
  if(NOT EXISTS "${library}")
    set(library "")
  endif()
  set(${variable} "${library}" PARENT_SCOPE)
endfunction()
first_library(hdf5_library "hdf5[^/]*$" ${HDF5_C_LIBRARIES})
first_library(hdf5_high_level "hdf5[^/]*hl[^/]*$" ${HDF5_HL_LIBRARIES})

set(hdf5_found "HDF5 ${HDF5_VERSION} in ${hdf5_headers}")
set(hdf5_lacks)
if(NOT hdf5_headers OR NOT hdf5_library)
  set(hdf5_found "No HDF5")
  set(hdf5_lacks "was found")
elseif(HDF5_VERSION VERSION_LESS hdf5_oldest)
  set(hdf5_lacks "is too old")
elseif(HDF5_IS_PARALLEL)
  set(hdf5_lacks "is a parallel build")
elseif(NOT hdf5_high_level)
  set(hdf5_lacks "comes without its high-level library")
elseif(hdf5_library MATCHES "\\.a$")
  set(hdf5_lacks "is a static library, which gateway and host cannot share")
endif()
if(hdf5_lacks)
  message(FATAL_ERROR
    "${hdf5_found} ${hdf5_lacks}; needed is a serial, shared HDF5 of release ${hdf5_oldest} or "
    "later with its high-level library, and -DHDF5_ROOT=<prefix> says where one is.")
endif()
message(STATUS "${hdf5_found}")

add_library(hdf5_interface INTERFACE)
add_library(hdf5::interface ALIAS hdf5_interface)
target_include_directories(hdf5_interface SYSTEM INTERFACE ${HDF5_INCLUDE_DIRS})
target_compile_definitions(hdf5_interface INTERFACE ${HDF5_DEFINITIONS})
target_link_libraries(hdf5_interface INTERFACE ${HDF5_HL_LIBRARIES} ${HDF5_LIBRARIES})

# CMake leaves out of the run paths of what is installed whatever lies within the project.
# HDF5 may: it is no part of it, and stays where it is.
set(hdf5_run_path "")
cmake_path(IS_PREFIX PROJECT_SOURCE_DIR "${hdf5_library}" hdf5_within)
if(hdf5_within)
  cmake_path(GET hdf5_library PARENT_PATH hdf5_run_path)
endif()
