// H5P: property lists and classes of every kind. What single properties mean is the
// business of the sources beside this one, one a family of lists.
#include <algorithm>

#include "convert/callbacks.hpp"
#include "hdf5/identifier_shields.hpp"
#include "hdf5/property_shields.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using ListOrClass = ListId<"property list identifier">;
using Class = ListId<"property class">;
using Name = Text<"property name">;
using RawName = Text<"name">;

// --- Raw values -----------------------------------------------------------------------

std::size_t sizeOf(hid_t list, const std::string& name) {
  std::size_t size = 0;
  checked(H5Pget_size(list, name.c_str(), &size));
  return size;
}

void get(Inputs ins, Results& outs) {
  const auto [list, name] = take<List, RawName>(ins);
  const std::size_t shape[] = {sizeOf(list, name), 1};
  zbArray* bytes = zbCreateUninitNumericArray(2, shape, zbClass::UInt8);
  // HDF5 has no answer for a property without a value; nothing is what there is.
  if (shape[0] > 0) checked(H5Pget(list, name.c_str(), zbGetWritableData(bytes)));
  outs.give(bytes);
}

void set(Inputs ins, Results& /*outs*/) {
  const auto [list, name, bytes] = take<List, RawName, Any>(ins);
  const std::size_t size = sizeOf(list, name);
  if (zbGetClass(bytes) != zbClass::UInt8 || zbGetNumberOfElements(bytes) != size) {
    raiseAbout<msg::badInputArgumentForH5Pset>(bytes, name, static_cast<std::int64_t>(size));
  }
  checked(hdf5::setRawProperty(list, name.c_str(), zbGetData(bytes)));
}

// --- Iteration ------------------------------------------------------------------------

void iterate(Inputs ins, Results& outs) {
  const auto [list, start, function] = take<ListOrClass, Int, Any>(ins);
  CallbackContext context(function);
  int index = start;
  const int status = hdf5::iterateProperties(
      list, &index, plainAdapter<msg::propertyListIteratorCallback, IdInput, NameInput>, &context);
  context.raiseParked();
  // HDF5 leaves the index of an iteration that was stopped at the property that
  // stopped it; scripts go on behind that one.
  if (status > 0) index = std::max(start, 0) + static_cast<int>(context.calls);
  outs.give(makeNumber(checked(status)));
  outs.give(makeNumber(index));
}

constexpr Row kPropertyListFunctions[] = {
    // clang-format off
    //  name                 gives                     takes
    CALL(H5Pclose, hdf5::closeList, Nothing,           Id<"property_list identifier">),
    CALL(H5Pclose_class, hdf5::closeClass, Nothing,    Class),
    ROW(H5Pcopy,             Identifier,               List),
    ROW(H5Pcreate,           Identifier,               ListId<"class identifier">),
    CALL(H5Pequal, hdf5::equalLists, Unchecked<Number>, ListOrClass, ListOrClass),
    ROW(H5Pexist,            Unchecked<Number>,        ListOrClass, Name),
    OWN(H5Pget,              get),
    ROW(H5Pget_class,        Identifier,               List),
    // Fails without a word: what is no class has the empty name.
    ROW(H5Pget_class_name,   Unchecked<AllocatedText>, ListId<"property list">),
    ROW(H5Pget_class_parent, Unchecked<Identifier>,    ListId<"property list">),
    ROW(H5Pget_nprops,       Outputs<size_t>,          List),
    ROW(H5Pget_size,         Outputs<size_t>,          ListOrClass, Name),
    ROW(H5Pisa_class,        Unchecked<Number>,        ListOrClass, Class),
    OWN(H5Piterate,          iterate),
    OWN(H5Pset,              set),
};  // clang-format on

}  // namespace

std::span<const Row> propertyListFunctions() { return kPropertyListFunctions; }

}  // namespace h5gate
