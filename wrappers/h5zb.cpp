// H5ZB: the gateway's own functions.
#include "convert/constants.hpp"
#include "gateway/function_table.hpp"
#include "host/hdf5_dataset.hpp"
#include "wrappers/memory_datatype.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

template <class Names, class NameOf>
zbArray* makeNames(const Names& names, NameOf nameOf) {
  const std::size_t shape[] = {names.size(), 1};
  zbArray* cell = zbCreateCellArray(2, shape);
  std::size_t index = 0;
  for (const auto& name : names) zbSetCell(cell, index++, makeText(std::string(nameOf(name))));
  return cell;
}

void getFunctionNames(zbArray** outs, const zbArray** /*ins*/) {
  outs[0] = makeNames(functionTable(), [](const Row& row) { return row.name; });
}

void getConstantNames(zbArray** outs, const zbArray** /*ins*/) {
  outs[0] = makeNames(constantNames(), [](std::string_view name) { return name; });
}

void getConstantValue(zbArray** outs, const zbArray** ins) {
  const std::string name = getStringArg(ins[0], "constant name");
  outs[0] = zbCreateDoubleScalar(static_cast<double>(constantValue(name)));
}

void getMemDatatype(zbArray** outs, const zbArray** ins) {
  const hid_t location = Id<"location id">::from(ins[0]);
  const hdf5::Type fileType = fileDatatypeOf<msg::unrecognizedLocationTypeForId>(location);
  outs[0] = makeHidResult(checked(HDF5Dataset::getMemDatatype(fileType.get())));
}

constexpr Row kGatewayFunctions[] = {
    {"H5ZBget_constant_names", rule<0, getConstantNames>},
    {"H5ZBget_constant_value", rule<1, getConstantValue>},
    {"H5ZBget_function_names", rule<0, getFunctionNames>},
    {"H5ZBget_mem_datatype", rule<1, getMemDatatype>},
};

}  // namespace

std::span<const Row> gatewayFunctions() { return kGatewayFunctions; }

}  // namespace h5gate
