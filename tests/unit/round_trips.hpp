// Properties that are set and got back: what a test suite of them is made of.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/unit/lists.hpp"

namespace h5test {

/// What a list of a class is told, and what it then answers: never its first answer.
struct RoundTrip {
  std::string property;
  const char* listClass;
  Arguments set;
  Numbers get;
};

inline void PrintTo(const RoundTrip& trip, std::ostream* out) { *out << trip.property; }

inline void expectRoundTrip(const RoundTrip& trip) {
  const Owned list = makeList(trip.listClass);
  EXPECT_NE(callNumbers("H5Pget_" + trip.property, list), trip.get) << "is no change";
  Arguments arguments = trip.set;
  arguments.insert(arguments.begin(), list);
  EXPECT_TRUE(callWith(5, "H5Pset_" + trip.property, arguments).empty());
  for (const Value& value : call("H5Pget_" + trip.property, list)) {
    EXPECT_EQ(classOf(value), zbClass::Double);
    EXPECT_EQ(shapeOf(value), Shape({1, 1}));
  }
  EXPECT_EQ(callNumbers("H5Pget_" + trip.property, list), trip.get);
}

/// The names of a test suite over round trips: some properties stand in it twice.
inline std::string tripName(const testing::TestParamInfo<RoundTrip>& info) {
  return std::to_string(info.index) + "_" + info.param.property;
}

}  // namespace h5test
