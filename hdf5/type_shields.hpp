// Datatypes and attributes where a release does not survive what another one
// refuses or does: functions of HDF5's own form that stand for those of the same purpose.
#pragma once

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {

/// H5Tset_size. 1.8 looks at the last member of a compound that has none.
herr_t setTypeSize(hid_t type, size_t size);

/// H5Tpack. It looks at the last member of a compound, and of each within, that has none.
herr_t packType(hid_t type);

/// Whether the release cannot copy the datatype: 1.10 fails at an enumeration without
/// members, and what it leaves behind can keep the library from closing.
bool isUncopyable(hid_t type);

/// H5Tinsert. 1.10 does not look whether it could copy the member: the compound has one
/// that is a null pointer.
herr_t insertMember(hid_t compound, const char* name, size_t offset, hid_t member);

/// A datatype as a part of others. These keep where a committed one is stored, and whoever gets
/// it from them follows that, also when the file has been closed and its memory is another's
/// (all): such a part is a copy.
class Part {
 public:
  explicit Part(hid_t type)
      : type_(type), copy_(H5Tcommitted(type) > 0 ? H5Tcopy(type) : H5I_INVALID_HID) {}
  ~Part() {
    if (!copy_.valid()) return;
    const KeepErrorStack keep;
    copy_.close();
  }
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;
  [[nodiscard]] hid_t get() const { return copy_.valid() ? copy_.get() : type_; }

 private:
  hid_t type_;
  Type copy_;
};

/// H5Tarray_create, H5Tenum_create and H5Tvlen_create, whichever `Create` is.
template <auto Create>
struct OfPart;
template <class... Rest, hid_t (*Create)(hid_t, Rest...)>
struct OfPart<Create> {
  static hid_t create(hid_t type, Rest... rest) { return Create(Part(type).get(), rest...); }
};

/// H5Tcopy and H5Tarray_create, whichever `Create` is.
template <auto Create>
struct OfCopiedType;
template <class... Rest, hid_t (*Create)(hid_t, Rest...)>
struct OfCopiedType<Create> {
  static hid_t create(hid_t type, Rest... rest) {
    if (isUncopyable(type)) {
      return refuse("H5Tcopy", "an enumeration without members cannot be copied");
    }
    return Create(type, rest...);
  }
};

/// For what part of the datatype the file format has no word: numbers that are no floats in the
/// byte order of a VAX, sizes of more than four bytes. Null where it has.
const char* whyUnstorable(hid_t type);

/// H5Dcreate, H5Acreate and H5Tcommit, whichever `Create` is. HDF5 finds out that a
/// datatype cannot be stored when it closes the file: every release then loses the file,
/// and most do not survive the end of the process.
template <auto Create>
struct OfStorableType;
template <class Answer, class... Rest, Answer (*Create)(hid_t, const char*, hid_t, Rest...)>
struct OfStorableType<Create> {
  static Answer create(hid_t location, const char* name, hid_t type, Rest... rest) {
    if (const char* reason = whyUnstorable(type)) return refuse("H5Tencode", reason);
    if (isUncopyable(type)) {
      return refuse("H5Tcopy", "an enumeration without members cannot be copied");
    }
    return Create(location, name, type, rest...);
  }
};

/// A copy, which nobody has locked; none where a file has the datatype.
Type unlockedCopy(hid_t type);

/// Why HDF5 follows a null pointer where a dataset of that datatype is made with the list, if
/// the identifier is one of that class; null where it does not. Data in the object header and in
/// external files at once; the n-bit filter on data of variable length, of which it has been told
/// nothing since 1.10.
const char* whyNoDataset(hid_t type, hid_t list);

/// H5Dcreate, whichever `Create` is. A dataset shares a locked datatype, which can then be given
/// up by its identifier, and neither dataset nor file closes any more.
template <auto Create>
struct OfUnlockedType;
template <class... Rest, hid_t (*Create)(hid_t, const char*, hid_t, Rest...)>
struct OfUnlockedType<Create> {
  static hid_t create(hid_t location, const char* name, hid_t type, Rest... rest) {
    for (const char* reason : {whyNoDataset(type, rest)...}) {
      if (reason != nullptr) return refuse("H5Dcreate", reason);
    }
    Type copy = unlockedCopy(type);
    const hid_t dataset = Create(location, name, copy.valid() ? copy.get() : type, rest...);
    const KeepErrorStack keep;
    copy.close();
    return dataset;
  }
};

/// Of H5Tcommit: whether the datatype is larger than a message of an object header can
/// be in the location's file. Up to 1.10 HDF5 then fails and never closes the file again.
bool isTooLarge(hid_t location, hid_t type);

/// H5Tcommit1 and H5Tcommit2.
template <auto Commit, class... Lists>
herr_t commitType(hid_t location, const char* name, hid_t type, Lists... lists) {
  if (isTooLarge(location, type)) {
    return refuse("H5Tcommit", "the datatype is too large for an object header message");
  }
  return OfStorableType<Commit>::create(location, name, type, lists...);
}

/// Whether compounds of the datatype `to`, however deep, have members that those of `from`
/// lack.
bool leavesMembersOut(hid_t from, hid_t to);

/// H5Tlock. Later releases lock a committed datatype, which can then not be closed, and
/// its file with it.
herr_t lockType(hid_t type);

/// `Change`, called `name`. Later releases change a committed datatype, which then says
/// something else than the file.
template <auto Change, class... Arguments>
herr_t changeTransient(const char* name, hid_t type, Arguments... arguments) {
  if (kSince112 && H5Tcommitted(type) > 0) {
    return refuse(name, "a committed datatype cannot be changed");
  }
  return Change(type, arguments...);
}

/// H5Acreate2. Up to 1.10 the access list is never read; later releases refuse one of
/// another class.
hid_t createAttribute(hid_t object, const char* name, hid_t type, hid_t space, hid_t creationList,
                      hid_t accessList);

/// H5Tset_offset. HDF5 looks at the class of an array, or sequence, and then writes to what it is
/// of as though that were a number: into a compound's members, for instance.
herr_t setTypeOffset(hid_t type, size_t offset);

}  // namespace hdf5
