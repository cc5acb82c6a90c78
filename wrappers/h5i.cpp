// H5I: identifiers.
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;

constexpr Row kIdentifierFunctions[] = {
    // clang-format off
    //  name            gives                    takes
    ROW(H5Idec_ref,     Unchecked<Number>,       ObjectId),
    ROW(H5Iget_file_id, Identifier,              ObjectId),
    ROW(H5Iget_name,    Unchecked<BufferedText>, ObjectId, Buffer),
    ROW(H5Iget_ref,     Unchecked<Number>,       ObjectId),
    ROW(H5Iget_type,    Number,                  ObjectId),
    ROW(H5Iinc_ref,     Unchecked<Number>,       ObjectId),
    ROW(H5Iis_valid,    YesNo,                   ObjectId),
};  // clang-format on

}  // namespace

std::span<const Row> identifierFunctions() { return kIdentifierFunctions; }

}  // namespace h5gate
