#include "fuzz/call_arguments.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "fuzz/vocabulary.hpp"

namespace fuzz {
namespace {

using zembra::python::Kind;
using Names = std::initializer_list<std::string_view>;

bool isOneOf(std::string_view name, Names names) {
  return std::ranges::find(names, name) != names.end();
}
bool endsWithOneOf(std::string_view name, Names ends) {
  return std::ranges::any_of(ends, [&](std::string_view end) { return name.ends_with(end); });
}

// --- Lists ---------------------------------------------------------------------------------

/// The class of list that has the property, by HDF5's name for it.
std::string classOfProperty(std::string_view function) {
  struct Properties {
    const char* listClass = nullptr;
    Names ends;
  };
  static const Properties kProperties[] = {
      {"file access",
       {"_alignment", "_cache", "_driver", "_core", "_family", "_log", "fapl_multi", "_sec2",
        "_split", "_stdio", "_degree", "gc_references", "_bounds", "_mdc_config", "_block_size",
        "_multi_type", "_buf_size", "_offset"}},
      {"file create", {"istore_k", "sizes", "sym_k", "userblock", "_version"}},
      {"data transfer", {"_ratios", "edc_check", "vector_size", "dxpl_multi", "preserve"}},
      {"group create", {"link_creation_order", "link_phase_change"}},
      {"link create", {"intermediate_group"}},
      {"string create", {"char_encoding"}},
      {"object copy", {"copy_object"}},
  };
  if (function.ends_with("chunk_cache")) return "dataset access";
  for (const auto& [listClass, ends] : kProperties) {
    if (endsWithOneOf(function, ends)) return listClass;
  }
  return "dataset create";
}

std::string classOfList(std::string_view function, std::string_view argument) {
  const char interface = function[2];
  if (argument == "creation_list") {
    switch (interface) {
      case 'A': return "attribute create";
      case 'D': return "dataset create";
      case 'F': return "file create";
      case 'G': return "group create";
      case 'T': return "datatype create";
      default: return "link create";
    }
  }
  if (argument == "access_list") {
    if (interface == 'D') return "dataset access";
    return interface == 'F' ? "file access" : "link access";
  }
  if (argument == "link_creation_list") return "link create";
  if (argument == "link_access_list") return "link access";
  if (isOneOf(argument, {"transfer_list", "memb_dxpl"})) return "data transfer";
  if (argument == "mount_list") return "file mount";
  if (argument == "copy_list") return "object copy";
  if (isOneOf(argument, {"memb_fapl", "meta_list", "raw_list"})) return "file access";
  return classOfProperty(function);
}

bool isList(std::string_view name) {
  return name.ends_with("_list") ||
         isOneOf(name, {"plist", "other_plist", "memb_fapl", "memb_dxpl"});
}

// --- Other identifiers ---------------------------------------------------------------------

Kinds kindsOf(std::string_view function, std::string_view name) {
  using enum ObjectKind;
  if (isOneOf(name, {"file", "child"})) return File;
  if (isOneOf(name, {"dataset", "scale"})) return Dataset;
  if (name == "attribute") return Attribute;
  if (name == "group") return Group | File;
  if (name.ends_with("space") || isOneOf(name, {"source", "destination"})) return Space;
  if (name.ends_with("type")) return Datatype;
  if (name == "plist_class") return ListClass;
  const Kinds objects = File | Group | Dataset | Datatype;
  if (function.starts_with("H5I")) {
    return objects | Kinds(Space) | Kinds(Attribute) | Kinds(ListClass) | Kinds(List);
  }
  if (function == "H5ZBget_mem_datatype") return Dataset | Attribute;
  return name == "object" ? objects : File | Group;
}

/// Names of files: whatever they are, they are to stay in the folder.
bool namesFiles(std::string_view function) {
  return function.starts_with("H5F") ||
         isOneOf(function, {"H5Lcreate_external", "H5Pset_external", "H5Pset_fapl_log",
                            "H5Pset_fapl_multi", "H5Pset_fapl_split", "H5Pset_mdc_config"});
}

bool readsReferences(std::string_view function) {
  return function.starts_with("H5R") && function != "H5Rcreate";
}

Value random(Choices& choices, zbClass type, std::span<const std::size_t> shape) {
  std::size_t count = 1;
  for (const std::size_t size : shape) count *= size;
  std::vector<std::uint64_t> words(count + 1);
  const bool small = !choices.oneIn(4);
  for (std::uint64_t& word : words) word = small ? choices.word() % 3 : choices.word();
  if (type == zbClass::Double) {
    std::vector<double> numbers(words.begin(), words.end());
    return zembra::makeNumeric(type, shape, numbers.data());
  }
  if (type == zbClass::Logical) {
    for (std::uint64_t& word : words) word &= 0x0101010101010101U;
  }
  return zembra::makeNumeric(type, shape, words.data());
}

}  // namespace

CallArguments::CallArguments(const Form& form, const Pools& pools, Choices& choices,
                             const std::function<Value()>& makeFunction)
    : form_(form),
      function_(form.function),
      pools_(pools),
      choices_(choices),
      makeFunction_(makeFunction) {}

Values CallArguments::make() {
  std::size_t count = choices_.oneIn(2) ? form_.fewest : form_.arguments.size();
  if (choices_.oneIn(64)) count = choices_.below(10);
  Values arguments(count);
  for (std::size_t i = 0; i < count; ++i) {
    arguments[i] = i >= form_.arguments.size() || choices_.oneIn(24) ? anything() : proper(i);
    if (readsReferences(form_.function) && form_.name(i) == "reference") {
      arguments[i] = reference();
    }
    if (namesFiles(form_.function)) arguments[i] = keptInFolder(arguments[i]);
  }
  return arguments;
}

Value CallArguments::proper(std::size_t index) {
  const std::string_view name = form_.name(index);
  switch (zembra::python::kindIn(form_.arguments, index)) {
    case Kind::Identifier:
    case Kind::NewIdentifier: return identifier(name);
    case Kind::MemoryType:
      if (choices_.oneIn(2)) return zembra::makeText("H5ZB_DEFAULT");
      return identifier(name);
    case Kind::Whole: return whole(name);
    case Kind::YesOrNo: return zembra::makeLogical(choices_.oneIn(2));
    case Kind::Real: return isRow(name) ? row() : zembra::makeDouble(0.25 * smallNumber());
    case Kind::Text: return text(name);
    case Kind::Data:
      if (function_ == "H5Pset") return rawBytes();
      [[fallthrough]];
    case Kind::Code:
    case Kind::Object: return choices_.oneIn(3) ? array() : pools_.data(choices_);
    case Kind::Callback: return makeFunction_();
    case Kind::Record: return record();
  }
  return anything();
}

Value CallArguments::anything() {
  switch (choices_.below(12)) {
    case 0: return zembra::makeDouble(pools_.closed(choices_));
    case 1: return zembra::makeDouble(number());
    case 2: return row();
    case 3: return array();
    case 4: return zembra::makeEmpty();
    case 5: return zembra::makeText(choices_.any(vocabulary().constants));
    case 6: return text("");
    case 7: return makeFunction_();
    case 8: return record();
    case 9: {  // what the library, or nobody, has
      const double kind = static_cast<double>(1 + choices_.below(14));
      return zembra::makeDouble(kind * (1 << 24) + static_cast<double>(choices_.below(300)));
    }
    case 10: {
      Values items(choices_.below(4));
      for (Value& item : items) item = choices_.oneIn(2) ? text("") : row();
      const std::size_t count = items.size();
      return zembra::makeCell({1, count}, std::move(items));
    }
    default: return pools_.data(choices_);
  }
}

// --- Identifiers ---------------------------------------------------------------------------

Value CallArguments::identifier(std::string_view name) {
  if (isList(name)) return list(name);
  const Vocabulary& words = vocabulary();
  if (name.ends_with("type") && function_ != "H5Dfill" && choices_.oneIn(3)) {
    return zembra::makeText(choices_.any(words.datatypes));
  }
  if (name == "plist_class" && !choices_.oneIn(4)) {
    return zembra::makeText(choices_.any(words.listClasses));
  }
  if (isOneOf(name, {"mem_space", "file_space"}) && choices_.oneIn(2)) {
    return zembra::makeText("H5S_ALL");
  }
  if (function_ == "H5Rcreate" && name == "space" && choices_.oneIn(2))
    return zembra::makeDouble(-1);
  if (choices_.oneIn(32)) return zembra::makeDouble(pools_.closed(choices_));
  return zembra::makeDouble(pools_.open(choices_, kindsOf(function_, name)));
}

Value CallArguments::list(std::string_view name) {
  if (!name.ends_with("plist") && choices_.oneIn(2)) return zembra::makeText("H5P_DEFAULT");
  const auto one = [&] {
    return choices_.oneIn(16) ? pools_.open(choices_, ObjectKind::List)
                              : pools_.list(choices_, classOfList(function_, name));
  };
  if (!name.starts_with("memb_")) return zembra::makeDouble(one());
  std::vector<double> several(choices_.oneIn(8) ? choices_.below(9) : 7);
  for (double& id : several) id = choices_.oneIn(2) ? 0 : one();
  return zembra::makeRow(several);
}

// --- Numbers -------------------------------------------------------------------------------

double CallArguments::smallNumber() { return static_cast<double>(choices_.below(7)); }

double CallArguments::number() {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static const double kUsual[] = {7, 8, 10, 12, 16, 32, 64, 100, 512, 1000, 4096, 65536};
  static const double kSpecial[] = {
      -1,     -2,   0.5,    2.7,        1e6,    1e10,   0x1p31,     0x1p32 - 1, 0x1p32 + 1,
      0x1p40, -1e9, 0x1p52, 0x1p61 + 8, 0x1p62, 0x1p63, 0x1p64 - 1, kNaN,       kInfinity};
  const std::size_t choice = choices_.below(16);
  if (choice < 10) return smallNumber();
  return choice < 15 ? choices_.any(kUsual) : choices_.any(kSpecial);
}

bool CallArguments::isRow(std::string_view name) const {
  if (isOneOf(name, {"dims", "maxdims", "stride", "block", "client_data", "memb_map", "memb_addr",
                     "permutation"})) {
    return true;
  }
  if (isOneOf(name, {"start", "count"})) return function_ == "H5Sselect_hyperslab";
  if (name == "size") return isOneOf(function_, {"H5Dextend", "H5Dset_extent"});
  return name == "offset" && function_ == "H5Soffset_simple";
}

Value CallArguments::whole(std::string_view name) {
  if (name == "coordinates") return matrix();
  if (isRow(name)) return row();
  if (!choices_.oneIn(16)) {
    const Words& names = enumeratorsOf(function_, name);
    if (!names.empty()) return zembra::makeText(choices_.any(names));
  }
  const bool isPlace =
      isOneOf(name, {"position", "index", "dim", "start", "start_point", "start_block"});
  return zembra::makeDouble(isPlace && choices_.oneIn(2) ? 0 : number());
}

Value CallArguments::row() {
  static const std::size_t kLengths[] = {2, 2, 2, 2, 1, 1, 3, 0, 7, 5};
  if (choices_.oneIn(12)) return zembra::makeEmpty();
  std::vector<double> values(choices_.any(kLengths));
  for (double& value : values) {
    value = choices_.oneIn(24) ? number() : choices_.oneIn(8) ? -1 : smallNumber();
  }
  return zembra::makeRow(values);
}

Value CallArguments::matrix() {
  const std::size_t rank = 1 + choices_.below(3);
  const std::size_t count = choices_.below(5);
  std::vector<double> values(rank * count);
  for (double& value : values) value = choices_.oneIn(24) ? number() : smallNumber();
  const std::size_t shape[] = {rank, count};
  return zembra::makeNumeric(zbClass::Double, shape, values.data());
}

// --- Texts ---------------------------------------------------------------------------------

Value CallArguments::text(std::string_view name) {
  const Vocabulary& words = vocabulary();
  const auto oneOf = [&](const Words& from) { return zembra::makeText(choices_.any(from)); };
  if (choices_.oneIn(24)) {
    std::string letters(std::size_t{1} << choices_.below(14), 'n');
    for (std::size_t i = 0; i < letters.size(); i += 7) {
      letters[i] = static_cast<char>(choices_.word());
      if (letters[i] == '/' || letters[i] == '.') letters[i] = '_';
    }
    return zembra::makeText(letters);
  }
  if (isOneOf(name, {"memb_name"})) {
    Values names(choices_.oneIn(4) ? choices_.below(9) : 7);
    for (Value& one : names) one = oneOf(words.files);
    const std::size_t count = names.size();
    return zembra::makeCell({1, count}, std::move(names));
  }
  if (name.starts_with("file") || isOneOf(name, {"logfile", "meta_ext", "raw_ext"}) ||
      isOneOf(function_, {"H5Fcreate", "H5Fopen", "H5Fis_hdf5", "H5Pset_external"})) {
    return oneOf(words.files);
  }
  if (name == "name") {
    if (function_.starts_with("H5A")) return oneOf(words.attributes);
    if (function_.starts_with("H5P")) return oneOf(words.properties);
    if (function_.starts_with("H5ZB")) return oneOf(words.constants);
    if (function_.starts_with("H5T") && function_ != "H5Topen" && function_ != "H5Tcommit") {
      return oneOf(words.members);
    }
  }
  return oneOf(name == "new_name" && !choices_.oneIn(4) ? words.newObjects : words.objects);
}

// --- Arrays --------------------------------------------------------------------------------

Value CallArguments::array() {
  static const std::vector<std::size_t> kShapes[] = {{1, 1}, {4, 3}, {1, 12},   {1, 3}, {3, 1},
                                                     {0, 0}, {2, 2}, {2, 3, 2}, {5, 4}, {16, 1}};
  switch (choices_.below(8)) {
    case 0: return text("");
    case 1: {
      static const std::size_t kCounts[] = {12, 3, 1, 4};
      Values items(choices_.any(kCounts));
      const bool texts = choices_.oneIn(2);
      for (Value& item : items) item = texts ? text("") : row();
      const std::size_t count = items.size();
      return zembra::makeCell({1, count}, std::move(items));
    }
    case 2: {
      const std::vector<std::size_t>& shape = choices_.any(kShapes);
      return zembra::makeStruct({{"x", random(choices_, zbClass::Double, shape)},
                                 {"s", choices_.oneIn(2) ? text("") : anything()}});
    }
    case 3: return row();
    default: {
      const auto type =
          static_cast<zbClass>(static_cast<std::size_t>(zbClass::Logical) + choices_.below(12));
      if (type == zbClass::Char) return text("");
      return random(choices_, choices_.oneIn(2) ? zbClass::Double : type, choices_.any(kShapes));
    }
  }
}

Value CallArguments::rawBytes() {
  static const std::size_t kSizes[] = {4, 8, 1, 16, 24, 72, 2, 12, 0};
  if (choices_.oneIn(4)) return pools_.data(choices_);
  const std::size_t shape[] = {1, choices_.any(kSizes)};
  return random(choices_, zbClass::UInt8, shape);
}

/// One of a file's, one with some bytes that are others, or just bytes of that size.
Value CallArguments::reference() {
  Value real = pools_.reference(choices_);
  const zbArray* array = real.get();
  if (zbGetClass(array) != zbClass::UInt8 || !choices_.oneIn(3)) return real;
  const auto* const begin = static_cast<const std::uint8_t*>(zbGetData(array));
  std::vector<std::uint8_t> bytes(begin, begin + zbGetNumberOfElements(array));
  if (bytes.empty()) return real;
  const bool all = choices_.oneIn(4);
  for (std::uint8_t& byte : bytes) {
    if (all) byte = static_cast<std::uint8_t>(choices_.word());
  }
  for (std::size_t i = choices_.below(4); i > 0; --i) {
    choices_.any(bytes) = static_cast<std::uint8_t>(choices_.word() >> choices_.below(9));
  }
  const std::size_t shape[] = {1, bytes.size()};
  return zembra::makeNumeric(zbClass::UInt8, shape, bytes.data());
}

/// The configuration of a cache, with something else in one place or none.
Value CallArguments::record() {
  Value config;
  try {
    config =
        call("H5Fget_mdc_config", {zembra::makeDouble(pools_.open(choices_, ObjectKind::File))})
            .at(0);
  } catch (const std::exception&) {
    return zembra::makeStruct({{"x", row()}, {"s", text("")}});
  }
  const zembra::Composite& composite = *config.get()->composite;
  std::vector<std::pair<std::string, Value>> fields;
  for (std::size_t i = 0; i < composite.names.size(); ++i) {
    fields.emplace_back(composite.names[i], zembra::share(composite.values[i]));
  }
  if (!choices_.oneIn(3)) {
    auto& [name, value] = choices_.any(fields);
    if (zbGetClass(value.get()) == zbClass::Char) {
      value = text("logfile");
    } else {
      value = choices_.oneIn(8) ? anything() : zembra::makeDouble(number());
    }
  }
  return zembra::makeStruct(std::move(fields));
}

// --- Files ---------------------------------------------------------------------------------

Value CallArguments::keptInFolder(const Value& value) const {
  const zbArray* array = value.get();
  if (zbGetClass(array) == zbClass::Char) {
    std::string words = zbGetNumberOfElements(array) == 0 ? "" : textOf(value);
    std::ranges::replace(words, '/', '_');
    return zembra::makeText(words);
  }
  if (zbGetClass(array) == zbClass::Cell) {
    Values items;
    for (const Value& item : cellsOf(value)) items.push_back(keptInFolder(item));
    const std::size_t count = items.size();
    return zembra::makeCell({1, count}, std::move(items));
  }
  if (zbGetClass(array) == zbClass::Struct) {
    const zembra::Composite& composite = *array->composite;
    std::vector<std::pair<std::string, Value>> fields;
    for (std::size_t i = 0; i < composite.names.size(); ++i) {
      fields.emplace_back(composite.names[i], keptInFolder(zembra::share(composite.values[i])));
    }
    return zembra::makeStruct(std::move(fields));
  }
  return value;
}

}  // namespace fuzz
