# HDF5 as one target, `hdf5::interface`: the C library and its high-level part.
# -DHDF5_ROOT=<prefix> picks another one than the system's.
find_package(HDF5 REQUIRED COMPONENTS C HL)

add_library(hdf5_interface INTERFACE)
add_library(hdf5::interface ALIAS hdf5_interface)
target_include_directories(hdf5_interface SYSTEM INTERFACE ${HDF5_INCLUDE_DIRS})
target_compile_definitions(hdf5_interface INTERFACE ${HDF5_DEFINITIONS})
target_link_libraries(hdf5_interface INTERFACE ${HDF5_HL_LIBRARIES} ${HDF5_LIBRARIES})

list(GET HDF5_INCLUDE_DIRS 0 hdf5_headers)
message(STATUS "HDF5 ${HDF5_VERSION}: ${hdf5_headers}")
