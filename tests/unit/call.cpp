#include "tests/unit/call.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <set>

#include "convert/identifier_codec.hpp"
#include "convert/vector_arguments.hpp"
#include "hdf5/handle.hpp"
#include "host/call.hpp"

namespace h5test {

Value text(std::string_view words) { return zembra::makeText(words); }
Value number(double value) { return zembra::makeDouble(value); }
Value logical(bool value) { return zembra::makeLogical(value); }
Value empty() { return zembra::makeEmpty(); }
Value row(std::initializer_list<double> values) { return numeric(zbClass::Double, values); }

Value column(std::initializer_list<double> values) { return matrix(values.size(), 1, values); }

Value matrix(std::size_t rows, std::size_t columns, std::initializer_list<double> values) {
  return zembra::makeNumeric(zbClass::Double, {rows, columns}, std::data(values));
}

namespace {

template <class Number>
Value convert(zbClass type, std::initializer_list<double> values) {
  std::vector<Number> converted;
  for (const double value : values) converted.push_back(static_cast<Number>(value));
  return zembra::makeNumeric(type, {1, values.size()}, converted.data());
}

class FunctionTarget : public zembra::Callable {
 public:
  explicit FunctionTarget(Function body) : body_(std::move(body)) {}
  Results call(int outputs, std::span<zbArray* const> inputs) override {
    return body_(outputs, inputs);
  }

 private:
  Function body_;
};

}  // namespace

Value numeric(zbClass type, std::initializer_list<double> values) {
  switch (type) {
    case zbClass::Double: return convert<double>(type, values);
    case zbClass::Single: return convert<float>(type, values);
    case zbClass::Logical: return convert<std::uint8_t>(type, values);
    case zbClass::Int8: return convert<std::int8_t>(type, values);
    case zbClass::UInt8: return convert<std::uint8_t>(type, values);
    case zbClass::Int16: return convert<std::int16_t>(type, values);
    case zbClass::UInt16: return convert<std::uint16_t>(type, values);
    case zbClass::Int32: return convert<std::int32_t>(type, values);
    case zbClass::UInt32: return convert<std::uint32_t>(type, values);
    case zbClass::Int64: return convert<std::int64_t>(type, values);
    case zbClass::UInt64: return convert<std::uint64_t>(type, values);
    default: throw std::invalid_argument("not a numeric class");
  }
}

Value cell(std::initializer_list<Value> values) {
  return zembra::makeCell({1, values.size()}, std::vector<Value>(values));
}

Value structure(std::initializer_list<std::pair<std::string, Value>> fields) {
  return zembra::makeStruct(std::vector<std::pair<std::string, Value>>(fields));
}

Value identifier(double value) {
  return zembra::makeObject("H5ZB.id", {{"identifier", number(value)}});
}

Value function(Function body) {
  return zembra::makeFunction(std::make_shared<FunctionTarget>(std::move(body)));
}

std::vector<Value> strangers() {
  return {cell({number(1)}),
          structure({{"a", number(1)}}),
          function([](int, std::span<zbArray* const>) { return Results(); }),
          zembra::makeObject("Other.id", {{"identifier", number(1)}}),
          numeric(zbClass::Int32, {1}),
          numeric(zbClass::Single, {1}),
          logical(true)};
}

namespace {

std::set<std::string, std::less<>> keys;

}  // namespace

const std::set<std::string, std::less<>>& raisedKeys() { return keys; }

Warnings::Warnings() {
  zembra::setWarningHandler([this](const zembra::Warning& warning) {
    keys.insert(warning.identifier.substr(warning.identifier.rfind(':') + 1));
    list.push_back(warning);
  });
}

Warnings::~Warnings() { zembra::setWarningHandler({}); }

Results callWithInputs(int nOut, const std::vector<Value>& inputs) {
  std::vector<const zbArray*> ins;
  for (const Value& input : inputs) ins.push_back(input.get());
  try {
    return zembra::callExtension(zebFunction, nOut, ins);
  } catch (const zembra::HostError& error) {
    keys.insert(error->key);
    throw;
  }
}

Results callWith(int nOut, std::string_view name, const Arguments& arguments) {
  std::vector<Value> inputs = {text(name)};
  for (const Argument& argument : arguments) inputs.push_back(argument.array);
  return callWithInputs(nOut, inputs);
}

double numberOf(const Value& value) { return zbGetScalar(value.get()); }

std::string textOf(const Value& value) {
  if (classOf(value) != zbClass::Char) {
    ADD_FAILURE() << zembra::describe(value.get()) << " is not text";
    return {};
  }
  const auto* data = static_cast<const char*>(zbGetData(value.get()));
  return {data, zbGetNumberOfElements(value.get())};
}

std::vector<double> numbersOf(const Value& value) {
  std::vector<double> numbers(zbGetNumberOfElements(value.get()));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    numbers[i] = h5gate::elementAsDouble(value.get(), i);
  }
  return numbers;
}

Shape shapeOf(const Value& value) {
  const std::size_t* dimensions = zbGetDimensions(value.get());
  return {dimensions, dimensions + zbGetNumberOfDimensions(value.get())};
}

zbClass classOf(const Value& value) { return zbGetClass(value.get()); }

namespace {

Value borrow(const zbArray* array, std::string_view what) {
  if (array == nullptr) {
    ADD_FAILURE() << "There is no " << what;
    return empty();
  }
  return zembra::share(const_cast<zbArray*>(array));
}

}  // namespace

Value field(const Value& structure, const char* name) {
  return borrow(zbGetField(structure.get(), 0, name), std::string("field ") + name);
}

Value element(const Value& cell, std::size_t index) {
  return borrow(zbGetCell(cell.get(), index), "element " + std::to_string(index));
}

std::shared_ptr<const zembra::HostError> failureOf(std::string_view name,
                                                   const Arguments& arguments, int nOut) {
  try {
    callWith(nOut, name, arguments);
  } catch (const zembra::HostError& error) {
    return std::make_shared<const zembra::HostError>(error);
  }
  ADD_FAILURE() << name << " raised nothing";
  return nullptr;
}

void expectWrongCounts(std::string_view name, std::initializer_list<int> counts) {
  for (const int count : counts) {
    const Arguments arguments(static_cast<std::size_t>(count), Argument(empty()));
    const auto error = failureOf(name, arguments);
    if (!error) continue;
    EXPECT_EQ((*error)->identifier, "Zembra:validate:wrongNumberOfInputs")
        << name << " with " << count << " inputs";
  }
}

// --- Files and identifiers -------------------------------------------------------------

namespace {

/// The folder of this run, gone when the program ends.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "h5gate-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

std::string temporaryPath(std::string_view name) {
  static const Folder folder;
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string own = std::string(test->test_suite_name()) + "." + test->name();
  std::replace(own.begin(), own.end(), '/', '_');
  std::filesystem::create_directories(folder.path() / own);
  return (folder.path() / own / name).string();
}

MemoryFile::MemoryFile() {
  const hdf5::PropertyList access(H5Pcreate(H5P_FILE_ACCESS));
  H5Pset_fapl_core(access.get(), 1 << 16, 0);
  static int count = 0;
  const std::string name = "memory-" + std::to_string(++count) + ".h5";
  id_ = h5gate::identifierToHost(H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access.get()));
}

MemoryFile::~MemoryFile() { H5Fclose(h5gate::identifierFromHost(id_)); }

namespace {

/// Identifiers of one kind, found by asking HDF5 of each number that it has given
/// out. It gives them out in order, so a fresh one tells how far to look.
class Census {
 public:
  template <class Make, class Close>
  std::size_t count(Make make, Close close) {
    const hid_t fresh = make();
    if (looked_ == 0) looked_ = fresh;  // what was there before the first count is HDF5's own
    for (hid_t id = looked_; id < fresh; ++id) {
      if (H5Iis_valid(id) > 0) open_.insert(id);
    }
    close(fresh);
    looked_ = fresh + 1;
    std::erase_if(open_, [](hid_t id) { return H5Iis_valid(id) <= 0; });
    return open_.size();
  }

 private:
  hid_t looked_ = 0;
  std::set<hid_t> open_;
};

}  // namespace

std::size_t openIdentifiers() {
  static std::array<Census, 5> census;
  const ssize_t inFiles = H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL);
  return static_cast<std::size_t>(std::max<ssize_t>(inFiles, 0)) +
         census[0].count([] { return H5Tcopy(H5T_NATIVE_INT); }, H5Tclose) +
         census[1].count([] { return H5Screate(H5S_SCALAR); }, H5Sclose) +
         census[2].count([] { return H5Pcreate(H5P_DATASET_XFER); }, H5Pclose) +
         census[3].count(
             [] {
               return H5Pcreate_class(H5P_ROOT, "census", nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr);
             },
             H5Pclose_class) +
         census[4].count([] { return H5Ecreate_stack(); }, H5Eclose_stack);
}

}  // namespace h5test
