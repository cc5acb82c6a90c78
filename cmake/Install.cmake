# What is installed, but for the Python package: the libraries, the headers, and what
# other projects find them by. Packages can be made of its components: runtime,
# development, python, command. The target `uninstall` takes all of it away again.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(h5gate_libdir "${CMAKE_INSTALL_LIBDIR}")
set(h5gate_include "${CMAKE_INSTALL_INCLUDEDIR}/h5gate")  # the one include folder
set(h5gate_config "${CMAKE_INSTALL_LIBDIR}/cmake/h5gate")
set(h5gate_pkgconfig "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(h5gate_gateway "${CMAKE_INSTALL_LIBDIR}/${gateway_file}")
set(h5gate_zembra "${CMAKE_INSTALL_LIBDIR}/${host_file}")

# Where the interpreter looks below the prefix, if it looks there at all: distributions
# have folders of their own.
execute_process(
  COMMAND "${Python3_EXECUTABLE}" -c
          "import site; print(*site.getsitepackages(), site.getusersitepackages(), sep=';')"
  OUTPUT_VARIABLE python_looks_in OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(H5GATE_PYTHON_DIR "" CACHE STRING "Folder for the package, below the prefix, if not the usual")
cmake_path(SET h5gate_python NORMALIZE "${H5GATE_PYTHON_DIR}")
foreach(folder IN LISTS python_looks_in)
  cmake_path(RELATIVE_PATH folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  if(NOT h5gate_python AND folder MATCHES "^lib")
    set(h5gate_python "${folder}")
  endif()
endforeach()
if(NOT h5gate_python)
  set(h5gate_python "lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/site-packages")
endif()

# --- Folders made on the way, to be taken away if they are empty then ---------

set(h5gate_command "${CMAKE_INSTALL_BINDIR}/zembra")
set(h5gate_completion "${CMAKE_INSTALL_DATADIR}/bash-completion/completions/zembra")
set(own_folders "${h5gate_include}" "${h5gate_config}" "${h5gate_python}/zembra")
set(made_folders "${PROJECT_BINARY_DIR}/install_folders.txt")
install(CODE "
  foreach(folder IN ITEMS ${own_folders} ${h5gate_pkgconfig} ${CMAKE_INSTALL_BINDIR}
                          ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/\${folder}\")
    while(NOT EXISTS \"\${folder}\")
      file(APPEND \"${made_folders}\" \"\${folder}\\n\")
      cmake_path(GET folder PARENT_PATH folder)
    endwhile()
  endforeach()" ALL_COMPONENTS)

# --- Libraries ----------------------------------------------------------------

install(TARGETS h5gate zembra LIBRARY
  DESTINATION "${h5gate_libdir}" COMPONENT runtime NAMELINK_COMPONENT development)

# --- Headers ------------------------------------------------------------------

# For hosts of one's own (host/), and for embedding the reference host (runtime/).
install(DIRECTORY host DESTINATION "${h5gate_include}" COMPONENT development
        FILES_MATCHING PATTERN "*.hpp" PATTERN "*.def")
install(FILES runtime/array.hpp runtime/array_node.hpp runtime/call.hpp runtime/call_scope.hpp
              runtime/gateway_loader.hpp runtime/host_error.hpp runtime/memory_block.hpp
        DESTINATION "${h5gate_include}/runtime" COMPONENT development)

# --- What other projects find them by -----------------------------------------

set(from_templates "${PROJECT_BINARY_DIR}/installed")
configure_package_config_file(cmake/h5gateConfig.cmake.in "${from_templates}/h5gateConfig.cmake"
  INSTALL_DESTINATION "${h5gate_config}"
  PATH_VARS h5gate_include h5gate_gateway h5gate_zembra
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${from_templates}/h5gateConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${from_templates}/h5gateConfig.cmake" "${from_templates}/h5gateConfigVersion.cmake"
        DESTINATION "${h5gate_config}" COMPONENT development)

set(up_to_prefix "/")
cmake_path(RELATIVE_PATH up_to_prefix BASE_DIRECTORY "/${h5gate_pkgconfig}")
list(TRANSFORM hdf5_headers PREPEND "-I" OUTPUT_VARIABLE hdf5_cflags)
list(JOIN hdf5_cflags " " hdf5_cflags)
cmake_path(GET hdf5_library PARENT_PATH hdf5_folder)
foreach(name IN ITEMS h5gate zembra)
  configure_file(cmake/${name}.pc.in "${from_templates}/${name}.pc" @ONLY)
  install(FILES "${from_templates}/${name}.pc"
          DESTINATION "${h5gate_pkgconfig}" COMPONENT development)
endforeach()

# --- Taking it away -----------------------------------------------------------

configure_file(cmake/uninstall.cmake.in "${PROJECT_BINARY_DIR}/uninstall.cmake" @ONLY)
add_custom_target(uninstall
  COMMAND "${CMAKE_COMMAND}" -P "${PROJECT_BINARY_DIR}/uninstall.cmake" VERBATIM)
