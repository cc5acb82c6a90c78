#include "fuzz/call_sequence.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>

#include "fuzz/temporary_folder.hpp"
#include "runtime/call.hpp"
#include "runtime/host_error.hpp"

namespace fuzz {
namespace {

Value number(double value) { return zembra::makeDouble(value); }
Value text(const std::string& words) { return zembra::makeText(words); }
Value row(std::vector<double> values) { return zembra::makeRow(values); }
Value texts(const std::vector<std::string>& words) {
  Values items;
  for (const std::string& word : words) items.push_back(text(word));
  const std::size_t count = items.size();
  return zembra::makeCell({1, count}, std::move(items));
}

bool isClosing(std::string_view function) {
  return function.ends_with("close") || function == "H5Pclose_class" || function == "H5Idec_ref";
}

bool isCatalogued(std::string_view key) {
  static const std::set<std::string_view> keys = [] {
    std::set<std::string_view> all;
    for (const zembra::CatalogueEntry& entry : zembra::catalogue()) all.insert(entry.key);
    return all;
  }();
  return keys.contains(key);
}

}  // namespace

/// What HDF5 calls: it may call the gateway in turn, fail, stop and go on.
class CallSequence::Function : public zembra::Callable {
 public:
  Function(CallSequence& sequence, std::uint64_t seed) : sequence_(sequence), seed_(seed) {}

  Values call(int outputs, std::span<zbArray* const> inputs) override {
    std::array<std::uint8_t, sizeof seed_> seed{};
    std::memcpy(seed.data(), &seed_, sizeof seed_);
    Choices choices(seed);
    std::array<std::uint8_t, kBytesOfCall> bytes{};
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(choices.word());
    seed_ = choices.word();
    for (zbArray* input : inputs) {
      if (zbGetClass(input) == zbClass::Double && zbGetNumberOfElements(input) == 1) {
        sequence_.pools_.addIdentifier(zbGetScalar(input));
      }
    }
    if (sequence_.depth_ < 4 && !choices.oneIn(3)) {
      Choices inner(bytes);
      sequence_.step(inner);
    }
    if (choices.oneIn(12)) throw std::runtime_error("the function fails");
    Values results;
    if (!choices.oneIn(12)) results.push_back(number(choices.oneIn(6) ? 1 : 0));
    if (outputs > 1 && !results.empty() && !choices.oneIn(6)) {
      results.push_back(choices.oneIn(2) && !inputs.empty() ? zembra::share(inputs.back())
                                                            : row({1, 2}));
    }
    return results;
  }

 private:
  CallSequence& sequence_;
  std::uint64_t seed_;
};

CallSequence::CallSequence(std::span<const std::uint8_t> bytes, Tally& tally, bool aloud)
    : bytes_(bytes), tally_(tally), aloud_(aloud) {}

std::array<std::uint8_t, kBytesOfCall> closingCall(std::uint8_t variant) {
  const auto forms = zembra::python::allForms();
  const auto index =
      static_cast<std::size_t>(zembra::python::formsOf("H5close").data() - forms.data());
  return {static_cast<std::uint8_t>(index & 0xff), static_cast<std::uint8_t>(index >> 8), variant};
}

void CallSequence::run() {
  tally_.steps = 0;
  if (bytes_.empty()) return;
  variant_ = bytes_.front();
  prepare();
  for (auto rest = bytes_.subspan(1); !rest.empty();) {
    const std::size_t count = std::min(rest.size(), kBytesOfCall);
    Choices choices(rest.first(count));
    rest = rest.subspan(count);
    ++tally_.steps;
    step(choices);
  }
}

void CallSequence::end() {
  try {
    callAloud("H5close", {}, 0);
  } catch (const zembra::HostError&) {
    ++tally_.keptOpen;
  }
}

// --- Calls ---------------------------------------------------------------------------------

Values CallSequence::callAloud(const std::string& function, const Values& arguments, int nOut) {
  std::snprintf(tally_.function.data(), tally_.function.size(), "%s", function.c_str());
  if (aloud_) {
    std::printf("%*s%s(%s)", depth_ * 4, "", function.c_str(), inWords(arguments).c_str());
    std::fflush(stdout);
  }
  try {
    Values results = call(function, arguments, nOut);
    if (aloud_) std::printf(" -> %s\n", inWords(results).c_str());
    return results;
  } catch (const zembra::HostError& error) {
    if (aloud_) std::printf(" raises %s: %s\n", error->key.c_str(), error->text.c_str());
    throw;
  }
}

void CallSequence::step(Choices& choices) {
  ++depth_;
  const auto forms = zembra::python::allForms();
  const Form& form = forms[choices.below(forms.size())];
  const std::function<Value()> makeFunction = [&] {
    return zembra::makeFunction(std::make_shared<Function>(*this, choices.word()));
  };
  const std::string function(form.function);
  ++tally_.calls;
  const bool closes = function == "H5close";
  if (closes) variant_ = static_cast<unsigned>(choices.below(256));
  try {
    const Values arguments = CallArguments(form, pools_, choices, makeFunction).make();
    const std::size_t asked = choices.oneIn(16) ? choices.below(7) : form.results.size();
    const Values results = callAloud(function, arguments, static_cast<int>(asked));
    keep(form, arguments, results);
    ++tally_.done;
    if (closes) prepare();
  } catch (const zembra::HostError& error) {
    // A failure has one of the messages that are known, and no other.
    if (!error->libraryFailure && !isCatalogued(error->key) &&
        error->identifier.find(":host:") == std::string::npos) {
      std::fprintf(stderr, "%s raises the unknown %s\n", function.c_str(),
                   error->identifier.c_str());
      std::abort();
    }
    ++(error->libraryFailure ? tally_.refusedByHdf5 : tally_.refusedByUs);
    if (closes && depth_ == 1 && error->libraryFailure) ++tally_.keptOpen;
  } catch (const std::bad_alloc&) {
    if (aloud_) std::printf(" raises bad_alloc\n");
    ++tally_.withoutMemory;
  }
  --depth_;
}

void CallSequence::keep(const Form& form, const Values& arguments, const Values& results) {
  if (isClosing(form.function) && !arguments.empty() &&
      zbGetClass(arguments[0].get()) == zbClass::Double &&
      zbGetNumberOfElements(arguments[0].get()) == 1) {
    pools_.retire(zbGetScalar(arguments[0].get()));
  }
  for (std::size_t i = 0; i < results.size(); ++i) {
    const zbArray* result = results[i].get();
    const auto kind = zembra::python::kindIn(form.results, i);
    if (kind == zembra::python::Kind::Identifier || kind == zembra::python::Kind::NewIdentifier) {
      const auto* ids = static_cast<const double*>(zbGetData(result));
      if (zbGetClass(result) != zbClass::Double) continue;
      for (std::size_t k = 0; k < zbGetNumberOfElements(result); ++k) {
        pools_.addIdentifier(ids[k]);
      }
    } else if (form.function == "H5Rcreate") {
      pools_.addReference(results[i]);
    } else {
      pools_.addData(results[i]);
    }
  }
}

// --- What there is -------------------------------------------------------------------------

/// A call that should work while the library is in order.
Value CallSequence::make(const std::string& function, const Values& arguments) {
  const auto forms = zembra::python::formsOf(function);
  const Form* form = zembra::python::formFor(forms, arguments.size());
  if (form == nullptr) throw std::logic_error(function + " takes other arguments");
  try {
    const Values results = callAloud(function, arguments, static_cast<int>(form->results.size()));
    keep(*form, arguments, results);
    return results.empty() ? zembra::makeEmpty() : results[0];
  } catch (const zembra::HostError&) {
    return number(-1);
  }
}

void CallSequence::prepare() {
  pools_ = Pools();
  clearFolder(".");
  prepareLists();
  prepareTypes();
  prepareFiles();
}

void CallSequence::prepareLists() {
  for (const char* name : {"FILE_CREATE", "FILE_ACCESS", "FILE_MOUNT", "DATASET_CREATE",
                           "DATASET_ACCESS", "DATASET_XFER", "GROUP_CREATE", "LINK_CREATE",
                           "LINK_ACCESS", "OBJECT_COPY", "ATTRIBUTE_CREATE", "STRING_CREATE"}) {
    make("H5Pcreate", {text(std::string("H5P_") + name)});
  }
  const auto access = [&] { return make("H5Pcreate", {text("H5P_FILE_ACCESS")}); };
  const Value all = text("H5P_DEFAULT");
  make("H5Pset_fapl_family", {access(), number(4096), all});
  make("H5Pset_fapl_split", {access(), text("-m.h5"), all, text("-r.h5"), all});
  make("H5Pset_fapl_multi", {access(), zembra::makeLogical(true)});
  make("H5Pset_fapl_core", {access(), number(4096), zembra::makeLogical(false)});
  make("H5Pset_libver_bounds", {access(), text("H5F_LIBVER_LATEST"), text("H5F_LIBVER_LATEST")});
}

void CallSequence::prepareTypes() {
  const Value words = make("H5Tcopy", {text("H5T_C_S1")});
  make("H5Tset_size", {words, text("H5T_VARIABLE")});
  const Value record = make("H5Tcreate", {text("H5T_COMPOUND"), number(16)});
  make("H5Tinsert", {record, text("x"), number(0), text("H5T_NATIVE_DOUBLE")});
  make("H5Tinsert", {record, text("s"), number(8), words});
  const Value colours = make("H5Tenum_create", {text("H5T_NATIVE_SHORT")});
  make("H5Tenum_insert", {colours, text("red"), number(1)});
  make("H5Tvlen_create", {text("H5T_STD_I32LE")});
  make("H5Tarray_create", {text("H5T_NATIVE_INT"), row({2, 3})});
  make("H5Tcreate", {text("H5T_OPAQUE"), number(5)});
  make("H5Tcopy", {text("H5T_IEEE_F32BE")});
}

void CallSequence::prepareFiles() {
  const Value all = text("H5P_DEFAULT");
  const Value everything = text("H5S_ALL");
  const Value same = text("H5ZB_DEFAULT");
  const Value access = make("H5Pcreate", {text("H5P_FILE_ACCESS")});
  switch (variant_ % 8) {
    case 0: make("H5Pset_fapl_family", {access, number(4096), all}); break;
    case 1: make("H5Pset_fapl_split", {access, text("-m.h5"), all, text("-r.h5"), all}); break;
    case 2:
      make("H5Pset_libver_bounds", {access, text("H5F_LIBVER_LATEST"), text("H5F_LIBVER_LATEST")});
      break;
    case 3: break;
    default: make("H5Pset_fapl_core", {access, number(4096), zembra::makeLogical(false)});
  }
  const Value name = text(variant_ % 8 == 0 ? "file-%d.h5" : "file.h5");
  const Value file = make("H5Fcreate", {name, text("H5F_ACC_TRUNC"), all, access});
  const Value other = make("H5Fcreate", {text("other.h5"), text("H5F_ACC_TRUNC"), all, all});
  const Value group = make("H5Gcreate", {file, text("group"), number(0)});
  make("H5Gcreate", {other, text("group"), number(0)});

  const Value plane = make("H5Screate_simple", {number(2), row({3, 4}), row({-1, 4})});
  const Value line = make("H5Screate_simple", {number(1), row({3}), zembra::makeEmpty()});
  const Value scalar = make("H5Screate", {text("H5S_SCALAR")});
  make("H5Screate", {text("H5S_NULL")});
  const Value part = make("H5Scopy", {plane});
  make("H5Sselect_hyperslab", {part, text("H5S_SELECT_SET"), row({0, 0}), zembra::makeEmpty(),
                               row({2, 2}), zembra::makeEmpty()});
  const Value points = make("H5Scopy", {plane});
  const double places[] = {0, 0, 2, 3};
  make("H5Sselect_elements",
       {points, text("H5S_SELECT_SET"), zembra::makeNumeric(zbClass::Double, {2, 2}, places)});
  const Value chunks = make("H5Pcreate", {text("H5P_DATASET_CREATE")});
  make("H5Pset_chunk", {chunks, row({2, 2})});
  const Value packed = make("H5Pcopy", {chunks});
  make("H5Pset_shuffle", {packed});
  make("H5Pset_deflate", {packed, number(6)});

  const auto create = [&](const char* path, const Value& type, const Value& space,
                          const Value& list, const Value& data) {
    Value dataset = make("H5Dcreate", {file, text(path), type, space, list});
    make("H5Dwrite", {dataset, same, everything, everything, all, data});
    make("H5Dread", {dataset, same, everything, everything, all});
    return dataset;
  };
  std::vector<double> twelve(12);
  for (std::size_t i = 0; i < twelve.size(); ++i) twelve[i] = static_cast<double>(i);
  const Value values = zembra::makeNumeric(zbClass::Double, {4, 3}, twelve.data());
  create("data", text("H5T_IEEE_F64LE"), plane, chunks, values);
  create("chunks", text("H5T_STD_I32LE"), plane, packed, values);
  const Value words = make("H5Tcopy", {text("H5T_C_S1")});
  make("H5Tset_size", {words, text("H5T_VARIABLE")});
  create("words", words, line, all, texts({"one", "", "three"}));
  const Value sequences = make("H5Tvlen_create", {text("H5T_STD_I32LE")});
  create("sequences", sequences, line, all,
         zembra::makeCell({1, 3}, {row({1, 2}), zembra::makeEmpty(), row({3})}));
  const Value record = make("H5Tcreate", {text("H5T_COMPOUND"), number(16)});
  make("H5Tinsert", {record, text("x"), number(0), text("H5T_NATIVE_DOUBLE")});
  make("H5Tinsert", {record, text("s"), number(8), words});
  create("compound", record, line, all,
         zembra::makeStruct({{"x", row({1, 2, 3})}, {"s", texts({"a", "b", "c"})}}));
  const Value scale = create("scale", text("H5T_IEEE_F64LE"), line, all, row({1, 2, 3}));
  make("H5DSset_scale", {scale, text("scale")});
  const Value hung = create("hung", text("H5T_IEEE_F64LE"), line, all, row({1, 2, 3}));
  make("H5DSattach_scale", {hung, scale, number(0)});

  make("H5Acreate", {group, text("attribute"), text("H5T_STD_I32BE"), plane, all});
  const Value attribute = make("H5Acreate", {file, text("words"), words, scalar, all});
  make("H5Awrite", {attribute, same, text("word")});
  const Value committed = make("H5Tcopy", {text("H5T_STD_I16LE")});
  make("H5Tcommit", {file, text("type"), committed});
  make("H5Lcreate_soft", {text("/data"), file, text("soft"), all, all});
  make("H5Lcreate_soft", {text("/nowhere"), file, text("dangling"), all, all});
  make("H5Lcreate_soft", {text("/"), group, text("back"), all, all});
  make("H5Lcreate_external", {text("other.h5"), text("group"), file, text("external"), all, all});
  make("H5Rcreate", {file, text("data"), text("H5R_OBJECT"), number(-1)});
  make("H5Rcreate", {file, text("data"), text("H5R_DATASET_REGION"), part});
}

}  // namespace fuzz
