// Identifiers that tests make, closed at the end whatever their kind.
#pragma once

#include <utility>

#include "convert/identifier_codec.hpp"
#include "hdf5/compat.hpp"
#include "tests/unit/call.hpp"

namespace h5test {

/// An identifier as a script has it, with HDF5's form of it for checks on the side.
class Owned {
 public:
  explicit Owned(double id) : id_(h5gate::identifierFromHost(id)) {}
  explicit Owned(hid_t id) : id_(id) {
    if (id < 0) ADD_FAILURE() << "HDF5 made no identifier";
  }
  Owned(Owned&& other) noexcept : id_(std::exchange(other.id_, H5I_INVALID_HID)) {}
  Owned& operator=(Owned&&) = delete;
  ~Owned() {
    if (id_ > 0) H5Idec_ref(id_);
  }
  [[nodiscard]] hid_t get() const { return id_; }
  [[nodiscard]] double id() const { return h5gate::identifierToHost(id_); }
  operator Argument() const { return {id()}; }  // NOLINT(google-explicit-constructor)

 private:
  hid_t id_;
};

/// What a call makes, and the test closes.
template <class... Inputs>
Owned make(std::string_view name, Inputs&&... inputs) {
  return Owned(callNumber(name, std::forward<Inputs>(inputs)...));
}

/// A simple dataspace of fixed or given maximum extents.
inline Owned makeSpace(std::initializer_list<double> dims, Value maxDims = empty()) {
  return make("H5Screate_simple", static_cast<double>(dims.size()), row(dims), std::move(maxDims));
}

}  // namespace h5test
