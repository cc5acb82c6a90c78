// What a call through the gateway costs over the bare HDF5 call: each of the two is
// timed doing the same work on the same objects, and the ratios are printed last.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
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

constexpr hsize_t kReadBytes = 64u << 20;
constexpr hsize_t kReadElements = kReadBytes / sizeof(double);
constexpr const char* kDataset = "readings";

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "call_bench: %s\n", what);
  std::exit(EXIT_FAILURE);
}

/// A file in memory with one contiguous dataset of doubles: no disk in the numbers.
File makeFile() {
  const hdf5::PropertyList inMemory(H5Pcreate(H5P_FILE_ACCESS));
  H5Pset_fapl_core(inMemory.get(), kReadBytes, false);
  File file(H5Fcreate("call_bench.h5", H5F_ACC_TRUNC, H5P_DEFAULT, inMemory.get()));
  const hdf5::Space space(H5Screate_simple(1, &kReadElements, nullptr));
  const Dataset dataset(
      H5Dcreate1(file.get(), kDataset, H5T_NATIVE_DOUBLE, space.get(), H5P_DEFAULT));
  std::vector<double> values(kReadElements);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
  const herr_t status =
      H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
  require(status >= 0, "the file in memory cannot be made");
  return file;
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

  /// The same with another last argument.
  zbArray* operator()(const zbArray* last) {
    ins_.back() = last;
    return (*this)();
  }

 private:
  zbExtensionFunction* function_ = zembra::loadGateway();
  std::vector<zembra::Value> arguments_;
  std::vector<const zbArray*> ins_;
};

// --- The number of elements of a dataspace -------------------------------------

void bareExtent(benchmark::State& state) {
  const hsize_t dims[] = {3, 4};
  const hdf5::Space space(H5Screate_simple(2, dims, nullptr));
  for (auto _ : state) benchmark::DoNotOptimize(H5Sget_simple_extent_npoints(space.get()));
}

void gatewayExtent(benchmark::State& state) {
  const hsize_t dims[] = {3, 4};
  const hdf5::Space space(H5Screate_simple(2, dims, nullptr));
  PreparedCall query("H5Sget_simple_extent_npoints", {identifier(space.get())});
  const zembra::CallScope scope;
  for (auto _ : state) zbDestroyArray(query());
}

// --- Making a dataspace and closing it ------------------------------------------

void bareSpace(benchmark::State& state) {
  for (auto _ : state) H5Sclose(H5Screate(H5S_SIMPLE));
}

void gatewaySpace(benchmark::State& state) {
  PreparedCall create("H5Screate", {zembra::makeText("H5S_SIMPLE")});
  PreparedCall close("H5Sclose", {zembra::makeEmpty()});
  const zembra::CallScope scope;
  for (auto _ : state) {
    zbArray* space = create();
    close(space);
    zbDestroyArray(space);
  }
}

// --- Opening a dataset and closing it --------------------------------------------

void bareOpen(benchmark::State& state, hid_t file) {
  for (auto _ : state) H5Dclose(H5Dopen1(file, kDataset));
}

void gatewayOpen(benchmark::State& state, hid_t file) {
  PreparedCall open("H5Dopen", {identifier(file), zembra::makeText(kDataset)});
  PreparedCall close("H5Dclose", {zembra::makeEmpty()});
  const zembra::CallScope scope;
  for (auto _ : state) {
    zbArray* dataset = open();
    close(dataset);
    zbDestroyArray(dataset);
  }
}

// --- Reading 64 MB, each time into memory of its own -------------------------------

void bareRead(benchmark::State& state, hid_t file) {
  const Dataset dataset(H5Dopen1(file, kDataset));
  for (auto _ : state) {
    const auto values = std::make_unique_for_overwrite<double[]>(kReadElements);
    H5Dread(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.get());
    benchmark::DoNotOptimize(values[kReadElements - 1]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kReadBytes));
}

void gatewayRead(benchmark::State& state, hid_t file) {
  const Dataset dataset(H5Dopen1(file, kDataset));
  PreparedCall read("H5Dread", {identifier(dataset.get()), zembra::makeText("H5ZB_DEFAULT"),
                                zembra::makeText("H5S_ALL"), zembra::makeText("H5S_ALL"),
                                zembra::makeText("H5P_DEFAULT")});
  const zembra::CallScope scope;
  for (auto _ : state) zbDestroyArray(read());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kReadBytes));
}

/// The usual console output, and afterwards the pairs side by side.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string name = run.benchmark_name();
      const std::size_t slash = name.find('/');
      Pair& pair = pairOf(name.substr(0, slash));
      double& best = name.compare(slash + 1, 4, "bare") == 0 ? pair.bare : pair.gateway;
      best = std::min(best, run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9);
    }
  }

  void Finalize() override {
    std::printf("\n%-16s %14s %14s %14s %8s\n", "", "bare ns", "gateway ns", "difference ns",
                "ratio");
    for (const Pair& pair : pairs_) {
      std::printf("%-16s %14.1f %14.1f %14.1f %8.2f\n", pair.subject.c_str(), pair.bare,
                  pair.gateway, pair.gateway - pair.bare, pair.gateway / pair.bare);
    }
  }

 private:
  struct Pair {
    std::string subject;
    double bare = std::numeric_limits<double>::infinity();
    double gateway = std::numeric_limits<double>::infinity();
  };

  Pair& pairOf(const std::string& subject) {
    const auto found = std::find_if(pairs_.begin(), pairs_.end(),
                                    [&](const Pair& pair) { return pair.subject == subject; });
    return found != pairs_.end() ? *found : pairs_.emplace_back(Pair{subject});
  }

  std::vector<Pair> pairs_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;

  const File file = makeFile();
  benchmark::RegisterBenchmark("extent query/bare", bareExtent);
  benchmark::RegisterBenchmark("extent query/gateway", gatewayExtent);
  benchmark::RegisterBenchmark("create space/bare", bareSpace);
  benchmark::RegisterBenchmark("create space/gateway", gatewaySpace);
  benchmark::RegisterBenchmark("open dataset/bare", bareOpen, file.get());
  benchmark::RegisterBenchmark("open dataset/gateway", gatewayOpen, file.get());
  benchmark::RegisterBenchmark("read 64 MB/bare", bareRead, file.get());
  benchmark::RegisterBenchmark("read 64 MB/gateway", gatewayRead, file.get());

  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return EXIT_SUCCESS;
}
