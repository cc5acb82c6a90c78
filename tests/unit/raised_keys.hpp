// Keys that calls have raised, or issued as warnings, since the program began.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace h5test {

using Keys = std::set<std::string, std::less<>>;

inline Keys& raisedKeys() {
  static Keys keys;
  return keys;
}

inline void noteRaised(std::string_view key) { raisedKeys().emplace(key); }

}  // namespace h5test
