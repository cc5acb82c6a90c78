// Tables of which one thread copies parts while the other is in HDF5, for the thread sanitizer.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "hdf5/handle.hpp"
#include "host/hdf5_dataset.hpp"
#include "runtime/array.hpp"
#include "wrappers/dataset_parts.hpp"

namespace {

using Dataset = hdf5::Handle<H5Dclose>;
using File = hdf5::Handle<H5Fclose>;

constexpr hsize_t kRows = 900'007;
constexpr std::size_t kRowSize = 13;
constexpr const char* kNames[] = {"time", "station", "valid"};

struct Case {
  const char* name;
  hsize_t chunk;  // 0 for one block
  bool compressed;
};

template <class Number>
zembra::Value column(zbClass type, const std::vector<Number>& numbers) {
  return zembra::makeNumeric(type, {numbers.size(), 1}, numbers.data());
}

zembra::Value table() {
  std::vector<double> times(kRows);
  std::iota(times.begin(), times.end(), 0.5);
  std::vector<std::int32_t> stations(kRows);
  std::iota(stations.begin(), stations.end(), -7);
  const std::vector<std::int8_t> valid(kRows, 1);
  std::vector<std::pair<std::string, zembra::Value>> fields;
  fields.emplace_back(kNames[0], column(zbClass::Double, times));
  fields.emplace_back(kNames[1], column(zbClass::Int32, stations));
  fields.emplace_back(kNames[2], column(zbClass::Int8, valid));
  return zembra::makeStruct(std::move(fields));
}

hdf5::Type rowType() {
  hdf5::Type type(H5Tcreate(H5T_COMPOUND, kRowSize));
  H5Tinsert(type.get(), kNames[0], 0, H5T_NATIVE_DOUBLE);
  H5Tinsert(type.get(), kNames[1], 8, H5T_NATIVE_INT32);
  H5Tinsert(type.get(), kNames[2], 12, H5T_NATIVE_INT8);
  return type;
}

hdf5::PropertyList creationOf(const Case& tried) {
  hdf5::PropertyList list(H5Pcreate(H5P_DATASET_CREATE));
  if (tried.chunk > 0) H5Pset_chunk(list.get(), 1, &tried.chunk);
  if (tried.compressed) H5Pset_deflate(list.get(), 1);
  return list;
}

bool isSame(const zbArray* one, const zbArray* other) {
  return std::ranges::all_of(kNames, [&](const char* name) {
    const zbArray* left = zbGetField(one, 0, name);
    const zbArray* right = zbGetField(other, 0, name);
    const std::size_t bytes = zbGetNumberOfElements(left) * zbGetElementSize(left);
    return bytes == zbGetNumberOfElements(right) * zbGetElementSize(right) &&
           std::memcmp(zbGetData(left), zbGetData(right), bytes) == 0;
  });
}

/// What went wrong; null where nothing did.
const char* tryOut(const Case& tried, const std::string& path) {
  const zembra::Value written = table();
  const hdf5::Type type = rowType();
  const hdf5::Space space(H5Screate_simple(1, &kRows, nullptr));
  const File file(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
  const Dataset dataset(H5Dcreate2(file.get(), "table", type.get(), space.get(), H5P_DEFAULT,
                                   creationOf(tried).get(), H5P_DEFAULT));
  const h5gate::DatasetParts parts(
      {dataset.get(), type.get(), H5S_ALL, space.get(), H5P_DEFAULT, H5P_DEFAULT});
  if (!parts.possibleToWrite()) return "was not put into parts";
  for (int time = 0; time < 3; ++time) {
    HDF5Dataset writer(type.get(), space.get());
    writer.beginWriting(written.get());
    if (parts.write(writer) < 0) return "was not written";
    HDF5Dataset reader(type.get(), space.get());
    const zembra::Value read(parts.read(reader));
    if (!isSame(read.get(), written.get())) return "was read otherwise";
  }
  return nullptr;
}

}  // namespace

int main() {
  setenv("H5GATE_THREADS", "6", 1);
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  const std::string path = "/tmp/tables_at_work." + std::to_string(getpid()) + ".h5";
  const Case cases[] = {
      {"one block", 0, false}, {"chunks", 1000, false}, {"compressed chunks", 5000, true}};
  int failures = 0;
  for (const Case& tried : cases) {
    const char* trouble = tryOut(tried, path);
    if (trouble == nullptr) continue;
    std::fprintf(stderr, "%s: %s\n", tried.name, trouble);
    ++failures;
  }
  std::remove(path.c_str());
  std::printf("%zu tables, %d failures\n", std::size(cases), failures);
  return failures == 0 ? 0 : 1;
}
