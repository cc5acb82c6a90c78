// A host of its own: an environment whose arrays hold numbers and text implements what
// the headers in host/ declare, loads the gateway, and has all of HDF5. Cells, structures
// and functions, which it does not have, would come beside them.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>

#include "host/call.hpp"
#include "host/hdf5_dataset.hpp"
#include "host/messages.hpp"
#include "host/numeric_class.hpp"

/// The environment's array, which the gateway knows by pointer only.
struct zbArray {
  zbClass type;
  std::vector<std::size_t> shape;  // fastest-varying first, two dimensions at least
  std::vector<std::byte> data;
};

namespace {

using Array = std::shared_ptr<zbArray>;

/// What a failed call throws.
struct Error : std::runtime_error {
  using runtime_error::runtime_error;
};

// --- Classes and arrays -------------------------------------------------------

const char* const kClassNames[] = {"unknown", "cell",   "struct", "logical", "char",
                                   "double",  "single", "int8",   "uint8",   "int16",
                                   "uint16",  "int32",  "uint32", "int64",   "uint64"};

std::size_t elementSize(zbClass type) {
  if (type == zbClass::Char) return 1;
  return Zembra::withNumericType(
      type, [](auto element) { return sizeof element; },
      []() -> std::size_t { throw Error("only numbers and text"); });
}

std::size_t product(const std::vector<std::size_t>& shape) {
  std::size_t elements = 1;
  for (const std::size_t dimension : shape) {
    if (__builtin_mul_overflow(elements, dimension, &elements)) throw std::bad_alloc();
  }
  return elements;
}

/// What the running call made. All but its result goes when the call ends.
thread_local std::map<const zbArray*, Array> made;

zbArray* make(zbClass type, std::vector<std::size_t> shape, const void* data = nullptr) {
  std::vector<std::byte> bytes(product({product(shape), elementSize(type)}));
  if (data != nullptr) std::copy_n(static_cast<const std::byte*>(data), bytes.size(), bytes.data());
  const auto array = std::make_shared<zbArray>(zbArray{type, std::move(shape), std::move(bytes)});
  made[array.get()] = array;
  return array.get();
}

}  // namespace

zbClass zbGetClass(const zbArray* array) { return array->type; }
const char* zbGetClassName(const zbArray* array) {
  return kClassNames[static_cast<std::size_t>(array->type)];
}
bool zbIsNumeric(const zbArray* array) { return array->type >= zbClass::Double; }
bool zbIsComplex(const zbArray*) { return false; }
bool zbIsSparse(const zbArray*) { return false; }
std::size_t zbGetNumberOfElements(const zbArray* array) { return product(array->shape); }
std::size_t zbGetNumberOfDimensions(const zbArray* array) { return array->shape.size(); }
const std::size_t* zbGetDimensions(const zbArray* array) { return array->shape.data(); }
int zbSetDimensions(zbArray* array, std::size_t count, const std::size_t* dimensions) {
  if (product({dimensions, dimensions + count}) != product(array->shape)) return 1;
  array->shape.assign(dimensions, dimensions + count);
  return 0;
}

const void* zbGetData(const zbArray* array) { return array->data.data(); }
void* zbGetWritableData(zbArray* array) { return array->data.data(); }
std::size_t zbGetElementSize(const zbArray* array) { return elementSize(array->type); }
double zbGetScalar(const zbArray* array) {
  if (array->data.empty()) return NAN;
  const auto first = [array](auto element) {
    std::memcpy(&element, array->data.data(), sizeof element);
    return static_cast<double>(element);
  };
  return Zembra::withNumericType(array->type, first, [] { return double{NAN}; });
}

char* zbArrayToString(const zbArray* array) {
  const std::string text(reinterpret_cast<const char*>(array->data.data()), array->data.size());
  if (array->type != zbClass::Char || text.find('\0') < text.size()) throw Error("no plain text");
  auto* copy = static_cast<char*>(zbMalloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  return std::strcpy(copy, text.c_str());
}

zbArray* zbCreateDoubleScalar(double value) { return make(zbClass::Double, {1, 1}, &value); }
zbArray* zbCreateLogicalScalar(bool value) { return make(zbClass::Logical, {1, 1}, &value); }
zbArray* zbCreateString(const char* text) {
  return make(zbClass::Char, {1, text == nullptr ? 0 : std::strlen(text)}, text);
}
zbArray* zbCreateNumericArray(std::size_t count, const std::size_t* dimensions, zbClass type) {
  return make(type, {dimensions, dimensions + count});
}
zbArray* zbCreateUninitNumericArray(std::size_t count, const std::size_t* shape, zbClass type) {
  return zbCreateNumericArray(count, shape, type);
}
zbArray* zbDuplicateArray(const zbArray* array) {
  return make(array->type, array->shape, array->data.data());
}
void zbDestroyArray(zbArray* array) { made.erase(array); }
void* zbMalloc(std::size_t size) { return std::malloc(size); }  // NOLINT(*-no-malloc): C's contract
void zbFree(void* memory) { std::free(memory); }                // NOLINT(*-no-malloc)

zbArray* zbCreateCellArray(std::size_t, const std::size_t*) { throw Error("no cells"); }
zbArray* zbCreateStructArray(std::size_t, std::size_t, const char* const*) {
  throw Error("no structures");
}
const zbArray* zbGetCell(const zbArray*, std::size_t) { return nullptr; }
const zbArray* zbGetField(const zbArray*, std::size_t, const char*) { return nullptr; }
const zbArray* zbGetProperty(const zbArray*, std::size_t, const char*) { return nullptr; }
void zbSetCell(zbArray*, std::size_t, zbArray*) {}
void zbSetField(zbArray*, std::size_t, const char*, zbArray*) {}

int zebCallZembra(int, zbArray**, int, zbArray**, const char*) { return 1; }
zbArray* zebCallZembraWithTrap(int, zbArray**, int, zbArray**, const char*) {
  return zbCreateString("no functions");
}

// --- Errors -------------------------------------------------------------------

static std::string textOf(const resource_core::BaseMsgID& message) {
  std::string text(message.key());  // host/message_keys.def has a sentence for each
  for (const auto& parameter : message.parameters()) {
    const auto* words = std::get_if<std::string>(&parameter);
    text += ": " + (words ? *words : std::to_string(std::get<std::int64_t>(parameter)));
  }
  return text;
}

void zbErrMsgId(const resource_core::BaseMsgID& message) { throw Error(textOf(message)); }
void zbWarningMsgId(const resource_core::BaseMsgID& message) { std::puts(textOf(message).c_str()); }
void KVH5libraryError() {
  std::string text = "HDF5";
  const H5E_walk2_t append = [](unsigned, const H5E_error2_t* record, void* to) -> herr_t {
    if (record->desc != nullptr) static_cast<std::string*>(to)->append(": ").append(record->desc);
    return 0;
  };
  H5Ewalk2(H5E_DEFAULT, H5E_WALK_DOWNWARD, append, &text);
  throw Error(text);
}

// --- Data between arrays and HDF5: numbers, which HDF5 turns into doubles -----

struct HDF5Dataset::Transfer {
  std::vector<std::size_t> shape;
  zbArray* array = nullptr;  // whose data are the buffer
};

HDF5Dataset::HDF5Dataset(hid_t type, hid_t space) : transfer_(std::make_unique<Transfer>()) {
  if (H5Tequal(type, H5T_NATIVE_DOUBLE) <= 0) throw Error("data in memory are doubles");
  std::array<hsize_t, H5S_MAX_RANK> extent{};
  const int rank = Zembra::checked(H5Sget_simple_extent_dims(space, extent.data(), nullptr));
  transfer_->shape.assign(extent.rend() - rank, extent.rend());
  transfer_->shape.resize(static_cast<std::size_t>(std::max(rank, 2)), 1);
}
HDF5Dataset::~HDF5Dataset() = default;

void* HDF5Dataset::getBuffer() {
  if (transfer_->array == nullptr) transfer_->array = make(zbClass::Double, transfer_->shape);
  return transfer_->array->data.data();
}

void HDF5Dataset::provideMemory(hid_t) {}  // doubles are of no variable length

zbArray* HDF5Dataset::read(const void* buffer) {
  if (buffer == getBuffer()) return transfer_->array;
  return make(zbClass::Double, transfer_->shape, buffer);
}

bool HDF5Dataset::goesInParts() const { return false; }
void HDF5Dataset::beginReading() {}
void HDF5Dataset::putPart(const void*, std::size_t, std::size_t) const {}
zbArray* HDF5Dataset::endReading() { return nullptr; }
void HDF5Dataset::beginWriting(const zbArray*) {}
void HDF5Dataset::layPart(void*, std::size_t, std::size_t) const {}

const void* HDF5Dataset::write(const zbArray* data) {
  if (data->type != zbClass::Double || product(data->shape) != product(transfer_->shape))
    throw Error("as many doubles are needed as the memory space has elements");
  return data->data.data();
}

hid_t HDF5Dataset::getMemDatatype(hid_t) { return H5Tcopy(H5T_NATIVE_DOUBLE); }
hid_t HDF5Dataset::getMemDatatype(hid_t type, const zbArray*) { return getMemDatatype(type); }

// --- A program ----------------------------------------------------------------

static Array share(zbArray* array) { return array == nullptr ? nullptr : made.at(array); }
static Array text(const char* bytes) { return share(zbCreateString(bytes)); }
static Array numbers(std::vector<std::size_t> shape, const std::vector<double>& values) {
  return share(make(zbClass::Double, std::move(shape), values.data()));
}

/// The first result of a function of the gateway, null where there is none.
static Array call(const char* name, const std::vector<Array>& arguments) {
  static void* const gateway = dlopen(H5GATE_GATEWAY, RTLD_NOW);
  if (gateway == nullptr) throw Error(dlerror());
  static auto* const enter = reinterpret_cast<zbExtensionFunction*>(dlsym(gateway, "zebFunction"));

  const std::shared_ptr<void> whenItEnds(nullptr, [](void*) { made.clear(); });
  std::vector<const zbArray*> ins = {zbCreateString(name)};
  for (const Array& argument : arguments) ins.push_back(argument.get());
  std::array<zbArray*, 8> outs{};  // some functions store more than they are asked for
  enter(1, outs.data(), static_cast<int>(ins.size()), ins.data());
  return share(outs[0]);
}

static void tryTo(const char* name, const std::vector<Array>& arguments) try {
  call(name, arguments);
} catch (const Error& error) {
  std::printf("%s failed: %s\n", name, error.what());
}

int main(int count, char** arguments) try {
  const Array path = text(count > 1 ? arguments[1] : "own_host.h5");
  const Array usual = text("H5P_DEFAULT"), all = text("H5S_ALL"), fitting = text("H5ZB_DEFAULT");
  const Array extent = numbers({1, 2}, {2, 3});  // 2 rows of 3, slowest-varying first
  const Array speed = numbers({3, 2}, {1.5, 2.5, 3.5, 4.5, 5.5, 6.5});

  const Array file = call("H5Fcreate", {path, text("H5F_ACC_TRUNC"), usual, usual});
  const Array space = call("H5Screate_simple", {numbers({1, 1}, {2}), extent, extent});
  const Array data = call("H5Dcreate", {file, text("speed"), text("H5T_IEEE_F32LE"), space, usual});
  call("H5Dwrite", {data, fitting, all, all, usual, speed});
  const Array read = call("H5Dread", {data, fitting, all, all, usual});
  const auto* values = static_cast<const double*>(zbGetData(read.get()));
  std::printf("%s %zu-by-%zu, the first %g, the last %g\n", zbGetClassName(read.get()),
              read->shape[0], read->shape[1], values[0], values[5]);

  tryTo("H5Fopen", {path, text("H5F_ACC_RDONY"), usual});
  tryTo("H5Dopen", {file, text("height")});
  call("H5Dclose", {data});
  call("H5Sclose", {space});
  call("H5Fclose", {file});
} catch (const std::exception& error) {
  std::fprintf(stderr, "own_host: %s\n", error.what());
  return EXIT_FAILURE;
}
