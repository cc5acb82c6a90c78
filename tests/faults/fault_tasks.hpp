// What scripts do, to be tried with every fault.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fuzz/gateway_calls.hpp"

namespace faults {

using fuzz::Value;
using fuzz::Values;

/// Something was done without an error, and is not so.
struct Wrong {
  std::string what;
};

/// A script's identifiers, which it closes whatever becomes of the rest.
class Script {
 public:
  /// The first result, and no result counts as an empty array.
  Value call(const std::string& function, const Values& arguments, int nOut = 1);
  /// The same of what the script closes in the end, with this function.
  Value open(const std::string& function, const Values& arguments, const char* close);
  void close(const Value& id);
  /// Whatever is still open; those that were opened last come first.
  void closeAll();

  // The file that is there before, with the numbers 1, 2 ... 12 in a chunked dataset.
  Value file;
  Value dataset;

 private:
  struct Opened {
    Value id;
    const char* close;
  };
  std::vector<Opened> opened_;
};

struct Task {
  const char* name;
  std::function<void(Script&)> prepare;  // in which nothing fails
  std::function<void(Script&)> act;
};
const std::vector<Task>& tasks();

/// Makes the file that all tasks begin with, and leaves it open.
void makeBase(Script& script);
/// Throws if the file, closed meanwhile, has not what it had.
void checkBase();
/// What any script does next.
void doNextTask();

}  // namespace faults
