# What an installed tree gives to those who use it: installs this build into
# build/prefix and builds other people's projects against it.
if(H5GATE_SANITIZE)
  message(STATUS "No tests of the installed tree: programs that are not instrumented "
                 "cannot load libraries that are")
  return()
endif()
add_test(NAME install
  COMMAND "${Python3_EXECUTABLE}" -B -m pytest -p no:cacheprovider
          "${PROJECT_SOURCE_DIR}/tests/install")
set_tests_properties(install PROPERTIES
  ENVIRONMENT "H5GATE_BUILD=${PROJECT_BINARY_DIR};CXX=${CMAKE_CXX_COMPILER}"
  TIMEOUT 300)
