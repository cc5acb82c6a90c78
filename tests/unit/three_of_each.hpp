// A file in which there is something to iterate over, of every kind.
#pragma once

#include <string>

#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"

namespace h5test {

/// A file with three of everything: groups in "g", attributes of "g", scales of the
/// dataset "d"; and a property list, which has more.
class ThreeOfEach {
 public:
  ThreeOfEach() {
    const Owned space = makeSpace({2});
    for (const char* name : {"a", "b", "c"}) {
      makeGroup(group, name);
      make("H5Acreate", group, name, "H5T_STD_I32LE", space, kDefault);
      const Owned scale = makeDataset(file, name, "H5T_STD_I32LE", space);
      call("H5DSset_scale", scale, name);
      call("H5DSattach_scale", dataset, scale, 0);
    }
  }

  std::string path = temporaryPath();
  Owned file = createFile(path);
  Owned group = makeGroup(file, "g");
  Owned empty = makeGroup(file, "empty");
  Owned dataset = makeDataset(file, "d", "H5T_STD_I32LE", makeSpace({2}));
  Owned list = makeList("H5P_DATASET_CREATE");
};

}  // namespace h5test
