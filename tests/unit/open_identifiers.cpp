#include "tests/unit/open_identifiers.hpp"

#include <algorithm>
#include <array>
#include <set>

#include "convert/identifiers.hpp"
#include "hdf5/compat.hpp"

namespace h5test {

namespace {

/// Identifiers of one kind, found by asking HDF5 of each number that it has given
/// out. It gives them out in order, so a fresh one tells how far to look.
class Census {
 public:
  template <class Make, class Close>
  std::size_t count(Make make, Close close) {
    const hid_t fresh = make();
    const bool first = looked_ == 0;
    // 1.8 gives numbers out anew once no identifier of the kind is open.
    if (first || !hdf5::kWideIdentifiers) looked_ = fresh >> kSerialBits << kSerialBits;
    for (hid_t id = looked_; id < fresh; ++id) {
      if (H5Iis_valid(id) > 0) open_.insert(id);
    }
    close(fresh);
    looked_ = fresh + 1;
    std::erase_if(open_, [](hid_t id) { return H5Iis_valid(id) <= 0; });
    if (first) own_ = open_;  // what was there before the first count is HDF5's own
    return static_cast<std::size_t>(
        std::ranges::count_if(open_, [this](hid_t id) { return !own_.contains(id); }));
  }

 private:
  static constexpr int kSerialBits =
      hdf5::kWideIdentifiers ? h5gate::codec::kTypeShift : h5gate::codec::kShortTypeShift;
  hid_t looked_ = 0;
  std::set<hid_t> open_;
  std::set<hid_t> own_;
};

}  // namespace

std::size_t openIdentifiers() {
  static std::array<Census, 5> census;
  const ssize_t inFiles = H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL);
  return static_cast<std::size_t>(std::max<ssize_t>(inFiles, 0)) +
         census[0].count([] { return H5Tcopy(H5T_NATIVE_INT); }, H5Tclose) +
         census[1].count([] { return H5Screate(H5S_SCALAR); }, H5Sclose) +
         census[2].count([] { return H5Pcreate(H5P_DATASET_XFER); }, H5Pclose) +
         census[3].count(
             [] {
               return H5Pcreate_class(H5P_ROOT, "census", nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr);
             },
             H5Pclose_class) +
         census[4].count([] { return H5Ecreate_stack(); }, H5Eclose_stack);
}

}  // namespace h5test
