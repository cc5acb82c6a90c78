#include "wrappers/data_transfer.hpp"

namespace h5gate {
namespace {

zbArray* makeEmptyOf(zbClass type) {
  const std::size_t shape[] = {0, 0};
  if (type == zbClass::Cell) return zbCreateCellArray(2, shape);
  if (type == zbClass::Struct) return zbCreateStructArray(0, 0, nullptr);
  const bool plain = type >= zbClass::Logical && type <= zbClass::UInt64;
  return zbCreateNumericArray(2, shape, plain ? type : zbClass::Double);
}

}  // namespace

zbArray* readResult(HDF5Dataset& dataset, const void* buffer, hssize_t points) {
  zbArray* result = dataset.read(buffer);
  if (points != 0) return result;
  const zbClass type = zbGetClass(result);
  zbDestroyArray(result);
  return makeEmptyOf(type);
}

}  // namespace h5gate
