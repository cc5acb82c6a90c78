#include "hdf5/type_shields.hpp"

#include <algorithm>

#include "hdf5/allocated_text.hpp"
#include "hdf5/shields.hpp"
#include "hdf5/trial_file.hpp"

namespace hdf5 {
namespace {

bool holdsCompoundWithoutMembers(hid_t type) {
  const H5T_class_t kind = H5Tget_class(type);
  if (kind == H5T_ARRAY || kind == H5T_VLEN) {
    return holdsCompoundWithoutMembers(Type(H5Tget_super(type)).get());
  }
  if (kind != H5T_COMPOUND) return false;
  const auto members = static_cast<unsigned>(H5Tget_nmembers(type));
  for (unsigned i = 0; i < members; ++i) {
    if (holdsCompoundWithoutMembers(Type(H5Tget_member_type(type, i)).get())) return true;
  }
  return members == 0;
}

/// What arrays and sequences, one in the other, are of.
H5T_class_t classOfElements(hid_t type) {
  const H5T_class_t kind = H5Tget_class(type);
  if (kind != H5T_ARRAY && kind != H5T_VLEN) return kind;
  return classOfElements(Type(H5Tget_super(type)).get());
}

bool isOfVariableLength(hid_t type) {
  return H5Tget_class(type) == H5T_VLEN || H5Tis_variable_str(type) > 0;
}

/// Without knowing of which datatype.
bool packsBits(hid_t list) {
  for (unsigned i = 0; i < static_cast<unsigned>(std::max(H5Pget_nfilters(list), 0)); ++i) {
    unsigned flags = 0;
    unsigned config = 0;
    std::size_t values = 0;
    if (H5Pget_filter2(list, i, &flags, &values, nullptr, 0, nullptr, &config) == H5Z_FILTER_NBIT &&
        values == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

herr_t setTypeSize(hid_t type, size_t size) {
  if (!kSince110 && H5Tget_class(type) == H5T_COMPOUND && H5Tget_nmembers(type) == 0) {
    return refuse("H5Tset_size", "a compound without members has no size to change");
  }
  return changeTransient<H5Tset_size>("H5Tset_size", type, size);
}

herr_t packType(hid_t type) {
  if (H5Iget_type(type) == H5I_DATATYPE && holdsCompoundWithoutMembers(type)) {
    return refuse("H5Tpack", "a compound without members cannot be packed");
  }
  return H5Tpack(type);
}

bool isUncopyable(hid_t type) {
  constexpr bool kCannot = kSince110 && !kSince112;
  return kCannot && H5Tget_class(type) == H5T_ENUM && H5Tget_nmembers(type) == 0;
}

herr_t insertMember(hid_t compound, const char* name, size_t offset, hid_t member) {
  if (isUncopyable(member)) {
    return refuse("H5Tinsert", "an enumeration without members cannot be a member");
  }
  return H5Tinsert(compound, name, offset, Part(member).get());
}

const char* whyUnstorable(hid_t type) {
  constexpr std::size_t kLargest = 0xffffffff;
  if (H5Tget_size(type) > kLargest) return "a file has four bytes for the size of a datatype";
  switch (H5Tget_class(type)) {
    case H5T_INTEGER:
    case H5T_BITFIELD:
    case H5T_TIME:
      return H5Tget_order(type) == H5T_ORDER_VAX
                 ? "a file has no VAX byte order for other numbers than floats"
                 : nullptr;
    case H5T_ENUM:
    case H5T_ARRAY:
    case H5T_VLEN: return whyUnstorable(Type(H5Tget_super(type)).get());
    case H5T_COMPOUND: {
      const int members = H5Tget_nmembers(type);
      for (int i = 0; i < members; ++i) {
        const Type member(H5Tget_member_type(type, static_cast<unsigned>(i)));
        if (const char* reason = whyUnstorable(member.get())) return reason;
      }
      return nullptr;
    }
    default: return nullptr;
  }
}

Type unlockedCopy(hid_t type) {
  return Type(H5Tcommitted(type) == 0 ? H5Tcopy(type) : H5I_INVALID_HID);
}

const char* whyNoDataset(hid_t type, hid_t list) {
  if (!isDatasetCreationList(list)) return nullptr;
  if (H5Pget_layout(list) == H5D_COMPACT && H5Pget_external_count(list) > 0) {
    return "what lies in external files has no compact layout";
  }
  if (kSince110 && packsBits(list) && isOfVariableLength(type)) {
    return "data of variable length have no bits to pack";
  }
  return nullptr;
}

bool isTooLarge(hid_t location, hid_t type) {
  // Nothing takes more room in a file than here.
  constexpr std::size_t kAlwaysFits = 60000;
  std::size_t size = 0;
  if (H5Tencode(type, nullptr, &size) < 0 || size < kAlwaysFits) return false;
  // Newer formats take less: it is tried in memory, where a dataset fails and harms nothing.
  const Handle<H5Fclose> file(H5Iget_file_id(location));
  const Handle<H5Fclose> trial = trialFile(PropertyList(H5Fget_access_plist(file.get())));
  const Space null(H5Screate(H5S_NULL));
  const Handle<H5Dclose> dataset(
      H5Dcreate2(trial.get(), "d", type, null.get(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
  return trial.valid() && !dataset.valid();
}

bool leavesMembersOut(hid_t from, hid_t to) {
  const H5T_class_t typeClass = H5Tget_class(to);
  if (typeClass != H5Tget_class(from)) return false;
  if (typeClass == H5T_ARRAY || typeClass == H5T_VLEN) {
    return leavesMembersOut(Type(H5Tget_super(from)).get(), Type(H5Tget_super(to)).get());
  }
  const int members = typeClass == H5T_COMPOUND ? H5Tget_nmembers(to) : 0;
  for (int i = 0; i < members; ++i) {
    const auto index = static_cast<unsigned>(i);
    const AllocatedText name(H5Tget_member_name(to, index));
    const int there = name ? H5Tget_member_index(from, name.get()) : -1;
    if (there < 0 ||
        leavesMembersOut(Type(H5Tget_member_type(from, static_cast<unsigned>(there))).get(),
                         Type(H5Tget_member_type(to, index)).get())) {
      return true;
    }
  }
  return false;
}

herr_t lockType(hid_t type) {
  if (kSince112 && H5Tcommitted(type) > 0) {
    return refuse("H5Tlock", "a committed datatype cannot be locked");
  }
  return H5Tlock(type);
}

hid_t createAttribute(hid_t object, const char* name, hid_t type, hid_t space, hid_t creationList,
                      hid_t accessList) {
  return H5Acreate2(object, name, type, space, creationList, kSince112 ? H5P_DEFAULT : accessList);
}

herr_t setTypeOffset(hid_t type, size_t offset) {
  const H5T_class_t kind = classOfElements(type);
  const bool isElement = kind != H5Tget_class(type);
  if (isElement && (kind == H5T_COMPOUND || kind == H5T_OPAQUE || kind == H5T_REFERENCE)) {
    return refuse("H5Tset_offset", "what the array or sequence is of has no offset");
  }
  return changeTransient<H5Tset_offset>("H5Tset_offset", type, offset);
}

}  // namespace hdf5
