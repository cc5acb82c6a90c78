// Ownership of HDF5 identifiers: a Handle closes what it holds on every path.
#pragma once

#include <utility>

#include "hdf5/compat.hpp"
#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// An owned identifier, closed by `Close`. Negative values own nothing.
template <auto Close>
class Handle {
 public:
  Handle() = default;
  explicit Handle(hid_t id) : id_(id) {}
  Handle(Handle&& other) noexcept : id_(std::exchange(other.id_, H5I_INVALID_HID)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      close();
      id_ = std::exchange(other.id_, H5I_INVALID_HID);
    }
    return *this;
  }
  ~Handle() { close(); }

  [[nodiscard]] hid_t get() const { return id_; }
  [[nodiscard]] bool valid() const { return id_ >= 0; }
  [[nodiscard]] hid_t release() { return std::exchange(id_, H5I_INVALID_HID); }
  void close() {
    if (id_ >= 0) closeQuietly([this] { Close(id_); });
    id_ = H5I_INVALID_HID;
  }

 private:
  hid_t id_ = H5I_INVALID_HID;
};

using Type = Handle<H5Tclose>;
using Space = Handle<H5Sclose>;
using PropertyList = Handle<H5Pclose>;

}  // namespace hdf5
