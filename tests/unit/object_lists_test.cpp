// Access and creation lists that are no lists: later releases look into whatever
// object the identifier names, so only lists may reach them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"

namespace {

using namespace h5test;

/// "LIST" in the arguments is where the list goes.
struct ListArgument {
  const char* function;
  std::vector<const char*> arguments;
};

class ObjectLists : public testing::TestWithParam<ListArgument> {
 protected:
  MemoryFile file_;
};

TEST_P(ObjectLists, OfAnythingElseAreRefusedByHdf5) {
  const Owned group = makeGroup(file_, "group");
  const Owned space = scalarSpace();
  const Owned dataset = makeDataset(file_, "data", "H5T_STD_I8LE", space);
  const Owned type = make("H5Tcopy", "H5T_STD_I8LE");
  const double listClass = callNumber("H5ZBget_constant_value", "H5P_LINK_ACCESS");
  const std::vector<Argument> strangers = {file_, group, space, dataset, type, listClass, 12345};
  for (const Argument& stranger : strangers) {
    Arguments arguments;
    for (const std::string argument : GetParam().arguments) {
      if (argument == "FILE") {
        arguments.emplace_back(file_);
      } else if (argument == "SPACE") {
        arguments.emplace_back(space);
      } else if (argument == "TYPE") {
        arguments.emplace_back(type);
      } else if (argument == "LIST") {
        arguments.push_back(stranger);
      } else {
        arguments.emplace_back(argument);
      }
    }
    const auto error = failureOf(GetParam().function, arguments);
    ASSERT_TRUE(error);
    EXPECT_TRUE((*error)->libraryFailure) << error->what();
  }
}

INSTANTIATE_TEST_SUITE_P(
    EachFunction, ObjectLists,
    testing::Values(
        ListArgument{"H5Aopen_by_name", {"FILE", "data", "attribute", kDefault, "LIST"}},
        ListArgument{"H5Acreate", {"FILE", "attribute", "TYPE", "SPACE", "LIST", kDefault}},
        ListArgument{"H5Dopen", {"FILE", "data", "LIST"}},
        ListArgument{"H5Dcreate", {"FILE", "new", "TYPE", "SPACE", kDefault, kDefault, "LIST"}},
        ListArgument{"H5Dcreate", {"FILE", "new", "TYPE", "SPACE", "LIST", kDefault, kDefault}},
        ListArgument{"H5Gopen", {"FILE", "group", "LIST"}},
        ListArgument{"H5Gcreate", {"FILE", "new", kDefault, kDefault, "LIST"}},
        ListArgument{"H5Lexists", {"FILE", "group", "LIST"}},
        ListArgument{"H5Lget_info", {"FILE", "group", "LIST"}},
        ListArgument{"H5Oopen", {"FILE", "group", "LIST"}},
        ListArgument{"H5Oget_comment_by_name", {"FILE", "group", "LIST"}},
        ListArgument{"H5Ocopy", {"FILE", "group", "FILE", "copy", "LIST", kDefault}},
        ListArgument{"H5Topen", {"FILE", "type", "LIST"}},
        ListArgument{"H5Tcommit", {"FILE", "type", "TYPE", kDefault, kDefault, "LIST"}},
        ListArgument{"H5Fopen", {"no-such-file.h5", "H5F_ACC_RDONLY", "LIST"}}),
    [](const auto& instance) { return instance.param.function + std::to_string(instance.index); });

}  // namespace
