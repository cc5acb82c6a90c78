// H5ZB: the gateway's own functions but for the one about the function table, which
// stands there.
#include "convert/constants.hpp"
#include "host/hdf5_dataset.hpp"
#include "wrappers/name_list.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"
#include "wrappers/transfer_datatype.hpp"

namespace h5gate {
namespace {

void getConstantNames(Inputs ins, Results& outs) {
  take<>(ins);
  outs.give(makeNameList(constantNames(), [](std::string_view name) { return name; }));
}

std::int64_t getConstantValue(const char* name) { return constantValue(name); }

hid_t getMemDatatype(hid_t location) {
  const hdf5::Type fileType = fileDatatypeOf<msg::unrecognizedLocationTypeForId>(location);
  return checked(HDF5Dataset::getMemDatatype(fileType.get()));
}

constexpr Row kConstantFunctions[] = {
    // clang-format off
    //   name                                      gives              takes
    OWN(H5ZBget_constant_names, getConstantNames),
    CALL(H5ZBget_constant_value, getConstantValue, Unchecked<Number>, Text<"constant name">),
    CALL(H5ZBget_mem_datatype,   getMemDatatype,   Identifier,        Id<"location id">),
};  // clang-format on

}  // namespace

std::span<const Row> constantFunctions() { return kConstantFunctions; }

}  // namespace h5gate
