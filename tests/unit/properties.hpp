// What tests of properties share: inputs that only property functions take, and
// setting and getting a property.
#pragma once

#include <string>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

/// A list or a class, which may be named.
inline Input classInput(const std::string& description) {
  return {"H5P_DEFAULT",
          {{"nonsense", "unmatchedString", {std::string("nonsense"), description}},
           {"h5p_default", "unmatchedString", {std::string("h5p_default"), description}},
           {"H5P_FILE_ACCESS_DEFAULT",
            "unmatchedString",
            {std::string("H5P_FILE_ACCESS_DEFAULT"), description}},
           {numeric(zbClass::Int32, {1}), "badPropertyListDatatype", {description, "int32"}},
           {cell({}), "badPropertyListDatatype", {description, "cell"}}}};
}
inline Input intInput() {
  return {0,
          {{2147483648.0, "scalarValueInputOutOfRange", {}},
           {-1e20, "scalarValueInputOutOfRange", {}},
           {"H5P_DEFAULT", "scalarValueInputOutOfRange", {}}}};
}
/// One of `count` enumerators.
inline Input enumInputOf(std::int64_t count) {
  return {0,
          {{static_cast<double>(count), "badEnumNumericInput", {count, count}},
           {-1, "badEnumNumericInput", {std::int64_t{-1}, count}},
           {"nonsense", "unmatchedStringNoParam", {std::string("nonsense")}},
           {row({0, 1}), "badEnumInputType", {}}}};
}

inline Owned makeList(const char* listClass) { return make("H5Pcreate", listClass); }

/// All results of a call as numbers, one after the other.
template <class... Inputs>
std::vector<double> callNumbers(std::string_view name, Inputs&&... inputs) {
  std::vector<double> numbers;
  for (const Value& value : call(name, std::forward<Inputs>(inputs)...)) {
    const std::vector<double> some = numbersOf(value);
    numbers.insert(numbers.end(), some.begin(), some.end());
  }
  return numbers;
}

/// What a list of a class is told, and what it then answers: never its first answer.
struct RoundTrip {
  std::string property;
  const char* listClass;
  Arguments set;
  std::vector<double> get;
};

inline void PrintTo(const RoundTrip& trip, std::ostream* out) { *out << trip.property; }

inline void expectRoundTrip(const RoundTrip& trip) {
  const Owned list = makeList(trip.listClass);
  EXPECT_NE(callNumbers("H5Pget_" + trip.property, list), trip.get) << "is no change";
  Arguments arguments = trip.set;
  arguments.insert(arguments.begin(), list);
  EXPECT_TRUE(callWith(5, "H5Pset_" + trip.property, arguments).empty());
  const Results results = call("H5Pget_" + trip.property, list);
  std::vector<double> numbers;
  for (const Value& value : results) {
    EXPECT_EQ(classOf(value), zbClass::Double);
    EXPECT_EQ(shapeOf(value), Shape({1, 1}));
    numbers.push_back(numberOf(value));
  }
  EXPECT_EQ(numbers, trip.get);
}

/// The names of a test suite over round trips: some properties stand in it twice.
inline std::string tripName(const testing::TestParamInfo<RoundTrip>& info) {
  return std::to_string(info.index) + "_" + info.param.property;
}

}  // namespace h5test
