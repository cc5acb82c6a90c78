// H5, H5I, H5Z: the library, identifiers, filters.
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;
using Version = AsNumber<unsigned>;

void filterAvailable(zbArray** outs, const zbArray** ins) {
  const htri_t available = H5Zfilter_avail(getEnumArg<FilterId>(ins[0]));
  if (available != 0 && available != 1) KVH5libraryError();
  outs[0] = zbCreateDoubleScalar(available);
}

constexpr Row kLibraryFunctions[] = {
    // name                   call                    gives       takes
    {"H5close", wrap<H5close, Nothing>},
    {"H5garbage_collect", wrap<H5garbage_collect, Nothing>},
    {"H5get_libversion", wrap<H5get_libversion, Outputs<Version, Version, Version>>},
    {"H5open", wrap<H5open, Nothing>},
    {"H5set_free_list_limits", wrap<H5set_free_list_limits, Nothing, Int, Int, Int, Int, Int, Int>},

    {"H5Idec_ref", wrap<H5Idec_ref, RawNumber, ObjectId>},
    {"H5Iget_file_id", wrap<H5Iget_file_id, Identifier, ObjectId>},
    {"H5Iget_name", wrap<H5Iget_name, RawText, ObjectId>},
    {"H5Iget_ref", wrap<H5Iget_ref, RawNumber, ObjectId>},
    {"H5Iget_type", wrap<H5Iget_type, Number, ObjectId>},
    {"H5Iinc_ref", wrap<H5Iinc_ref, RawNumber, ObjectId>},
    {"H5Iis_valid", wrap<H5Iis_valid, YesNo, ObjectId>},

    {"H5Zfilter_avail", rule<1, filterAvailable>},
    {"H5Zget_filter_info", wrap<H5Zget_filter_info, Outputs<AsNumber<unsigned>>, Enum<FilterId>>},
};

}  // namespace

std::span<const Row> libraryFunctions() { return kLibraryFunctions; }

}  // namespace h5gate
