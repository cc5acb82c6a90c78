// H5: the library.
#include "hdf5/library_shields.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

constexpr Row kLibraryFunctions[] = {
    // clang-format off
    //  name                    gives                                  takes
    CALL(H5close, hdf5::closeLibrary, Nothing),
    ROW(H5garbage_collect,      Nothing),
    ROW(H5get_libversion,       Outputs<unsigned, unsigned, unsigned>),
    ROW(H5open,                 Nothing),
    ROW(H5set_free_list_limits, Nothing,                               Int, Int, Int, Int, Int,
                                                                       Int),
};  // clang-format on

}  // namespace

std::span<const Row> libraryFunctions() { return kLibraryFunctions; }

}  // namespace h5gate
