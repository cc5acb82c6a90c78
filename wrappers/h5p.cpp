// H5P: property lists and classes of every kind. What single properties mean is the
// business of the sources beside this one, one a family of lists.
#include <algorithm>

#include "convert/callbacks.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using ListOrClass = ListId<"property list identifier">;
using Class = ListId<"property class">;
using Name = Text<"property name">;
using RawName = Text<"name">;

/// Fails without a word: what is no class has the empty name.
void getClassName(zbArray** outs, const zbArray** ins) {
  const hdf5::AllocatedText name(H5Pget_class_name(ListId<"property list">::from(ins[0])));
  outs[0] = zbCreateString(name.get());
}

std::size_t sizeOf(hid_t list, const std::string& name) {
  std::size_t size = 0;
  checked(H5Pget_size(list, name.c_str(), &size));
  return size;
}

void get(zbArray** outs, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const std::string name = RawName::from(ins[1]);
  const std::size_t shape[] = {sizeOf(list, name), 1};
  zbArray* bytes = zbCreateUninitNumericArray(2, shape, zbClass::UInt8);
  // HDF5 has no answer for a property without a value; nothing is what there is.
  if (shape[0] > 0) checked(H5Pget(list, name.c_str(), zbGetWritableData(bytes)));
  outs[0] = bytes;
}

void set(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const std::string name = RawName::from(ins[1]);
  const std::size_t size = sizeOf(list, name);
  if (zbGetClass(ins[2]) != zbClass::UInt8 || zbGetNumberOfElements(ins[2]) != size) {
    raise<msg::badInputArgumentForH5Pset>(name, static_cast<std::int64_t>(size));
  }
  checked(H5Pset(list, name.c_str(), zbGetData(ins[2])));
}

void iterate(zbArray** outs, const zbArray** ins) {
  const hid_t list = ListOrClass::from(ins[0]);
  const int start = Int::from(ins[1]);
  CallbackContext context(ins[2]);
  int index = start;
  const int status = checked(context.returned(
      H5Piterate(list, &index, plainAdapter<msg::propertyListIteratorCallback, IdInput, NameInput>,
                 &context)));
  // HDF5 leaves the index of an iteration that was stopped at the property that
  // stopped it; scripts go on behind that one.
  if (status > 0) index = std::max(start, 0) + static_cast<int>(context.calls);
  outs[0] = zbCreateDoubleScalar(status);
  outs[1] = zbCreateDoubleScalar(index);
}

constexpr Row kPropertyListFunctions[] = {
    // name                    call                   gives       takes
    {"H5Pclose", wrap<H5Pclose, Nothing, Id<"property_list identifier">>},
    {"H5Pclose_class", wrap<H5Pclose_class, Nothing, Class>},
    {"H5Pcopy", wrap<H5Pcopy, Identifier, List>},
    {"H5Pcreate", wrap<H5Pcreate, Identifier, ListId<"class identifier">>},
    {"H5Pequal", wrap<H5Pequal, RawNumber, ListOrClass, ListOrClass>},
    {"H5Pexist", wrap<H5Pexist, RawNumber, ListOrClass, Name>},
    {"H5Pget", rule<2, get>},
    {"H5Pget_class", wrap<H5Pget_class, Identifier, List>},
    {"H5Pget_class_name", rule<1, getClassName>},
    {"H5Pget_class_parent", wrap<H5Pget_class_parent, RawIdentifier, ListId<"property list">>},
    {"H5Pget_nprops", wrap<H5Pget_nprops, Outputs<AsSize<std::size_t>>, List>},
    {"H5Pget_size", wrap<H5Pget_size, Outputs<AsSize<std::size_t>>, ListOrClass, Name>},
    {"H5Pisa_class", wrap<H5Pisa_class, RawNumber, ListOrClass, Class>},
    {"H5Piterate", rule<3, iterate>},
    {"H5Pset", rule<3, set>},
};

}  // namespace

std::span<const Row> propertyListFunctions() { return kPropertyListFunctions; }

}  // namespace h5gate
