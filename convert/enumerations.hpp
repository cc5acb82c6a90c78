// Enumerated arguments: scripts give an enumerator by its name or by a number.
//
// A number is good when it is below the count of names, whatever the enumerators'
// values are: of the byte orders 3 passes, though no name has it, and 4, which
// H5T_ORDER_NONE has, is taken by name only. The values are those of the 1.8
// interface, also where a later release has moved an enumerator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "convert/name_table.hpp"
#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

struct EnumName {
  std::string_view name;
  std::int32_t value = 0;
};

template <std::size_t N>
constexpr auto enumNames(const EnumName (&names)[N]) {
  return sortedByName(std::to_array(names));
}

/// What HDF5 types an enumerated argument as.
template <class Enumeration>
struct EnumArgument {
  using Type = Enumeration;
};

/// HDF5 types filters as plain numbers, which cannot tell their names.
struct FilterId;
template <>
struct EnumArgument<FilterId> {
  using Type = H5Z_filter_t;
};

/// The names of an enumeration.
template <class Enumeration>
inline constexpr auto kEnumNames = nullptr;

// Indexes and iteration
template <>
inline constexpr auto kEnumNames<H5_index_t> = enumNames({
    {"H5_INDEX_NAME", 0},
    {"H5_INDEX_CRT_ORDER", 1},
});
template <>
inline constexpr auto kEnumNames<H5_iter_order_t> = enumNames({
    {"H5_ITER_INC", 0},
    {"H5_ITER_DEC", 1},
    {"H5_ITER_NATIVE", 2},
});
template <>
inline constexpr auto kEnumNames<H5E_direction_t> = enumNames({
    {"H5E_WALK_UPWARD", 0},
    {"H5E_WALK_DOWNWARD", 1},
});

// Dataset creation
template <>
inline constexpr auto kEnumNames<H5D_layout_t> = enumNames({
    {"H5D_COMPACT", 0},
    {"H5D_CONTIGUOUS", 1},
    {"H5D_CHUNKED", 2},
});
template <>
inline constexpr auto kEnumNames<H5D_alloc_time_t> = enumNames({
    {"H5D_ALLOC_TIME_DEFAULT", 0},
    {"H5D_ALLOC_TIME_EARLY", 1},
    {"H5D_ALLOC_TIME_LATE", 2},
    {"H5D_ALLOC_TIME_INCR", 3},
});
template <>
inline constexpr auto kEnumNames<H5D_fill_time_t> = enumNames({
    {"H5D_FILL_TIME_ALLOC", 0},
    {"H5D_FILL_TIME_NEVER", 1},
    {"H5D_FILL_TIME_IFSET", 2},
});

// Files
template <>
inline constexpr auto kEnumNames<H5F_close_degree_t> = enumNames({
    {"H5F_CLOSE_DEFAULT", 0},
    {"H5F_CLOSE_WEAK", 1},
    {"H5F_CLOSE_SEMI", 2},
    {"H5F_CLOSE_STRONG", 3},
});
template <>
inline constexpr auto kEnumNames<H5F_libver_t> = enumNames({
    {"H5F_LIBVER_EARLIEST", 0},
    {"H5F_LIBVER_LATEST", 1},
    {"H5F_LIBVER_18", 1},
});
template <>
inline constexpr auto kEnumNames<H5F_scope_t> = enumNames({
    {"H5F_SCOPE_LOCAL", 0},
    {"H5F_SCOPE_GLOBAL", 1},
});
template <>
inline constexpr auto kEnumNames<H5FD_mem_t> = enumNames({
    {"H5FD_MEM_DEFAULT", 0},
    {"H5FD_MEM_SUPER", 1},
    {"H5FD_MEM_BTREE", 2},
    {"H5FD_MEM_DRAW", 3},
    {"H5FD_MEM_GHEAP", 4},
    {"H5FD_MEM_LHEAP", 5},
    {"H5FD_MEM_OHDR", 6},
});

// Links and references; a group's link type is HDF5's older name for a link's
template <>
inline constexpr auto kEnumNames<H5L_type_t> = enumNames({
    {"H5G_LINK_HARD", 0},
    {"H5G_LINK_SOFT", 1},
});
template <>
inline constexpr auto kEnumNames<H5R_type_t> = enumNames({
    {"H5R_OBJECT", 0},
    {"H5R_DATASET_REGION", 1},
});

// Dataspaces
template <>
inline constexpr auto kEnumNames<H5S_class_t> = enumNames({
    {"H5S_SCALAR", 0},
    {"H5S_SIMPLE", 1},
    {"H5S_NULL", 2},
});
template <>
inline constexpr auto kEnumNames<H5S_seloper_t> = enumNames({
    {"H5S_SELECT_SET", 0},
    {"H5S_SELECT_OR", 1},
    {"H5S_SELECT_AND", 2},
    {"H5S_SELECT_XOR", 3},
    {"H5S_SELECT_NOTB", 4},
    {"H5S_SELECT_NOTA", 5},
    {"H5S_SELECT_APPEND", 6},
    {"H5S_SELECT_PREPEND", 7},
});

// Datatypes
template <>
inline constexpr auto kEnumNames<H5T_class_t> = enumNames({
    {"H5T_INTEGER", 0},
    {"H5T_FLOAT", 1},
    {"H5T_TIME", 2},
    {"H5T_STRING", 3},
    {"H5T_BITFIELD", 4},
    {"H5T_OPAQUE", 5},
    {"H5T_COMPOUND", 6},
    {"H5T_REFERENCE", 7},
    {"H5T_ENUM", 8},
    {"H5T_VLEN", 9},
    {"H5T_ARRAY", 10},
});
template <>
inline constexpr auto kEnumNames<H5T_order_t> = enumNames({
    {"H5T_ORDER_LE", 0},
    {"H5T_ORDER_BE", 1},
    {"H5T_ORDER_VAX", 2},
    {"H5T_ORDER_NONE", 4},
});
template <>
inline constexpr auto kEnumNames<H5T_sign_t> = enumNames({
    {"H5T_SGN_NONE", 0},
    {"H5T_SGN_2", 1},
});
template <>
inline constexpr auto kEnumNames<H5T_norm_t> = enumNames({
    {"H5T_NORM_IMPLIED", 0},
    {"H5T_NORM_MSBSET", 1},
    {"H5T_NORM_NONE", 2},
});
template <>
inline constexpr auto kEnumNames<H5T_cset_t> = enumNames({
    {"H5T_CSET_ASCII", 0},
    {"H5T_CSET_UTF8", 1},
});
template <>
inline constexpr auto kEnumNames<H5T_str_t> = enumNames({
    {"H5T_STR_NULLTERM", 0},
    {"H5T_STR_NULLPAD", 1},
    {"H5T_STR_SPACEPAD", 2},
});
template <>
inline constexpr auto kEnumNames<H5T_pad_t> = enumNames({
    {"H5T_PAD_ZERO", 0},
    {"H5T_PAD_ONE", 1},
    {"H5T_PAD_BACKGROUND", 2},
});
template <>
inline constexpr auto kEnumNames<H5T_direction_t> = enumNames({
    {"H5T_DIR_DEFAULT", 0},
    {"H5T_DIR_ASCEND", 1},
    {"H5T_DIR_DESCEND", 2},
});

// Filters
template <>
inline constexpr auto kEnumNames<FilterId> = enumNames({
    {"H5Z_FILTER_DEFLATE", 1},
    {"H5Z_FILTER_SHUFFLE", 2},
    {"H5Z_FILTER_FLETCHER32", 3},
    {"H5Z_FILTER_SZIP", 4},
    {"H5Z_FILTER_NBIT", 5},
    {"H5Z_FILTER_SCALEOFFSET", 6},
    {"H5Z_FILTER_ALL", 0},
});
template <>
inline constexpr auto kEnumNames<H5Z_EDC_t> = enumNames({
    {"H5Z_ENABLE_EDC", 1},
    {"H5Z_DISABLE_EDC", 0},
});
template <>
inline constexpr auto kEnumNames<H5Z_SO_scale_type_t> = enumNames({
    {"H5Z_SO_FLOAT_DSCALE", 0},
    {"H5Z_SO_FLOAT_ESCALE", 1},
    {"H5Z_SO_INT", 2},
});

/// The value of an argument that is one of the names or a number below their count.
std::int32_t enumValueOf(const zbArray* argument, std::span<const EnumName> names);

template <class Enumeration>
typename EnumArgument<Enumeration>::Type getEnumArg(const zbArray* argument) {
  static_assert(ascendsByName(kEnumNames<Enumeration>));
  return static_cast<typename EnumArgument<Enumeration>::Type>(
      enumValueOf(argument, kEnumNames<Enumeration>));
}

}  // namespace h5gate
