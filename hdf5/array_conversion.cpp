#include "hdf5/array_conversion.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"
#include "hdf5/type_shields.hpp"

namespace hdf5 {
namespace {

using Dimensions = std::array<hsize_t, H5S_MAX_RANK>;

Dimensions dimensionsOf(hid_t array) {
  Dimensions dimensions{};
  const int rank = H5Tget_array_ndims(array);
  if (rank > 0 && rank <= H5S_MAX_RANK) H5Tget_array_dims2(array, dimensions.data());
  return dimensions;
}

/// Arrays with the same dimensions of the same rank; none has a dimension of 0.
bool sameShape(hid_t left, hid_t right) { return dimensionsOf(left) == dimensionsOf(right); }

/// The arrays of one call, one after the other.
class Arrays {
 public:
  Arrays(hid_t from, hid_t to)
      : fromBase_(H5Tget_super(from)),
        toBase_(H5Tget_super(to)),
        fromSize_(H5Tget_size(from)),
        toSize_(H5Tget_size(to)),
        length_(toSize_ / std::max<std::size_t>(H5Tget_size(toBase_.get()), 1)) {}

  herr_t convert(std::size_t count, std::size_t stride, std::size_t backgroundStride,
                 std::byte* data, std::byte* background, hid_t list) {
    const std::size_t fromStep = stride != 0 ? stride : fromSize_;
    const std::size_t toStep = stride != 0 ? stride : toSize_;
    const std::size_t backgroundStep = backgroundStride != 0 ? backgroundStride : toStep;
    if (background == nullptr) own_.resize(std::max(fromSize_, toSize_));
    for (std::size_t n = 0; n < count; ++n) {
      // What grows in place is converted from the end.
      const std::size_t i = toStep > fromStep ? count - 1 - n : n;
      std::memmove(data + i * toStep, data + i * fromStep, fromSize_);
      std::byte* const before = background != nullptr ? background + i * backgroundStep : zeros();
      if (H5Tconvert(fromBase_.get(), toBase_.get(), length_, data + i * toStep, before, list) <
          0) {
        return -1;
      }
    }
    return 0;
  }

  void close() {
    fromBase_.close();
    toBase_.close();
  }

 private:
  std::byte* zeros() {
    std::fill(own_.begin(), own_.end(), std::byte{0});
    return own_.data();
  }

  Type fromBase_;
  Type toBase_;
  std::size_t fromSize_;
  std::size_t toSize_;
  std::size_t length_;
  std::vector<std::byte> own_;
};

herr_t convertArrays(hid_t from, hid_t to, std::size_t count, std::size_t stride,
                     std::size_t backgroundStride, void* data, void* background, hid_t list) try {
  Arrays arrays(from, to);
  const herr_t status =
      arrays.convert(count, stride, backgroundStride, static_cast<std::byte*>(data),
                     static_cast<std::byte*>(background), list);
  const KeepErrorStack keep;
  arrays.close();
  return status;
} catch (const std::bad_alloc&) {
  return refuse("H5Tconvert", "memory allocation failed for an array's background");
}

/// What HDF5 calls; what this one does not take on, the function that it had before does.
extern "C" herr_t arrayFunction(hid_t from, hid_t to, H5T_cdata_t* call, size_t count,
                                size_t stride, size_t backgroundStride, void* data,
                                void* background, hid_t list) {
  switch (call->command) {
    case H5T_CONV_INIT: {
      const bool partial = leavesMembersOut(from, to);
      if (!sameShape(from, to) || !(partial || holdsPointers(to))) return -1;
      call->need_bkg = partial ? H5T_BKG_YES : H5T_BKG_NO;
      return 0;
    }
    case H5T_CONV_CONV:
      return convertArrays(from, to, count, stride, backgroundStride, data, background, list);
    default: return 0;
  }
}

constexpr const char* kName = "h5gate arrays";

/// What HDF5 has found out about conversions of compounds leads to those of their members,
/// which a new function replaces: it forgets that only where a function is taken away, be it
/// one that nobody has.
void forgetMembers() {
  H5Tunregister(H5T_PERS_SOFT, "h5gate nothing", H5I_INVALID_HID, H5I_INVALID_HID, nullptr);
}

}  // namespace

ArrayConversion::ArrayConversion() {
  const hsize_t one = 1;
  Type array(H5Tarray_create2(H5T_NATIVE_INT, 1, &one));
  registered_ = H5Tregister(H5T_PERS_SOFT, kName, array.get(), array.get(), arrayFunction) >= 0;
  if (registered_) {
    array.close();
    forgetMembers();
  } else {
    const KeepErrorStack keep;
    array.close();
  }
}

ArrayConversion::~ArrayConversion() {
  if (!registered_) return;
  const KeepErrorStack keep;
  // Of all datatypes: those of arrays are as many as there are arrays.
  H5Tunregister(H5T_PERS_SOFT, kName, H5I_INVALID_HID, H5I_INVALID_HID, arrayFunction);
}

}  // namespace hdf5
