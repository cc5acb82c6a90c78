// H5I: identifiers.
#include "convert/identifiers.hpp"
#include "hdf5/identifier_shields.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;

/// By 1.8's numbers on every release.
std::int64_t typeOf(hid_t id) { return codec::typeToHost(H5Iget_type(id)); }

constexpr Row kIdentifierFunctions[] = {
    // clang-format off
    //  name            gives                    takes
    CALL(H5Idec_ref, hdf5::decrementReferences, Unchecked<Number>, ObjectId),
    ROW(H5Iget_file_id, Identifier,              ObjectId),
    ROW(H5Iget_name,    Unchecked<BufferedText>, ObjectId, Buffer),
    ROW(H5Iget_ref,     Unchecked<Number>,       ObjectId),
    CALL(H5Iget_type, typeOf, Number,            ObjectId),
    CALL(H5Iinc_ref, hdf5::incrementReferences, Unchecked<Number>, ObjectId),
    ROW(H5Iis_valid,    YesNo,                   ObjectId),
};  // clang-format on

}  // namespace

std::span<const Row> identifierFunctions() { return kIdentifierFunctions; }

}  // namespace h5gate
