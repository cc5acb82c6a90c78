# One program of all unit tests, run in one process: it checks at the end what only
# the whole can show, that every key of the catalogue was raised.
find_package(GTest REQUIRED)

file(GLOB unit_test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/unit/*.cpp")
add_executable(h5gate_tests ${unit_test_sources})
target_link_libraries(h5gate_tests PRIVATE
  h5gate_objects zembra GTest::gtest GTest::gmock)
# They run for seconds and compile for minutes: without an optimiser in half the time, and
# with no more than lines for debuggers, which is half of what sanitizers take.
target_compile_options(h5gate_tests PRIVATE -O0 $<$<CONFIG:Debug>:-g1>)
set_target_properties(h5gate_tests PROPERTIES UNITY_BUILD ${H5GATE_UNITY})
add_dependencies(h5gate_tests h5gate)  # whose exports a test inspects

add_test(NAME unit COMMAND h5gate_tests --gtest_brief=1
         WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
set_tests_properties(unit PROPERTIES
  ENVIRONMENT "H5GATE_SHARED_DATA=${H5GATE_SHARED_DATA};H5GATE_LIBRARY=$<TARGET_FILE:h5gate>"
  TIMEOUT 900)

# The work of threads, for their sanitizer: of the sources that take part and no others.
file(GLOB chunk_sources CONFIGURE_DEPENDS
     "${PROJECT_SOURCE_DIR}/chunks/*.cpp" "${PROJECT_SOURCE_DIR}/hdf5/*.cpp")
file(GLOB host_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/runtime/*.cpp")
list(FILTER host_sources EXCLUDE REGEX gateway_loader)  # there is no gateway
add_library(chunks_and_threads OBJECT EXCLUDE_FROM_ALL ${chunk_sources})
add_executable(chunks_at_work EXCLUDE_FROM_ALL tests/threads/chunks_at_work.cpp)
add_executable(tables_at_work EXCLUDE_FROM_ALL tests/threads/tables_at_work.cpp
  wrappers/dataset_parts.cpp ${host_sources})
target_link_libraries(chunks_and_threads PUBLIC
  h5gate_options libdeflate::interface Threads::Threads ${CMAKE_DL_LIBS})
if(NOT H5GATE_SANITIZE)
  target_compile_options(chunks_and_threads PUBLIC -fsanitize=thread -g -O1)
  target_link_options(chunks_and_threads PUBLIC -fsanitize=thread)
endif()
set_target_properties(tables_at_work PROPERTIES UNITY_BUILD ${H5GATE_UNITY})
target_link_libraries(chunks_at_work PRIVATE chunks_and_threads)
target_link_libraries(tables_at_work PRIVATE chunks_and_threads)

# What the tests of scripts and of the installed tree compile themselves: no target needs
# it here, and the static checks see it all the same.
foreach(source tests/scripts/echo/echo_gateway examples/own_host/own_host
        examples/embedded_host/embedded_host)
  cmake_path(GET source FILENAME name)
  add_library(${name} OBJECT EXCLUDE_FROM_ALL "${PROJECT_SOURCE_DIR}/${source}.cpp")
  target_link_libraries(${name} PRIVATE h5gate_options)
endforeach()
target_compile_definitions(own_host PRIVATE "H5GATE_GATEWAY=\"${gateway_file}\"")

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
