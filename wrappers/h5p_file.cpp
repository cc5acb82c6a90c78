// H5P: what files are created with, and how they are accessed: sizes and ranks in the
// file, caches, blocks, version bounds, drivers.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "hdf5/handle.hpp"
#include "wrappers/cache_config.hpp"
#include "wrappers/name_format.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using PlainList = Id<"property list">;
using CreationList = Id<"file creation property list">;
using CreationListId = Id<"file creation property list identifier">;
using AccessList = Id<"file access property list">;
using AccessListId = Id<"file access property list identifier">;

// --- Log driver -----------------------------------------------------------------------

/// Later releases moved the bits: each goes to HDF5 as what its name means there.
struct LogFlags {
  static unsigned from(const zbArray* array) {
    static constexpr std::pair<unsigned, unsigned> kBits[] = {
        {1U << 0, H5FD_LOG_LOC_READ},   {1U << 1, H5FD_LOG_LOC_WRITE},
        {1U << 2, H5FD_LOG_LOC_SEEK},   {1U << 3, H5FD_LOG_FILE_READ},
        {1U << 4, H5FD_LOG_FILE_WRITE}, {1U << 5, H5FD_LOG_FLAVOR},
        {1U << 6, H5FD_LOG_NUM_READ},   {1U << 7, H5FD_LOG_NUM_WRITE},
        {1U << 8, H5FD_LOG_NUM_SEEK},   {1U << 9, H5FD_LOG_TIME_OPEN},
        {1U << 10, H5FD_LOG_TIME_READ}, {1U << 11, H5FD_LOG_TIME_WRITE},
        {1U << 12, H5FD_LOG_TIME_SEEK}, {1U << 13, H5FD_LOG_TIME_CLOSE},
        {1U << 14, H5FD_LOG_ALLOC},
    };
    const unsigned given = getUIntArg(array);
    unsigned flags = 0;
    for (const auto& [bit, meaning] : kBits) {
      if ((given & bit) != 0) flags |= meaning;
    }
    return flags;
  }
};

/// HDF5 takes it that a log with something in it can be opened, and writes to a null
/// stream otherwise.
void requireLog(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> log(std::fopen(path.c_str(), "a"),
                                                            std::fclose);
  if (!log) raiseRefusal("H5Pset_fapl_log", "the log file cannot be opened for writing");
}

void setLog(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const std::string path = Text<"logfile">::from(ins[1]);
  const unsigned flags = LogFlags::from(ins[2]);
  const hsize_t size = Size::from(ins[3]);
  if (flags != 0) requireLog(path);
  checked(H5Pset_fapl_log(list, path.c_str(), flags, size));
}

// --- Multi and split drivers ------------------------------------------------------------

constexpr std::size_t kMembers = H5FD_MEM_NTYPES;
static_assert(kMembers == 7);

template <class Value>
using Members = std::array<Value, kMembers>;

/// What stands for H5P_DEFAULT: HDF5 would make lists of its own that it never closes.
hdf5::PropertyList defaultAccess() {
  return hdf5::PropertyList(checked(H5Pcreate(H5P_FILE_ACCESS)));
}

/// HDF5 prints the file's name into a member's, with the member's name as the format.
void requireMemberName(const char* function, const std::string& name) {
  constexpr std::size_t kLongest = 1000;  // HDF5 has room for 1024
  if (name.size() > kLongest || !isNameFormat(name, "s", 0)) {
    raiseRefusal(function, "a member's name is too long or is no format with at most one %s");
  }
}

void setSplit(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const std::string metaName = Text<"meta_ext">::from(ins[1]);
  const hid_t metaList = List::from(ins[2]);
  const std::string rawName = Text<"raw_ext">::from(ins[3]);
  const hid_t rawList = List::from(ins[4]);
  for (const std::string& name : {metaName, rawName}) requireMemberName("H5Pset_fapl_split", name);
  const hdf5::PropertyList access = defaultAccess();
  const auto orDefault = [&](hid_t given) { return given == H5P_DEFAULT ? access.get() : given; };
  checked(H5Pset_fapl_split(list, metaName.c_str(), orDefault(metaList), rawName.c_str(),
                            orDefault(rawList)));
}

/// HDF5 looks only at the lists of members that the map uses, but copies them all. A
/// negative one it leaves alone.
void requireMemberList(hid_t list) {
  if (list >= 0 && H5Iget_type(list) != H5I_GENPROP_LST) {
    raiseRefusal("H5Pset_fapl_multi", "a member's access list is no property list");
  }
}

/// The tables of the members, in the order of HDF5's uses of file memory.
struct MemberTables {
  /// Fails in the order of the steps, whichever table is at fault.
  MemberTables(const zbArray* maps, const zbArray* lists, const zbArray* names,
               const zbArray* addresses, hid_t defaultList) {
    for (const zbArray* table : {maps, lists, names, addresses}) {
      if (zbGetNumberOfElements(table) != kMembers) {
        raise<msg::badSetFaplMultiArgumentLength>(static_cast<std::int64_t>(kMembers));
      }
    }
    if (zbGetClass(names) != zbClass::Cell) raise<msg::badMembFaplType>();
    requireDouble(maps, "MEMB_MAP");
    requireDouble(lists, "MEMB_FAPL");
    requireDouble(addresses, "MEMB_ADDR");
    for (std::size_t i = 0; i < kMembers; ++i) {
      map[i] = static_cast<H5FD_mem_t>(castToInt(elementAsDouble(maps, i)));
      const hid_t given = castToIdentifier(elementAsDouble(lists, i));
      list[i] = given == H5P_DEFAULT ? defaultList : given;
      address[i] = wrapToSize(elementAsDouble(addresses, i));
      const zbArray* text = zbGetCell(names, i);
      if (text == nullptr || zbGetNumberOfElements(text) == 0) continue;
      name[i] = textOf(text);
      namePointer[i] = name[i].c_str();
    }
    for (const std::string& format : name) requireMemberName("H5Pset_fapl_multi", format);
    for (const hid_t id : list) requireMemberList(id);
  }

  Members<H5FD_mem_t> map{};
  Members<hid_t> list{};
  Members<haddr_t> address{};
  Members<const char*> namePointer{};

 private:
  Members<std::string> name;
};

/// The driver is written as a user's: its texts come from the C library.
struct Free {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  void operator()(char* text) const { std::free(text); }
};
using MallocedText = std::unique_ptr<char, Free>;

/// Only whether incomplete sets of files may be opened, or the members too.
void setMulti(int /*nOut*/, zbArray** /*outs*/, int nIn, const zbArray** ins) {
  requireArgCount(nIn == 2 || nIn == 6);
  const hid_t list = List::from(ins[0]);
  const bool relax = zbGetScalar(ins[nIn - 1]) != 0;  // NaN is not 0
  const hdf5::PropertyList access = defaultAccess();
  if (nIn == 2) {
    Members<hid_t> lists;
    lists.fill(access.get());
    checked(H5Pset_fapl_multi(list, nullptr, lists.data(), nullptr, nullptr, relax));
    return;
  }
  const MemberTables members(ins[1], ins[2], ins[3], ins[4], access.get());
  checked(H5Pset_fapl_multi(list, members.map.data(), members.list.data(),
                            members.namePointer.data(), members.address.data(), relax));
}

void getMulti(zbArray** outs, const zbArray** ins) {
  Members<H5FD_mem_t> map{};
  Members<hid_t> lists{};
  Members<char*> names{};
  Members<haddr_t> addresses{};
  hbool_t relax{};
  checked(H5Pget_fapl_multi(List::from(ins[0]), map.data(), lists.data(), names.data(),
                            addresses.data(), &relax));
  // What HDF5 made is ours until the outputs stand.
  Members<hdf5::PropertyList> ownLists;
  Members<MallocedText> ownNames;
  for (std::size_t i = 0; i < kMembers; ++i) {
    ownLists[i] = hdf5::PropertyList(lists[i]);
    ownNames[i].reset(names[i]);
  }

  const std::size_t shape[] = {kMembers, 1};
  zbArray* cells = zbCreateCellArray(2, shape);
  for (std::size_t i = 0; i < kMembers; ++i) zbSetCell(cells, i, zbCreateString(names[i]));
  outs[0] = makeColumn(map, [](H5FD_mem_t use) { return static_cast<double>(use); });
  outs[1] = makeColumn(lists, identifierToHost);
  outs[2] = cells;
  outs[3] = makeColumn(addresses, sizeToDouble);
  outs[4] = zbCreateLogicalScalar(relax != 0);
  for (hdf5::PropertyList& list : ownLists) static_cast<void>(list.release());
}

using Count = AsNumber<unsigned>;
using Bytes = AsSize<std::size_t>;
using FileBytes = AsSize<hsize_t>;
using Libver = AsNumber<H5F_libver_t>;

constexpr Row kFilePropertyFunctions[] = {
    // name                    call                   gives       takes
    {"H5Pget_alignment", wrap<H5Pget_alignment, Outputs<FileBytes, FileBytes>, List>},
    {"H5Pget_cache",
     wrap<H5Pget_cache, Outputs<AsNumber<int>, Bytes, Bytes, AsNumber<double>>, List>},
    {"H5Pget_driver", wrap<H5Pget_driver, Identifier, List>},
    {"H5Pget_family_offset", wrap<H5Pget_family_offset, Outputs<FileBytes>, List>},
    {"H5Pget_fapl_core", wrap<H5Pget_fapl_core, Outputs<Bytes, AsNumber<hbool_t>>, List>},
    {"H5Pget_fapl_family", wrap<H5Pget_fapl_family, Outputs<FileBytes, AsIdentifier>, List>},
    {"H5Pget_fapl_multi", rule<1, getMulti>},
    {"H5Pget_fclose_degree",
     wrap<H5Pget_fclose_degree, Outputs<AsNumber<H5F_close_degree_t>>, List>},
    {"H5Pget_gc_references", wrap<H5Pget_gc_references, Outputs<Count>, List>},
    {"H5Pget_istore_k", wrap<H5Pget_istore_k, Outputs<Count>, CreationList>},
    {"H5Pget_libver_bounds", wrap<H5Pget_libver_bounds, Outputs<Libver, Libver>, AccessList>},
    {"H5Pget_mdc_config", rule<1, getCacheConfig<H5Pget_mdc_config, AccessList>>},
    {"H5Pget_meta_block_size", wrap<H5Pget_meta_block_size, Outputs<FileBytes>, PlainList>},
    {"H5Pget_multi_type", wrap<H5Pget_multi_type, Outputs<AsNumber<H5FD_mem_t>>, AccessListId>},
    {"H5Pget_sieve_buf_size", wrap<H5Pget_sieve_buf_size, Outputs<Bytes>, AccessListId>},
    {"H5Pget_sizes", wrap<H5Pget_sizes, Outputs<Bytes, Bytes>, CreationListId>},
    {"H5Pget_small_data_block_size",
     wrap<H5Pget_small_data_block_size, Outputs<FileBytes>, AccessListId>},
    {"H5Pget_sym_k", wrap<H5Pget_sym_k, Outputs<Count, Count>, CreationListId>},
    {"H5Pget_userblock", wrap<H5Pget_userblock, Outputs<FileBytes>, CreationListId>},
    {"H5Pget_version", wrap<H5Pget_version, Outputs<Count, Count, Count, Count>, List>},
    {"H5Pset_alignment", wrap<H5Pset_alignment, Nothing, List, Size, Size>},
    {"H5Pset_cache", wrap<H5Pset_cache, Nothing, List, Int, Size, Size, Real>},
    {"H5Pset_family_offset", wrap<H5Pset_family_offset, Nothing, List, Size>},
    {"H5Pset_fapl_core", wrap<H5Pset_fapl_core, Nothing, List, Size, Truncated>},
    {"H5Pset_fapl_family", wrap<H5Pset_fapl_family, Nothing, List, Size, List>},
    {"H5Pset_fapl_log", rule<4, setLog>},
    {"H5Pset_fapl_multi", setMulti},
    {"H5Pset_fapl_sec2", wrap<H5Pset_fapl_sec2, Nothing, List>},
    {"H5Pset_fapl_split", rule<5, setSplit>},
    {"H5Pset_fapl_stdio", wrap<H5Pset_fapl_stdio, Nothing, List>},
    {"H5Pset_fclose_degree", wrap<H5Pset_fclose_degree, Nothing, List, Enum<H5F_close_degree_t>>},
    {"H5Pset_gc_references", wrap<H5Pset_gc_references, Nothing, List, Unsigned>},
    {"H5Pset_istore_k", wrap<H5Pset_istore_k, Nothing, CreationList, Unsigned>},
    {"H5Pset_libver_bounds",
     wrap<H5Pset_libver_bounds, Nothing, AccessList, Enum<H5F_libver_t>, Enum<H5F_libver_t>>},
    {"H5Pset_mdc_config", rule<2, setCacheConfig<H5Pset_mdc_config, AccessList>>},
    {"H5Pset_meta_block_size", wrap<H5Pset_meta_block_size, Nothing, AccessList, WrappedSize>},
    {"H5Pset_multi_type", wrap<H5Pset_multi_type, Nothing, AccessList, Enum<H5FD_mem_t>>},
    // An access list, whatever its description says.
    {"H5Pset_sieve_buf_size", wrap<H5Pset_sieve_buf_size, Nothing, CreationList, Size>},
    {"H5Pset_sizes", wrap<H5Pset_sizes, Nothing, CreationList, Size, Size>},
    {"H5Pset_small_data_block_size",
     wrap<H5Pset_small_data_block_size, Nothing, AccessList, WrappedSize>},
    {"H5Pset_sym_k", wrap<H5Pset_sym_k, Nothing, CreationList, Unsigned, Unsigned>},
    {"H5Pset_userblock", wrap<H5Pset_userblock, Nothing, CreationList, Size>},
};

}  // namespace

std::span<const Row> filePropertyFunctions() { return kFilePropertyFunctions; }

}  // namespace h5gate
