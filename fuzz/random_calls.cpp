// Calls of any function with anything: whatever a script passes, the process lives
// and no byte outside an array is touched. Meant for a build with the sanitizers.
//
//   random_calls [SEED [CALLS]]
//
// Runs in a folder of its own. Each call takes its arguments from a pool of
// numbers, texts and arrays of every class, of open identifiers, and of what earlier
// calls gave back. Prints the seed, so that a crash can be had again.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"

namespace {

using zembra::Value;

// Not called: these end the library that all other calls need, give HDF5 bytes that it
// takes for pointers, or close identifiers that are HDF5's own.
const std::set<std::string> kLeftOut = {"H5close", "H5Pset", "H5Idec_ref", "H5Iinc_ref"};

class Fuzzer {
 public:
  explicit Fuzzer(std::uint32_t seed) : random_(seed) {
    for (const Value& name : cellsOf(call("H5ZBget_function_names", {}, 1).at(0))) {
      if (!kLeftOut.contains(textOf(name))) functions_.push_back(textOf(name));
    }
    for (const Value& name : cellsOf(call("H5ZBget_constant_names", {}, 1).at(0))) {
      texts_.push_back(textOf(name));
    }
    for (const char* text :
         {"", "a", "/", "/group", "/data", "data", "attribute", "compound", "H5ZB_DEFAULT",
          "H5G_SAME_LOC", "H5L_SAME_LOC", "file.h5", "no/such", "%s-%s", "%05d.h5", "feval"}) {
      texts_.emplace_back(text);
    }
  }

  void run(int calls) {
    for (int i = 0; i < calls; ++i) {
      if (i % 2000 == 0) prepare();
      step();
    }
    std::printf("%d calls: %d gave results, %d were refused\n", calls, done_, refused_);
  }

 private:
  std::size_t below(std::size_t end) { return random_() % end; }
  template <class Items>
  auto& any(Items& items) {
    return items[below(items.size())];
  }

  static std::string textOf(const Value& value) {
    return {static_cast<const char*>(zbGetData(value.get())), zbGetNumberOfElements(value.get())};
  }
  static std::vector<Value> cellsOf(const Value& cell) {
    std::vector<Value> values;
    for (zbArray* item : cell.get()->composite->values) values.push_back(zembra::share(item));
    return values;
  }

  std::vector<Value> call(const std::string& name, const std::vector<Value>& arguments, int nOut) {
    const Value function = zembra::makeText(name);
    std::vector<const zbArray*> ins = {function.get()};
    for (const Value& argument : arguments) ins.push_back(argument.get());
    return zembra::callExtension(zembra::loadGateway(), nOut, ins);
  }

  /// A call that should work while the library is in order.
  Value make(const std::string& name, const std::vector<Value>& arguments) {
    try {
      std::vector<Value> results = call(name, arguments, 5);
      if (!results.empty()) keep(results[0]);
      return results.empty() ? zembra::makeEmpty() : results[0];
    } catch (const std::exception&) {
      return zembra::makeEmpty();
    }
  }

  void keep(const Value& value) {
    if (kept_.size() < 64) {
      kept_.push_back(value);
    } else {
      kept_[below(kept_.size())] = value;
    }
  }

  static Value number(double value) { return zembra::makeDouble(value); }
  static Value text(const std::string& words) { return zembra::makeText(words); }
  static Value row(std::vector<double> values) { return zembra::makeRow(values); }

  /// A file with something of everything in it.
  void prepare() {
    const Value all = text("H5P_DEFAULT");
    const Value file = make("H5Fcreate", {text("file.h5"), text("H5F_ACC_TRUNC"), all, all});
    const Value group = make("H5Gcreate", {file, text("group"), number(0)});
    const Value space = make("H5Screate_simple", {number(2), row({3, 4}), row({-1, 4})});
    const Value list = make("H5Pcreate", {text("H5P_DATASET_CREATE")});
    make("H5Pset_chunk", {list, row({2, 2})});
    make("H5Dcreate", {file, text("data"), text("H5T_IEEE_F64LE"), space, list});
    const Value words = make("H5Tcopy", {text("H5T_C_S1")});
    make("H5Tset_size", {words, text("H5T_VARIABLE")});
    const Value record = make("H5Tcreate", {text("H5T_COMPOUND"), number(32)});
    make("H5Tinsert", {record, text("x"), number(0), text("H5T_NATIVE_DOUBLE")});
    make("H5Tinsert", {record, text("s"), number(8), words});
    make("H5Dcreate", {group, text("compound"), record, space, all});
    make("H5Acreate", {group, text("attribute"), text("H5T_STD_I32BE"), space, all});
    make("H5Tenum_create", {text("H5T_NATIVE_SHORT")});
    for (const char* name : {"H5P_FILE_ACCESS", "H5P_DATASET_XFER", "H5P_LINK_CREATE"}) {
      make("H5Pcreate", {text(name)});
    }
  }

  Value anyNumber() {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    static const std::vector<double> kNumbers = {
        0,     1,  2,  3,   4,    5,   7,    8,    10,         12,     32,     33,   64,       1000,
        65536, -1, -2, 0.5, -0.5, 2.7, 1e10, 1e20, 0x1p32 - 1, 0x1p52, 0x1p63, kNaN, kInfinity};
    return number(any(kNumbers));
  }

  Value anyRow() {
    std::vector<double> values(below(5));
    for (double& value : values) value = zbGetScalar(anyNumber().get());
    return row(std::move(values));
  }

  Value anyNumeric() {
    const auto type =
        static_cast<zbClass>(static_cast<int>(zbClass::Logical) +
                             static_cast<int>(below(static_cast<int>(zbClass::UInt64) -
                                                    static_cast<int>(zbClass::Logical) + 1)));
    const std::vector<std::size_t> shape = {below(5), below(5)};
    std::vector<std::uint64_t> data(25);
    for (std::uint64_t& word : data) word = random_() % 3;
    return zembra::makeNumeric(type, shape, data.data());
  }

  class Callback : public zembra::Callable {
   public:
    explicit Callback(Fuzzer& fuzzer) : fuzzer_(fuzzer) {}
    std::vector<Value> call(int outputs, std::span<zbArray* const> inputs) override {
      if (fuzzer_.depth_ < 3 && fuzzer_.below(4) == 0) fuzzer_.step();
      if (fuzzer_.below(8) == 0) throw std::runtime_error("the callback fails");
      std::vector<Value> results;
      if (fuzzer_.below(8) != 0) results.push_back(number(fuzzer_.below(6) == 0 ? 1 : 0));
      if (outputs > 1 && !results.empty() && fuzzer_.below(4) != 0) {
        results.push_back(fuzzer_.below(2) == 0 ? zembra::share(inputs.back()) : fuzzer_.anyRow());
      }
      return results;
    }

   private:
    Fuzzer& fuzzer_;
  };

  Value anything() {
    switch (below(12)) {
      case 0: return anyNumber();
      case 1: return anyRow();
      case 2: return anyNumeric();
      case 3: return zembra::makeEmpty();
      case 4:
      case 5: return text(any(texts_));
      case 6: return zembra::makeFunction(std::make_shared<Callback>(*this));
      case 7: {
        std::vector<Value> items(below(4));
        for (Value& item : items) item = below(2) == 0 ? text(any(texts_)) : anyRow();
        const std::size_t count = items.size();
        return zembra::makeCell({1, count}, std::move(items));
      }
      case 8: return zembra::makeStruct({{"x", anyRow()}, {"s", text(any(texts_))}});
      default: return kept_.empty() ? anyNumber() : any(kept_);
    }
  }

  /// New arguments, or those of a call that got further than the others with one of
  /// them replaced.
  std::vector<Value> argumentsFor(const std::string& name) {
    const auto& known = good_[name];
    if (!known.empty() && below(4) != 0) {
      std::vector<Value> arguments = any(known);
      if (!arguments.empty() && below(8) != 0) any(arguments) = anything();
      if (!arguments.empty() && !kept_.empty() && below(2) == 0) arguments[0] = any(kept_);
      return arguments;
    }
    std::vector<Value> arguments(below(9));
    for (Value& argument : arguments) argument = anything();
    return arguments;
  }

  void remember(const std::string& name, std::vector<Value> arguments) {
    auto& known = good_[name];
    if (known.size() < 16) {
      known.push_back(std::move(arguments));
    } else {
      any(known) = std::move(arguments);
    }
  }

  void step() {
    ++depth_;
    const std::string name = any(functions_);
    std::vector<Value> arguments = argumentsFor(name);
    try {
      for (const Value& result : call(name, arguments, static_cast<int>(below(6)))) keep(result);
      remember(name, std::move(arguments));
      ++done_;
    } catch (const zembra::HostError& error) {
      const bool reached = error->libraryFailure || good_[name].empty();
      if (error->key != "wrongNumberOfInputs" && reached) remember(name, std::move(arguments));
      ++refused_;
    } catch (const std::bad_alloc&) {
      ++refused_;
    }
    --depth_;
  }

  std::mt19937 random_;
  std::vector<std::string> functions_;
  std::vector<std::string> texts_;
  std::vector<Value> kept_;
  std::map<std::string, std::vector<std::vector<Value>>> good_;
  int depth_ = 0;
  int done_ = 0;
  int refused_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const auto seed = argc > 1 ? static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10))
                             : std::random_device()();
  const int calls = argc > 2 ? std::atoi(argv[2]) : 100000;
  std::printf("seed %u\n", seed);
  std::fflush(stdout);
  const auto folder =
      std::filesystem::temp_directory_path() / ("h5gate-fuzz-" + std::to_string(seed));
  std::filesystem::create_directories(folder);
  std::filesystem::current_path(folder);
  zembra::setWarningHandler([](const zembra::Warning&) {});
  Fuzzer(seed).run(calls);
  std::filesystem::current_path("/");
  std::filesystem::remove_all(folder);
}
