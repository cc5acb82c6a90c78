// Identifiers that tests make, closed at the end whatever their kind.
#pragma once

#include <string_view>
#include <utility>

#include "convert/identifiers.hpp"
#include "hdf5/compat.hpp"
#include "tests/unit/calls.hpp"

namespace h5test {

/// A number that no test gets for an identifier.
inline constexpr double kNoIdentifier = 99;

/// HDF5's form of an identifier that a script has.
inline hid_t hdf5Id(double id) { return h5gate::identifierFromHost(id); }

/// An identifier as a script has it, with HDF5's form of it for checks on the side.
class Owned {
 public:
  explicit Owned(double id) : id_(hdf5Id(id)) {}
  explicit Owned(hid_t id) : id_(id) {
    if (id < 0) ADD_FAILURE() << "HDF5 made no identifier";
  }
  Owned(Owned&& other) noexcept : id_(std::exchange(other.id_, H5I_INVALID_HID)) {}
  Owned& operator=(Owned&& other) noexcept {
    std::swap(id_, other.id_);
    return *this;
  }
  ~Owned() { close(); }

  void close() {
    if (id_ > 0) H5Idec_ref(id_);
    id_ = H5I_INVALID_HID;
  }
  [[nodiscard]] hid_t get() const { return id_; }
  [[nodiscard]] double id() const { return h5gate::identifierToHost(id_); }
  operator Argument() const { return {id()}; }

 private:
  hid_t id_;
};

/// What a call makes, and the test closes.
template <class... Inputs>
Owned make(std::string_view name, Inputs&&... inputs) {
  return Owned(callNumber(name, std::forward<Inputs>(inputs)...));
}

}  // namespace h5test
