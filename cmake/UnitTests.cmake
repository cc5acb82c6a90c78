# One program of all unit tests, run in one process: it checks at the end what only
# the whole can show, that every key of the catalogue was raised.
find_package(GTest REQUIRED)

file(GLOB unit_test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/unit/*.cpp")
add_executable(h5gate_tests ${unit_test_sources})
target_link_libraries(h5gate_tests PRIVATE
  h5gate_objects zembra GTest::gtest GTest::gmock)
add_dependencies(h5gate_tests h5gate)  # whose exports a test inspects

add_test(NAME unit COMMAND h5gate_tests --gtest_brief=1
         WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
set_tests_properties(unit PROPERTIES
  ENVIRONMENT "H5GATE_SHARED_DATA=${H5GATE_SHARED_DATA};H5GATE_LIBRARY=$<TARGET_FILE:h5gate>"
  TIMEOUT 900)

# The gateway that the script tests compile themselves: no target needs it here, and the
# static checks see it all the same.
add_library(echo_gateway OBJECT EXCLUDE_FROM_ALL
  "${PROJECT_SOURCE_DIR}/tests/scripts/echo/echo_gateway.cpp")
target_link_libraries(echo_gateway PRIVATE h5gate_options)

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
