// Named constants: every name, every value, and how they are asked for.
#include "convert/constants.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "convert/identifiers.hpp"
#include "hdf5/allocated_text.hpp"
#include "hdf5/compat.hpp"
#include "hdf5/handle.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/list_classes.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using h5gate::constantNames;
using h5gate::constantValue;
using h5gate::findConstant;

using Values = std::map<std::string, std::int64_t>;
using Identifiers = std::map<std::string, hid_t>;

// Numbers on which HDF5's releases agree.
#define N(Name) Values::value_type(#Name, static_cast<std::int64_t>(Name))
// clang-format off
const Values kAgreed = {
    N(H5D_ALLOC_TIME_DEFAULT), N(H5D_ALLOC_TIME_EARLY), N(H5D_ALLOC_TIME_ERROR),
    N(H5D_ALLOC_TIME_INCR), N(H5D_ALLOC_TIME_LATE), N(H5D_CHUNKED), N(H5D_COMPACT),
    N(H5D_CONTIGUOUS), N(H5D_FILL_TIME_ALLOC), N(H5D_FILL_TIME_ERROR), N(H5D_FILL_TIME_IFSET),
    N(H5D_FILL_TIME_NEVER), N(H5D_FILL_VALUE_DEFAULT), N(H5D_FILL_VALUE_ERROR),
    N(H5D_FILL_VALUE_UNDEFINED), N(H5D_FILL_VALUE_USER_DEFINED), N(H5D_LAYOUT_ERROR),
    N(H5D_SPACE_STATUS_ALLOCATED), N(H5D_SPACE_STATUS_ERROR), N(H5D_SPACE_STATUS_NOT_ALLOCATED),
    N(H5D_SPACE_STATUS_PART_ALLOCATED), N(H5E_WALK_DOWNWARD), N(H5E_WALK_UPWARD),
    N(H5FD_FEAT_ACCUMULATE_METADATA), N(H5FD_FEAT_ACCUMULATE_METADATA_READ),
    N(H5FD_FEAT_ACCUMULATE_METADATA_WRITE), N(H5FD_FEAT_AGGREGATE_METADATA),
    N(H5FD_FEAT_AGGREGATE_SMALLDATA), N(H5FD_FEAT_DATA_SIEVE), N(H5FD_MEM_BTREE),
    N(H5FD_MEM_DEFAULT), N(H5FD_MEM_DRAW), N(H5FD_MEM_GHEAP), N(H5FD_MEM_LHEAP),
    N(H5FD_MEM_NOLIST), N(H5FD_MEM_NTYPES), N(H5FD_MEM_OHDR), N(H5FD_MEM_SUPER),
    N(H5FD_MPIO_COLLECTIVE), N(H5FD_MPIO_INDEPENDENT), N(H5FD_VFD_DEFAULT), N(H5F_ACC_CREAT),
    N(H5F_ACC_EXCL), N(H5F_ACC_RDONLY), N(H5F_ACC_RDWR), N(H5F_ACC_TRUNC), N(H5F_CLOSE_DEFAULT),
    N(H5F_CLOSE_SEMI), N(H5F_CLOSE_STRONG), N(H5F_CLOSE_WEAK), N(H5F_LIBVER_EARLIEST),
    N(H5F_OBJ_ALL), N(H5F_OBJ_ATTR), N(H5F_OBJ_DATASET), N(H5F_OBJ_DATATYPE), N(H5F_OBJ_FILE),
    N(H5F_OBJ_GROUP), N(H5F_OBJ_LOCAL), N(H5F_SCOPE_GLOBAL), N(H5F_SCOPE_LOCAL), N(H5F_UNLIMITED),
    N(H5G_DATASET), N(H5G_GROUP), N(H5G_LINK), N(H5G_LINK_ERROR), N(H5G_LINK_HARD),
    N(H5G_LINK_SOFT), N(H5G_NLIBTYPES), N(H5G_NTYPES), N(H5G_NUSERTYPES), N(H5G_RESERVED_5),
    N(H5G_RESERVED_6), N(H5G_RESERVED_7), N(H5G_SAME_LOC), N(H5G_STORAGE_TYPE_COMPACT),
    N(H5G_STORAGE_TYPE_DENSE), N(H5G_STORAGE_TYPE_SYMBOL_TABLE), N(H5G_TYPE), N(H5G_UNKNOWN),
    N(H5I_BADID), N(H5I_DATASET), N(H5I_DATASPACE), N(H5I_DATATYPE), N(H5I_FILE), N(H5I_GROUP),
    N(H5I_INVALID_HID), N(H5L_TYPE_EXTERNAL), N(H5L_TYPE_HARD), N(H5L_TYPE_SOFT),
    N(H5O_COPY_EXPAND_EXT_LINK_FLAG), N(H5O_COPY_EXPAND_REFERENCE_FLAG),
    N(H5O_COPY_EXPAND_SOFT_LINK_FLAG), N(H5O_COPY_SHALLOW_HIERARCHY_FLAG),
    N(H5O_COPY_WITHOUT_ATTR_FLAG), N(H5O_TYPE_DATASET), N(H5O_TYPE_GROUP),
    N(H5O_TYPE_NAMED_DATATYPE), N(H5P_CRT_ORDER_INDEXED), N(H5P_CRT_ORDER_TRACKED),
    N(H5P_DEFAULT), N(H5R_BADTYPE), N(H5R_DATASET_REGION), N(H5R_DSET_REG_REF_BUF_SIZE),
    N(H5R_OBJECT), N(H5R_OBJ_REF_BUF_SIZE), N(H5S_ALL), N(H5S_MAX_RANK), N(H5S_NO_CLASS),
    N(H5S_NULL), N(H5S_SCALAR), N(H5S_SELECT_AND), N(H5S_SELECT_APPEND), N(H5S_SELECT_INVALID),
    N(H5S_SELECT_NOOP), N(H5S_SELECT_NOTA), N(H5S_SELECT_NOTB), N(H5S_SELECT_OR),
    N(H5S_SELECT_PREPEND), N(H5S_SELECT_SET), N(H5S_SELECT_XOR), N(H5S_SEL_ALL), N(H5S_SEL_ERROR),
    N(H5S_SEL_HYPERSLABS), N(H5S_SEL_N), N(H5S_SEL_NONE), N(H5S_SEL_POINTS), N(H5S_SIMPLE),
    N(H5S_UNLIMITED), N(H5T_ARRAY), N(H5T_BITFIELD), N(H5T_BKG_NO), N(H5T_BKG_TEMP),
    N(H5T_BKG_YES), N(H5T_COMPOUND), N(H5T_CONV_CONV), N(H5T_CONV_FREE), N(H5T_CONV_INIT),
    N(H5T_CSET_ASCII), N(H5T_CSET_ERROR), N(H5T_CSET_RESERVED_10), N(H5T_CSET_RESERVED_11),
    N(H5T_CSET_RESERVED_12), N(H5T_CSET_RESERVED_13), N(H5T_CSET_RESERVED_14),
    N(H5T_CSET_RESERVED_15), N(H5T_CSET_RESERVED_2), N(H5T_CSET_RESERVED_3),
    N(H5T_CSET_RESERVED_4), N(H5T_CSET_RESERVED_5), N(H5T_CSET_RESERVED_6),
    N(H5T_CSET_RESERVED_7), N(H5T_CSET_RESERVED_8), N(H5T_CSET_RESERVED_9), N(H5T_CSET_UTF8),
    N(H5T_DIR_ASCEND), N(H5T_DIR_DEFAULT), N(H5T_DIR_DESCEND), N(H5T_ENUM), N(H5T_FLOAT),
    N(H5T_INTEGER), N(H5T_NCLASSES), N(H5T_NCSET), N(H5T_NORM_ERROR), N(H5T_NORM_IMPLIED),
    N(H5T_NORM_MSBSET), N(H5T_NORM_NONE), N(H5T_NO_CLASS), N(H5T_NPAD), N(H5T_NSGN), N(H5T_NSTR),
    N(H5T_OPAQUE), N(H5T_OPAQUE_TAG_MAX), N(H5T_ORDER_BE), N(H5T_ORDER_ERROR), N(H5T_ORDER_LE),
    N(H5T_ORDER_NONE), N(H5T_ORDER_VAX), N(H5T_PAD_BACKGROUND), N(H5T_PAD_ERROR), N(H5T_PAD_ONE),
    N(H5T_PAD_ZERO), N(H5T_PERS_DONTCARE), N(H5T_PERS_HARD), N(H5T_PERS_SOFT), N(H5T_REFERENCE),
    N(H5T_SGN_2), N(H5T_SGN_ERROR), N(H5T_SGN_NONE), N(H5T_STRING), N(H5T_STR_ERROR),
    N(H5T_STR_NULLPAD), N(H5T_STR_NULLTERM), N(H5T_STR_RESERVED_10), N(H5T_STR_RESERVED_11),
    N(H5T_STR_RESERVED_12), N(H5T_STR_RESERVED_13), N(H5T_STR_RESERVED_14),
    N(H5T_STR_RESERVED_15), N(H5T_STR_RESERVED_3), N(H5T_STR_RESERVED_4), N(H5T_STR_RESERVED_5),
    N(H5T_STR_RESERVED_6), N(H5T_STR_RESERVED_7), N(H5T_STR_RESERVED_8), N(H5T_STR_RESERVED_9),
    N(H5T_STR_SPACEPAD), N(H5T_TIME), N(H5T_VARIABLE), N(H5T_VLEN), N(H5Z_CB_CONT),
    N(H5Z_CB_ERROR), N(H5Z_CB_FAIL), N(H5Z_CB_NO), N(H5Z_DISABLE_EDC), N(H5Z_ENABLE_EDC),
    N(H5Z_ERROR_EDC), N(H5Z_FILTER_ALL), N(H5Z_FILTER_CONFIG_DECODE_ENABLED),
    N(H5Z_FILTER_CONFIG_ENCODE_ENABLED), N(H5Z_FILTER_DEFLATE), N(H5Z_FILTER_ERROR),
    N(H5Z_FILTER_FLETCHER32), N(H5Z_FILTER_MAX), N(H5Z_FILTER_NBIT), N(H5Z_FILTER_NONE),
    N(H5Z_FILTER_RESERVED), N(H5Z_FILTER_SCALEOFFSET), N(H5Z_FILTER_SHUFFLE), N(H5Z_FILTER_SZIP),
    N(H5Z_FLAG_DEFMASK), N(H5Z_FLAG_INVMASK), N(H5Z_FLAG_MANDATORY), N(H5Z_FLAG_OPTIONAL),
    N(H5Z_FLAG_REVERSE), N(H5Z_FLAG_SKIP_EDC), N(H5Z_MAX_NFILTERS), N(H5Z_NO_EDC),
    N(H5Z_SO_FLOAT_DSCALE), N(H5Z_SO_FLOAT_ESCALE), N(H5Z_SO_INT), N(H5Z_SO_INT_MINBITS_DEFAULT),
    N(H5_SZIP_ALLOW_K13_OPTION_MASK), N(H5_SZIP_CHIP_OPTION_MASK), N(H5_SZIP_EC_OPTION_MASK),
    N(H5_SZIP_MAX_PIXELS_PER_BLOCK), N(H5_SZIP_NN_OPTION_MASK), N(HADDR_MAX), N(HADDR_UNDEF),
};
// clang-format on
#undef N

// Numbers that depend on the release or on the machine: those of 1.8.6 for 64-bit Windows.
const Values kParticular = {
    {"H5D_NLAYOUTS", 3},
    {"H5FD_LOG_ALL", 32767},
    {"H5FD_LOG_ALLOC", 16384},
    {"H5FD_LOG_FILE_IO", 24},
    {"H5FD_LOG_FILE_READ", 8},
    {"H5FD_LOG_FILE_WRITE", 16},
    {"H5FD_LOG_FLAVOR", 32},
    {"H5FD_LOG_LOC_IO", 7},
    {"H5FD_LOG_LOC_READ", 1},
    {"H5FD_LOG_LOC_SEEK", 4},
    {"H5FD_LOG_LOC_WRITE", 2},
    {"H5FD_LOG_NUM_IO", 448},
    {"H5FD_LOG_NUM_READ", 64},
    {"H5FD_LOG_NUM_SEEK", 256},
    {"H5FD_LOG_NUM_WRITE", 128},
    {"H5FD_LOG_TIME_CLOSE", 8192},
    {"H5FD_LOG_TIME_IO", 15872},
    {"H5FD_LOG_TIME_OPEN", 512},
    {"H5FD_LOG_TIME_READ", 1024},
    {"H5FD_LOG_TIME_SEEK", 4096},
    {"H5FD_LOG_TIME_WRITE", 2048},
    {"H5FD_MPIO", -1},
    {"H5FD_MPIPOSIX", -1},
    {"H5F_ACC_DEBUG", 8},
    {"H5F_LIBVER_18", 1},
    {"H5F_LIBVER_LATEST", 1},
    {"H5I_ATTR", 6},
    {"H5I_GENPROP_CLS", 9},
    {"H5I_GENPROP_LST", 10},
    {"H5I_REFERENCE", 7},
    {"H5I_VFL", 8},
    {"H5R_MAXTYPE", 2},
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
    {"H5_SIZEOF_CHAR", 1},
    {"H5_SIZEOF_DOUBLE", 8},
    {"H5_SIZEOF_FLOAT", 4},
    {"H5_SIZEOF_HADDR_T", 8},
    {"H5_SIZEOF_HSIZE_T", 8},
    {"H5_SIZEOF_INT", 4},
    {"H5_SIZEOF_INT64_T", 8},
    {"H5_SIZEOF_LONG", 4},
    {"H5_SIZEOF_LONG_DOUBLE", 8},
    {"H5_SIZEOF_LONG_LONG", 8},
    {"H5_SIZEOF_OFF_T", 4},
    {"H5_SIZEOF_SHORT", 2},
    {"H5_SIZEOF_SIZE_T", 8},
    {"H5_SIZEOF_SSIZE_T", 8},
    {"H5_SIZEOF_UINT32_T", 4},
    {"H5_SIZEOF_UINT64_T", 8},
    {"H5_SIZEOF___INT64", 8},
    {"H5_STDC_HEADERS", 1},
    {"H5_VERS_MAJOR", 1},
    {"H5_VERS_MINOR", 8},
    {"H5_VERS_RELEASE", 6},
};

// Identifiers, as the library's own macros give them.
const Identifiers& identifiers() {
#define I(Name) Identifiers::value_type(#Name, Name)
  // clang-format off
  static const Identifiers all = {
    {"H5P_NO_CLASS", H5P_ROOT}, {"H5T_NATIVE_CHAR", H5T_NATIVE_SCHAR},
    I(H5FD_CORE), I(H5FD_FAMILY), I(H5FD_LOG), I(H5FD_MULTI), I(H5FD_SEC2), I(H5FD_STDIO),
    I(H5P_ATTRIBUTE_CREATE), I(H5P_DATASET_ACCESS), I(H5P_DATASET_CREATE),
    I(H5P_DATASET_CREATE_DEFAULT), I(H5P_DATASET_XFER), I(H5P_DATASET_XFER_DEFAULT),
    I(H5P_DATATYPE_ACCESS), I(H5P_DATATYPE_CREATE), I(H5P_FILE_ACCESS),
    I(H5P_FILE_ACCESS_DEFAULT), I(H5P_FILE_CREATE), I(H5P_FILE_CREATE_DEFAULT), I(H5P_FILE_MOUNT),
    I(H5P_GROUP_ACCESS), I(H5P_GROUP_CREATE), I(H5P_LINK_ACCESS), I(H5P_LINK_CREATE),
    I(H5P_OBJECT_COPY), I(H5P_OBJECT_CREATE), I(H5P_STRING_CREATE), I(H5T_ALPHA_B16),
    I(H5T_ALPHA_B32), I(H5T_ALPHA_B64), I(H5T_ALPHA_B8), I(H5T_ALPHA_F32), I(H5T_ALPHA_F64),
    I(H5T_ALPHA_I16), I(H5T_ALPHA_I32), I(H5T_ALPHA_I64), I(H5T_ALPHA_I8), I(H5T_ALPHA_U16),
    I(H5T_ALPHA_U32), I(H5T_ALPHA_U64), I(H5T_ALPHA_U8), I(H5T_C_S1), I(H5T_FORTRAN_S1),
    I(H5T_IEEE_F32BE), I(H5T_IEEE_F32LE), I(H5T_IEEE_F64BE), I(H5T_IEEE_F64LE), I(H5T_INTEL_B16),
    I(H5T_INTEL_B32), I(H5T_INTEL_B64), I(H5T_INTEL_B8), I(H5T_INTEL_F32), I(H5T_INTEL_F64),
    I(H5T_INTEL_I16), I(H5T_INTEL_I32), I(H5T_INTEL_I64), I(H5T_INTEL_I8), I(H5T_INTEL_U16),
    I(H5T_INTEL_U32), I(H5T_INTEL_U64), I(H5T_INTEL_U8), I(H5T_MIPS_B16), I(H5T_MIPS_B32),
    I(H5T_MIPS_B64), I(H5T_MIPS_B8), I(H5T_MIPS_F32), I(H5T_MIPS_F64), I(H5T_MIPS_I16),
    I(H5T_MIPS_I32), I(H5T_MIPS_I64), I(H5T_MIPS_I8), I(H5T_MIPS_U16), I(H5T_MIPS_U32),
    I(H5T_MIPS_U64), I(H5T_MIPS_U8), I(H5T_NATIVE_B16), I(H5T_NATIVE_B32), I(H5T_NATIVE_B64),
    I(H5T_NATIVE_B8), I(H5T_NATIVE_DOUBLE), I(H5T_NATIVE_FLOAT), I(H5T_NATIVE_HADDR),
    I(H5T_NATIVE_HBOOL), I(H5T_NATIVE_HERR), I(H5T_NATIVE_HSIZE), I(H5T_NATIVE_HSSIZE),
    I(H5T_NATIVE_INT), I(H5T_NATIVE_INT16), I(H5T_NATIVE_INT32), I(H5T_NATIVE_INT64),
    I(H5T_NATIVE_INT8), I(H5T_NATIVE_INT_FAST16), I(H5T_NATIVE_INT_FAST32),
    I(H5T_NATIVE_INT_FAST64), I(H5T_NATIVE_INT_FAST8), I(H5T_NATIVE_INT_LEAST16),
    I(H5T_NATIVE_INT_LEAST32), I(H5T_NATIVE_INT_LEAST64), I(H5T_NATIVE_INT_LEAST8),
    I(H5T_NATIVE_LDOUBLE), I(H5T_NATIVE_LLONG), I(H5T_NATIVE_LONG), I(H5T_NATIVE_OPAQUE),
    I(H5T_NATIVE_SCHAR), I(H5T_NATIVE_SHORT), I(H5T_NATIVE_UCHAR), I(H5T_NATIVE_UINT),
    I(H5T_NATIVE_UINT16), I(H5T_NATIVE_UINT32), I(H5T_NATIVE_UINT64), I(H5T_NATIVE_UINT8),
    I(H5T_NATIVE_UINT_FAST16), I(H5T_NATIVE_UINT_FAST32), I(H5T_NATIVE_UINT_FAST64),
    I(H5T_NATIVE_UINT_FAST8), I(H5T_NATIVE_UINT_LEAST16), I(H5T_NATIVE_UINT_LEAST32),
    I(H5T_NATIVE_UINT_LEAST64), I(H5T_NATIVE_UINT_LEAST8), I(H5T_NATIVE_ULLONG),
    I(H5T_NATIVE_ULONG), I(H5T_NATIVE_USHORT), I(H5T_STD_B16BE), I(H5T_STD_B16LE),
    I(H5T_STD_B32BE), I(H5T_STD_B32LE), I(H5T_STD_B64BE), I(H5T_STD_B64LE), I(H5T_STD_B8BE),
    I(H5T_STD_B8LE), I(H5T_STD_I16BE), I(H5T_STD_I16LE), I(H5T_STD_I32BE), I(H5T_STD_I32LE),
    I(H5T_STD_I64BE), I(H5T_STD_I64LE), I(H5T_STD_I8BE), I(H5T_STD_I8LE), I(H5T_STD_REF_DSETREG),
    I(H5T_STD_REF_OBJ), I(H5T_STD_U16BE), I(H5T_STD_U16LE), I(H5T_STD_U32BE), I(H5T_STD_U32LE),
    I(H5T_STD_U64BE), I(H5T_STD_U64LE), I(H5T_STD_U8BE), I(H5T_STD_U8LE), I(H5T_UNIX_D32BE),
    I(H5T_UNIX_D32LE), I(H5T_UNIX_D64BE), I(H5T_UNIX_D64LE),
  };
  // clang-format on
#undef I
  return all;
}

hid_t identifier(const std::string& name) {
  return h5gate::identifierFromHost(static_cast<double>(constantValue(name)));
}

TEST(Constants, AreTheseNamesInByteOrder) {
  std::vector<std::string> expected;
  for (const auto& [name, value] : kAgreed) expected.push_back(name);
  for (const auto& [name, value] : kParticular) expected.push_back(name);
  for (const auto& [name, value] : identifiers()) expected.push_back(name);
  std::ranges::sort(expected);
  const std::vector<std::string> names(constantNames().begin(), constantNames().end());
  EXPECT_EQ(names, expected);
  EXPECT_EQ(names.size(), 471U);
  EXPECT_EQ(names.front(), "H5D_ALLOC_TIME_DEFAULT");
  EXPECT_EQ(names.back(), "HADDR_UNDEF");
}

TEST(Constants, HaveTheValuesOfTheHeaders) {
  for (const auto& [name, value] : kAgreed) EXPECT_EQ(constantValue(name), value) << name;
}

TEST(Constants, KeepTheValuesOfTheirOwnReleaseAndMachine) {
  for (const auto& [name, value] : kParticular) EXPECT_EQ(constantValue(name), value) << name;
}

TEST(Constants, AreSignedWhereAllBitsAreSet) {
  for (const char* name : {"H5S_UNLIMITED", "H5F_UNLIMITED", "H5T_VARIABLE", "HADDR_UNDEF",
                           "H5I_INVALID_HID", "H5I_BADID"}) {
    EXPECT_EQ(constantValue(name), -1) << name;
  }
  EXPECT_EQ(constantValue("HADDR_MAX"), -2);
}

TEST(Constants, GroupTheLogFlags) {
  const auto sum = [](const std::vector<std::string>& names) {
    std::int64_t flags = 0;
    for (const std::string& name : names) flags |= constantValue("H5FD_LOG_" + name);
    return flags;
  };
  EXPECT_EQ(constantValue("H5FD_LOG_LOC_IO"), sum({"LOC_READ", "LOC_WRITE", "LOC_SEEK"}));
  EXPECT_EQ(constantValue("H5FD_LOG_FILE_IO"), sum({"FILE_READ", "FILE_WRITE"}));
  EXPECT_EQ(constantValue("H5FD_LOG_NUM_IO"), sum({"NUM_READ", "NUM_WRITE", "NUM_SEEK"}));
  EXPECT_EQ(constantValue("H5FD_LOG_TIME_IO"),
            sum({"TIME_OPEN", "TIME_READ", "TIME_WRITE", "TIME_SEEK", "TIME_CLOSE"}));
  EXPECT_EQ(constantValue("H5FD_LOG_ALL"),
            sum({"LOC_IO", "FILE_IO", "FLAVOR", "NUM_IO", "TIME_IO", "ALLOC"}));
}

TEST(Constants, GiveIdentifiersAsScriptsSeeThem) {
  for (const auto& [name, id] : identifiers()) {
    EXPECT_EQ(static_cast<double>(constantValue(name)), h5gate::identifierToHost(id)) << name;
    EXPECT_EQ(identifier(name), id) << name;
    EXPECT_LT(constantValue(name), std::int64_t{1} << 31) << name;
  }
}

TEST(Constants, NameOpenIdentifiersOfTheirKind) {
  for (const auto& [name, id] : identifiers()) {
    const bool list = name.ends_with("_DEFAULT");
    const H5I_type_t kind = name.starts_with("H5T_")    ? H5I_DATATYPE
                            : name.starts_with("H5FD_") ? H5I_VFL
                            : list                      ? H5I_GENPROP_LST
                                                        : H5I_GENPROP_CLS;
    EXPECT_EQ(H5Iget_type(identifier(name)), kind) << name;
  }
}

// "H5T_STD_I32LE": integer, 4 bytes, little-endian.
TEST(Constants, NameStandardDatatypesByWhatTheyAre) {
  const std::map<char, H5T_class_t> classes = {{'I', H5T_INTEGER},
                                               {'U', H5T_INTEGER},
                                               {'B', H5T_BITFIELD},
                                               {'F', H5T_FLOAT},
                                               {'D', H5T_TIME}};
  int checked = 0;
  for (const auto& [name, unused] : identifiers()) {
    const bool standard = name.starts_with("H5T_STD_") || name.starts_with("H5T_IEEE_") ||
                          name.starts_with("H5T_UNIX_");
    if (!standard || name.starts_with("H5T_STD_REF_")) continue;
    const std::string kind = name.substr(name.rfind('_') + 1);
    const hid_t type = identifier(name);
    EXPECT_EQ(H5Tget_class(type), classes.at(kind[0])) << name;
    EXPECT_EQ(H5Tget_size(type) * 8, std::stoul(kind.substr(1))) << name;
    const H5T_order_t order = kind.ends_with("BE") ? H5T_ORDER_BE : H5T_ORDER_LE;
    if (H5Tget_size(type) > 1) {
      EXPECT_EQ(H5Tget_order(type), order) << name;
    }
    if (kind[0] == 'I') {
      EXPECT_EQ(H5Tget_sign(type), H5T_SGN_2) << name;
    }
    if (kind[0] == 'U') {
      EXPECT_EQ(H5Tget_sign(type), H5T_SGN_NONE) << name;
    }
    ++checked;
  }
  EXPECT_EQ(checked, 32);
}

TEST(Constants, NameMachinesDatatypesAsAliases) {
  const std::map<std::string, std::string> orders = {
      {"INTEL", "LE"}, {"ALPHA", "LE"}, {"MIPS", "BE"}};
  for (const auto& [machine, order] : orders) {
    for (const std::string kind : {"I", "U", "B"}) {
      for (const std::string width : {"8", "16", "32", "64"}) {
        EXPECT_EQ(constantValue("H5T_" + machine + "_" + kind + width),
                  constantValue("H5T_STD_" + kind + width + order));
      }
    }
    for (const std::string width : {"32", "64"}) {
      EXPECT_EQ(constantValue("H5T_" + machine + "_F" + width),
                constantValue("H5T_IEEE_F" + width + order));
    }
  }
}

TEST(Constants, NameNativeDatatypesByTheirCTypes) {
  struct Native {
    const char* name;
    std::size_t size;
    bool hasSign;
  };
  // clang-format off
#define C(Name, Type) {"H5T_NATIVE_" Name, sizeof(Type), std::is_signed_v<Type>}
  const std::vector<Native> natives = {
      C("SCHAR", signed char), C("UCHAR", unsigned char), C("SHORT", short),
      C("USHORT", unsigned short), C("INT", int), C("UINT", unsigned), C("LONG", long),
      C("ULONG", unsigned long), C("LLONG", long long), C("ULLONG", unsigned long long),
      C("INT8", std::int8_t), C("UINT8", std::uint8_t), C("INT16", std::int16_t),
      C("UINT16", std::uint16_t), C("INT32", std::int32_t), C("UINT32", std::uint32_t),
      C("INT64", std::int64_t), C("UINT64", std::uint64_t), C("HADDR", haddr_t),
      C("HSIZE", hsize_t), C("HSSIZE", hssize_t), C("HERR", herr_t),
  };
#undef C
  // clang-format on
  for (const auto& [name, size, hasSign] : natives) {
    const hid_t type = identifier(name);
    EXPECT_EQ(H5Tget_class(type), H5T_INTEGER) << name;
    EXPECT_EQ(H5Tget_size(type), size) << name;
    EXPECT_EQ(H5Tget_sign(type), hasSign ? H5T_SGN_2 : H5T_SGN_NONE) << name;
  }
  EXPECT_EQ(constantValue("H5T_NATIVE_CHAR"), constantValue("H5T_NATIVE_SCHAR"));
  EXPECT_EQ(H5Tget_size(identifier("H5T_NATIVE_FLOAT")), sizeof(float));
  EXPECT_EQ(H5Tget_size(identifier("H5T_NATIVE_DOUBLE")), sizeof(double));
  EXPECT_EQ(H5Tget_size(identifier("H5T_NATIVE_LDOUBLE")), sizeof(long double));
}

TEST(Constants, NamePropertyListClasses) {
  const auto expectDescribed = [](const char* name, const std::string& expected) {
    const hdf5::AllocatedText text(H5Pget_class_name(identifier(name)));
    ASSERT_NE(text, nullptr) << name;
    EXPECT_EQ(text.get(), expected) << name;
  };
  expectDescribed("H5P_NO_CLASS", "root");
  for (const auto& [name, described] : h5test::kListClasses) expectDescribed(name, described);
  for (const std::string name :
       {"H5P_FILE_CREATE", "H5P_FILE_ACCESS", "H5P_DATASET_CREATE", "H5P_DATASET_XFER"}) {
    EXPECT_GT(H5Pisa_class(identifier(name + "_DEFAULT"), identifier(name)), 0) << name;
  }
}

TEST(Constants, NameFileDrivers) {
  const auto driver = [](auto set) {
    const hdf5::PropertyList access(H5Pcreate(H5P_FILE_ACCESS));
    EXPECT_GE(set(access.get()), 0);
    return H5Pget_driver(access.get());
  };
  EXPECT_EQ(identifier("H5FD_SEC2"), driver(H5Pset_fapl_sec2));
  EXPECT_EQ(identifier("H5FD_STDIO"), driver(H5Pset_fapl_stdio));
  EXPECT_EQ(identifier("H5FD_CORE"), driver([](hid_t id) { return H5Pset_fapl_core(id, 1, 0); }));
  EXPECT_EQ(identifier("H5FD_LOG"),
            driver([](hid_t id) { return H5Pset_fapl_log(id, "x.log", 0, 0); }));
  EXPECT_EQ(identifier("H5FD_FAMILY"),
            driver([](hid_t id) { return H5Pset_fapl_family(id, 1024, H5P_DEFAULT); }));
  // Member lists of our own: HDF5 never closes those that it makes for H5P_DEFAULT.
  const hdf5::PropertyList member(H5Pcreate(H5P_FILE_ACCESS));
  EXPECT_EQ(identifier("H5FD_MULTI"), driver([&](hid_t id) {
              std::array<hid_t, H5FD_MEM_NTYPES> members{};
              members.fill(member.get());
              return H5Pset_fapl_multi(id, nullptr, members.data(), nullptr, nullptr, true);
            }));
}

TEST(Constants, AreFoundLetterByLetter) {
  EXPECT_EQ(findConstant("H5P_DEFAULT"), 0);
  for (const char* name :
       {"", "h5p_default", "H5P_DEFAULT ", " H5P_DEFAULT", "H5P_DEFAUL", "H5P_DEFAULTS", "A",
        "HADDR_UNDEF0", "Z", "H5_INDEX_NAME", "H5_ITER_INC", "H5ZB_DEFAULT"}) {
    EXPECT_EQ(findConstant(name), std::nullopt) << name;
  }
  EXPECT_EQ(findConstant(std::string_view("H5P_DEFAULT\0", 12)), std::nullopt);
}

TEST(Constants, AreGivenToScriptsAsDoubles) {
  for (const std::string_view name : constantNames()) {
    const auto results = h5test::call("H5ZBget_constant_value", std::string(name));
    ASSERT_EQ(results.size(), 1U) << name;
    EXPECT_EQ(h5test::classOf(results[0]), zbClass::Double) << name;
    EXPECT_EQ(h5test::shapeOf(results[0]), (h5test::Shape{1, 1})) << name;
    EXPECT_EQ(h5test::numberOf(results[0]), static_cast<double>(constantValue(name))) << name;
  }
}

TEST(Constants, AreListedForScriptsInAColumnOfNames) {
  const auto names = h5test::result("H5ZBget_constant_names");
  EXPECT_EQ(h5test::classOf(names), zbClass::Cell);
  ASSERT_EQ(h5test::shapeOf(names), (h5test::Shape{471, 1}));
  for (std::size_t i = 0; i < constantNames().size(); ++i) {
    EXPECT_EQ(h5test::textOf(h5test::element(names, i)), constantNames()[i]);
  }
}

TEST(Constants, ComplainOfAnUnknownNameAsGiven) {
  for (const std::string name : {"", "h5p_default", "H5P_DEFAULT ", "H5_INDEX_NAME"}) {
    h5test::expectRaises("constantNotFound", {name}, "H5ZBget_constant_value", name);
  }
}

TEST(Constants, AreAskedForByText) {
  const std::vector<h5test::Parameter> description = {std::string("constant name")};
  h5test::expectRaises("notString", description, "H5ZBget_constant_value", 0);
  h5test::expectRaises("notString", description, "H5ZBget_constant_value", h5test::empty());
  for (const h5test::Value& stranger : h5test::strangers()) {
    h5test::expectRaises("notString", description, "H5ZBget_constant_value", stranger);
  }
}

// In a process of its own: closing the library would change identifiers for all tests.
TEST(ConstantsDeathTest, StayThoseOfTheFirstOpening) {
  EXPECT_EXIT(
      {
        const auto first = constantValue("H5FD_STDIO");
        H5close();
        H5open();
        // Drivers get their identifiers in the order in which they are first used.
        const bool reopened = H5Iget_type(H5FD_STDIO) == H5I_VFL;
        std::exit(reopened && constantValue("H5FD_STDIO") == first ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
