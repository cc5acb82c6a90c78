#include "convert/identifiers.hpp"

#include <string_view>

#include "convert/constants.hpp"
#include "convert/failure.hpp"
#include "convert/number_cast.hpp"
#include "convert/text.hpp"

namespace h5gate {
namespace {

constexpr std::string_view kIdClass = "H5ZB.id";

/// A double or an H5ZB.id object; false for everything else. What a property
/// "identifier" holds gets no test of its own; a missing one is no identifier.
bool readIdentifier(const zbArray* array, hid_t& id) {
  if (zbGetClass(array) == zbClass::Double) {
    id = identifierFromHost(zbGetScalar(array));
    return true;
  }
  if (zbGetClassName(array) != kIdClass) return false;
  const zbArray* value = zbGetProperty(array, 0, "identifier");
  id = value == nullptr ? H5I_INVALID_HID : identifierFromHost(zbGetScalar(value));
  return true;
}

struct PropertyListClass {
  std::string_view name;
  hid_t (*read)();
};

// HDF5's macros of these names open the library before they read the class.
#define H5GATE_LIST_CLASS(Name)                    \
  {                                                \
#Name, [] { return static_cast<hid_t>(Name); } \
  }
constexpr PropertyListClass kListClasses[] = {
    H5GATE_LIST_CLASS(H5P_OBJECT_CREATE),    H5GATE_LIST_CLASS(H5P_FILE_CREATE),
    H5GATE_LIST_CLASS(H5P_FILE_ACCESS),      H5GATE_LIST_CLASS(H5P_DATASET_CREATE),
    H5GATE_LIST_CLASS(H5P_DATASET_ACCESS),   H5GATE_LIST_CLASS(H5P_DATASET_XFER),
    H5GATE_LIST_CLASS(H5P_FILE_MOUNT),       H5GATE_LIST_CLASS(H5P_GROUP_CREATE),
    H5GATE_LIST_CLASS(H5P_GROUP_ACCESS),     H5GATE_LIST_CLASS(H5P_DATATYPE_CREATE),
    H5GATE_LIST_CLASS(H5P_DATATYPE_ACCESS),  H5GATE_LIST_CLASS(H5P_STRING_CREATE),
    H5GATE_LIST_CLASS(H5P_ATTRIBUTE_CREATE), H5GATE_LIST_CLASS(H5P_OBJECT_COPY),
    H5GATE_LIST_CLASS(H5P_LINK_CREATE),      H5GATE_LIST_CLASS(H5P_LINK_ACCESS),
};
#undef H5GATE_LIST_CLASS

bool isSpaceAll(const zbArray* array) { return textOf(array) == "H5S_ALL"; }

}  // namespace

hid_t getHidArg(const zbArray* array, const char* description) {
  if (isText(array)) {
    const std::string name = textOf(array);
    if (name == "H5P_DEFAULT") return H5P_DEFAULT;
    raiseAbout<msg::unmatchedHidtString>(array, name, description);
  }
  hid_t id = H5I_INVALID_HID;
  if (!readIdentifier(array, id)) raiseAbout<msg::doubleHidtMismatch>(array, description);
  return id;
}

hid_t namedIdentifier(const zbArray* name) {
  return identifierFromHost(static_cast<double>(constantValue(textOf(name), name)));
}

hid_t getDatatypeHidArg(const zbArray* array, const char* description) {
  if (isText(array)) return namedIdentifier(array);
  hid_t id = H5I_INVALID_HID;
  if (!readIdentifier(array, id)) raiseAbout<msg::doubleDatatypeHidtMismatch>(array, description);
  return id;
}

hid_t getPlistArg(const zbArray* array, const char* description) {
  if (isText(array)) {
    const std::string name = textOf(array);
    if (name == "H5P_DEFAULT") return H5P_DEFAULT;
    for (const PropertyListClass& listClass : kListClasses) {
      if (name == listClass.name) return listClass.read();
    }
    raiseAbout<msg::unmatchedString>(array, name, description);
  }
  hid_t id = H5I_INVALID_HID;
  if (!readIdentifier(array, id)) {
    raiseAbout<msg::badPropertyListDatatype>(array, description, zbGetClassName(array));
  }
  return id;
}

hid_t getMemorySpaceArg(const zbArray* array) {
  if (!isText(array)) return getHidArg(array, "memory space identifier");
  if (!isSpaceAll(array)) raiseAbout<msg::memSpaceIdStringMatchFailure>(array);
  return H5S_ALL;
}

hid_t getFileSpaceArg(const zbArray* array) {
  if (!isText(array)) return getHidArg(array, "file dataspace identifier");
  if (!isSpaceAll(array)) raiseAbout<msg::noStringMatchForSpaceId>(array);
  return H5S_ALL;
}

hid_t castToIdentifier(double number) {
  if (!hdf5::kWideIdentifiers || !codec::isLong(number)) castToInt(number);
  return identifierFromHost(number);
}

hid_t getMemoryTypeArg(const zbArray* array) {
  return isText(array) ? namedIdentifier(array) : getHidArg(array, "memory type identifier");
}

}  // namespace h5gate
