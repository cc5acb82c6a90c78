// Chunks read and written by several threads at once, for the thread sanitizer: a program of
// its own, of nothing but the sources that take part, because all of a program has to be
// instrumented alike. What comes out is compared with what HDF5 does by itself.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "chunks/chunked_transfer.hpp"
#include "hdf5/handle.hpp"

namespace {

using Numbers = std::vector<std::int32_t>;
using Dataset = hdf5::Handle<H5Dclose>;
using File = hdf5::Handle<H5Fclose>;

constexpr hsize_t kRows = 700;
constexpr hsize_t kColumns = 900;
constexpr hsize_t kExtent[] = {kRows, kColumns};

struct Case {
  const char* name;
  const char* filters;  // a letter each: s, d, f
  hsize_t chunk[2];
  hid_t memoryType;
  hsize_t start[2];
  hsize_t size[2];
};

int failures = 0;

void expect(bool right, const Case& tried, const char* what) {
  if (right) return;
  std::fprintf(stderr, "%s: %s\n", tried.name, what);
  ++failures;
}

hdf5::PropertyList creationOf(const Case& tried) {
  hdf5::PropertyList list(H5Pcreate(H5P_DATASET_CREATE));
  H5Pset_chunk(list.get(), 2, tried.chunk);
  for (const char* filter = tried.filters; *filter != '\0'; ++filter) {
    if (*filter == 's') H5Pset_shuffle(list.get());
    if (*filter == 'd') H5Pset_deflate(list.get(), 3);
    if (*filter == 'f') H5Pset_fletcher32(list.get());
  }
  const std::int32_t fill = -7;
  H5Pset_fill_value(list.get(), H5T_NATIVE_INT32, &fill);
  return list;
}

/// A chunk cache so small that nothing stays in it.
hdf5::PropertyList accessList() {
  hdf5::PropertyList list(H5Pcreate(H5P_DATASET_ACCESS));
  H5Pset_chunk_cache(list.get(), 521, 0, 0.75);
  return list;
}

hdf5::Space spaceOf(const Case& tried) {
  hdf5::Space space(H5Screate_simple(2, kExtent, nullptr));
  H5Sselect_hyperslab(space.get(), H5S_SELECT_SET, tried.start, nullptr, tried.size, nullptr);
  return space;
}

/// Element sizes of up to eight bytes.
std::vector<std::byte> arrayOf(const Numbers& numbers, hid_t type) {
  std::vector<std::byte> array(numbers.size() * sizeof(std::int64_t));
  std::memcpy(array.data(), numbers.data(), numbers.size() * sizeof(numbers[0]));
  H5Tconvert(H5T_NATIVE_INT32, type, numbers.size(), array.data(), nullptr, H5P_DEFAULT);
  return array;
}

void tryOut(const Case& tried, const std::string& path) {
  Numbers numbers(kRows * kColumns);
  std::iota(numbers.begin(), numbers.end(), 0);
  const std::vector<std::byte> written = arrayOf(numbers, tried.memoryType);
  const hdf5::Space space = spaceOf(tried);

  const File file(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
  const Dataset dataset(H5Dcreate2(file.get(), "data", H5T_STD_I32LE, space.get(), H5P_DEFAULT,
                                   creationOf(tried).get(), accessList().get()));
  const chunks::Transfer transfer{dataset.get(), tried.memoryType, space.get(),
                                  space.get(),   H5P_DEFAULT,      H5P_DEFAULT};
  for (int time = 0; time < 3; ++time) {
    expect(chunks::write(transfer, written.data()) >= 0, tried, "was not written");
    std::vector<std::byte> ours(written.size());
    std::vector<std::byte> hdf5s(written.size());
    expect(chunks::read(transfer, ours.data()) >= 0, tried, "was not read");
    H5Dread(dataset.get(), tried.memoryType, space.get(), space.get(), H5P_DEFAULT, hdf5s.data());
    expect(ours == hdf5s, tried, "was read otherwise");
  }
  // All of it: with chunks that are not there, and others that are cut off.
  const hdf5::Space all(H5Screate_simple(2, kExtent, nullptr));
  const chunks::Transfer whole{dataset.get(), tried.memoryType, all.get(),
                               all.get(),     H5P_DEFAULT,      H5P_DEFAULT};
  std::vector<std::byte> ours(written.size());
  std::vector<std::byte> hdf5s(written.size());
  expect(chunks::read(whole, ours.data()) >= 0, tried, "was not read as a whole");
  H5Dread(dataset.get(), tried.memoryType, all.get(), all.get(), H5P_DEFAULT, hdf5s.data());
  expect(ours == hdf5s, tried, "was read otherwise as a whole");
}

}  // namespace

int main() {
  setenv("H5GATE_THREADS", "6", 1);
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  const std::string path = "/tmp/chunks_at_work." + std::to_string(getpid()) + ".h5";
  const hid_t same = H5T_NATIVE_INT32;
  const Case cases[] = {
      {"deflate", "d", {64, 100}, same, {0, 0}, {kRows, kColumns}},
      {"whole rows", "sdf", {10, kColumns}, same, {0, 0}, {kRows, kColumns}},
      {"small chunks", "sd", {20, 20}, same, {0, 0}, {kRows, kColumns}},
      {"checksums only", "f", {64, 100}, same, {64, 100}, {600, 700}},
      {"parts of chunks", "dsf", {64, 100}, same, {3, 5}, {690, 880}},
      {"to double", "sd", {64, 100}, H5T_NATIVE_DOUBLE, {0, 0}, {kRows, kColumns}},
      {"to long", "fd", {50, 90}, H5T_NATIVE_INT64, {50, 90}, {600, 720}},
  };
  for (const Case& tried : cases) tryOut(tried, path);
  std::remove(path.c_str());
  std::printf("%zu cases, %d failures\n", std::size(cases), failures);
  return failures == 0 ? 0 : 1;
}
