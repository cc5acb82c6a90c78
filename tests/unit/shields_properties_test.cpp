// What property lists can do to HDF5, and what the library's own identifiers are safe
// from.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "hdf5/handle.hpp"
#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/list_classes.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/stored.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

// --- Chunked without chunks ----------------------------------------------------------

Owned chunkless() {
  Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_layout", list, "H5D_CHUNKED");
  return list;
}

TEST(ChunklessLists, KillHdf5BesideThemselves) {
  EXPECT_TRUE(kills([] {
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_layout(list, H5D_CHUNKED);
    H5Pequal(list, list);
  }));
}

TEST(ChunklessLists, AreComparedAndCopied) {
  const Owned list = chunkless();
  const Owned copy = make("H5Pcopy", list);
  EXPECT_EQ(callNumber("H5Pequal", list, list), 1);
  EXPECT_EQ(callNumber("H5Pequal", copy, copy), 1);
  EXPECT_LT(callNumber("H5Pequal", kNoIdentifier, kNoIdentifier), 0);
  std::vector<Owned> others;
  others.push_back(chunkless());
  others.push_back(makeList("H5P_DATASET_CREATE"));
  others.push_back(chunked({3}));
  for (const Owned& other : others) {
    EXPECT_EQ(callNumber("H5Pequal", copy, other), callNumber("H5Pequal", other, copy));
  }
  const MemoryFile file;
  expectLibraryError("H5Dcreate", file, "d", "H5T_NATIVE_INT", makeSpace({5}), list);
}

// --- Filters that move up --------------------------------------------------------------

TEST(MovedFilters, KillHdf5InACopy) {
  const auto remove = [] {
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_deflate(list, 6);
    H5Pset_nbit(list);
    H5Premove_filter(list, H5Z_FILTER_DEFLATE);
    const hid_t copy = H5Pcopy(list);
    H5Pset_deflate(list, 6);  // whose memory may move
    H5Pclose(list);
    H5Pclose(copy);
  };
  EXPECT_TRUE(kills(remove));
}

TEST(MovedFilters, AreCopied) {
  const Owned list = chunked({3});
  for (const char* set : {"H5Pset_shuffle", "H5Pset_nbit", "H5Pset_fletcher32"}) call(set, list);
  call("H5Pset_deflate", list, 6);
  call("H5Premove_filter", list, "H5Z_FILTER_SHUFFLE");
  const Owned copy = make("H5Pcopy", list);
  call("H5Pset_shuffle", list);
  for (const Owned* one : {&list, &copy}) {
    EXPECT_EQ(callNumber("H5Pget_nfilters", *one), one == &list ? 4 : 3);
    EXPECT_EQ(numberOf(call("H5Pget_filter", *one, 0).at(0)), H5Z_FILTER_NBIT);
    EXPECT_EQ(numberOf(call("H5Pget_filter", *one, 1).at(0)), H5Z_FILTER_FLETCHER32);
    EXPECT_EQ(numberOf(call("H5Pget_filter", *one, 2).at(0)), H5Z_FILTER_DEFLATE);
  }
}

TEST(MovedFilters, AreRefusedTwice) {
  const Owned list = chunked({3});
  call("H5Pset_deflate", list, 6);
  call("H5Pset_nbit", list);
  call("H5Pset_nbit", list);
  expectStack(failureOf("H5Premove_filter", {list, "H5Z_FILTER_DEFLATE"}));
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 3);
  call("H5Premove_filter", list, "H5Z_FILTER_NBIT");
  call("H5Premove_filter", list, "H5Z_FILTER_DEFLATE");
  const Owned copy = make("H5Pcopy", list);
  EXPECT_EQ(callNumber("H5Pget_nfilters", copy), 1);
  call("H5Premove_filter", list, "H5Z_FILTER_ALL");
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 0);
}

// --- Compact data in external files -----------------------------------------------------

TEST(CompactElsewhere, IsRefused) {
  const Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_layout", list, "H5D_COMPACT");
  call("H5Pset_external", list, "raw", 0, 40);
  const MemoryFile file;
  const Owned space = makeSpace({5});
  expectStack(failureOf("H5Dcreate", {file, "d", "H5T_NATIVE_INT", space, list}));
  expectStack(
      failureOf("H5Dcreate", {file, "d", "H5T_NATIVE_INT", space, kDefault, list, kDefault}));
}

// --- Bits of what has none ----------------------------------------------------------------

TEST(PackedBits, OfVariableLengthKillHdf5) {
  const auto store = [] {
    const hid_t type = H5Tvlen_create(H5T_NATIVE_INT);
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    const hsize_t two = 2;
    H5Pset_chunk(list, 1, &two);
    H5Pset_nbit(list);
    H5Pset_alloc_time(list, H5D_ALLOC_TIME_EARLY);
    H5Dcreate2(MemoryFile().get(), "d", type, H5Screate_simple(1, &two, nullptr), H5P_DEFAULT, list,
               H5P_DEFAULT);
  };
  EXPECT_EQ(kills(store), hdf5::kSince110);  // 1.8 tells the filter that there are none
}

TEST(PackedBits, OfVariableLengthAreRefused) {
  const MemoryFile file;
  const Owned list = chunked({2});
  call("H5Pset_nbit", list);
  const Owned space = makeSpace({3});
  const Owned text = make("H5Tcopy", "H5T_C_S1");
  call("H5Tset_size", text, "H5T_VARIABLE");
  const Owned sequence = make("H5Tvlen_create", "H5T_STD_I32LE");
  for (const Owned* type : {&text, &sequence}) {
    if (!hdf5::kSince110) {
      make("H5Dcreate", file, std::to_string(type->id()), *type, space, list);
      continue;
    }
    expectStack(failureOf("H5Dcreate", {file, "d", *type, space, list}));
    expectStack(failureOf("H5Dcreate", {file, "d", *type, space, kDefault, list, kDefault}));
  }
  const Owned fixed = make("H5Dcreate", file, "fixed", "H5T_STD_I32LE", space, list);
  writeAll(fixed, row({1, 2, 3}));
  EXPECT_EQ(numbersOf(readAll(fixed)), (Numbers{1, 2, 3}));
  const Owned unpacked = makeDataset(file, "unpacked", text, space, chunked({2}));
  writeAll(unpacked, cell({h5test::text("a"), h5test::text("b"), h5test::text("c")}));
}

// --- The library's own identifiers ---------------------------------------------------

TEST(LibraryIdentifiers, KillHdf5WhenTheyAreGivenUp) {
  EXPECT_TRUE(kills([] {
    H5Pclose_class(H5P_FILE_ACCESS);
    if (H5Pcreate(H5P_FILE_ACCESS) < 0) std::abort();
  }));
  EXPECT_TRUE(kills([] {
    H5Pclose(H5P_DATASET_CREATE_DEFAULT);
    if (H5Pcopy(H5P_DATASET_CREATE_DEFAULT) < 0) std::abort();
  }));
}

TEST(LibraryIdentifiers, OfClassesStay) {
  for (const auto& [name, described] : kListClasses) {
    const double id = constant(name);
    expectStack(failureOf("H5Pclose_class", {name}));
    expectStack(failureOf("H5Pclose_class", {id}));
    EXPECT_LT(callNumber("H5Idec_ref", id), 0) << name;
    EXPECT_EQ(errorStack().size(), 1U);
    makeList(name);
  }
}

TEST(LibraryIdentifiers, OfDefaultListsStayAsTheyAre) {
  for (const char* name : {"H5P_FILE_CREATE_DEFAULT", "H5P_FILE_ACCESS_DEFAULT",
                           "H5P_DATASET_CREATE_DEFAULT", "H5P_DATASET_XFER_DEFAULT"}) {
    const double id = constant(name);
    expectStack(failureOf("H5Pclose", {id}));
    EXPECT_LT(callNumber("H5Idec_ref", id), 0) << name;
    const Owned copy = make("H5Pcopy", id);
    EXPECT_EQ(callNumber("H5Pequal", copy, id), 1) << name;
  }
  const double access = constant("H5P_FILE_ACCESS_DEFAULT");
  const double creation = constant("H5P_DATASET_CREATE_DEFAULT");
  expectStack(failureOf("H5Pset_chunk", {creation, row({5})}));
  expectStack(failureOf("H5Pset_fill_value", {creation, "H5T_NATIVE_DOUBLE", 1}));
  expectStack(failureOf("H5Pmodify_filter", {creation, 1, 0, row({1})}));
  expectStack(failureOf("H5Premove_filter", {creation, "H5Z_FILTER_ALL"}));
  expectStack(failureOf("H5Pset_fapl_stdio", {access}));
  expectStack(failureOf("H5Pset_fapl_multi", {access, 1}));
  expectStack(failureOf("H5Pset_cache", {access, 0, 521, 1000, 0.5}));
  expectStack(failureOf(
      "H5Pset", {access, "rdcc_nbytes", numeric(zbClass::UInt8, {1, 0, 0, 0, 0, 0, 0, 0})}));
  EXPECT_EQ(callNumber("H5Pget_layout", creation), H5D_CONTIGUOUS);
}

TEST(LibraryIdentifiers, OfDatatypesAndDriversStay) {
  for (const char* name : {"H5T_NATIVE_INT", "H5T_IEEE_F64LE", "H5T_C_S1", "H5T_STD_REF_OBJ",
                           "H5FD_SEC2", "H5FD_CORE"}) {
    EXPECT_LT(callNumber("H5Idec_ref", constant(name)), 0) << name;
    EXPECT_GT(callNumber("H5Iget_type", constant(name)), 0) << name;
  }
  expectStack(failureOf("H5Tclose", {constant("H5T_NATIVE_INT")}));
  expectStack(failureOf("H5Oclose", {constant("H5T_NATIVE_INT")}));
  expectStack(failureOf("H5Tset_size", {constant("H5T_NATIVE_INT"), 2}));
}

/// Those up to a new one that nobody but the library has: a script can only guess them.
std::vector<double> hiddenUpTo(const Owned& newest) {
  constexpr int kSerialBits = hdf5::kWideIdentifiers ? 56 : 24;
  const hid_t last = hdf5::identifierFromHost(newest.id());
  std::vector<double> hidden;
  for (hid_t id = last >> kSerialBits << kSerialBits; id < last; ++id) {
    if (H5Iget_ref(id) == 0) hidden.push_back(hdf5::identifierToHost(id));
  }
  return hidden;
}
std::vector<double> hiddenLists() { return hiddenUpTo(makeList("H5P_FILE_ACCESS")); }
std::vector<double> hiddenTypes() { return hiddenUpTo(make("H5Tcopy", "H5T_NATIVE_INT")); }

TEST(LibraryIdentifiers, OfWhatIsOpenAreLeftToIt) {
  std::vector<Owned> others;  // with numbers that only a process has that has done something
  for (int i = 0; i < 40; ++i) others.push_back(makeList("H5P_DATASET_CREATE"));
  const std::size_t lists = hiddenLists().size();
  const std::size_t types = hiddenTypes().size();
  const MemoryFile file;
  const Owned dataset =
      makeDataset(file, "d", "H5T_STD_I16BE", makeSpace({3}, row({-1})), chunked({2}));
  writeAll(dataset, row({1, 2, 3}));
  EXPECT_GT(hiddenLists().size(), lists);
  EXPECT_GT(hiddenTypes().size(), types);
  for (const double list : hiddenLists()) {
    expectStack(failureOf("H5Pclose", {list}));
    expectStack(failureOf("H5Pset_chunk", {list, row({5})}));
    expectStack(failureOf("H5Pset_sizes", {list, 2, 2}));
    EXPECT_LT(callNumber("H5Iinc_ref", list), 0);
    EXPECT_LT(callNumber("H5Idec_ref", list), 0);
  }
  for (const double type : hiddenTypes()) {
    expectStack(failureOf("H5Tclose", {type}));
    expectStack(failureOf("H5Tset_size", {type, 8}));
    expectStack(failureOf("H5Tset_order", {type, "H5T_ORDER_LE"}));
    expectStack(failureOf("H5Tset_sign", {type, "H5T_SGN_NONE"}));
    EXPECT_LT(callNumber("H5Idec_ref", type), 0);
  }
  EXPECT_EQ(numbersOf(readAll(dataset)), (Numbers{1, 2, 3}));
}

TEST(LibraryIdentifiers, GiveUpWhatAScriptAdded) {
  const double type = constant("H5T_NATIVE_INT");
  EXPECT_EQ(callNumber("H5Iinc_ref", type), 1);
  EXPECT_EQ(callNumber("H5Idec_ref", type), 0);
  EXPECT_LT(callNumber("H5Idec_ref", type), 0);
  EXPECT_EQ(callNumber("H5Tget_size", type), sizeof(int));
}

TEST(LibraryIdentifiers, AreNotThoseOfScripts) {
  EXPECT_EQ(callNumber("H5Idec_ref", callNumber("H5Tcopy", "H5T_NATIVE_INT")), 0);
  EXPECT_TRUE(call("H5Pclose", callNumber("H5Pcreate", "H5P_FILE_ACCESS")).empty());
  const Owned list = makeList("H5P_FILE_ACCESS");
  EXPECT_TRUE(call("H5Pclose_class", callNumber("H5Pget_class", list)).empty());
}

// --- Raw properties ------------------------------------------------------------------

Value bytes(std::size_t count, int value) {
  std::vector<std::uint8_t> filled(count, static_cast<std::uint8_t>(value));
  return zembra::makeNumeric(zbClass::UInt8, {count, 1}, filled.data());
}

TEST(RawProperties, KillHdf5) {
  EXPECT_TRUE(kills([] {
    const hid_t list = H5Pcreate(H5P_DATASET_XFER);
    const void* nowhere = reinterpret_cast<const void*>(0x4141414141414141);
    hdf5::setProperty(list, "data_transform", &nowhere);
    H5Pclose(H5Pcopy(list));
  }));
}

TEST(RawProperties, ThatHoldPointersAreOnlyGiven) {
  const std::vector<std::pair<const char*, const char*>> properties = {
      {"H5P_FILE_ACCESS", "file_image_info"},
      {"H5P_FILE_ACCESS", "mdc_initCacheCfg"},
      {"H5P_DATASET_CREATE", "layout"},
      {"H5P_DATASET_CREATE", "efl"},
      {"H5P_DATASET_CREATE", "fill_value"},
      {"H5P_DATASET_CREATE", "pline"},
      {"H5P_GROUP_CREATE", "link info"},
      {"H5P_LINK_ACCESS", "external link fapl"},
      {"H5P_LINK_ACCESS", "external link prefix"},
      {"H5P_LINK_ACCESS", "external link callback"},
      {"H5P_DATASET_XFER", "vlen_alloc"},
      {"H5P_DATASET_XFER", "data_transform"},
      {"H5P_DATASET_XFER", "filter_cb"},
      {"H5P_OBJECT_COPY", "merge committed dtype list"},
  };
  for (const auto& [listClass, name] : properties) {
    const Owned list = makeList(listClass);
    if (callNumber("H5Pexist", list, name) != 1) continue;  // of a later release
    const Value before = result("H5Pget", list, name);
    expectStack(failureOf("H5Pset", {list, name, before}));
    expectStack(failureOf("H5Pset", {list, name, bytes(zbGetNumberOfElements(before.get()), 65)}));
    EXPECT_EQ(numbersOf(result("H5Pget", list, name)), numbersOf(before)) << name;
  }
}

TEST(RawProperties, ThatAreNumbersKeepTheirLimits) {
  const auto set = [](const char* listClass, const char* name, const Value& value) {
    const Owned list = makeList(listClass);
    call("H5Pset", list, name, value);
    EXPECT_EQ(numbersOf(result("H5Pget", list, name)), numbersOf(value)) << name;
  };
  const auto refuse = [](const char* listClass, const char* name, const Value& value) {
    expectStack(failureOf("H5Pset", {makeList(listClass), name, value}));
  };
  refuse("H5P_DATASET_XFER", "vec_size", bytes(8, 65));
  refuse("H5P_DATASET_XFER", "max_temp_buf", bytes(8, 255));
  refuse("H5P_DATASET_ACCESS", "rdcc_nslots", bytes(8, 65));
  refuse("H5P_FILE_CREATE", "btree_rank", bytes(8, 0));
  refuse("H5P_FILE_CREATE", "symbol_leaf", bytes(4, 1));
  refuse("H5P_FILE_CREATE", "addr_byte_num", bytes(1, 65));
  set("H5P_DATASET_XFER", "vec_size", numeric(zbClass::UInt8, {0, 4, 0, 0, 0, 0, 0, 0}));
  set("H5P_DATASET_ACCESS", "rdcc_nslots", bytes(8, 255));
  set("H5P_FILE_CREATE", "symbol_leaf", numeric(zbClass::UInt8, {4, 0, 0, 0}));
  set("H5P_FILE_CREATE", "addr_byte_num", bytes(1, 8));
  set("H5P_FILE_ACCESS", "rdcc_nbytes", bytes(8, 65));
  set("H5P_FILE_ACCESS", "gc_ref", bytes(4, 1));
}

// --- Sizes that wrap -----------------------------------------------------------------

constexpr double kTwo50 = 0x1p50;
constexpr double kTwo62 = 0x1p62;

TEST(SizesThatWrap, KillHdf5) {
  EXPECT_TRUE(kills([] {
    const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_cache(list, 0, std::size_t{1} << 62, 1 << 20, 0.5);
    const hid_t file = H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list);
    const Owned dataset = makeDataset(h5gate::identifierToHost(file), "d", "H5T_NATIVE_INT",
                                      makeSpace({100}), chunked({10}));
    const std::vector<int> values(100);
    H5Dwrite(dataset.get(), H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
  }));
}

TEST(SizesThatWrap, AreRefused) {
  const Owned access = makeList("H5P_FILE_ACCESS");
  const Owned dataset = makeList("H5P_DATASET_ACCESS");
  const Owned transfer = makeList("H5P_DATASET_XFER");
  for (const double size : {kTwo62, 0x1p63, 0x1p64 - 2048}) {
    expectStack(failureOf("H5Pset_cache", {access, 0, size, 1000, 0.5}));
    expectStack(failureOf("H5Pset_chunk_cache", {dataset, size, 1000, 0.5}));
    expectStack(failureOf("H5Pset_hyper_vector_size", {transfer, size}));
  }
  call("H5Pset_cache", access, 0, 100003, kTwo62, 0.5);
  call("H5Pset_chunk_cache", dataset, 100003, kTwo62, 0.5);
  call("H5Pset_hyper_vector_size", transfer, 100000);
}

TEST(SizesThatWrap, OfNodesAreRefused) {
  const Owned list = makeList("H5P_FILE_CREATE");
  for (const double rank : {32768.0, 65536.0, 0x1p31, 0x1p32 - 1}) {
    expectStack(failureOf("H5Pset_sym_k", {list, rank, 4}));
    expectStack(failureOf("H5Pset_sym_k", {list, 16, rank}));
    expectStack(failureOf("H5Pset_istore_k", {list, rank}));
  }
  call("H5Pset_sym_k", list, 32767, 32767);
  call("H5Pset_istore_k", list, 32767);
  EXPECT_EQ(callNumbers("H5Pget_sym_k", list), (Numbers{32767, 32767}));
}

TEST(SizesThatWrap, OfSzipKillHdf5) {
  const auto write = [] {
    const MemoryFile file;
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    const hsize_t chunk = 10;
    H5Pset_chunk(list, 1, &chunk);
    const unsigned noPixels[] = {4, 0};
    H5Pset_filter(list, H5Z_FILTER_SZIP, 0, 2, noPixels);
    const hid_t space = H5Screate_simple(1, &chunk, nullptr);
    const hid_t dataset =
        H5Dcreate2(file.get(), "d", H5T_NATIVE_INT, space, H5P_DEFAULT, list, H5P_DEFAULT);
    const int values[10] = {};
    H5Dwrite(dataset, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values);
  };
  EXPECT_EQ(kills(write), hdf5::kSince110 && H5Zfilter_avail(H5Z_FILTER_SZIP) > 0);
}

TEST(SizesThatWrap, OfSzipAreRefused) {
  const Owned list = chunked({10});
  expectStack(failureOf("H5Pset_filter", {list, "H5Z_FILTER_SZIP", 0, row({4, 0})}));
  expectStack(failureOf("H5Pset_filter", {list, "H5Z_FILTER_SZIP", 0, row({4})}));
  call("H5Pset_deflate", list, 1);
  expectStack(failureOf("H5Pmodify_filter", {list, 4, 0, row({4, 0})}));
}

TEST(SizesThatWrap, OfBlocksInAFileAreRefusedWithTheFile) {
  const std::string path = temporaryPath();
  for (const char* name : {"H5Pset_meta_block_size", "H5Pset_small_data_block_size"}) {
    const Owned list = makeList("H5P_FILE_ACCESS");
    call(name, list, kTwo62);
    expectStack(failureOf("H5Fcreate", {path, "H5F_ACC_TRUNC", kDefault, list}));
    call(name, list, 1 << 20);
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "d", ramp(100));
    EXPECT_EQ(readDoubles(file, "d"), ramp(100));
  }
  const Owned aligned = makeList("H5P_FILE_ACCESS");
  call("H5Pset_alignment", aligned, 1, 2 * kTwo50);
  expectStack(failureOf("H5Fcreate", {path, "H5F_ACC_TRUNC", kDefault, aligned}));
  expectStack(failureOf("H5Fopen", {path, "H5F_ACC_RDWR", aligned}));
}

}  // namespace
