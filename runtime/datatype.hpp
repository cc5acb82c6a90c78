// Questions to HDF5 datatypes, whose answers need no checking: where HDF5 has none, its
// error is raised, and a host error for a datatype that has no form in the host.
#pragma once

#include <string>
#include <vector>

#include "hdf5/handle.hpp"
#include "host/array.hpp"

namespace zembra {

/// Levels of compounds, arrays and sequences within each other that have a host form.
inline constexpr int kMaxNesting = 32;

H5T_class_t datatypeClass(hid_t type);
std::size_t datatypeSize(hid_t type);
bool isVariableText(hid_t type);
hdf5::Type baseDatatype(hid_t type);
hdf5::Type copyDatatype(hid_t type);

unsigned memberCount(hid_t type);
std::string memberName(hid_t type, unsigned index);
hdf5::Type memberDatatype(hid_t type, unsigned index);

/// Slowest-varying first.
std::vector<hsize_t> arrayDimensions(hid_t type);

/// "H5T_FLOAT of 8 bytes": for messages.
std::string describeDatatype(hid_t type);
std::string describeDatatype(H5T_class_t typeClass, std::size_t size, bool variableText);

/// The host class that holds every value of an integer, float or bit field.
zbClass numberClass(hid_t type);
/// The same for whoever has asked for class and size already.
zbClass numberClass(hid_t type, H5T_class_t typeClass, std::size_t size);
/// HDF5's own datatype for the elements of a numeric or logical array; not to be closed.
hid_t nativeNumber(zbClass hostClass);
/// The native bit field of an unsigned class's size; not to be closed.
hid_t nativeBitField(zbClass hostClass);

/// Raises a host error unless the datatype is of a size that references have.
void requireReference(hid_t type);
/// Raises a host error when `depth` levels of nesting are too many.
void requireShallow(int depth);
[[noreturn]] void refuseDatatype(hid_t type);

}  // namespace zembra
