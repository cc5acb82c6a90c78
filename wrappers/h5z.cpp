// H5Z: filters.
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using Filter = Enum<FilterId>;

/// Nothing but yes and no are answers.
struct NeitherYesNorNo {
  static htri_t check(htri_t answer) {
    if (answer != 0 && answer != 1) KVH5libraryError();
    return answer;
  }
};
struct StrictYesNo : YesNo {
  using Rule = NeitherYesNorNo;
};

constexpr Row kFilterFunctions[] = {
    // clang-format off
    //  name                gives              takes
    ROW(H5Zfilter_avail,    StrictYesNo,       Filter),
    ROW(H5Zget_filter_info, Outputs<unsigned>, Filter),
};  // clang-format on

}  // namespace

std::span<const Row> filterFunctions() { return kFilterFunctions; }

}  // namespace h5gate
