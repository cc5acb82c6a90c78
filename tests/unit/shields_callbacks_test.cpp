// Callbacks that take away what HDF5 or the host stands on: in a child process, whatever
// they do.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"

namespace {

using namespace h5test;

// --- Deep nesting --------------------------------------------------------------------

/// What an iteration raises whose callback begins it anew, for ever.
struct Nested {
  Failure error;
  int depth = 0;

  explicit Nested(const std::function<void(const Value&)>& iterate) {
    Value again;
    again = function([&](int outputs, std::span<zbArray* const> /*inputs*/) {
      ++depth;
      iterate(again);
      return Results(static_cast<std::size_t>(outputs), number(0));
    });
    error = raisedBy([&] { iterate(again); });
    again = empty();
  }
};

void runOnStackOf(std::size_t size, std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, size);
  const auto run = [](void* body) -> void* {
    (*static_cast<std::function<void()>*>(body))();
    H5Eclear2(H5E_DEFAULT);  // HDF5 does not free the records of a thread that ends
    return nullptr;
  };
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

class DeepCallbacks : public testing::Test {
 protected:
  DeepCallbacks() { makeGroup(file_, "g"); }

  /// Those with user data, without, and with a report.
  [[nodiscard]] std::vector<std::function<void(const Value&)>> iterations() const {
    return {
        [this](const Value& f) {
          call("H5Literate", file_, "H5_INDEX_NAME", "H5_ITER_INC", 0, f, empty());
        },
        [this](const Value& f) {
          // Its failure is an answer.
          if (callNumbers("H5Giterate", file_, "/", 0, f)[0] < 0) fails();
        },
        [this](const Value& f) {
          call("H5Ovisit", file_, "H5_INDEX_NAME", "H5_ITER_INC", f, empty());
        },
    };
  }

  static void fails() { call("H5Fclose", kNoIdentifier); }

  MemoryFile file_;
};

TEST(CallbacksOfBareHdf5, ThatNestForEverKill) {
  EXPECT_TRUE(kills([] {
    const MemoryFile file;
    makeGroup(file, "g");
    const H5G_iterate_t again = [](hid_t group, const char* /*name*/, void* self) {
      return H5Giterate(group, "/", nullptr, *static_cast<H5G_iterate_t*>(self), self);
    };
    H5G_iterate_t self = again;
    H5Giterate(file.get(), "/", nullptr, again, &self);
  }));
}

TEST(CallbacksOfBareHdf5, ThatCloseTheLibraryKill) {
  EXPECT_TRUE(kills([] {
    const MemoryFile file;
    makeGroup(file, "g");
    makeGroup(file, "h");
    const H5G_iterate_t close = [](hid_t /*group*/, const char* /*name*/, void* /*data*/) {
      return H5close();
    };
    H5Giterate(file.get(), "/", nullptr, close, nullptr);
    _exit(EXIT_SUCCESS);
  }));
}

TEST_F(DeepCallbacks, EndWithAnErrorBeforeTheStackDoes) {
  for (const auto& iterate : iterations()) {
    const Nested nested(iterate);
    EXPECT_TRUE(nested.error);
    EXPECT_GT(nested.depth, 100);
  }
}

TEST_F(DeepCallbacks, EndOnSmallStacksToo) {
  for (const std::size_t size : {128UL << 10, 512UL << 10}) {
    for (const auto& iterate : iterations()) {
      runOnStackOf(size, [&] {
        const Nested nested(iterate);
        EXPECT_TRUE(nested.error);
        EXPECT_GT(nested.depth, 5);
      });
    }
  }
}

TEST_F(DeepCallbacks, SayWhy) {
  std::vector<StackRecord> innermost;
  Value again;
  const auto iterate = [&] {
    const double status = callNumbers("H5Giterate", file_, "/", 0, again)[0];
    if (status < 0 && innermost.empty()) innermost = errorStack();
  };
  again = function([&](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    iterate();
    return Results{number(0)};
  });
  runOnStackOf(128 << 10, iterate);
  again = empty();
  ASSERT_FALSE(innermost.empty());
  EXPECT_EQ(innermost.front().description,
            "Callbacks are nested too deeply: the stack is nearly used up");
}

TEST_F(DeepCallbacks, DoNoHarmToTheNextOne) {
  for (const auto& iterate : iterations()) {
    runOnStackOf(512 << 10, [&] { EXPECT_TRUE(Nested(iterate).error); });
    int calls = 0;
    iterate(function([&](int outputs, std::span<zbArray* const> /*inputs*/) {
      ++calls;
      return Results(static_cast<std::size_t>(outputs), number(0));
    }));
    EXPECT_GT(calls, 0);
  }
}

// --- The ground taken away -----------------------------------------------------------

/// A file with a group of members and attributes, by the identifiers of a script.
struct World {
  double file = callNumber("H5Fcreate", "world.h5", "H5F_ACC_TRUNC", kDefault, coreList());
  double group = callNumber("H5Gcreate", file, "g", kDefault, kDefault, kDefault);

  World() {
    for (const char* name : {"a", "b", "c", "d"}) {
      makeGroup(group, name);
      make("H5Acreate", group, name, "H5T_NATIVE_INT", scalarSpace(), kDefault);
    }
  }
  static Owned coreList() {
    Owned list = make("H5Pcreate", "H5P_FILE_ACCESS");
    call("H5Pset_fapl_core", list, 1 << 16, false);
    return list;
  }
};

struct Iteration {
  const char* name;
  int outputs;
  void (*run)(const World& world, const Value& f);
};
const std::vector<Iteration>& iterationsOfAWorld() {
  static const std::vector<Iteration> all = {
      {"links", 2,
       [](const World& w, const Value& f) {
         call("H5Literate", w.group, "H5_INDEX_NAME", "H5_ITER_INC", 0, f, empty());
       }},
      {"links of a name", 2,
       [](const World& w, const Value& f) {
         call("H5Literate_by_name", w.file, "g", "H5_INDEX_NAME", "H5_ITER_INC", 0, f, empty(),
              kDefault);
       }},
      {"all links", 2,
       [](const World& w, const Value& f) {
         call("H5Lvisit", w.file, "H5_INDEX_NAME", "H5_ITER_INC", f, empty());
       }},
      {"all objects", 2,
       [](const World& w, const Value& f) {
         call("H5Ovisit", w.group, "H5_INDEX_NAME", "H5_ITER_INC", f, empty());
       }},
      {"members", 1, [](const World& w, const Value& f) { call("H5Giterate", w.file, "g", 0, f); }},
      {"attributes", 2,
       [](const World& w, const Value& f) {
         call("H5Aiterate", w.group, "H5_INDEX_NAME", "H5_ITER_INC", 0, f, empty());
       }},
      {"attributes of old", 1,
       [](const World& w, const Value& f) { call("H5Aiterate", w.group, 0, f); }},
  };
  return all;
}

struct Deed {
  const char* name;
  void (*act)(const World& world, double given, const std::string& name);
};
const std::vector<Deed>& deeds() {
  static const std::vector<Deed> all = {
      {"close the group",
       [](const World& w, double, const std::string&) { call("H5Gclose", w.group); }},
      {"close the file",
       [](const World& w, double, const std::string&) { call("H5Fclose", w.file); }},
      {"close the argument",
       [](const World&, double id, const std::string&) { call("H5Oclose", id); }},
      {"give up the argument",
       [](const World&, double id, const std::string&) { call("H5Idec_ref", id); }},
      {"give up the group",
       [](const World& w, double, const std::string&) {
         for (int i = 0; i < 3; ++i) call("H5Idec_ref", w.group);
       }},
      {"delete the link",
       [](const World& w, double, const std::string& name) {
         call("H5Ldelete", w.group, name, kDefault);
       }},
      {"delete the attribute",
       [](const World& w, double, const std::string& name) { call("H5Adelete", w.group, name); }},
      {"delete the group",
       [](const World& w, double, const std::string&) { call("H5Gunlink", w.file, "g"); }},
      {"delete all",
       [](const World& w, double, const std::string&) {
         for (const char* name : {"a", "b", "c", "d"}) call("H5Ldelete", w.group, name, kDefault);
       }},
      {"close the library", [](const World&, double, const std::string&) { call("H5close"); }},
  };
  return all;
}

TEST(HostileCallbacks, DoNotEndTheProcess) {
  for (const Iteration& iteration : iterationsOfAWorld()) {
    for (const Deed& deed : deeds()) {
      const auto run = [&] {
        const World world;
        const Value f = function([&](int, std::span<zbArray* const> inputs) {
          const double given = zbGetScalar(inputs[0]);
          const std::string name = textOf(borrowed(inputs[1]));
          raisedBy([&] { deed.act(world, given, name); });
          return Results(static_cast<std::size_t>(iteration.outputs), number(0));
        });
        raisedBy([&] { iteration.run(world, f); });
        raisedBy([&] { call("H5Fclose", world.file); });
      };
      EXPECT_FALSE(kills(run)) << iteration.name << ": " << deed.name;
    }
  }
}

TEST(HostileCallbacks, CannotCloseTheListIteratedOver) {
  const Owned list = make("H5Pcreate", "H5P_DATASET_CREATE");
  int calls = 0;
  const Value f = function([&](int, std::span<zbArray* const> inputs) {
    const double given = zbGetScalar(inputs[0]);
    if (++calls == 1) {
      call("H5Iinc_ref", list);
      call("H5Pclose", list);
    }
    expectStack(failureOf("H5Pclose", {given}));
    EXPECT_LT(callNumber("H5Idec_ref", given), 0);
    return Results{number(0)};
  });
  call("H5Piterate", list, 0, f);
  EXPECT_GT(calls, 2);
  EXPECT_EQ(callNumber("H5Iget_ref", list), 1);
}

TEST(HostileCallbacks, CannotCloseTheirArgument) {
  for (const Iteration& iteration : iterationsOfAWorld()) {
    const World world;
    int calls = 0;
    const Value f = function([&](int, std::span<zbArray* const> inputs) {
      const double given = zbGetScalar(inputs[0]);
      ++calls;
      for (double count = callNumber("H5Iget_ref", given); count > 1; --count) {
        call("H5Idec_ref", given);
      }
      EXPECT_LT(callNumber("H5Idec_ref", given), 0) << iteration.name;
      if (static_cast<int>(callNumber("H5Iget_type", given)) == H5I_GROUP)
        failureOf("H5Oclose", {given});
      return Results(static_cast<std::size_t>(iteration.outputs), number(0));
    });
    iteration.run(world, f);
    EXPECT_GT(calls, 1) << iteration.name;
    raisedBy([&] { call("H5Gclose", world.group); });
    call("H5Fclose", world.file);
  }
}

TEST(HostileCallbacks, CannotCloseTheLibrary) {
  const MemoryFile file;
  makeGroup(file, "g");
  Failure error;
  const Value f = function([&](int, std::span<zbArray* const> /*inputs*/) {
    error = raisedBy([] { call("H5close"); });
    expectStack(error);
    return Results{number(0)};
  });
  call("H5Giterate", file, "/", 0, f);
  EXPECT_TRUE(error);
  EXPECT_EQ(callNumber("H5Gget_num_objs", file), 1);
}

}  // namespace
