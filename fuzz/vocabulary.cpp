#include "fuzz/vocabulary.hpp"

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

#include "fuzz/gateway_calls.hpp"
#include "runtime/call.hpp"
#include "runtime/host_error.hpp"

extern const char* const kEnumeratorsText;  // tests/releases/enumerators.txt

namespace fuzz {
namespace {

/// "H5S_{ALL NONE}_X" stands for H5S_ALL_X and H5S_NONE_X.
Words spelled(const std::string& pattern) {
  const std::size_t begin = pattern.find('{');
  const std::size_t end = pattern.find('}');
  std::istringstream middles(pattern.substr(begin + 1, end - begin - 1));
  Words words;
  for (std::string middle; middles >> middle;) {
    words.push_back(pattern.substr(0, begin) + middle + pattern.substr(end + 1));
  }
  return words;
}

std::map<std::string, Words> readEnumerators() {
  std::map<std::string, Words> enumerators;
  std::istringstream lines(kEnumeratorsText);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(": ");
    if (line.starts_with('#') || colon == std::string::npos) continue;
    enumerators[line.substr(0, colon)] = spelled(line.substr(colon + 2));
  }
  return enumerators;
}

class Collect : public zembra::Callable {
 public:
  explicit Collect(Words& names) : names_(names) {}
  Values call(int /*outputs*/, std::span<zbArray* const> inputs) override {
    names_.push_back(textOf(zembra::share(inputs[1])));
    return {zembra::makeDouble(0)};
  }

 private:
  Words& names_;
};

Vocabulary collect() {
  Vocabulary words;
  for (const Value& name : cellsOf(call("H5ZBget_constant_names", {}).at(0))) {
    words.constants.push_back(textOf(name));
  }
  for (const std::string& name : words.constants) {
    // A name stands for a datatype or a class if it can be copied or made a list of.
    try {
      if (name.starts_with("H5T_")) {
        call("H5Tclose", call("H5Tcopy", {zembra::makeText(name)}), 0);
        words.datatypes.push_back(name);
      } else if (name.starts_with("H5P_")) {
        const Value list = call("H5Pcreate", {zembra::makeText(name)}).at(0);
        words.listClasses.push_back(name);
        const Value collector = zembra::makeFunction(std::make_shared<Collect>(words.properties));
        call("H5Piterate", {list, zembra::makeDouble(0), collector}, 2);
        call("H5Pclose", {list}, 0);
      }
    } catch (const zembra::HostError&) {
    }
  }
  std::ranges::sort(words.properties);
  words.properties.erase(std::unique(words.properties.begin(), words.properties.end()),
                         words.properties.end());
  return words;
}

}  // namespace

const Vocabulary& vocabulary() {
  static const Vocabulary words = collect();
  return words;
}

const Words& enumeratorsOf(const std::string& function, std::string_view name) {
  static const std::map<std::string, Words> enumerators = readEnumerators();
  static const Words none;
  const std::string interface =
      function.substr(0, function.find_first_of("abcdefghijklmnopqrstuvwxyz"));
  const std::string argument(name);
  for (const std::string& key : {function + " " + argument, interface + " " + argument, argument}) {
    if (const auto found = enumerators.find(key); found != enumerators.end()) return found->second;
  }
  return none;
}

}  // namespace fuzz
