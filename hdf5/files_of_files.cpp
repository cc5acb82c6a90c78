#include "hdf5/files_of_files.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "hdf5/allocated_text.hpp"
#include "hdf5/family_shields.hpp"
#include "hdf5/file_name_pattern.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

template <class Value>
using Members = std::array<Value, H5FD_MEM_NTYPES>;

constexpr std::size_t kFamilyRoom = 4096;
constexpr std::size_t kMultiRoom = 1024;
/// A file of more floors than this may be two to their power files.
constexpr int kMostFloors = 8;

/// Which of the uses of file memory there are in a file.
using Uses = Members<bool>;

/// A file of a file, as the driver of that one opens it.
struct MemberFile {
  std::string name;
  hid_t accessList;
  Uses uses;
  int floor;
};

const char* troubleOf(const MemberFile& file);

const char* troubleOfFamily(const MemberFile& file) {
  if (!isFileNamePattern(file.name, "du", 2)) {
    return "the name of a family of files is no format with one %d";
  }
  const std::string printed = printedName(file.name, "0000000000");
  if (printed.size() >= kFamilyRoom) return "the name of a family of files is too long";
  hsize_t size = 0;
  hid_t member = H5I_INVALID_HID;
  if (H5Pget_fapl_family(file.accessList, &size, &member) < 0) return nullptr;
  return troubleOf({printed, PropertyList(member).get(), file.uses, file.floor + 1});
}

/// What the multi driver's list says of the members.
struct MultiList {
  explicit MultiList(hid_t accessList) {
    Members<hid_t> lists{};
    Members<char*> names{};
    hbool_t relax{};
    known = H5Pget_fapl_multi(accessList, map.data(), lists.data(), names.data(), addresses.data(),
                              &relax) >= 0;
    for (std::size_t i = 0; known && i < map.size(); ++i) {
      list[i] = PropertyList(lists[i]);
      name[i].reset(names[i]);
    }
  }
  /// The uses that the member is for, of those that there are.
  [[nodiscard]] Uses usesOf(std::size_t member, const Uses& all) const {
    Uses uses{};
    for (std::size_t i = 1; i < uses.size(); ++i) {
      const std::size_t to = map[i] == H5FD_MEM_DEFAULT ? i : static_cast<std::size_t>(map[i]);
      uses[i] = all[i] && to == member;
    }
    return uses;
  }

  bool known = false;
  Members<H5FD_mem_t> map{};
  Members<PropertyList> list;
  Members<DriverText> name;
  Members<haddr_t> addresses{};
};

const char* troubleOfMulti(const MemberFile& file) {
  const MultiList members(file.accessList);
  if (!members.known) return nullptr;
  for (std::size_t i = 1; i < members.map.size(); ++i) {
    const Uses uses = members.usesOf(i, file.uses);
    if (members.name[i] == nullptr || std::count(uses.begin(), uses.end(), true) == 0) continue;
    if (file.floor > 0 && members.addresses[i] != 0) {
      return "a member that is itself of the multi driver would get data before its address";
    }
    const std::string printed = printedName(members.name[i].get(), file.name);
    if (printed.size() >= kMultiRoom) return "the name of a member of the file is too long";
    const char* trouble = troubleOf({printed, members.list[i].get(), uses, file.floor + 1});
    if (trouble != nullptr) return trouble;
  }
  return nullptr;
}

const char* troubleOf(const MemberFile& file) {
  if (file.accessList < 0 || file.accessList == H5P_DEFAULT) return nullptr;
  if (file.floor > kMostFloors) return "the file consists of files on too many floors";
  const hid_t driver = H5Pget_driver(file.accessList);
  if (driver == H5FD_FAMILY) return troubleOfFamily(file);
  if (driver == H5FD_MULTI) return troubleOfMulti(file);
  return nullptr;
}

/// Blocks and gaps that no file is large enough for.
bool wantsTooMuch(hid_t accessList) {
  constexpr hsize_t kMost = hsize_t{1} << 50;
  hsize_t meta = 0;
  hsize_t small = 0;
  hsize_t threshold = 0;
  hsize_t alignment = 0;
  H5Pget_meta_block_size(accessList, &meta);
  H5Pget_small_data_block_size(accessList, &small);
  H5Pget_alignment(accessList, &threshold, &alignment);
  return std::max({meta, small, alignment}) > kMost;
}

}  // namespace

bool isFileAccess(hid_t list) {
  return list != H5P_DEFAULT && H5Pisa_class(list, H5P_FILE_ACCESS) > 0;
}

const char* troubleWith(const char* name, hid_t accessList) {
  if (!isFileAccess(accessList)) return nullptr;
  if (wantsTooMuch(accessList)) return "no file has room for such blocks or such an alignment";
  const char* trouble = mayBeFamily(accessList) ? troubleWithFamilies() : nullptr;
  if (trouble != nullptr) return trouble;
  Uses all;
  all.fill(true);
  return troubleOf({name, accessList, all, 0});
}

}  // namespace hdf5
