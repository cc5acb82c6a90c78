#include "tests/faults/fault_tasks.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>

#include "runtime/call.hpp"
#include "runtime/host_error.hpp"

namespace faults {
namespace {

constexpr std::size_t kValues = 12;

Value number(double value) { return zembra::makeDouble(value); }
Value text(const char* words) { return zembra::makeText(words); }
Value row(const std::vector<double>& values) { return zembra::makeRow(values); }
Value none() { return zembra::makeEmpty(); }
Value cell(Values items) {
  const std::size_t count = items.size();
  return zembra::makeCell({1, count}, std::move(items));
}
Value texts(const std::vector<const char*>& words) {
  Values items;
  for (const char* word : words) items.push_back(text(word));
  return cell(std::move(items));
}
/// begin, begin + 1 ...
Value counting(double begin, std::size_t count = kValues) {
  std::vector<double> values(count);
  std::iota(values.begin(), values.end(), begin);
  return row(values);
}
Value all() { return text("H5S_ALL"); }
Value standard() { return text("H5P_DEFAULT"); }
Value own() { return text("H5ZB_DEFAULT"); }

double numberOf(const Value& value) { return zbGetScalar(value.get()); }

/// Whether they say the same, whatever their shapes are.
bool isSame(const Value& one, const Value& other) {
  const zbArray* left = one.get();
  const zbArray* right = other.get();
  if (zbGetClass(left) == zbClass::Cell && zbGetClass(right) == zbClass::Cell) {
    return std::ranges::equal(fuzz::cellsOf(one), fuzz::cellsOf(other), isSame);
  }
  if (zbGetNumberOfElements(left) != zbGetNumberOfElements(right)) return false;
  return zbGetNumberOfElements(left) == 0 ||
         (zbGetClass(left) == zbGetClass(right) &&
          std::memcmp(zbGetData(left), zbGetData(right),
                      zbGetNumberOfElements(left) * zbGetElementSize(left)) == 0);
}

void expect(const Value& found, const Value& expected, const char* what) {
  if (!isSame(found, expected)) throw Wrong{std::string(what) + ": " + fuzz::inWords(found)};
}

Value read(Script& script, const Value& dataset) {
  return script.call("H5Dread", {dataset, own(), all(), all(), standard()});
}
void write(Script& script, const Value& dataset, const Value& values) {
  script.call("H5Dwrite", {dataset, own(), all(), all(), standard(), values}, 0);
}
Value line(Script& script, double size, double most) {
  return script.open("H5Screate_simple", {number(1), number(size), number(most)}, "H5Sclose");
}
Value create(Script& script, const Value& file, const char* name, const Value& type,
             const Value& space, const Value& list) {
  return script.open("H5Dcreate", {file, text(name), type, space, list}, "H5Dclose");
}
Value chunks(Script& script, double size = 5) {
  Value list = script.open("H5Pcreate", {text("H5P_DATASET_CREATE")}, "H5Pclose");
  script.call("H5Pset_chunk", {list, number(size)}, 0);
  return list;
}
Value textType(Script& script) {
  Value type = script.open("H5Tcopy", {text("H5T_C_S1")}, "H5Tclose");
  script.call("H5Tset_size", {type, text("H5T_VARIABLE")}, 0);
  return type;
}

// --- Tasks ---------------------------------------------------------------------------------

void nothing(Script& /*script*/) {}

void createFile(Script& script) {
  const Value file = script.open(
      "H5Fcreate", {text("made.h5"), text("H5F_ACC_TRUNC"), standard(), standard()}, "H5Fclose");
  const Value space = line(script, kValues, kValues);
  const Value dataset = create(script, file, "numbers", text("H5T_IEEE_F64LE"), space, standard());
  write(script, dataset, counting(1));
  expect(read(script, dataset), counting(1), "numbers");
  script.closeAll();
}

void extend(Script& script) {
  script.call("H5Dset_extent", {script.dataset, number(40)}, 0);
  const Value space = script.open("H5Dget_space", {script.dataset}, "H5Sclose");
  script.call("H5Sselect_hyperslab",
              {space, text("H5S_SELECT_SET"), number(kValues), none(), number(28), none()}, 0);
  const Value memory = line(script, 28, 28);
  script.call("H5Dwrite", {script.dataset, own(), memory, space, standard(), counting(13, 28)}, 0);
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
  expect(read(script, script.dataset), counting(1, 40), "extended");
}

void transferSequences(Script& script) {
  const Value type = script.open("H5Tvlen_create", {text("H5T_IEEE_F64LE")}, "H5Tclose");
  const Value dataset =
      create(script, script.file, "sequences", type, line(script, 3, 3), standard());
  const Value values = cell({counting(1, 3), none(), counting(4, 2)});
  write(script, dataset, values);
  expect(read(script, dataset), values, "sequences");
}

void transferTexts(Script& script) {
  const Value dataset =
      create(script, script.file, "texts", textType(script), line(script, 3, 3), standard());
  const Value values = texts({"one", "", "three"});
  write(script, dataset, values);
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
  expect(read(script, dataset), values, "texts");
}

void transferRecords(Script& script) {
  const Value type = script.open("H5Tcreate", {text("H5T_COMPOUND"), number(16)}, "H5Tclose");
  script.call("H5Tinsert", {type, text("x"), number(0), text("H5T_IEEE_F64LE")}, 0);
  script.call("H5Tinsert", {type, text("s"), number(8), textType(script)}, 0);
  const Value dataset =
      create(script, script.file, "records", type, line(script, 3, 3), standard());
  const Value names = texts({"a", "bc", ""});
  write(script, dataset, zembra::makeStruct({{"x", counting(1, 3)}, {"s", names}}));
  const Value records = read(script, dataset);
  const auto& fields = records.get()->composite->values;
  expect(zembra::share(fields.at(0)), counting(1, 3), "records' numbers");
  expect(zembra::share(fields.at(1)), names, "records' texts");
}

void compressIn(Script& script, double chunk, std::size_t count) {
  const Value list = chunks(script, chunk);
  script.call("H5Pset_shuffle", {list}, 0);
  script.call("H5Pset_deflate", {list, number(1)}, 0);
  const auto size = static_cast<double>(count);
  const Value dataset =
      create(script, script.file, "packed", text("H5T_IEEE_F64LE"), line(script, size, size), list);
  write(script, dataset, counting(1, count));
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
  script.close(dataset);
  const Value again = script.open("H5Dopen", {script.file, text("packed")}, "H5Dclose");
  expect(read(script, again), counting(1, count), "packed");
}

void compress(Script& script) { compressIn(script, 5, 1000); }

/// Enough for the gateway to pack and unpack the chunks itself, on threads.
void compressMuch(Script& script) { compressIn(script, 100'000, 450'000); }

void useAttributes(Script& script) {
  const Value space = line(script, 3, 3);
  const Value attribute = script.open(
      "H5Acreate", {script.dataset, text("a"), text("H5T_IEEE_F64LE"), space, standard()},
      "H5Aclose");
  script.call("H5Awrite", {attribute, own(), counting(1, 3)}, 0);
  const Value words =
      script.open("H5Acreate", {script.dataset, text("words"), textType(script), space, standard()},
                  "H5Aclose");
  script.call("H5Awrite", {words, own(), texts({"x", "yz", ""})}, 0);
  expect(script.call("H5Aread", {attribute, own()}), counting(1, 3), "attribute");
  expect(script.call("H5Aread", {words, own()}), texts({"x", "yz", ""}), "attribute of texts");
  script.call("H5Adelete", {script.dataset, text("a")}, 0);
}

void useLinks(Script& script) {
  const Value group = script.open("H5Gcreate", {script.file, text("g"), number(0)}, "H5Gclose");
  script.call("H5Lcreate_soft", {text("/kept"), group, text("soft"), standard(), standard()}, 0);
  script.call("H5Lcreate_hard",
              {script.file, text("kept"), group, text("hard"), standard(), standard()}, 0);
  script.call("H5Lmove", {group, text("hard"), script.file, text("moved"), standard(), standard()},
              0);
  const Value target = script.call("H5Lget_val", {group, text("soft"), standard()});
  if (fuzz::inWords(target).find("/kept") == std::string::npos) throw Wrong{"soft link"};
  script.call("H5Ldelete", {script.file, text("moved"), standard()}, 0);
}

/// Asks the gateway of what it is given.
class Visitor : public zembra::Callable {
 public:
  Values call(int /*outputs*/, std::span<zbArray* const> inputs) override {
    const Value name = fuzz::call("H5Iget_name", {zembra::share(inputs[0])}).at(0);
    seen += fuzz::textOf(name) + fuzz::textOf(zembra::share(inputs[1])) + ",";
    return {number(0), zembra::share(inputs.back())};
  }
  std::string seen;
};

void iterate(Script& script) {
  const auto visitor = std::make_shared<Visitor>();
  script.call("H5Literate",
              {script.file, text("H5_INDEX_NAME"), text("H5_ITER_INC"), number(0),
               zembra::makeFunction(visitor), number(7)},
              3);
  script.call("H5Ovisit",
              {script.file, text("H5_INDEX_NAME"), text("H5_ITER_INC"),
               zembra::makeFunction(visitor), number(7)},
              2);
  if (visitor->seen != "/kept,/.,/kept,") throw Wrong{"visited " + visitor->seen};
}

class Counter : public zembra::Callable {
 public:
  Values call(int /*outputs*/, std::span<zbArray* const> /*inputs*/) override {
    return {number(0)};
  }
};

void failToOpen(Script& script) {
  try {
    script.call("H5Dopen", {script.file, text("nowhere")});
    throw Wrong{"what is not there was opened"};
  } catch (const zembra::HostError& error) {
    if (!error->libraryFailure) throw;
  }
  script.call("H5Ewalk",
              {text("H5E_WALK_UPWARD"), zembra::makeFunction(std::make_shared<Counter>())}, 0);
}

void dirty(Script& script) {
  script.call("H5Dset_extent", {script.dataset, number(400)}, 0);
  script.call("H5Gcreate", {script.file, text("new"), number(0)});
}

void closeFile(Script& script) {
  script.close(script.dataset);
  script.close(script.file);
}

void useDatatypes(Script& script) {
  const Value type = script.open("H5Tcreate", {text("H5T_COMPOUND"), number(16)}, "H5Tclose");
  script.call("H5Tinsert", {type, text("x"), number(0), text("H5T_IEEE_F64BE")}, 0);
  const Value colours = script.open("H5Tenum_create", {text("H5T_NATIVE_INT")}, "H5Tclose");
  script.call("H5Tenum_insert", {colours, text("red"), number(1)}, 0);
  script.call("H5Tinsert", {type, text("c"), number(8), colours}, 0);
  const Value native =
      script.open("H5Tget_native_type", {type, text("H5T_DIR_DEFAULT")}, "H5Tclose");
  if (numberOf(script.call("H5Tget_nmembers", {native})) != 2) throw Wrong{"members"};
  const Value copy = script.open("H5Tcopy", {type}, "H5Tclose");
  script.call("H5Tpack", {copy}, 0);
  script.call("H5Tcommit", {script.file, text("type"), copy}, 0);
  const Value again = script.open("H5Topen", {script.file, text("type")}, "H5Tclose");
  if (numberOf(script.call("H5Tget_size", {again})) != 12) throw Wrong{"size of the type"};
}

void useLists(Script& script) {
  const Value list = chunks(script);
  script.call("H5Pset_fill_value", {list, text("H5T_NATIVE_DOUBLE"), number(4.5)}, 0);
  const Value copy = script.open("H5Pcopy", {list}, "H5Pclose");
  const Value filled = script.call("H5Pget_fill_value", {copy, text("H5T_NATIVE_DOUBLE")});
  if (numberOf(filled) != 4.5) throw Wrong{"fill value"};
  const Value dataset =
      create(script, script.file, "filled", text("H5T_IEEE_F64LE"), line(script, 5, 5), copy);
  expect(read(script, dataset), row({4.5, 4.5, 4.5, 4.5, 4.5}), "filled");
  script.open("H5Dget_create_plist", {dataset}, "H5Pclose");
  if (numberOf(script.call("H5Pequal", {list, copy})) != 1) throw Wrong{"equal lists"};
}

void useReferences(Script& script) {
  const Value space = script.open("H5Dget_space", {script.dataset}, "H5Sclose");
  script.call("H5Sselect_hyperslab",
              {space, text("H5S_SELECT_SET"), number(2), none(), number(3), none()}, 0);
  const Value region = text("H5R_DATASET_REGION");
  const Value reference = script.call("H5Rcreate", {script.file, text("kept"), region, space});
  const Value target = script.open("H5Rdereference", {script.file, region, reference}, "H5Dclose");
  const Value part = script.open("H5Rget_region", {script.file, region, reference}, "H5Sclose");
  if (numberOf(script.call("H5Sget_select_npoints", {part})) != 3) throw Wrong{"region"};
  expect(read(script, target), counting(1), "dereferenced");
}

void openAndRead(Script& script) {
  const Value file =
      script.open("H5Fopen", {text("base.h5"), text("H5F_ACC_RDONLY"), standard()}, "H5Fclose");
  const Value dataset = script.open("H5Dopen", {file, text("kept")}, "H5Dclose");
  expect(read(script, dataset), counting(1), "kept");
}

void copyAndDelete(Script& script) {
  script.call("H5Ocopy",
              {script.file, text("kept"), script.file, text("copy"), standard(), standard()}, 0);
  const Value copy = script.open("H5Dopen", {script.file, text("copy")}, "H5Dclose");
  expect(read(script, copy), counting(1), "copy");
  script.close(copy);
  script.call("H5Gunlink", {script.file, text("copy")}, 0);
}

/// A file grows by what nobody has written yet, and shrinks again.
void reserve(Script& script) {
  const Value list = script.open("H5Pcreate", {text("H5P_DATASET_CREATE")}, "H5Pclose");
  script.call("H5Pset_alloc_time", {list, text("H5D_ALLOC_TIME_EARLY")}, 0);
  script.call("H5Pset_fill_time", {list, text("H5D_FILL_TIME_NEVER")}, 0);
  const Value dataset = create(script, script.file, "reserved", text("H5T_IEEE_F64LE"),
                               line(script, 100000, 100000), list);
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
  script.close(dataset);
  script.call("H5Gunlink", {script.file, text("reserved")}, 0);
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
}

void useScales(Script& script) {
  const Value scale = create(script, script.file, "scale", text("H5T_IEEE_F64LE"),
                             line(script, kValues, kValues), standard());
  script.call("H5DSset_scale", {scale, text("metres")}, 0);
  script.call("H5DSattach_scale", {script.dataset, scale, number(0)}, 0);
  if (fuzz::textOf(script.call("H5DSget_scale_name", {scale})) != "metres") throw Wrong{"scale"};
  script.call("H5DSdetach_scale", {script.dataset, scale, number(0)}, 0);
}

void closeLibrary(Script& script) { script.call("H5close", {}, 0); }

}  // namespace

const std::vector<Task>& tasks() {
  static const std::vector<Task> all = {
      {"create", nothing, createFile},
      {"extend", nothing, extend},
      {"sequences", nothing, transferSequences},
      {"texts", nothing, transferTexts},
      {"records", nothing, transferRecords},
      {"compress", nothing, compress},
      {"threads", nothing, compressMuch},
      {"attributes", nothing, useAttributes},
      {"links", nothing, useLinks},
      {"iterate", nothing, iterate},
      {"error", nothing, failToOpen},
      {"close", dirty, closeFile},
      {"datatypes", nothing, useDatatypes},
      {"lists", nothing, useLists},
      {"references", nothing, useReferences},
      {"open", closeFile, openAndRead},
      {"copy", nothing, copyAndDelete},
      {"reserve", nothing, reserve},
      {"scales", nothing, useScales},
      {"library", dirty, closeLibrary},
  };
  return all;
}

// --- Scripts -------------------------------------------------------------------------------

Value Script::call(const std::string& function, const Values& arguments, int nOut) {
  const Values results = fuzz::call(function, arguments, nOut);
  return results.empty() ? none() : results[0];
}

Value Script::open(const std::string& function, const Values& arguments, const char* close) {
  opened_.reserve(opened_.size() + 1);  // what cannot be kept in mind is not to be opened
  Value id = call(function, arguments);
  opened_.push_back({id, close});
  return id;
}

void Script::close(const Value& id) {
  const auto found = std::ranges::find_if(
      opened_, [&](const Opened& one) { return numberOf(one.id) == numberOf(id); });
  if (found == opened_.end()) return;
  fuzz::call(found->close, {id}, 0);
  opened_.erase(found);
}

void Script::closeAll() {
  while (!opened_.empty()) {
    fuzz::call(opened_.back().close, {opened_.back().id}, 0);
    opened_.pop_back();
  }
}

void makeBase(Script& script) {
  script.file = script.open(
      "H5Fcreate", {text("base.h5"), text("H5F_ACC_TRUNC"), standard(), standard()}, "H5Fclose");
  Script aside;
  script.dataset = script.open(
      "H5Dcreate",
      {script.file, text("kept"), text("H5T_IEEE_F64LE"), line(aside, kValues, -1), chunks(aside)},
      "H5Dclose");
  write(script, script.dataset, counting(1));
  script.call("H5Fflush", {script.file, text("H5F_SCOPE_GLOBAL")}, 0);
  aside.closeAll();
}

void checkBase() {
  Script script;
  const Value file =
      script.open("H5Fopen", {text("base.h5"), text("H5F_ACC_RDONLY"), standard()}, "H5Fclose");
  const Value dataset = script.open("H5Dopen", {file, text("kept")}, "H5Dclose");
  const Value found = read(script, dataset);
  script.closeAll();
  const auto* values = static_cast<const double*>(zbGetData(found.get()));
  for (std::size_t i = 0; i < kValues; ++i) {
    if (zbGetNumberOfElements(found.get()) < kValues || values[i] != static_cast<double>(i + 1)) {
      throw Wrong{"the file has " + fuzz::inWords(found)};
    }
  }
}

void doNextTask() {
  Script script;
  const Value file = script.open(
      "H5Fcreate", {text("next.h5"), text("H5F_ACC_TRUNC"), standard(), standard()}, "H5Fclose");
  script.file = file;
  transferSequences(script);
  transferTexts(script);
  compress(script);
  script.closeAll();
}

}  // namespace faults
