// Identifier arguments and results: plain doubles, H5ZB.id objects and, where a
// predefined value is meant, names.
#pragma once

#include "hdf5/identifier_codec.hpp"
#include "host/array.hpp"

namespace h5gate {

namespace codec = hdf5::codec;
using hdf5::identifierFromHost;
using hdf5::identifierToHost;

/// Nearly every identifier argument; the only name it knows is "H5P_DEFAULT".
hid_t getHidArg(const zbArray* array, const char* description);

/// Datatypes: the name of any named constant as well.
hid_t getDatatypeHidArg(const zbArray* array, const char* description);

/// Property lists and classes: "H5P_DEFAULT" and the names of the list classes.
hid_t getPlistArg(const zbArray* array, const char* description);

/// Dataspaces of a transfer: "H5S_ALL" or an identifier.
hid_t getMemorySpaceArg(const zbArray* array);
hid_t getFileSpaceArg(const zbArray* array);

/// An element of a table of identifiers: what is no identifier's number raises
/// `numericCastError`.
hid_t castToIdentifier(double number);

/// Memory datatypes: the name of a named constant, or an identifier.
hid_t getMemoryTypeArg(const zbArray* array);

/// The identifier that a named constant stands for.
hid_t namedIdentifier(const zbArray* name);

inline zbArray* makeHidResult(hid_t id) { return zbCreateDoubleScalar(identifierToHost(id)); }

}  // namespace h5gate
