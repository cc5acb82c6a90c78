# One executable of all unit tests; each of them is a CTest test in a process of
# its own, so that one cannot spoil HDF5's state for another.
find_package(GTest REQUIRED)
include(GoogleTest)

file(GLOB unit_test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/unit/*.cpp")
add_executable(h5gate_tests ${unit_test_sources})
target_link_libraries(h5gate_tests PRIVATE
  h5gate_objects zembra GTest::gtest GTest::gmock)
add_dependencies(h5gate_tests h5gate)  # whose exports a test inspects

gtest_discover_tests(h5gate_tests
  NO_PRETTY_VALUES
  DISCOVERY_MODE PRE_TEST
  DISCOVERY_TIMEOUT 60
  WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/tests"
  PROPERTIES
    ENVIRONMENT "H5GATE_SHARED_DATA=${H5GATE_SHARED_DATA}"
    ENVIRONMENT_MODIFICATION "H5GATE_LIBRARY=set:$<TARGET_FILE:h5gate>"
    TIMEOUT 300)
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
