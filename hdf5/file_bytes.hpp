// The bytes of an open file where they are stored, whichever driver stores them: for the few
// questions about a file that HDF5 answers to nobody but itself.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// Of an open file. HDF5 writes out what it holds back first, so that the bytes are those
/// that it would read itself.
class FileBytes {
 public:
  explicit FileBytes(hid_t file);
  ~FileBytes();
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  /// Whether so many bytes from an address on are within the file.
  [[nodiscard]] bool holds(haddr_t address, std::size_t size) const;

  /// `size` bytes of a global heap from an address within the file on; none where there are
  /// none, or where nobody can tell.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> readHeap(haddr_t address,
                                                                  std::size_t size);

  /// How wide the file stores addresses and lengths, in bytes.
  [[nodiscard]] std::size_t addressSize() const { return addressSize_; }
  [[nodiscard]] std::size_t lengthSize() const { return lengthSize_; }

 private:
  bool copyFromMemory(haddr_t place, std::vector<std::uint8_t>& bytes) const;
  bool readDescriptor(haddr_t place, std::vector<std::uint8_t>& bytes) const;
  bool readThroughDriver(hid_t accessList, haddr_t place, std::vector<std::uint8_t>& bytes);

  hid_t file_;
  std::size_t addressSize_ = 0;
  std::size_t lengthSize_ = 0;
  hsize_t userBlock_ = 0;  ///< addresses count from its end on
  hsize_t end_ = 0;
  H5FD_t* openedAgain_ = nullptr;
};

}  // namespace hdf5
