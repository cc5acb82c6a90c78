// What errors carry beside key, parameters and text: HDF5's stack where it had a part in
// them, what that says in a line, and the input that was refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/library_error.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/host_calls.hpp"
#include "tests/unit/memory_file.hpp"

namespace {

using namespace h5test;

// --- HDF5's stack --------------------------------------------------------------------------

const Value kGoOn = function([](int, auto) { return Results{number(0)}; });

struct PartlyHdf5 {
  std::string key;
  std::string function;
  Arguments arguments;
};

class FailuresOfHdf5 : public testing::TestWithParam<PartlyHdf5> {};

TEST_P(FailuresOfHdf5, CarryItsStackWhateverTheirKey) {
  H5Eclear2(H5E_DEFAULT);
  const Failure error = failureOf(GetParam().function, GetParam().arguments);
  expectCarriedStack(error);
  ASSERT_TRUE(error);
  EXPECT_EQ((*error)->key, GetParam().key);
  EXPECT_FALSE((*error)->libraryFailure);
  EXPECT_NE((*error)->libraryReason, "");
}

INSTANTIATE_TEST_SUITE_P(
    All, FailuresOfHdf5,
    testing::Values(
        PartlyHdf5{"linkIterationFailure", "H5Literate", {kNoIdentifier, 0, 0, 0, kGoOn, 0}},
        PartlyHdf5{"linkIterationByNameFailure",
                   "H5Literate_by_name",
                   {kNoIdentifier, "g", 0, 0, 0, kGoOn, 0, kDefault}},
        PartlyHdf5{"linkVisitFailure", "H5Lvisit", {kNoIdentifier, 0, 0, kGoOn, 0}},
        PartlyHdf5{"visitFailure", "H5Ovisit", {kNoIdentifier, 0, 0, kGoOn, 0}},
        PartlyHdf5{"visitByNameFailure",
                   "H5Ovisit_by_name",
                   {kNoIdentifier, "g", 0, 0, kGoOn, 0, kDefault}},
        PartlyHdf5{"iterateScalesFailure", "H5DSiterate_scales", {kNoIdentifier, 0, 0, kGoOn, 0}},
        PartlyHdf5{"iterateScalesFailure", "H5DSiterate_scales", {kNoIdentifier, 0, -1, kGoOn, 0}},
        PartlyHdf5{"libraryFailureH5DS", "H5DSis_scale", {kNoIdentifier}},
        PartlyHdf5{"objectNotLink", "H5Gget_linkval", {kNoIdentifier, "l"}},
        PartlyHdf5{"datasetHasNoRank", "H5Tget_array_dims", {"H5T_NATIVE_INT"}},
        PartlyHdf5{"badVlenSuperTypeCreate", "H5Tvlen_create", {kNoIdentifier}},
        PartlyHdf5{"badHyperslabSpecification",
                   "H5Sselect_hyperslab",
                   {kNoIdentifier, 0, row({0}), empty(), row({1}), empty()}},
        PartlyHdf5{"rankMismatchForSimpleOffset", "H5Soffset_simple", {kNoIdentifier, row({0})}},
        PartlyHdf5{"invalidRankForElementSelection",
                   "H5Sselect_elements",
                   {kNoIdentifier, "H5S_SELECT_SET", row({0})}},
        PartlyHdf5{"failureToRetrieveDataspaceNdims", "H5Dfill", {0, 0, 0, 0, kNoIdentifier}}),
    [](const auto& test) { return test.param.function + std::to_string(test.index); });

TEST(WhatHdf5HadNoPartIn, CarriesNoStackOfAnEarlierFailure) {
  expectLibraryError("H5Sclose", kNoIdentifier);
  ASSERT_FALSE(errorStack().empty());
  const Failure error = failureOf("H5Screate", {"H5S_SIMPEL"});
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->stack.empty());
  EXPECT_EQ((*error)->libraryReason, "");
}

TEST(CallbacksThatFail, LeaveHdf5sWordsBesideTheirOwn) {
  const MemoryFile file;
  make("H5Gcreate", file, "g", kDefault, kDefault, kDefault).close();
  const Failure error = failureOf("H5Literate", {file, 0, 0, 0, fail("broken"), 0});
  expectCarriedStack(error);
  ASSERT_TRUE(error);
  EXPECT_EQ((*error)->parameters, Parameters{std::string("broken")});
}

// --- The leading line ------------------------------------------------------------------------

struct Record {
  const char* function;
  hid_t major;
  hid_t minor;
  const char* description;
};

/// What the library error says of a stack, its innermost record first.
std::string saidOf(const std::vector<Record>& records) {
  H5Eclear2(H5E_DEFAULT);
  for (const Record& record : records) {
    H5Epush2(H5E_DEFAULT, "file.c", record.function, 1, H5E_ERR_CLS, record.major, record.minor,
             "%s", record.description);
  }
  const Failure error = raisedBy([] { KVH5libraryError(); });
  return error ? error->what() : "nothing";
}

TEST(LeadingLines, TellTheInnermostReasonAndTheOutermostCall) {
  EXPECT_EQ(saidOf({{"H5Z_pipeline", H5E_PLINE, H5E_READERROR, "required filter is missing"},
                    {"H5D__read", H5E_DATASET, H5E_READERROR, "can't read data"},
                    {"H5Dread", H5E_DATASET, H5E_READERROR, "cannot"}}),
            "H5Dread: required filter is missing (Read failed)");
}

TEST(LeadingLines, NameTheFunctionOfARecordWithoutText) {
  EXPECT_EQ(saidOf({{"H5D__chunk_lock", H5E_DATASET, H5E_READERROR, ""},
                    {"H5Dread", H5E_DATASET, H5E_READERROR, "can't read data"}}),
            "H5Dread: H5D__chunk_lock failed (Read failed)");
  EXPECT_EQ(saidOf({{"H5Dread", H5E_DATASET, H5E_READERROR, ""}}), "H5Dread failed (Read failed)");
}

TEST(LeadingLines, AreOneLine) {
  EXPECT_EQ(saidOf({{"H5F_open", H5E_FILE, H5E_CANTOPENFILE, "time = Sat\n, name = 'a  b'"}}),
            "H5F_open: time = Sat, name = 'a  b' (Unable to open file)");
}

TEST(LeadingLines, AreNotAboutTheSearchForPlugins) {
  // The class of plugins came with 1.8.11.
  const hid_t plugins = H5Eregister_class("other", "other", "1");
  const hid_t major = H5Ecreate_msg(plugins, H5E_MAJOR, "Plugin for dynamically loaded library");
  EXPECT_EQ(saidOf({{"H5PL__find", major, H5E_CANTOPENFILE, "can't open directory"},
                    {"H5PL_load", major, H5E_CANTOPENFILE, "search failed"},
                    {"H5Z_pipeline", H5E_PLINE, H5E_READERROR, "required filter is missing"},
                    {"H5Dread", H5E_DATASET, H5E_READERROR, "can't read data"}}),
            "H5Dread: required filter is missing (Read failed)");
  EXPECT_EQ(saidOf({{"H5PL__find", major, H5E_CANTOPENFILE, "can't open directory"}}),
            "H5PL__find: can't open directory (Unable to open file)");
  H5Eclose_msg(major);
  H5Eunregister_class(plugins);
}

// --- The input that was refused --------------------------------------------------------------

/// Which input the error is about, counted from 1 as the function's; 0 is none of them.
std::size_t refusedBy(const char* name, const Arguments& arguments) {
  std::vector<Value> values{text(name)};
  for (const Argument& argument : arguments) values.push_back(argument.array);
  const Failure error = raisedBy([&] { callWithInputs(1, values); });
  if (!error) ADD_FAILURE() << name << " raised nothing";
  for (std::size_t i = 1; error && i < values.size(); ++i) {
    if (values[i].get() == (*error)->input) return i;
  }
  return 0;
}

TEST(RefusedInputs, AreKnown) {
  EXPECT_EQ(refusedBy("H5Fopen", {1, 0, kDefault}), 1U);
  EXPECT_EQ(refusedBy("H5Fopen", {"f", "r", kDefault}), 2U);
  EXPECT_EQ(refusedBy("H5Fopen", {"f", true, kDefault}), 2U);
  EXPECT_EQ(refusedBy("H5Fopen", {"f", -1, kDefault}), 2U);
  EXPECT_EQ(refusedBy("H5Fopen", {"f", 0, "none"}), 3U);
  EXPECT_EQ(refusedBy("H5Fcreate", {"f", "none", kDefault, kDefault}), 2U);
  EXPECT_EQ(refusedBy("H5Fget_obj_count", {0, "none"}), 2U);
  EXPECT_EQ(refusedBy("H5Sclose", {cell({})}), 1U);
  EXPECT_EQ(refusedBy("H5Screate", {"none"}), 1U);
  EXPECT_EQ(refusedBy("H5Screate", {cell({})}), 1U);
  EXPECT_EQ(refusedBy("H5Screate", {7}), 1U);
  EXPECT_EQ(refusedBy("H5Screate_simple", {1, "3", empty()}), 2U);
  EXPECT_EQ(refusedBy("H5Screate_simple", {1, row({-1}), empty()}), 2U);
  EXPECT_EQ(refusedBy("H5Screate_simple", {1, row({1}), row({-2})}), 3U);
  EXPECT_EQ(refusedBy("H5Screate_simple", {1, row({1, 2}), empty()}), 2U);
  EXPECT_EQ(refusedBy("H5Screate_simple", {1, row({1}), row({1, 2})}), 3U);
  EXPECT_EQ(refusedBy("H5Tcopy", {"none"}), 1U);
  EXPECT_EQ(refusedBy("H5Tcopy", {cell({})}), 1U);
  EXPECT_EQ(refusedBy("H5Dwrite", {0, kChosen, "none", kAll, kDefault, 0}), 3U);
  EXPECT_EQ(refusedBy("H5Dwrite", {0, kChosen, kAll, "none", kDefault, 0}), 4U);
  EXPECT_EQ(refusedBy("H5Pcreate", {"none"}), 1U);
  EXPECT_EQ(refusedBy("H5Pcreate", {cell({})}), 1U);
}

TEST(RefusedInputs, AreKnownOfSelections) {
  const Owned space = make("H5Screate_simple", 2, row({3, 4}), empty());
  const Value two = row({1, 1});
  const auto select = [&](const Arguments& arguments) {
    Arguments all{space, "H5S_SELECT_SET"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return refusedBy("H5Sselect_hyperslab", all);
  };
  EXPECT_EQ(select({row({1}), empty(), two, empty()}), 3U);
  EXPECT_EQ(select({two, row({1}), two, empty()}), 4U);
  EXPECT_EQ(select({two, empty(), row({1}), empty()}), 5U);
  EXPECT_EQ(refusedBy("H5Sselect_elements", {space, "H5S_SELECT_SET", row({1, 2, 3})}), 3U);
  EXPECT_EQ(refusedBy("H5Soffset_simple", {space, row({1})}), 2U);
}

TEST(RefusedInputs, AreNoneWhereTheCallIsWrong) {
  EXPECT_EQ(refusedBy("H5Screate", {}), 0U);
  EXPECT_EQ(refusedBy("H5Sclose", {kNoIdentifier}), 0U);
}

}  // namespace
