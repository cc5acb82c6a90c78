// H5P: what files are created with, and how they are accessed: sizes and ranks in the
// file, caches, blocks, version bounds, drivers.
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "hdf5/allocated_text.hpp"
#include "hdf5/file_name_pattern.hpp"
#include "hdf5/file_shields.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/property_shields.hpp"
#include "wrappers/cache_config.hpp"
#include "wrappers/own_row.hpp"
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
void requireLog(const char* path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> log(std::fopen(path, "a"), std::fclose);
  if (!log) raiseRefusal("H5Pset_fapl_log", "the log file cannot be opened for writing");
}

herr_t setLog(hid_t list, const char* path, unsigned flags, hsize_t size) {
  if (flags != 0) requireLog(path);
  return H5Pset_fapl_log(list, path, hdf5::withoutLogTables(flags), size);
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
  if (name.size() > kLongest || !hdf5::isFileNamePattern(name, "s", 0)) {
    raiseRefusal(function, "a member's name is too long or is no format with at most one %s");
  }
}

herr_t setSplit(hid_t list, const char* metaName, hid_t metaList, const char* rawName,
                hid_t rawList) {
  for (const char* name : {metaName, rawName}) requireMemberName("H5Pset_fapl_split", name);
  const hdf5::PropertyList access = defaultAccess();
  const auto orDefault = [&](hid_t given) { return given == H5P_DEFAULT ? access.get() : given; };
  const hdf5::MemberList meta(orDefault(metaList));
  const hdf5::MemberList raw(orDefault(rawList));
  return checked(hdf5::setSplit(list, metaName, meta.get(), rawName, raw.get()));
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
        raiseAbout<msg::badSetFaplMultiArgumentLength>(table, static_cast<std::int64_t>(kMembers));
      }
    }
    if (zbGetClass(names) != zbClass::Cell) raiseAbout<msg::badMembFaplType>(names);
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
    for (std::size_t i = 0; i < kMembers; ++i) {
      requireMemberList(list[i]);
      copies[i].emplace(list[i]);
      list[i] = copies[i]->get();
    }
  }

  Members<H5FD_mem_t> map{};
  Members<hid_t> list{};
  Members<haddr_t> address{};
  Members<const char*> namePointer{};

 private:
  Members<std::string> name;
  Members<std::optional<hdf5::MemberList>> copies;
};

/// What any double but 0 says, NaN among them.
struct Relax {
  static hbool_t from(const zbArray* array) { return zbGetScalar(array) != 0; }
};

/// Only whether incomplete sets of files may be opened, or the members too.
herr_t setMultiDefaults(hid_t list, hbool_t relax) {
  const hdf5::PropertyList access = defaultAccess();
  Members<hid_t> lists;
  lists.fill(access.get());
  return checked(hdf5::setMultiLists(list, lists.data(), relax));
}
herr_t setMulti(hid_t list, hbool_t relax, const zbArray* maps, const zbArray* lists,
                const zbArray* names, const zbArray* addresses) {
  const hdf5::PropertyList access = defaultAccess();
  const MemberTables members(maps, lists, names, addresses, access.get());
  return checked(H5Pset_fapl_multi(list, members.map.data(), members.list.data(),
                                   members.namePointer.data(), members.address.data(), relax));
}

void getMulti(Inputs ins, Results& outs) {
  const auto [list] = take<List>(ins);
  Members<H5FD_mem_t> map{};
  Members<hid_t> lists{};
  Members<char*> names{};
  Members<haddr_t> addresses{};
  hbool_t relax{};
  checked(
      H5Pget_fapl_multi(list, map.data(), lists.data(), names.data(), addresses.data(), &relax));
  // What HDF5 made is ours until the outputs stand.
  Members<hdf5::PropertyList> ownLists;
  Members<hdf5::DriverText> ownNames;
  for (std::size_t i = 0; i < kMembers; ++i) {
    ownLists[i] = hdf5::PropertyList(lists[i]);
    ownNames[i].reset(names[i]);
  }

  const std::size_t shape[] = {kMembers, 1};
  zbArray* cells = zbCreateCellArray(2, shape);
  for (std::size_t i = 0; i < kMembers; ++i) zbSetCell(cells, i, zbCreateString(names[i]));
  outs.give(makeColumn(map, toDouble));
  outs.give(makeColumn(lists, identifierToHost));
  outs.give(cells);
  outs.give(makeColumn(addresses, toDouble));
  outs.give(zbCreateLogicalScalar(relax != 0));
  for (hdf5::PropertyList& kept : ownLists) static_cast<void>(kept.release());
}

constexpr Row kFilePropertyFunctions[] = {
    // clang-format off
    //  name                          gives                                   takes
    ROW(H5Pget_alignment,             Outputs<hsize_t, hsize_t>,              List),
    ROW(H5Pget_cache,                 Outputs<int, size_t, size_t, double>,   List),
    ROW(H5Pget_driver,                Identifier,                             List),
    ROW(H5Pget_family_offset,         Outputs<hsize_t>,                       List),
    ROW(H5Pget_fapl_core,             Outputs<size_t, hbool_t>,               List),
    ROW(H5Pget_fapl_family,           Outputs<hsize_t, Identifier>,           List),
    OWN(H5Pget_fapl_multi,            getMulti),
    ROW(H5Pget_fclose_degree,         Outputs<H5F_close_degree_t>,            List),
    ROW(H5Pget_gc_references,         Outputs<unsigned>,                      List),
    ROW(H5Pget_istore_k,              Outputs<unsigned>,                      CreationList),
    ROW(H5Pget_libver_bounds,         Outputs<H5F_libver_t, H5F_libver_t>,    AccessList),
    ROW(H5Pget_mdc_config,            Outputs<CacheConfig>,                   AccessList),
    ROW(H5Pget_meta_block_size,       Outputs<hsize_t>,                       PlainList),
    ROW(H5Pget_multi_type,            Outputs<H5FD_mem_t>,                    AccessListId),
    ROW(H5Pget_sieve_buf_size,        Outputs<size_t>,                        AccessListId),
    ROW(H5Pget_sizes,                 Outputs<size_t, size_t>,                CreationListId),
    ROW(H5Pget_small_data_block_size, Outputs<hsize_t>,                       AccessListId),
    ROW(H5Pget_sym_k,                 Outputs<unsigned, unsigned>,            CreationListId),
    ROW(H5Pget_userblock,             Outputs<hsize_t>,                       CreationListId),
    ROW(H5Pget_version,               Outputs<unsigned, unsigned, unsigned, unsigned>, List),

    SET(H5Pset_alignment,             Nothing, List, Size, Size),
    SHIELDED(H5Pset_cache, hdf5::setCache, Nothing, List, Int, Size, Size, Real),
    SET(H5Pset_family_offset,         Nothing, List, Size),
    SET(H5Pset_fapl_core,             Nothing, List, Size, Flag),
    SET(H5Pset_fapl_family,           Nothing, List, Size, List),
    SHIELDED(H5Pset_fapl_log, setLog, Nothing, List, Text<"logfile">, LogFlags, Size),
    BY_COUNT(H5Pset_fapl_multi,
        Form<hdf5::OfOwn<setMultiDefaults>::change,
                                      Nothing, List, Relax>,
        Form<hdf5::OfOwn<setMulti>::change,
                                      Nothing, List, At<5, Relax>, At<1, Any>, At<2, Any>,
                                               At<3, Any>, At<4, Any>>),
    SET(H5Pset_fapl_sec2,             Nothing, List),
    SHIELDED(H5Pset_fapl_split, setSplit, Nothing, List, Text<"meta_ext">, List,
                                                                 Text<"raw_ext">, List),
    SET(H5Pset_fapl_stdio,            Nothing, List),
    SET(H5Pset_fclose_degree,         Nothing, List, Enum<H5F_close_degree_t>),
    SET(H5Pset_gc_references,         Nothing, List, Unsigned),
    SHIELDED(H5Pset_istore_k, hdf5::setChunkRank, Nothing, CreationList, Unsigned),
    SET(H5Pset_libver_bounds,         Nothing, AccessList, Enum<H5F_libver_t>, Enum<H5F_libver_t>),
    SET(H5Pset_mdc_config,            Nothing, AccessList, CacheConfig),
    SET(H5Pset_meta_block_size,       Nothing, AccessList, WrappedSize),
    SET(H5Pset_multi_type,            Nothing, AccessList, Enum<H5FD_mem_t>),
    // An access list, whatever its description says.
    SET(H5Pset_sieve_buf_size,        Nothing, CreationList, Size),
    SET(H5Pset_sizes,                 Nothing, CreationList, Size, Size),
    SET(H5Pset_small_data_block_size, Nothing, AccessList, WrappedSize),
    SHIELDED(H5Pset_sym_k, hdf5::setSymbolRanks, Nothing, CreationList, Unsigned, Unsigned),
    SET(H5Pset_userblock,             Nothing, CreationList, Size),
};  // clang-format on

}  // namespace

std::span<const Row> filePropertyFunctions() { return kFilePropertyFunctions; }

}  // namespace h5gate
