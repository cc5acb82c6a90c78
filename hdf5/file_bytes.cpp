#include "hdf5/file_bytes.hpp"

#include <unistd.h>

#include <cstring>
#include <string>

#include "hdf5/family_shields.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {

FileBytes::FileBytes(hid_t file) : file_(file) {
  const PropertyList creation(H5Fget_create_plist(file));
  H5Pget_sizes(creation.get(), &addressSize_, &lengthSize_);
  H5Pget_userblock(creation.get(), &userBlock_);
  unsigned intent = 0;
  H5Fget_intent(file, &intent);
  // What could not be written out is nowhere to be read.
  if ((intent & H5F_ACC_RDWR) != 0 && H5Fflush(file, H5F_SCOPE_LOCAL) < 0) return;
  getFileSize(file, &end_);
}

FileBytes::~FileBytes() {
  if (openedAgain_ != nullptr) H5FDclose(openedAgain_);
}

bool FileBytes::holds(haddr_t address, std::size_t size) const {
  return end_ >= userBlock_ && address <= end_ - userBlock_ && size <= end_ - userBlock_ - address;
}

std::optional<std::vector<std::uint8_t>> FileBytes::readHeap(haddr_t address, std::size_t size) {
  if (!holds(address, size)) return std::nullopt;
  const haddr_t place = userBlock_ + address;
  std::vector<std::uint8_t> bytes(size);
  const PropertyList access(H5Fget_access_plist(file_));
  const hid_t driver = H5Pget_driver(access.get());
  const bool got = driver == H5FD_CORE   ? copyFromMemory(place, bytes)
                   : driver == H5FD_SEC2 ? readDescriptor(place, bytes)
                                         : readThroughDriver(access.get(), place, bytes);
  if (!got) return std::nullopt;
  return bytes;
}

bool FileBytes::copyFromMemory(haddr_t place, std::vector<std::uint8_t>& bytes) const {
  void* memory = nullptr;
  if (H5Fget_vfd_handle(file_, H5P_DEFAULT, &memory) < 0) return false;
  std::memcpy(bytes.data(), *static_cast<const std::uint8_t* const*>(memory) + place, bytes.size());
  return true;
}

// The usual driver: also where the file has another name by now, or none.
bool FileBytes::readDescriptor(haddr_t place, std::vector<std::uint8_t>& bytes) const {
  void* descriptor = nullptr;
  if (H5Fget_vfd_handle(file_, H5P_DEFAULT, &descriptor) < 0) return false;
  const ssize_t got = pread(*static_cast<const int*>(descriptor), bytes.data(), bytes.size(),
                            static_cast<off_t>(place));
  return got >= 0 && static_cast<std::size_t>(got) == bytes.size();
}

bool FileBytes::readThroughDriver(hid_t accessList, haddr_t place,
                                  std::vector<std::uint8_t>& bytes) {
  if (openedAgain_ == nullptr) {
    const ssize_t length = H5Fget_name(file_, nullptr, 0);
    if (length <= 0) return false;
    std::string name(static_cast<std::size_t>(length), '\0');
    H5Fget_name(file_, name.data(), name.size() + 1);
    openedAgain_ = H5FDopen(name.c_str(), H5F_ACC_RDONLY, accessList, HADDR_UNDEF);
    if (openedAgain_ == nullptr) return false;
  }
  return H5FDset_eoa(openedAgain_, H5FD_MEM_GHEAP, place + bytes.size()) >= 0 &&
         H5FDread(openedAgain_, H5FD_MEM_GHEAP, H5P_DEFAULT, place, bytes.size(), bytes.data()) >=
             0;
}

}  // namespace hdf5
