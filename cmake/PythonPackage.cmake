# The importable package: build/python/zembra, and where the interpreter looks once
# installed. Its extension module finds libzembra relative to itself.
set(package_dir "${PROJECT_BINARY_DIR}/python/zembra")
set(package_install_dir "${h5gate_python}/zembra")

# How arguments and results are converted, and the type stubs of zembra.h5, are made from
# the reference.
set(reference_folder "${PROJECT_SOURCE_DIR}/python/zembra")
function(make_from_reference maker output)
  set(script "${PROJECT_SOURCE_DIR}/tools/${maker}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${Python3_EXECUTABLE}" -B "${script}" "${reference_folder}" "${output}"
    DEPENDS "${script}" "${PROJECT_SOURCE_DIR}/tools/load_reference.py"
            "${reference_folder}/reference.txt" "${reference_folder}/_reference.py"
    VERBATIM)
endfunction()
set(kinds "${PROJECT_BINARY_DIR}/generated/reference_kinds.cpp")
make_from_reference(make_kinds.py "${kinds}")

file(GLOB module_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/python/*.cpp")
list(APPEND module_sources "${kinds}")
Python3_add_library(_zembra MODULE WITH_SOABI ${module_sources})
set(to_libraries "/${h5gate_libdir}")
cmake_path(RELATIVE_PATH to_libraries BASE_DIRECTORY "/${package_install_dir}")
set_target_properties(_zembra PROPERTIES
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  INTERPROCEDURAL_OPTIMIZATION_RELEASE ON
  UNITY_BUILD ${H5GATE_UNITY}
  LIBRARY_OUTPUT_DIRECTORY "${package_dir}"
  INSTALL_RPATH "$ORIGIN/${to_libraries};${hdf5_run_path}")
target_compile_options(_zembra PRIVATE -ftls-model=initial-exec)  # as in libzembra
target_link_libraries(_zembra PRIVATE zembra h5gate_options pybind11::headers Python3::NumPy)
add_dependencies(_zembra h5gate)  # loaded at run time
install(TARGETS _zembra LIBRARY DESTINATION "${package_install_dir}" COMPONENT python)

file(GLOB_RECURSE package_files CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/python/zembra"
     "${PROJECT_SOURCE_DIR}/python/zembra/*")
list(FILTER package_files EXCLUDE REGEX "__pycache__|\\.cpp$|\\.hpp$|/\\.|~$")
set(package_copies)
foreach(file IN LISTS package_files)
  add_custom_command(
    OUTPUT "${package_dir}/${file}"
    COMMAND "${CMAKE_COMMAND}" -E copy "${PROJECT_SOURCE_DIR}/python/zembra/${file}"
            "${package_dir}/${file}"
    DEPENDS "${PROJECT_SOURCE_DIR}/python/zembra/${file}"
    VERBATIM)
  list(APPEND package_copies "${package_dir}/${file}")
  cmake_path(GET file PARENT_PATH folder)
  install(FILES "${PROJECT_SOURCE_DIR}/python/zembra/${file}"
          DESTINATION "${package_install_dir}/${folder}" COMPONENT python)
endforeach()

# The version stands in CMakeLists.txt.
file(CONFIGURE OUTPUT "${package_dir}/_version.py" CONTENT "__version__ = \"@PROJECT_VERSION@\"\n"
     @ONLY)
install(FILES "${package_dir}/_version.py" DESTINATION "${package_install_dir}" COMPONENT python)

make_from_reference(make_stubs.py "${package_dir}/h5.pyi")
list(APPEND package_copies "${package_dir}/h5.pyi")
install(FILES "${package_dir}/h5.pyi" DESTINATION "${package_install_dir}" COMPONENT python)

add_custom_target(zembra_package ALL DEPENDS ${package_copies})

# The command, which finds the package beside itself where the interpreter does not look; and
# what bash completes its words by. (A wheel's command is made by pip.)
set(to_package "/${h5gate_python}")
cmake_path(RELATIVE_PATH to_package BASE_DIRECTORY "/${CMAKE_INSTALL_BINDIR}")
set(command "${PROJECT_BINARY_DIR}/installed/zembra")
configure_file("${PROJECT_SOURCE_DIR}/cmake/zembra.in" "${command}" @ONLY)
install(PROGRAMS "${command}" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT command)
cmake_path(GET h5gate_completion PARENT_PATH completion_folder)
install(FILES "${PROJECT_SOURCE_DIR}/python/zembra.bash-completion" RENAME zembra
        DESTINATION "${completion_folder}" COMPONENT command)

# Where the interpreter does not look by itself, it has to be told.
install(CODE "
  set(folder \"\${CMAKE_INSTALL_PREFIX}/${h5gate_python}\")
  set(looked_at \"${python_looks_in}\")
  list(FIND looked_at \"\${folder}\" place)
  if(NOT \"\$ENV{DESTDIR}\" AND place EQUAL -1)
    message(\"For ${Python3_EXECUTABLE} to find the package:\")
    message(\"export PYTHONPATH=\${folder}\")
  endif()" COMPONENT python)
