// Attributes that have the names of those of dimension scales and are something else.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hdf5/compat.hpp"
#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

TEST(ScalesOfBareHdf5, ThatAreStrangeKill) {
  EXPECT_TRUE(kills([] {
    const MemoryFile file;
    const Owned dataset = makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4}));
    const Owned list =
        make("H5Acreate", dataset, "DIMENSION_LABELS", fixedText(3), makeSpace({100}), kDefault);
    H5DSset_label(dataset.get(), 0, "x");
    char label[100];
    H5DSget_label(dataset.get(), 0, label, sizeof label);
  }));
}

/// Gives the dataset a class that is as long as that of scales.
void setClass(const Owned& dataset, const std::string& text) {
  H5Adelete(dataset.get(), "CLASS");
  const Owned type = fixedText(16);
  const Owned attribute = make("H5Acreate", dataset, "CLASS", type, scalarSpace(), kDefault);
  H5Awrite(attribute.get(), type.get(), (text + std::string(16, '\0')).c_str());
}

TEST(ScalesOfBareHdf5, ThatAreOfAnotherClassKill) {
  const auto ask = [] {
    const MemoryFile file;
    const Owned dataset = makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4}));
    setClass(dataset, "IMAGE");
    H5DSis_scale(dataset.get());
  };
  EXPECT_EQ(kills(ask), hdf5::kSince110);
}

/// A dataset and a scale that anything can be written to.
class StrangeScales : public testing::Test {
 protected:
  struct Pair {
    Owned data;
    Owned scale;
  };
  Pair makePair() {
    const std::string name = std::to_string(++count_);
    Pair pair = {makeDataset(file_, "d" + name, "H5T_NATIVE_INT", makeSpace({4, 2})),
                 makeDataset(file_, "s" + name, "H5T_NATIVE_INT", makeSpace({4}))};
    call("H5DSset_scale", pair.scale, "scale");
    return pair;
  }
  /// In place of what is there.
  static void put(const Owned& dataset, const char* name, const Owned& type, const Owned& space) {
    H5Adelete(dataset.get(), name);
    make("H5Acreate", dataset, name, type, space, kDefault);
  }
  static std::vector<Owned> types() {
    std::vector<Owned> all;
    all.push_back(copyOf(H5T_NATIVE_INT));
    all.push_back(copyOf(H5T_STD_REF_OBJ));
    all.push_back(fixedText(16));
    all.push_back(fixedText(100));
    all.push_back(variableText());
    all.push_back(sequenceOf(H5T_NATIVE_INT));
    all.push_back(sequenceOf(H5T_STD_REF_OBJ));
    all.push_back(compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_DOUBLE}}));
    all.push_back(compoundOf({{"dataset", H5T_NATIVE_INT}, {"dimension", H5T_NATIVE_INT}}));
    all.push_back(compoundOf({{"dataset", H5T_STD_REF_OBJ}, {"dimension", variableText()}}));
    all.push_back(compoundOf({{"dataset", H5T_STD_REF_OBJ}, {"dimension", H5T_NATIVE_INT}}));
    return all;
  }
  static std::vector<Owned> spaces() {
    std::vector<Owned> all;
    all.push_back(scalarSpace());
    all.push_back(nullSpace());
    all.push_back(makeSpace({1}));
    all.push_back(makeSpace({2}));
    all.push_back(makeSpace({100}));
    all.push_back(makeSpace({2, 2}));
    return all;
  }

  MemoryFile file_;

 private:
  int count_ = 0;
};

/// Whatever a script can ask of a dataset and a scale; what it is told is not looked at.
void askEverything(const Owned& data, const Owned& scale) {
  const auto ask = [](const char* name, const Arguments& arguments) {
    raisedBy([&] { callWith(5, name, arguments); });
  };
  const Value f = function([](int, std::span<zbArray* const> /*inputs*/) {
    return Results{number(0), empty()};
  });
  for (const Owned* dataset : {&data, &scale}) {
    ask("H5DSis_scale", {*dataset});
    ask("H5DSget_scale_name", {*dataset});
    ask("H5DSget_num_scales", {*dataset, 0});
    ask("H5DSget_label", {*dataset, 0});
    ask("H5DSset_label", {*dataset, 0, "label"});
    ask("H5DSiterate_scales", {*dataset, 0, 0, f, empty()});
  }
  ask("H5DSattach_scale", {data, scale, 0});
  ask("H5DSiterate_scales", {data, 0, 0, f, empty()});
  ask("H5DSdetach_scale", {data, scale, 0});
  ask("H5DSset_scale", {data, "another"});
}

TEST_F(StrangeScales, DoNotEndTheProcess) {
  for (const char* name :
       {"CLASS", "NAME", "DIMENSION_LIST", "DIMENSION_LABELS", "REFERENCE_LIST"}) {
    // In a child, too, because the high-level library leaves identifiers open where it fails.
    EXPECT_FALSE(kills([&] {
      for (const Owned& type : types()) {
        for (const Owned& space : spaces()) {
          const Pair strangeData = makePair();
          put(strangeData.data, name, type, space);
          const Pair strangeScale = makePair();
          put(strangeScale.scale, name, type, space);
          askEverything(strangeData.data, strangeData.scale);
          askEverything(strangeScale.data, strangeScale.scale);
        }
      }
    })) << name;
  }
}

void expectFails(const std::string& name, const Arguments& arguments) {
  const Failure error = failureOf(name, arguments);
  ASSERT_TRUE(error);
  EXPECT_EQ((*error)->key, "libraryFailureH5DS") << name;
  const std::vector<StackRecord> records = errorStack();
  ASSERT_FALSE(records.empty()) << name;
  EXPECT_EQ(records.front().description,
            "an attribute has the name of one of dimension scales, and is none")
      << name;
}

TEST_F(StrangeScales, SayWhatIsWrong) {
  const Pair pair = makePair();
  put(pair.data, "DIMENSION_LABELS", fixedText(10), makeSpace({2}));
  expectFails("H5DSget_label", {pair.data, 0});
  expectFails("H5DSset_label", {pair.data, 0, "x"});
  put(pair.data, "DIMENSION_LIST", copyOf(H5T_NATIVE_INT), makeSpace({2}));
  expectFails("H5DSget_num_scales", {pair.data, 0});
  expectFails("H5DSattach_scale", {pair.data, pair.scale, 0});
  expectFails("H5DSdetach_scale", {pair.data, pair.scale, 0});
  H5Adelete(pair.data.get(), "DIMENSION_LIST");
  put(pair.scale, "NAME", variableText(), scalarSpace());
  expectFails("H5DSget_scale_name", {pair.scale});
  put(pair.scale, "REFERENCE_LIST", copyOf(H5T_NATIVE_INT), makeSpace({1}));
  expectFails("H5DSattach_scale", {pair.data, pair.scale, 0});
  put(pair.scale, "CLASS", fixedText(16), makeSpace({100}));
  EXPECT_EQ(callNumber("H5DSis_scale", pair.scale), 0);
}

TEST_F(StrangeScales, AreNotThoseOfOthersWhoWriteThemWell) {
  const Pair pair = makePair();
  call("H5DSattach_scale", pair.data, pair.scale, 1);
  call("H5DSset_label", pair.data, 1, "x");
  EXPECT_EQ(callNumber("H5DSget_num_scales", pair.data, 1), 1);
  EXPECT_EQ(callText("H5DSget_label", pair.data, 1), "x");
  EXPECT_EQ(callText("H5DSget_scale_name", pair.scale), "scale");
  call("H5DSdetach_scale", pair.data, pair.scale, 1);
  const Owned written = makeDataset(file_, "written", "H5T_NATIVE_INT", makeSpace({4}));
  setClass(written, "DIMENSION_SCALE");
  EXPECT_EQ(callNumber("H5DSis_scale", written), 1);
}

TEST_F(StrangeScales, AreNoneWhereTheirClassIsAnother) {
  for (const char* text : {"IMAGE", "DIMENSION_SCALES", "dimension_scale"}) {
    const Pair pair = makePair();
    setClass(pair.scale, text);
    EXPECT_EQ(callNumber("H5DSis_scale", pair.scale), 0) << text;
    if (hdf5::kSince110) expectFails("H5DSattach_scale", {pair.data, pair.scale, 0});
  }
}

}  // namespace
