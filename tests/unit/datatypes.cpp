#include "tests/unit/datatypes.hpp"

#include <array>
#include <cstring>

namespace h5test {

Owned enumeration(const std::vector<std::string>& names, AnyType base) {
  Owned type(H5Tenum_create(base.get()));
  int value = 0;
  for (const std::string& name : names) {
    std::array<std::byte, 16> bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    H5Tconvert(H5T_NATIVE_INT, base.get(), 1, bytes.data(), nullptr, H5P_DEFAULT);
    H5Tenum_insert(type.get(), name.c_str(), bytes.data());
    ++value;
  }
  return type;
}

Owned compoundOf(const std::vector<std::pair<const char*, AnyType>>& members, std::size_t gap) {
  std::size_t size = 0;
  for (const auto& [name, type] : members) size += gap + H5Tget_size(type.get());
  Owned compound(H5Tcreate(H5T_COMPOUND, size));
  std::size_t offset = 0;
  for (const auto& [name, type] : members) {
    H5Tinsert(compound.get(), name, offset + gap, type.get());
    offset += gap + H5Tget_size(type.get());
  }
  return compound;
}

}  // namespace h5test
