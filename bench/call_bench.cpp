// What calls cost where Python is not in the way: the bare C functions, and the same work
// through the gateway's one symbol. Nanoseconds are measured here, for bench/benchmark.py:
//
//   call_bench FILE SUBJECT bare|gateway    reads numbers from its input, does the work so
//                                           many times, and writes the seconds that it took
//
// FILE is what bench/rows_calls.py or rows_walks.py make.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>
#include <vector>

#include "convert/identifiers.hpp"
#include "hdf5/compat.hpp"
#include "hdf5/handle.hpp"
#include "runtime/array.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"

namespace {

using File = hdf5::Handle<H5Fclose>;
using Dataset = hdf5::Handle<H5Dclose>;
using Attribute = hdf5::Handle<H5Aclose>;

constexpr const char* kDataset = "x";
constexpr const char* kNumber = "number";  // its attribute
constexpr const char* kLinks = "links";

template <class Work>
double seconds(long times, Work work) {
  const auto start = std::chrono::steady_clock::now();
  for (long i = 0; i < times; ++i) work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Of a bare call; one through the gateway raises what ends the process.
void require(herr_t status) {
  if (status < 0) std::exit(EXIT_FAILURE);  // HDF5 has said why
}

zembra::Value identifier(hid_t id) { return zembra::makeDouble(h5gate::identifierToHost(id)); }

/// A gateway call with its arguments made beforehand.
class PreparedCall {
 public:
  PreparedCall(const char* name, std::vector<zembra::Value> arguments)
      : arguments_(std::move(arguments)) {
    arguments_.insert(arguments_.begin(), zembra::makeText(name));
    for (const zembra::Value& argument : arguments_) ins_.push_back(argument.get());
  }

  /// Its first result, null when it has none.
  zbArray* operator()() {
    std::array<zbArray*, zembra::kResultSlots> outs{};
    function_(1, outs.data(), static_cast<int>(ins_.size()), ins_.data());
    return outs[0];
  }

  /// The same with another first argument.
  zbArray* operator()(const zbArray* first) {
    ins_[1] = first;
    return (*this)();
  }

 private:
  zbExtensionFunction* function_ = zembra::loadGateway();
  std::vector<zembra::Value> arguments_;
  std::vector<const zbArray*> ins_;
};

zembra::Value text(const char* words) { return zembra::makeText(words); }

// --- The number of elements of a dataspace -------------------------------------

double bareExtent(hid_t, long times) {
  const hsize_t dims[] = {3, 4};
  const hdf5::Space space(H5Screate_simple(2, dims, nullptr));
  return seconds(times, [&] { H5Sget_simple_extent_npoints(space.get()); });
}

double gatewayExtent(hid_t, long times) {
  const hsize_t dims[] = {3, 4};
  const hdf5::Space space(H5Screate_simple(2, dims, nullptr));
  PreparedCall query("H5Sget_simple_extent_npoints", {identifier(space.get())});
  return seconds(times, [&] { zbDestroyArray(query()); });
}

// --- Making a dataspace and closing it ------------------------------------------

double bareSpace(hid_t, long times) {
  return seconds(times, [] { H5Sclose(H5Screate(H5S_SIMPLE)); });
}

double gatewaySpace(hid_t, long times) {
  PreparedCall create("H5Screate", {text("H5S_SIMPLE")});
  PreparedCall close("H5Sclose", {zembra::makeEmpty()});
  return seconds(times, [&] {
    zbArray* space = create();
    close(space);
    zbDestroyArray(space);
  });
}

// --- Opening a dataset and closing it, and reading it in between ---------------------

double bareOpen(hid_t file, long times) {
  return seconds(times, [&] { H5Dclose(H5Dopen1(file, kDataset)); });
}

double gatewayOpen(hid_t file, long times) {
  PreparedCall open("H5Dopen", {identifier(file), text(kDataset)});
  PreparedCall close("H5Dclose", {zembra::makeEmpty()});
  return seconds(times, [&] {
    zbArray* dataset = open();
    close(dataset);
    zbDestroyArray(dataset);
  });
}

/// Into memory of its own each time.
void readAll(hid_t dataset, std::size_t elements) {
  const auto values = std::make_unique_for_overwrite<double[]>(elements);
  require(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.get()));
}

std::size_t elementsOf(hid_t dataset) {
  const hdf5::Space space(H5Dget_space(dataset));
  return static_cast<std::size_t>(H5Sget_simple_extent_npoints(space.get()));
}

double bareSmall(hid_t file, long times) {
  return seconds(times, [&] {
    const Dataset dataset(H5Dopen1(file, kDataset));
    readAll(dataset.get(), elementsOf(dataset.get()));
  });
}

double gatewaySmall(hid_t file, long times) {
  PreparedCall open("H5Dopen", {identifier(file), text(kDataset)});
  PreparedCall read("H5Dread", {zembra::makeEmpty(), text("H5ZB_DEFAULT"), text("H5S_ALL"),
                                text("H5S_ALL"), text("H5P_DEFAULT")});
  PreparedCall close("H5Dclose", {zembra::makeEmpty()});
  return seconds(times, [&] {
    zbArray* dataset = open();
    zbDestroyArray(read(dataset));
    close(dataset);
    zbDestroyArray(dataset);
  });
}

// --- An attribute of one number: opened, read or written, closed ----------------------

double bareAttributeRead(hid_t file, long times) {
  const Dataset dataset(H5Dopen1(file, kDataset));
  return seconds(times, [&] {
    const Attribute attribute(H5Aopen(dataset.get(), kNumber, H5P_DEFAULT));
    double value = 0;
    require(H5Aread(attribute.get(), H5T_NATIVE_DOUBLE, &value));
  });
}

double bareAttributeWrite(hid_t file, long times) {
  const Dataset dataset(H5Dopen1(file, kDataset));
  return seconds(times, [&] {
    const Attribute attribute(H5Aopen(dataset.get(), kNumber, H5P_DEFAULT));
    const double value = 2.5;
    require(H5Awrite(attribute.get(), H5T_NATIVE_DOUBLE, &value));
  });
}

/// `use` is done with the open attribute in between.
template <class Use>
double gatewayAttribute(hid_t file, long times, Use use) {
  const Dataset dataset(H5Dopen1(file, kDataset));
  PreparedCall open("H5Aopen", {identifier(dataset.get()), text(kNumber), text("H5P_DEFAULT")});
  PreparedCall close("H5Aclose", {zembra::makeEmpty()});
  return seconds(times, [&] {
    zbArray* attribute = open();
    use(attribute);
    close(attribute);
    zbDestroyArray(attribute);
  });
}

double gatewayAttributeRead(hid_t file, long times) {
  PreparedCall read("H5Aread", {zembra::makeEmpty(), text("H5ZB_DEFAULT")});
  return gatewayAttribute(file, times,
                          [&](const zbArray* attribute) { zbDestroyArray(read(attribute)); });
}

double gatewayAttributeWrite(hid_t file, long times) {
  PreparedCall write("H5Awrite",
                     {zembra::makeEmpty(), text("H5ZB_DEFAULT"), zembra::makeDouble(2.5)});
  return gatewayAttribute(file, times, [&](const zbArray* attribute) { write(attribute); });
}

// --- Walking over the links of a group, and over all objects ---------------------------

herr_t nextLink(hid_t, const char*, const hdf5::LinkInfo*, void*) { return 0; }
herr_t nextObject(hid_t, const char*, const hdf5::ObjectInfo*, void*) { return 0; }

double bareIterate(hid_t file, long times) {
  const hdf5::Handle<H5Gclose> links(H5Gopen1(file, kLinks));
  return seconds(times, [&] {
    require(
        hdf5::iterateLinks(links.get(), H5_INDEX_NAME, H5_ITER_INC, nullptr, nextLink, nullptr));
  });
}

double bareVisit(hid_t file, long times) {
  return seconds(
      times, [&] { hdf5::visitObjects(file, H5_INDEX_NAME, H5_ITER_INC, nextObject, nullptr); });
}

// --- All of them -----------------------------------------------------------------------

/// Seconds of doing something so many times.
using Measure = double(hid_t file, long times);

struct Subject {
  std::string_view name;
  Measure* bare;
  Measure* gateway;  // null: Python callbacks have no counterpart there
};

constexpr Subject kSubjects[] = {
    {"extent", bareExtent, gatewayExtent},
    {"space", bareSpace, gatewaySpace},
    {"open", bareOpen, gatewayOpen},
    {"small dataset", bareSmall, gatewaySmall},
    {"attribute read", bareAttributeRead, gatewayAttributeRead},
    {"attribute write", bareAttributeWrite, gatewayAttributeWrite},
    {"iterate", bareIterate, nullptr},
    {"visit", bareVisit, nullptr},
};

Measure* find(std::string_view name, std::string_view side) {
  for (const Subject& subject : kSubjects) {
    if (subject.name != name) continue;
    if (side == "bare") return subject.bare;
    if (side == "gateway") return subject.gateway;
  }
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  Measure* const measure = argc == 4 ? find(argv[2], argv[3]) : nullptr;
  if (measure == nullptr) {
    std::fprintf(stderr, "call_bench FILE SUBJECT bare|gateway, SUBJECT being one of\n");
    for (const Subject& subject : kSubjects) std::fprintf(stderr, "  %s\n", subject.name.data());
    return EXIT_FAILURE;
  }
  const std::string_view subject = argv[2];
  const unsigned access = subject == "attribute write" ? H5F_ACC_RDWR : H5F_ACC_RDONLY;
  const File file(H5Fopen(argv[1], access, H5P_DEFAULT));
  if (!file.valid()) return EXIT_FAILURE;

  const zembra::CallScope scope;
  for (long times = 0; std::cin >> times;) {
    std::printf("%.9g\n", measure(file.get(), times));
    std::fflush(stdout);
  }
  return EXIT_SUCCESS;
}
