// H5P: how links are made and objects copied.
#include <string_view>
#include <utility>

#include "wrappers/own_row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using PlainList = Id<"property list">;
using LinkList = Id<"link creation property list">;
using LinkListId = Id<"link creation property list identifier">;

/// One flag by name; several together must be a number.
struct CopyOptions {
  static unsigned from(const zbArray* array) {
    if (zbIsNumeric(array)) return getUIntArg(array);
    if (!isText(array)) raiseAbout<msg::badCopyObjectType>(array);
    static constexpr std::pair<std::string_view, unsigned> kFlags[] = {
        {"H5O_COPY_SHALLOW_HIERARCHY_FLAG", H5O_COPY_SHALLOW_HIERARCHY_FLAG},
        {"H5O_COPY_EXPAND_SOFT_LINK_FLAG", H5O_COPY_EXPAND_SOFT_LINK_FLAG},
        {"H5O_COPY_EXPAND_EXT_LINK_FLAG", H5O_COPY_EXPAND_EXT_LINK_FLAG},
        {"H5O_COPY_EXPAND_REFERENCE_FLAG", H5O_COPY_EXPAND_REFERENCE_FLAG},
        {"H5O_COPY_WITHOUT_ATTR_FLAG", H5O_COPY_WITHOUT_ATTR_FLAG},
    };
    const std::string name = textOf(array);
    for (const auto& [known, flag] : kFlags) {
      if (name == known) return flag;
    }
    raiseAbout<msg::badCopyOptionsString>(array);
  }
};

constexpr Row kLinkPropertyFunctions[] = {
    // clang-format off
    //  name                             gives                takes
    ROW(H5Pget_char_encoding,            Outputs<H5T_cset_t>, PlainList),
    ROW(H5Pget_copy_object,              Outputs<unsigned>,   List),
    ROW(H5Pget_create_intermediate_group, Outputs<unsigned>,  LinkListId),
    SET(H5Pset_char_encoding,            Nothing,             PlainList, Enum<H5T_cset_t>),
    SET(H5Pset_copy_object,              Nothing,             List, CopyOptions),
    SET(H5Pset_create_intermediate_group, Nothing,            LinkList, Unsigned),
};  // clang-format on

}  // namespace

std::span<const Row> linkPropertyFunctions() { return kLinkPropertyFunctions; }

}  // namespace h5gate
