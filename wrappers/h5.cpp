// H5: the library.
#include "convert/callbacks.hpp"
#include "hdf5/closing.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

/// HDF5 returns to where it was when it called the host function, open or not.
herr_t closeLibrary() {
  if (RunningCallback::any()) {
    raiseRefusal("H5close", "HDF5 cannot be closed while it calls a function of yours");
  }
  return hdf5::closeLibrary();
}

constexpr Row kLibraryFunctions[] = {
    // clang-format off
    //  name                    gives                                  takes
    CALL(H5close, closeLibrary, Nothing),
    ROW(H5garbage_collect,      Nothing),
    ROW(H5get_libversion,       Outputs<unsigned, unsigned, unsigned>),
    ROW(H5open,                 Nothing),
    ROW(H5set_free_list_limits, Nothing,                               Int, Int, Int, Int, Int,
                                                                       Int),
};  // clang-format on

}  // namespace

std::span<const Row> libraryFunctions() { return kLibraryFunctions; }

}  // namespace h5gate
