// Objects and links that tests make in files. An object whose identifier nobody keeps
// is closed at once.
#pragma once

#include <string>

#include "tests/unit/defaults.hpp"
#include "tests/unit/spaces.hpp"

namespace h5test {

inline Owned makeGroup(const Argument& location, const std::string& name) {
  return make("H5Gcreate", location, name, kDefault, kDefault, kDefault);
}
inline Owned makeDataset(const Argument& location, const std::string& name,
                         const Argument& type = "H5T_NATIVE_INT",
                         const Argument& space = scalarSpace(), const Argument& list = kDefault) {
  return make("H5Dcreate", location, name, type, space, list);
}
inline void makeSoftLink(const Argument& location, const std::string& target,
                         const std::string& name) {
  call("H5Lcreate_soft", target, location, name, kDefault, kDefault);
}

}  // namespace h5test
