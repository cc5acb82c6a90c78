#include "hdf5/file_shields.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "hdf5/allocated_text.hpp"
#include "hdf5/external_link_shields.hpp"
#include "hdf5/family_shields.hpp"
#include "hdf5/file_name_pattern.hpp"

namespace hdf5 {
namespace {

template <class Value>
using Members = std::array<Value, H5FD_MEM_NTYPES>;

/// The access list to open a file with. What went wrong with the file stays to be told.
class Trusting {
 public:
  explicit Trusting(hid_t accessList) : list_(accessList) {
    if constexpr (!kSince1144) return;
    // A list of another class is HDF5's to refuse.
    if (accessList != H5P_DEFAULT && H5Pisa_class(accessList, H5P_FILE_ACCESS) <= 0) return;
    own_ =
        PropertyList(accessList == H5P_DEFAULT ? H5Pcreate(H5P_FILE_ACCESS) : H5Pcopy(accessList));
    if (trustUnusualNumbers(own_.get()) >= 0) list_ = own_.get();
  }
  ~Trusting() {
    if (!own_.valid()) return;
    const KeepErrorStack keep;
    own_.close();
  }
  Trusting(const Trusting&) = delete;
  Trusting& operator=(const Trusting&) = delete;
  [[nodiscard]] hid_t get() const { return list_; }

 private:
  hid_t list_;
  PropertyList own_;
};

/// What the split driver calls its member: the file's name stands before the member's.
std::string ofFile(const char* memberName) {
  const std::string name = memberName;
  return name.find("%s") == std::string::npos ? "%s" + name : name;
}

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

bool isFileAccess(hid_t list) {
  // A list of another class is HDF5's to refuse.
  return list != H5P_DEFAULT && H5Pisa_class(list, H5P_FILE_ACCESS) > 0;
}

/// Why HDF5 would not survive to open a file of this name; null where it does.
const char* troubleWith(const char* name, hid_t accessList) {
  if (!isFileAccess(accessList)) return nullptr;
  if (wantsTooMuch(accessList)) return "no file has room for such blocks or such an alignment";
  const char* trouble = mayBeFamily(accessList) ? troubleWithFamilies() : nullptr;
  if (trouble != nullptr) return trouble;
  Uses all;
  all.fill(true);
  return troubleOf({name, accessList, all, 0});
}

/// Before a file is opened, by a driver that may print names.
void watchLinksOf(hid_t accessList) {
  if (isFileAccess(accessList) && mayBeFamily(accessList)) watchExternalLinks(troubleWith);
}

bool hasWideAddresses(hid_t creationList) {
  std::size_t address = 0;
  std::size_t length = 0;
  return creationList != H5P_DEFAULT && H5Pisa_class(creationList, H5P_FILE_CREATE) > 0 &&
         H5Pget_sizes(creationList, &address, &length) >= 0 && address > sizeof(haddr_t);
}

}  // namespace

MemberList::MemberList(hid_t given) : given_(given) {
  if (given > 0 && H5Iget_type(given) == H5I_GENPROP_LST) copy_ = PropertyList(H5Pcopy(given));
}

hid_t createFile(const char* name, unsigned flags, hid_t creationList, hid_t accessList) {
  if (hasWideAddresses(creationList)) {
    return refuse("H5Fcreate", "no file has addresses of more than 8 bytes");
  }
  if (const char* trouble = troubleWith(name, accessList)) return refuse("H5Fcreate", trouble);
  watchLinksOf(accessList);
  return H5Fcreate(name, flags, creationList, Trusting(accessList).get());
}

hid_t openFile(const char* name, unsigned flags, hid_t accessList) {
  if (const char* trouble = troubleWith(name, accessList)) return refuse("H5Fopen", trouble);
  watchLinksOf(accessList);
  return H5Fopen(name, flags, Trusting(accessList).get());
}

herr_t setMultiLists(hid_t list, const hid_t* members, hbool_t relax) {
  Members<haddr_t> addresses{};
  for (std::size_t i = 2; i < addresses.size(); ++i) {
    addresses[i] = (i - 1) * (HADDR_MAX / addresses.size());
  }
  return H5Pset_fapl_multi(list, nullptr, members, nullptr, addresses.data(), relax);
}

herr_t setSplit(hid_t list, const char* metaName, hid_t metaList, const char* rawName,
                hid_t rawList) {
  if constexpr (!kSince112) return H5Pset_fapl_split(list, metaName, metaList, rawName, rawList);
  // The same of the multi driver; later releases take global heaps for raw data.
  const std::string metaFile = ofFile(metaName);
  const std::string rawFile = ofFile(rawName);
  Members<H5FD_mem_t> map{};
  Members<hid_t> lists{};
  Members<haddr_t> addresses{};
  Members<const char*> names{};
  map.fill(H5FD_MEM_SUPER);
  map[H5FD_MEM_DRAW] = H5FD_MEM_DRAW;
  map[H5FD_MEM_GHEAP] = H5FD_MEM_DRAW;
  lists.fill(H5I_INVALID_HID);
  addresses.fill(HADDR_UNDEF);
  lists[H5FD_MEM_SUPER] = metaList;
  addresses[H5FD_MEM_SUPER] = 0;
  names[H5FD_MEM_SUPER] = metaFile.c_str();
  lists[H5FD_MEM_DRAW] = rawList;
  addresses[H5FD_MEM_DRAW] = HADDR_MAX / 2;
  names[H5FD_MEM_DRAW] = rawFile.c_str();
  return H5Pset_fapl_multi(list, map.data(), lists.data(), names.data(), addresses.data(), true);
}

unsigned withoutLogTables(unsigned flags) {
  constexpr unsigned kTables = H5FD_LOG_FILE_READ | H5FD_LOG_FILE_WRITE | H5FD_LOG_FLAVOR;
  return flags & ~kTables;
}

}  // namespace hdf5
