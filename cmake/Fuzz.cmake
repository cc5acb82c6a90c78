# Sequences of any calls (fuzz/), and what they know of functions: the table that the Python
# host has, too.
file(GLOB fuzz_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/fuzz/*.cpp")
list(FILTER fuzz_sources EXCLUDE REGEX "/(fuzz|guided)_calls\\.cpp$")
set(enumerators "${PROJECT_SOURCE_DIR}/tests/releases/enumerators.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${enumerators}")
file(READ "${enumerators}" enumerators_text)
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/generated/enumerators_text.cpp" @ONLY CONTENT
     "extern const char* const kEnumeratorsText;\nconst char* const kEnumeratorsText = R\"(@enumerators_text@)\";\n")
add_library(fuzz_objects OBJECT ${fuzz_sources} "${PROJECT_SOURCE_DIR}/python/reference_table.cpp"
            "${PROJECT_BINARY_DIR}/generated/enumerators_text.cpp" "${kinds}")
target_link_libraries(fuzz_objects PUBLIC h5gate_options zembra)
add_dependencies(fuzz_objects _zembra)  # made once for both

add_executable(fuzz_calls "${PROJECT_SOURCE_DIR}/fuzz/fuzz_calls.cpp")
target_link_libraries(fuzz_calls PRIVATE fuzz_objects)
add_dependencies(fuzz_calls h5gate)  # loaded at run time

if(H5GATE_GUIDED)
  add_executable(guided_calls "${PROJECT_SOURCE_DIR}/fuzz/guided_calls.cpp")
  target_link_libraries(guided_calls PRIVATE fuzz_objects -fsanitize=fuzzer)
  add_dependencies(guided_calls h5gate)
else()
  add_library(guided_calls OBJECT EXCLUDE_FROM_ALL "${PROJECT_SOURCE_DIR}/fuzz/guided_calls.cpp")
  target_link_libraries(guided_calls PRIVATE h5gate_options)  # for the static checks
endif()

if(H5GATE_TESTS)
  add_test(NAME calls COMMAND fuzz_calls 3 20000)
  # What HDF5 itself does not free after a failure is not looked for.
  set_tests_properties(calls PROPERTIES ENVIRONMENT
    "ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=1024:detect_leaks=0")
endif()

# Tasks of which everything fails once. The sanitizers have allocations of their own: there it
# is for the static checks only.
set(fault_sources
  "${PROJECT_SOURCE_DIR}/tests/faults/faults.cpp"
  "${PROJECT_SOURCE_DIR}/tests/faults/fault_tasks.cpp"
  "${PROJECT_SOURCE_DIR}/tests/faults/innermost_frame.cpp"
  "${PROJECT_SOURCE_DIR}/tests/faults/known_weaknesses.cpp")
if(H5GATE_SANITIZE)
  add_library(faults OBJECT EXCLUDE_FROM_ALL
    ${fault_sources} "${PROJECT_SOURCE_DIR}/tests/faults/fault_shim.cpp")
  target_link_libraries(faults PRIVATE h5gate_options)
else()
  add_library(fault_shim SHARED "${PROJECT_SOURCE_DIR}/tests/faults/fault_shim.cpp")
  target_link_libraries(fault_shim PRIVATE h5gate_options ${CMAKE_DL_LIBS})
  add_executable(faults ${fault_sources} "${PROJECT_SOURCE_DIR}/tests/unit/open_identifiers.cpp")
  target_link_libraries(faults PRIVATE fault_shim fuzz_objects)
  add_dependencies(faults h5gate)
  # What HDF5 itself does wrong is known of this release.
  if(H5GATE_TESTS AND HDF5_VERSION VERSION_GREATER_EQUAL 1.10 AND HDF5_VERSION VERSION_LESS 1.11)
    add_test(NAME faults COMMAND faults --sample 4)
  elseif(H5GATE_TESTS)
    message(STATUS "What fails in HDF5 ${HDF5_VERSION} is not tried: only 1.10's own faults are known")
  endif()
endif()
