// Dimension scales: making, attaching, labels, names, iteration.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "tests/unit/complaints.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/walking.hpp"

namespace {

using namespace h5test;

/// A dataset of 3 by 4 with scales for its first dimension: "x", "y" and one that has
/// no name.
class DimensionScales : public testing::Test {
 protected:
  DimensionScales()
      : data_(dataset("data", {3, 4})),
        x_(dataset("x", {3})),
        y_(dataset("y", {3})),
        nameless_(dataset("nameless", {3})) {}

  Owned dataset(const char* name, std::initializer_list<double> dims) {
    return makeDataset(file_, name, "H5T_NATIVE_INT", makeSpace(dims));
  }
  void attachAll() {
    call("H5DSset_scale", x_, "x");
    call("H5DSset_scale", y_, "y");
    call("H5DSset_scale", nameless_, empty());
    for (const Owned* scale : {&x_, &y_, &nameless_}) call("H5DSattach_scale", data_, *scale, 0);
  }

  MemoryFile file_;
  Owned data_;
  Owned x_;
  Owned y_;
  Owned nameless_;
};

/// The error says which function failed, and its stack why.
template <class... Inputs>
void expectFails(const std::string& name, Inputs&&... inputs) {
  const Failure error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  expectCarriedStack(error);
  if (!error) return;
  EXPECT_EQ((*error)->key, "libraryFailureH5DS");
  EXPECT_EQ((*error)->parameters, Parameters{name});
  EXPECT_EQ((*error)->libraryReason.find("no reason"), std::string::npos)
      << name << ": " << (*error)->libraryReason;
}

TEST_F(DimensionScales, NameTheInputThatIsWrong) {
  const Input dataset = identifierInput(data_, "dataset identifier");
  const Input scale = identifierInput(x_, "dimension scale identifier");
  const Input dimension = scalarInput();
  const Input any = anyInput();
  Input name = textInput("dimension name");
  Input nameOrNone = {"x",
                      {{1, "notString", {std::string("dimension name")}},
                       {cell({text("x")}), "notString", {std::string("dimension name")}}}};
  expectComplaints("H5DSset_scale", {scale, nameOrNone});
  expectComplaints("H5DSis_scale", {dataset});
  expectComplaints("H5DSattach_scale", {dataset, scale, dimension});
  expectComplaints("H5DSdetach_scale", {dataset, scale, dimension});
  expectComplaints("H5DSset_label", {dataset, dimension, name});
  expectComplaints("H5DSget_label", {dataset, dimension});
  expectComplaints("H5DSget_scale_name", {dataset});
  expectComplaints("H5DSget_num_scales", {dataset, dimension});
  expectComplaints("H5DSiterate_scales", {dataset, dimension, intInput(), any, any});
}

TEST_F(DimensionScales, NameTheFunctionThatFails) {
  expectFails("H5DSset_scale", kNoIdentifier, "x");
  expectFails("H5DSset_scale", kNoIdentifier, empty());
  expectFails("H5DSis_scale", kNoIdentifier);
  expectFails("H5DSis_scale", file_);
  expectFails("H5DSattach_scale", data_, kNoIdentifier, 0);
  expectFails("H5DSattach_scale", data_, data_, 0);
  expectFails("H5DSdetach_scale", data_, x_, 0);
  expectFails("H5DSset_label", kNoIdentifier, 0, "rows");
  expectFails("H5DSset_label", data_, 2, "rows");
  expectFails("H5DSget_label", kNoIdentifier, 0);
  expectFails("H5DSget_label", data_, 2);
  expectFails("H5DSget_scale_name", data_);
  expectFails("H5DSget_num_scales", kNoIdentifier, 0);
  expectFails("H5DSget_num_scales", data_, 2);
}

TEST_F(DimensionScales, AreScalesOnceTheyAreSet) {
  EXPECT_EQ(callNumber("H5DSis_scale", x_), 0);
  EXPECT_TRUE(call("H5DSset_scale", x_, "longitude").empty());
  EXPECT_EQ(callNumber("H5DSis_scale", x_), 1);
  EXPECT_EQ(callText("H5DSget_scale_name", x_), "longitude");
  EXPECT_EQ(callNumber("H5DSis_scale", y_), 0);
}

TEST_F(DimensionScales, NeedNoName) {
  for (const Value& none : {empty(), text(""), cell({})}) {
    call("H5DSset_scale", x_, none);
    EXPECT_EQ(callNumber("H5DSis_scale", x_), 1);
    EXPECT_EQ(callText("H5DSget_scale_name", x_), "");
  }
}

TEST_F(DimensionScales, MayHaveLongNames) {
  const std::string name(5000, 'n');
  call("H5DSset_scale", x_, name);
  EXPECT_EQ(callText("H5DSget_scale_name", x_), name);
  const std::string label =
      "gr\xC3\xB6\xC3\x9F"
      "e" +
      std::string(5000, 'l');
  call("H5DSset_label", data_, 1, label);
  EXPECT_EQ(callText("H5DSget_label", data_, 1), label);
}

TEST_F(DimensionScales, CountFromTheSlowestDimension) {
  attachAll();
  EXPECT_EQ(callNumber("H5DSget_num_scales", data_, 0), 3);
  EXPECT_EQ(callNumber("H5DSget_num_scales", data_, 1), 0);
  EXPECT_EQ(H5DSis_attached(data_.get(), x_.get(), 0), 1);
  EXPECT_EQ(H5DSis_attached(data_.get(), x_.get(), 1), 0);
  EXPECT_TRUE(call("H5DSdetach_scale", data_, x_, 0).empty());
  EXPECT_EQ(callNumber("H5DSget_num_scales", data_, 0), 2);
  EXPECT_EQ(H5DSis_attached(data_.get(), x_.get(), 0), 0);
  expectFails("H5DSdetach_scale", data_, x_, 0);
  expectFails("H5DSattach_scale", data_, x_, 2);
}

TEST_F(DimensionScales, LabelDimensions) {
  EXPECT_EQ(callText("H5DSget_label", data_, 0), "");
  EXPECT_TRUE(call("H5DSset_label", data_, 0, "time").empty());
  EXPECT_EQ(callText("H5DSget_label", data_, 0), "time");
  EXPECT_EQ(callText("H5DSget_label", data_, 1), "");
  call("H5DSset_label", data_, 0, "seconds");
  EXPECT_EQ(callText("H5DSget_label", data_, 0), "seconds");
}

TEST_F(DimensionScales, OfAScalarHaveNoDimension) {
  const Owned scalar = makeDataset(file_, "scalar");
  call("H5DSset_scale", x_, "x");
  for (const double dimension : {0.0, 1.0, 4294967295.0}) {
    expectFails("H5DSset_label", scalar, dimension, "none");
    expectFails("H5DSget_label", scalar, dimension);
    expectFails("H5DSget_num_scales", scalar, dimension);
    // HDF5 lets a scale be attached to the one element.
    if (dimension > 0) expectFails("H5DSattach_scale", scalar, x_, dimension);
  }
}

// --- Iteration -----------------------------------------------------------------------

/// Notes the name of each scale and hands on how many there were.
Value noteScales(Names& names, double status = 0) {
  return function([&names, status](int outputs, std::span<zbArray* const> inputs) {
    EXPECT_EQ(outputs, 2);
    EXPECT_EQ(inputs.size(), 4U);
    names.push_back(callText("H5DSget_scale_name", borrowed(inputs[2])));
    return Results{number(status), number(static_cast<double>(names.size()))};
  });
}

TEST_F(DimensionScales, AreIteratedInTheOrderOfTheirAttachment) {
  attachAll();
  Names names;
  const Results results = call("H5DSiterate_scales", data_, 0, empty(), noteScales(names), "none");
  EXPECT_EQ(names, Names({"x", "y", ""}));
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(numberOf(results[0]), 0);
  EXPECT_EQ(numberOf(results[1]), 3);
  EXPECT_EQ(numberOf(results[2]), 3);
}

TEST_F(DimensionScales, AreHandedOverAsNumbers) {
  attachAll();
  const Value data = cell({text("carried along")});
  const Value check = function([&](int, std::span<zbArray* const> inputs) {
    for (int i = 0; i < 3; ++i) {
      const Value input = borrowed(inputs[static_cast<std::size_t>(i)]);
      EXPECT_EQ(classOf(input), zbClass::Double);
      EXPECT_EQ(shapeOf(input), Shape({1, 1}));
    }
    EXPECT_EQ(H5Iget_type(hdf5Id(zbGetScalar(inputs[0]))), H5I_DATASET);
    EXPECT_EQ(zbGetScalar(inputs[1]), 0);
    EXPECT_EQ(callNumber("H5DSis_scale", borrowed(inputs[2])), 1);
    EXPECT_EQ(inputs[3], data.get());
    return Results{number(0), borrowed(inputs[3])};
  });
  const Results results = call("H5DSiterate_scales", data_, 0, 0, check, data);
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(results[2].get(), data.get());
}

TEST_F(DimensionScales, GiveAsManyOutputsAsAskedFor) {
  attachAll();
  for (int asked = 0; asked <= 3; ++asked) {
    Names names;
    const Results results =
        callWith(asked, "H5DSiterate_scales", {data_, 0, 1, noteScales(names), empty()});
    ASSERT_EQ(results.size(), static_cast<std::size_t>(std::max(asked, 1)));
    EXPECT_EQ(names, Names({"y", ""}));
    EXPECT_EQ(numberOf(results[0]), 0);
    if (asked > 1) {
      EXPECT_EQ(numberOf(results[1]), 3);
    }
  }
}

TEST_F(DimensionScales, StopWhenTheFunctionSaysSo) {
  attachAll();
  Names names;
  Results results = call("H5DSiterate_scales", data_, 0, 0, noteScales(names, 2.7), empty());
  EXPECT_EQ(numberOf(results[0]), 2);
  EXPECT_EQ(numberOf(results[1]), 1);
  EXPECT_EQ(numberOf(results[2]), 1);
  results = call("H5DSiterate_scales", data_, 0, results[1], noteScales(names, 1), empty());
  EXPECT_EQ(numberOf(results[1]), 2);
  EXPECT_EQ(names, Names({"x", "y"}));
  results = call("H5DSiterate_scales", data_, 0, 1.9, noteScales(names, 0.3), empty());
  EXPECT_EQ(numberOf(results[0]), 0);
  EXPECT_EQ(numberOf(results[1]), 3);
}

TEST_F(DimensionScales, ReportTheFunctionThatFailed) {
  attachAll();
  int calls = 0;
  const Value thrower = throwAtCall(2, "the second one is too much", &calls);
  expectRaises("iterateScalesFailure", {std::string("the second one is too much")},
               "H5DSiterate_scales", data_, 0, 0, thrower, empty());
  EXPECT_EQ(calls, 2);
}

TEST_F(DimensionScales, ReportThatNoFunctionRan) {
  attachAll();
  const Parameters none = {kNoneRan};
  const char* key = "iterateScalesFailure";
  const Value never = neverCalled();
  expectRaises(key, none, "H5DSiterate_scales", kNoIdentifier, 0, 0, never, empty());
  expectRaises(key, none, "H5DSiterate_scales", data_, 2, 0, never, empty());
  expectRaises(key, none, "H5DSiterate_scales", data_, 0, 3, never, empty());
  for (const double before : {-1.0, -100000000.0, -2147483648.0}) {
    expectRaises(key, none, "H5DSiterate_scales", data_, 0, before, never, empty());
  }
  // A status that fails is no report.
  Names names;
  expectRaises(key, none, "H5DSiterate_scales", data_, 0, 0, noteScales(names, -1), empty());
  EXPECT_EQ(names.size(), 1U);
}

TEST_F(DimensionScales, MayBeDetachedWhileTheyAreIterated) {
  attachAll();
  const Value detach = function([&](int, std::span<zbArray* const> inputs) {
    call("H5DSdetach_scale", borrowed(inputs[0]), borrowed(inputs[2]), 0);
    return Results{number(0), empty()};
  });
  EXPECT_EQ(numberOf(call("H5DSiterate_scales", data_, 0, 0, detach, empty())[1]), 3);
  EXPECT_EQ(callNumber("H5DSget_num_scales", data_, 0), 0);
}

}  // namespace
