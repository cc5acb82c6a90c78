// A program that embeds the reference host: it has no arrays of its own, so it uses
// Zembra's, and the C++ functions that it passes along are called back by HDF5.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"

namespace {

using zembra::makeDouble;
using zembra::makeText;
using zembra::Value;

/// The results of a function of the gateway, as many as it stores.
std::vector<Value> call(const char* name, std::initializer_list<Value> arguments) {
  const Value function = makeText(name);
  std::vector<const zbArray*> ins = {function.get()};
  for (const Value& argument : arguments) ins.push_back(argument.get());
  return zembra::callExtension(zembra::loadGateway(), 5, ins);
}

/// What H5Literate calls for each link: gives a status, and hands user data on.
class OnEachLink : public zembra::Callable {
 public:
  explicit OnEachLink(std::function<void(const std::string&)> visit) : visit_(std::move(visit)) {}

  std::vector<Value> call(int /*outputs*/, std::span<zbArray* const> inputs) override {
    const zbArray* name = inputs[1];
    visit_({static_cast<const char*>(zbGetData(name)), zbGetNumberOfElements(name)});
    return {makeDouble(0), zembra::share(inputs[2])};
  }

 private:
  std::function<void(const std::string&)> visit_;
};

void printGroup(const Value& file) {
  const auto visit = [](const std::string& name) { std::printf("link %s\n", name.c_str()); };
  call("H5Literate",
       {file, makeText("H5_INDEX_NAME"), makeText("H5_ITER_INC"), makeDouble(0),
        zembra::makeFunction(std::make_shared<OnEachLink>(visit)), zembra::makeEmpty()});
}

void writeDataset(const Value& file, const char* name, const std::vector<double>& values) {
  const Value usual = makeText("H5P_DEFAULT"), all = makeText("H5S_ALL");
  const Value extent = makeDouble(static_cast<double>(values.size()));
  const Value space = call("H5Screate_simple", {makeDouble(1), extent, extent}).at(0);
  const Value dataset =
      call("H5Dcreate", {file, makeText(name), makeText("H5T_IEEE_F64LE"), space, usual}).at(0);
  call("H5Dwrite", {dataset, makeText("H5ZB_DEFAULT"), all, all, usual, zembra::makeRow(values)});
  call("H5Dclose", {dataset});
  call("H5Sclose", {space});
}

}  // namespace

int main(int count, char** arguments) try {
  const Value path = makeText(count > 1 ? arguments[1] : "embedded_host.h5");
  const Value usual = makeText("H5P_DEFAULT");
  const Value file = call("H5Fcreate", {path, makeText("H5F_ACC_TRUNC"), usual, usual}).at(0);
  writeDataset(file, "height", {440, 447});
  writeDataset(file, "speed", {1.5, 2.5, 3.5});
  printGroup(file);
  try {
    call("H5Dopen", {file, makeText("depth")});
  } catch (const zembra::HostError& error) {
    std::printf("%s: %s\n", error->key.c_str(), error->stack.front().description.c_str());
  }
  call("H5Fclose", {file});
} catch (const std::exception& error) {
  std::fprintf(stderr, "embedded_host: %s\n", error.what());
  return EXIT_FAILURE;
}
