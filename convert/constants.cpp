// The table of named constants. Numbers are those of HDF5 1.8.6 built for 64-bit
// Windows, whatever release and system are underneath: a script that was written
// with them keeps its meaning. Identifiers are the library's own.
#include "convert/constants.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "convert/enumerations.hpp"
#include "convert/failure.hpp"
#include "convert/name_table.hpp"
#include "hdf5/compat.hpp"
#include "hdf5/identifier_codec.hpp"

namespace h5gate {
namespace {

struct Constant {
  std::string_view name;
  std::int64_t number = 0;
  hid_t (*identifier)() = nullptr;  // read from the library instead of the number
};

// --- Numbers ------------------------------------------------------------------------

// The enumerators that can be given as arguments have their values in
// enumerations.hpp; here are the others, the flags, the limits and the facts of the
// build.
constexpr auto kNumbers = std::to_array<Constant>({
    // Datasets
    {"H5D_ALLOC_TIME_ERROR", -1},
    {"H5D_FILL_TIME_ERROR", -1},
    {"H5D_FILL_VALUE_ERROR", -1},
    {"H5D_FILL_VALUE_UNDEFINED", 0},
    {"H5D_FILL_VALUE_DEFAULT", 1},
    {"H5D_FILL_VALUE_USER_DEFINED", 2},
    {"H5D_LAYOUT_ERROR", -1},
    {"H5D_NLAYOUTS", 3},
    {"H5D_SPACE_STATUS_ERROR", -1},
    {"H5D_SPACE_STATUS_NOT_ALLOCATED", 0},
    {"H5D_SPACE_STATUS_PART_ALLOCATED", 1},
    {"H5D_SPACE_STATUS_ALLOCATED", 2},

    // Files
    {"H5F_ACC_RDONLY", 0x00},
    {"H5F_ACC_RDWR", 0x01},
    {"H5F_ACC_TRUNC", 0x02},
    {"H5F_ACC_EXCL", 0x04},
    {"H5F_ACC_DEBUG", 0x08},
    {"H5F_ACC_CREAT", 0x10},
    {"H5F_OBJ_FILE", 0x01},
    {"H5F_OBJ_DATASET", 0x02},
    {"H5F_OBJ_GROUP", 0x04},
    {"H5F_OBJ_DATATYPE", 0x08},
    {"H5F_OBJ_ATTR", 0x10},
    {"H5F_OBJ_ALL", 0x1f},
    {"H5F_OBJ_LOCAL", 0x20},
    {"H5F_UNLIMITED", -1},
    {"HADDR_UNDEF", -1},
    {"HADDR_MAX", -2},

    // File drivers; the parallel ones are not in this build
    {"H5FD_VFD_DEFAULT", 0},
    {"H5FD_MPIO", -1},
    {"H5FD_MPIPOSIX", -1},
    {"H5FD_MPIO_INDEPENDENT", 0},
    {"H5FD_MPIO_COLLECTIVE", 1},
    {"H5FD_MEM_NOLIST", -1},
    {"H5FD_MEM_NTYPES", 7},
    {"H5FD_FEAT_AGGREGATE_METADATA", 0x01},
    {"H5FD_FEAT_ACCUMULATE_METADATA_WRITE", 0x02},
    {"H5FD_FEAT_ACCUMULATE_METADATA_READ", 0x04},
    {"H5FD_FEAT_ACCUMULATE_METADATA", 0x06},
    {"H5FD_FEAT_DATA_SIEVE", 0x08},
    {"H5FD_FEAT_AGGREGATE_SMALLDATA", 0x10},
    {"H5FD_LOG_LOC_READ", 0x0001},
    {"H5FD_LOG_LOC_WRITE", 0x0002},
    {"H5FD_LOG_LOC_SEEK", 0x0004},
    {"H5FD_LOG_LOC_IO", 0x0007},
    {"H5FD_LOG_FILE_READ", 0x0008},
    {"H5FD_LOG_FILE_WRITE", 0x0010},
    {"H5FD_LOG_FILE_IO", 0x0018},
    {"H5FD_LOG_FLAVOR", 0x0020},
    {"H5FD_LOG_NUM_READ", 0x0040},
    {"H5FD_LOG_NUM_WRITE", 0x0080},
    {"H5FD_LOG_NUM_SEEK", 0x0100},
    {"H5FD_LOG_NUM_IO", 0x01c0},
    {"H5FD_LOG_TIME_OPEN", 0x0200},
    {"H5FD_LOG_TIME_READ", 0x0400},
    {"H5FD_LOG_TIME_WRITE", 0x0800},
    {"H5FD_LOG_TIME_SEEK", 0x1000},
    {"H5FD_LOG_TIME_CLOSE", 0x2000},
    {"H5FD_LOG_TIME_IO", 0x3e00},
    {"H5FD_LOG_ALLOC", 0x4000},
    {"H5FD_LOG_ALL", 0x7fff},

    // Groups, links and objects
    {"H5G_SAME_LOC", 0},
    {"H5G_LINK_ERROR", -1},
    {"H5G_STORAGE_TYPE_SYMBOL_TABLE", 0},
    {"H5G_STORAGE_TYPE_COMPACT", 1},
    {"H5G_STORAGE_TYPE_DENSE", 2},
    {"H5G_UNKNOWN", -1},
    {"H5G_GROUP", 0},
    {"H5G_DATASET", 1},
    {"H5G_TYPE", 2},
    {"H5G_LINK", 3},
    {"H5G_RESERVED_5", 5},
    {"H5G_RESERVED_6", 6},
    {"H5G_RESERVED_7", 7},
    {"H5G_NTYPES", 256},
    {"H5G_NLIBTYPES", 8},
    {"H5G_NUSERTYPES", 248},
    {"H5L_TYPE_HARD", 0},
    {"H5L_TYPE_SOFT", 1},
    {"H5L_TYPE_EXTERNAL", 64},
    {"H5O_COPY_SHALLOW_HIERARCHY_FLAG", 0x01},
    {"H5O_COPY_EXPAND_SOFT_LINK_FLAG", 0x02},
    {"H5O_COPY_EXPAND_EXT_LINK_FLAG", 0x04},
    {"H5O_COPY_EXPAND_REFERENCE_FLAG", 0x08},
    {"H5O_COPY_WITHOUT_ATTR_FLAG", 0x10},
    {"H5O_TYPE_GROUP", 0},
    {"H5O_TYPE_DATASET", 1},
    {"H5O_TYPE_NAMED_DATATYPE", 2},

    // Identifiers and property lists
    {"H5I_INVALID_HID", -1},
    {"H5I_BADID", -1},
    {"H5I_FILE", 1},
    {"H5I_GROUP", 2},
    {"H5I_DATATYPE", 3},
    {"H5I_DATASPACE", 4},
    {"H5I_DATASET", 5},
    {"H5I_ATTR", 6},
    {"H5I_REFERENCE", 7},
    {"H5I_VFL", 8},
    {"H5I_GENPROP_CLS", 9},
    {"H5I_GENPROP_LST", 10},
    {"H5P_DEFAULT", 0},
    {"H5P_CRT_ORDER_TRACKED", 0x01},
    {"H5P_CRT_ORDER_INDEXED", 0x02},

    // References
    {"H5R_BADTYPE", -1},
    {"H5R_MAXTYPE", 2},
    {"H5R_OBJ_REF_BUF_SIZE", 8},
    {"H5R_DSET_REG_REF_BUF_SIZE", 12},

    // Dataspaces
    {"H5S_ALL", 0},
    {"H5S_UNLIMITED", -1},
    {"H5S_MAX_RANK", 32},
    {"H5S_NO_CLASS", -1},
    {"H5S_SELECT_NOOP", -1},
    {"H5S_SELECT_INVALID", 8},
    {"H5S_SEL_ERROR", -1},
    {"H5S_SEL_NONE", 0},
    {"H5S_SEL_POINTS", 1},
    {"H5S_SEL_HYPERSLABS", 2},
    {"H5S_SEL_ALL", 3},
    {"H5S_SEL_N", 4},

    // Datatypes
    {"H5T_NO_CLASS", -1},
    {"H5T_NCLASSES", 11},
    {"H5T_VARIABLE", -1},
    {"H5T_OPAQUE_TAG_MAX", 256},
    {"H5T_ORDER_ERROR", -1},
    {"H5T_SGN_ERROR", -1},
    {"H5T_NSGN", 2},
    {"H5T_NORM_ERROR", -1},
    {"H5T_PAD_ERROR", -1},
    {"H5T_NPAD", 3},
    {"H5T_CSET_ERROR", -1},
    {"H5T_NCSET", 2},
    {"H5T_CSET_RESERVED_2", 2},
    {"H5T_CSET_RESERVED_3", 3},
    {"H5T_CSET_RESERVED_4", 4},
    {"H5T_CSET_RESERVED_5", 5},
    {"H5T_CSET_RESERVED_6", 6},
    {"H5T_CSET_RESERVED_7", 7},
    {"H5T_CSET_RESERVED_8", 8},
    {"H5T_CSET_RESERVED_9", 9},
    {"H5T_CSET_RESERVED_10", 10},
    {"H5T_CSET_RESERVED_11", 11},
    {"H5T_CSET_RESERVED_12", 12},
    {"H5T_CSET_RESERVED_13", 13},
    {"H5T_CSET_RESERVED_14", 14},
    {"H5T_CSET_RESERVED_15", 15},
    {"H5T_STR_ERROR", -1},
    {"H5T_NSTR", 3},
    {"H5T_STR_RESERVED_3", 3},
    {"H5T_STR_RESERVED_4", 4},
    {"H5T_STR_RESERVED_5", 5},
    {"H5T_STR_RESERVED_6", 6},
    {"H5T_STR_RESERVED_7", 7},
    {"H5T_STR_RESERVED_8", 8},
    {"H5T_STR_RESERVED_9", 9},
    {"H5T_STR_RESERVED_10", 10},
    {"H5T_STR_RESERVED_11", 11},
    {"H5T_STR_RESERVED_12", 12},
    {"H5T_STR_RESERVED_13", 13},
    {"H5T_STR_RESERVED_14", 14},
    {"H5T_STR_RESERVED_15", 15},
    {"H5T_BKG_NO", 0},
    {"H5T_BKG_TEMP", 1},
    {"H5T_BKG_YES", 2},
    {"H5T_CONV_INIT", 0},
    {"H5T_CONV_CONV", 1},
    {"H5T_CONV_FREE", 2},
    {"H5T_PERS_DONTCARE", -1},
    {"H5T_PERS_HARD", 0},
    {"H5T_PERS_SOFT", 1},

    // Filters
    {"H5Z_FILTER_ERROR", -1},
    {"H5Z_FILTER_NONE", 0},
    {"H5Z_FILTER_RESERVED", 256},
    {"H5Z_FILTER_MAX", 65535},
    {"H5Z_FILTER_CONFIG_ENCODE_ENABLED", 0x01},
    {"H5Z_FILTER_CONFIG_DECODE_ENABLED", 0x02},
    {"H5Z_FLAG_DEFMASK", 0x00ff},
    {"H5Z_FLAG_MANDATORY", 0x0000},
    {"H5Z_FLAG_OPTIONAL", 0x0001},
    {"H5Z_FLAG_INVMASK", 0xff00},
    {"H5Z_FLAG_REVERSE", 0x0100},
    {"H5Z_FLAG_SKIP_EDC", 0x0200},
    {"H5Z_MAX_NFILTERS", 32},
    {"H5Z_CB_ERROR", -1},
    {"H5Z_CB_FAIL", 0},
    {"H5Z_CB_CONT", 1},
    {"H5Z_CB_NO", 2},
    {"H5Z_ERROR_EDC", -1},
    {"H5Z_NO_EDC", 2},
    {"H5Z_SO_INT_MINBITS_DEFAULT", 0},
    {"H5_SZIP_ALLOW_K13_OPTION_MASK", 1},
    {"H5_SZIP_CHIP_OPTION_MASK", 2},
    {"H5_SZIP_EC_OPTION_MASK", 4},
    {"H5_SZIP_NN_OPTION_MASK", 32},
    {"H5_SZIP_MAX_PIXELS_PER_BLOCK", 32},

    // The build
    {"H5_VERS_MAJOR", 1},
    {"H5_VERS_MINOR", 8},
    {"H5_VERS_RELEASE", 6},
    {"H5_HAVE_DIFFTIME", 1},
    {"H5_HAVE_FILTER_DEFLATE", 1},
    {"H5_HAVE_FILTER_FLETCHER32", 1},
    {"H5_HAVE_FILTER_SHUFFLE", 1},
    {"H5_HAVE_FORK", 0},
    {"H5_HAVE_GETHOSTNAME", 1},
    {"H5_HAVE_IOCTL", 0},
    {"H5_HAVE_LONGJMP", 1},
    {"H5_HAVE_SIGACTION", 0},
    {"H5_HAVE_SIGNAL", 1},
    {"H5_HAVE_STDDEF_H", 1},
    {"H5_HAVE_STRDUP", 1},
    {"H5_HAVE_SYSTEM", 1},
    {"H5_HAVE_SYS_STAT_H", 1},
    {"H5_HAVE_SYS_TYPES_H", 1},
    {"H5_HAVE_VFL", 1},
    {"H5_HAVE_ZLIB_H", 1},
    {"H5_STDC_HEADERS", 1},
    {"H5_SIZEOF_CHAR", 1},
    {"H5_SIZEOF_SHORT", 2},
    {"H5_SIZEOF_INT", 4},
    {"H5_SIZEOF_LONG", 4},
    {"H5_SIZEOF_LONG_LONG", 8},
    {"H5_SIZEOF___INT64", 8},
    {"H5_SIZEOF_INT64_T", 8},
    {"H5_SIZEOF_UINT32_T", 4},
    {"H5_SIZEOF_UINT64_T", 8},
    {"H5_SIZEOF_SIZE_T", 8},
    {"H5_SIZEOF_SSIZE_T", 8},
    {"H5_SIZEOF_OFF_T", 4},
    {"H5_SIZEOF_HADDR_T", 8},
    {"H5_SIZEOF_HSIZE_T", 8},
    {"H5_SIZEOF_FLOAT", 4},
    {"H5_SIZEOF_DOUBLE", 8},
    {"H5_SIZEOF_LONG_DOUBLE", 8},
});

// --- Identifiers --------------------------------------------------------------------

// clang-format off
// What HDF5's macros give, which open the library first.
#define ALIAS(Name, Macro) {Name, 0, [] { return static_cast<hid_t>(Macro); }}
#define SAME(Macro) ALIAS(#Macro, Macro)

constexpr auto kIdentifiers = std::to_array<Constant>({
    // File drivers
    SAME(H5FD_SEC2), SAME(H5FD_STDIO), SAME(H5FD_CORE), SAME(H5FD_LOG),
    SAME(H5FD_FAMILY), SAME(H5FD_MULTI),

    // Property list classes and default property lists
    ALIAS("H5P_NO_CLASS", H5P_ROOT),
    SAME(H5P_OBJECT_CREATE), SAME(H5P_FILE_CREATE), SAME(H5P_FILE_ACCESS),
    SAME(H5P_FILE_MOUNT), SAME(H5P_DATASET_CREATE), SAME(H5P_DATASET_ACCESS),
    SAME(H5P_DATASET_XFER), SAME(H5P_GROUP_CREATE), SAME(H5P_GROUP_ACCESS),
    SAME(H5P_DATATYPE_CREATE), SAME(H5P_DATATYPE_ACCESS), SAME(H5P_STRING_CREATE),
    SAME(H5P_ATTRIBUTE_CREATE), SAME(H5P_OBJECT_COPY), SAME(H5P_LINK_CREATE),
    SAME(H5P_LINK_ACCESS),
    SAME(H5P_FILE_CREATE_DEFAULT), SAME(H5P_FILE_ACCESS_DEFAULT),
    SAME(H5P_DATASET_CREATE_DEFAULT), SAME(H5P_DATASET_XFER_DEFAULT),

    // Datatypes of a fixed form
    SAME(H5T_STD_I8LE), SAME(H5T_STD_I8BE), SAME(H5T_STD_I16LE), SAME(H5T_STD_I16BE),
    SAME(H5T_STD_I32LE), SAME(H5T_STD_I32BE), SAME(H5T_STD_I64LE), SAME(H5T_STD_I64BE),
    SAME(H5T_STD_U8LE), SAME(H5T_STD_U8BE), SAME(H5T_STD_U16LE), SAME(H5T_STD_U16BE),
    SAME(H5T_STD_U32LE), SAME(H5T_STD_U32BE), SAME(H5T_STD_U64LE), SAME(H5T_STD_U64BE),
    SAME(H5T_STD_B8LE), SAME(H5T_STD_B8BE), SAME(H5T_STD_B16LE), SAME(H5T_STD_B16BE),
    SAME(H5T_STD_B32LE), SAME(H5T_STD_B32BE), SAME(H5T_STD_B64LE), SAME(H5T_STD_B64BE),
    SAME(H5T_IEEE_F32LE), SAME(H5T_IEEE_F32BE), SAME(H5T_IEEE_F64LE), SAME(H5T_IEEE_F64BE),
    SAME(H5T_UNIX_D32LE), SAME(H5T_UNIX_D32BE), SAME(H5T_UNIX_D64LE), SAME(H5T_UNIX_D64BE),
    SAME(H5T_STD_REF_OBJ), SAME(H5T_STD_REF_DSETREG), SAME(H5T_C_S1), SAME(H5T_FORTRAN_S1),

    // The same, by machine
    SAME(H5T_INTEL_I8), SAME(H5T_INTEL_I16), SAME(H5T_INTEL_I32), SAME(H5T_INTEL_I64),
    SAME(H5T_INTEL_U8), SAME(H5T_INTEL_U16), SAME(H5T_INTEL_U32), SAME(H5T_INTEL_U64),
    SAME(H5T_INTEL_B8), SAME(H5T_INTEL_B16), SAME(H5T_INTEL_B32), SAME(H5T_INTEL_B64),
    SAME(H5T_INTEL_F32), SAME(H5T_INTEL_F64),
    SAME(H5T_ALPHA_I8), SAME(H5T_ALPHA_I16), SAME(H5T_ALPHA_I32), SAME(H5T_ALPHA_I64),
    SAME(H5T_ALPHA_U8), SAME(H5T_ALPHA_U16), SAME(H5T_ALPHA_U32), SAME(H5T_ALPHA_U64),
    SAME(H5T_ALPHA_B8), SAME(H5T_ALPHA_B16), SAME(H5T_ALPHA_B32), SAME(H5T_ALPHA_B64),
    SAME(H5T_ALPHA_F32), SAME(H5T_ALPHA_F64),
    SAME(H5T_MIPS_I8), SAME(H5T_MIPS_I16), SAME(H5T_MIPS_I32), SAME(H5T_MIPS_I64),
    SAME(H5T_MIPS_U8), SAME(H5T_MIPS_U16), SAME(H5T_MIPS_U32), SAME(H5T_MIPS_U64),
    SAME(H5T_MIPS_B8), SAME(H5T_MIPS_B16), SAME(H5T_MIPS_B32), SAME(H5T_MIPS_B64),
    SAME(H5T_MIPS_F32), SAME(H5T_MIPS_F64),

    // Datatypes of C's types; char is signed, also where it is not on this machine
    ALIAS("H5T_NATIVE_CHAR", H5T_NATIVE_SCHAR),
    SAME(H5T_NATIVE_SCHAR), SAME(H5T_NATIVE_UCHAR), SAME(H5T_NATIVE_SHORT),
    SAME(H5T_NATIVE_USHORT), SAME(H5T_NATIVE_INT), SAME(H5T_NATIVE_UINT),
    SAME(H5T_NATIVE_LONG), SAME(H5T_NATIVE_ULONG), SAME(H5T_NATIVE_LLONG),
    SAME(H5T_NATIVE_ULLONG),
    SAME(H5T_NATIVE_FLOAT), SAME(H5T_NATIVE_DOUBLE), SAME(H5T_NATIVE_LDOUBLE),
    SAME(H5T_NATIVE_B8), SAME(H5T_NATIVE_B16), SAME(H5T_NATIVE_B32), SAME(H5T_NATIVE_B64),
    SAME(H5T_NATIVE_OPAQUE), SAME(H5T_NATIVE_HBOOL), SAME(H5T_NATIVE_HERR),
    SAME(H5T_NATIVE_HADDR), SAME(H5T_NATIVE_HSIZE), SAME(H5T_NATIVE_HSSIZE),
    SAME(H5T_NATIVE_INT8), SAME(H5T_NATIVE_UINT8),
    SAME(H5T_NATIVE_INT_LEAST8), SAME(H5T_NATIVE_UINT_LEAST8),
    SAME(H5T_NATIVE_INT_FAST8), SAME(H5T_NATIVE_UINT_FAST8),
    SAME(H5T_NATIVE_INT16), SAME(H5T_NATIVE_UINT16),
    SAME(H5T_NATIVE_INT_LEAST16), SAME(H5T_NATIVE_UINT_LEAST16),
    SAME(H5T_NATIVE_INT_FAST16), SAME(H5T_NATIVE_UINT_FAST16),
    SAME(H5T_NATIVE_INT32), SAME(H5T_NATIVE_UINT32),
    SAME(H5T_NATIVE_INT_LEAST32), SAME(H5T_NATIVE_UINT_LEAST32),
    SAME(H5T_NATIVE_INT_FAST32), SAME(H5T_NATIVE_UINT_FAST32),
    SAME(H5T_NATIVE_INT64), SAME(H5T_NATIVE_UINT64),
    SAME(H5T_NATIVE_INT_LEAST64), SAME(H5T_NATIVE_UINT_LEAST64),
    SAME(H5T_NATIVE_INT_FAST64), SAME(H5T_NATIVE_UINT_FAST64),
});

#undef SAME
#undef ALIAS
// clang-format on

// --- The table ------------------------------------------------------------------------------

template <std::size_t N>
constexpr std::array<Constant, N> asConstants(const std::array<EnumName, N>& names) {
  std::array<Constant, N> constants{};
  std::ranges::transform(names, constants.begin(), [](const EnumName& entry) {
    return Constant{entry.name, entry.value};
  });
  return constants;
}

template <std::size_t... N>
constexpr auto merged(const std::array<Constant, N>&... groups) {
  std::array<Constant, (N + ...)> all{};
  auto end = all.begin();
  ((end = std::ranges::copy(groups, end).out), ...);
  return sortedByName(all);
}

template <class... Enumeration>
constexpr auto enumerators() {
  return merged(asConstants(kEnumNames<Enumeration>)...);
}

constexpr auto kConstants =
    merged(enumerators<H5E_direction_t, H5D_layout_t, H5D_alloc_time_t, H5D_fill_time_t,
                       H5F_close_degree_t, H5F_libver_t, H5F_scope_t, H5FD_mem_t, H5L_type_t,
                       H5R_type_t, H5S_class_t, H5S_seloper_t, H5T_class_t, H5T_order_t, H5T_sign_t,
                       H5T_norm_t, H5T_cset_t, H5T_str_t, H5T_pad_t, H5T_direction_t, FilterId,
                       H5Z_EDC_t, H5Z_SO_scale_type_t>(),
           kNumbers, kIdentifiers);
static_assert(kConstants.size() == 471);
static_assert(ascendsByName(kConstants));

constexpr auto kNames = [] {
  std::array<std::string_view, kConstants.size()> names;
  std::ranges::transform(kConstants, names.begin(), &Constant::name);
  return names;
}();

// Identifiers are read once, when the gateway is loaded: a script that closes the
// library and opens it again still gets those of the first opening.
const auto kValues = [] {
  H5check();  // ends the process where headers and library are of different releases
  std::array<std::int64_t, kConstants.size()> values{};
  std::ranges::transform(kConstants, values.begin(), [](const Constant& constant) {
    return constant.identifier == nullptr
               ? constant.number
               : static_cast<std::int64_t>(hdf5::identifierToHost(constant.identifier()));
  });
  return values;
}();

}  // namespace

std::optional<std::int64_t> findConstant(std::string_view name) {
  const auto place = std::ranges::lower_bound(kNames, name);
  if (place == kNames.end() || *place != name) return std::nullopt;
  return kValues[static_cast<std::size_t>(place - kNames.begin())];
}

std::int64_t constantValue(std::string_view name, const zbArray* input) {
  const auto value = findConstant(name);
  if (!value) raiseAbout<msg::constantNotFound>(input, std::string(name));
  return *value;
}

std::span<const std::string_view> constantNames() { return kNames; }

}  // namespace h5gate
