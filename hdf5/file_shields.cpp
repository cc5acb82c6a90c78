#include "hdf5/file_shields.hpp"

#include <array>
#include <string>

#include "hdf5/external_link_shields.hpp"
#include "hdf5/family_shields.hpp"
#include "hdf5/files_of_files.hpp"

namespace hdf5 {
namespace {

template <class Value>
using Members = std::array<Value, H5FD_MEM_NTYPES>;

/// The access list to open a file with. What went wrong with the file stays to be told.
class Trusting {
 public:
  explicit Trusting(hid_t accessList) : list_(accessList) {
    if constexpr (!kSince1144) return;
    if (accessList != H5P_DEFAULT && !isFileAccess(accessList)) return;
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

/// Before a file is opened, by a driver that may print names.
void watchLinksOf(hid_t accessList) {
  if (isFileAccess(accessList) && mayBeFamily(accessList)) watchExternalLinks();
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
