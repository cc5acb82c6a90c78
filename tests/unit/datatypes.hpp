// Datatypes that tests make, without the functions under test.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/unit/owned.hpp"

namespace h5test {

/// A datatype of HDF5's or of a test's own.
class AnyType {
 public:
  AnyType(hid_t id) : id_(id) {}
  AnyType(const Owned& type) : id_(type.get()) {}
  [[nodiscard]] hid_t get() const { return id_; }

 private:
  hid_t id_;
};

inline bool equal(AnyType one, AnyType other) { return H5Tequal(one.get(), other.get()) > 0; }

inline Owned copyOf(AnyType type) { return Owned(H5Tcopy(type.get())); }

/// The same class in another number of bytes.
inline Owned resized(AnyType type, std::size_t size) {
  Owned copy = copyOf(type);
  if (H5Tget_class(copy.get()) != H5T_STRING) H5Tset_precision(copy.get(), 8 * size);
  H5Tset_size(copy.get(), size);
  return copy;
}

inline Owned fixedText(std::size_t size, H5T_str_t padding = H5T_STR_NULLTERM) {
  Owned type = resized(H5T_C_S1, size);
  H5Tset_strpad(type.get(), padding);
  return type;
}

inline Owned variableText(H5T_cset_t encoding = H5T_CSET_ASCII) {
  Owned type = resized(H5T_C_S1, H5T_VARIABLE);
  H5Tset_cset(type.get(), encoding);
  return type;
}

inline Owned opaque(std::size_t size, const char* tag = "") {
  Owned type(H5Tcreate(H5T_OPAQUE, size));
  H5Tset_tag(type.get(), tag);
  return type;
}

/// Of these names with the values 0, 1, 2 and so on.
Owned enumeration(const std::vector<std::string>& names, AnyType base = H5T_NATIVE_INT);

inline Owned sequenceOf(AnyType base) { return Owned(H5Tvlen_create(base.get())); }

inline Owned arrayOf(AnyType base, const std::vector<hsize_t>& dims) {
  return Owned(H5Tarray_create2(base.get(), static_cast<unsigned>(dims.size()), dims.data()));
}

/// Of members in this order, with a gap of `gap` bytes before each.
Owned compoundOf(const std::vector<std::pair<const char*, AnyType>>& members, std::size_t gap = 0);

}  // namespace h5test
