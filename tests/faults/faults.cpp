// Every allocation, write, sync, truncation, read and opening of a dozen tasks fails, one at a
// time, and all from one on: each task then succeeds or ends with one error, leaks no
// identifiers, what was in the file before is there afterwards, and the next task works.
//
//   faults                                    all of them
//   faults --sample N                         N of each kind and task
//   faults --only TASK OPERATION NUMBER once|onwards     one, told in words
//
// Each is tried in a child process. What HDF5 itself is known to do wrong stands in
// known_weaknesses.hpp.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "fuzz/child_process.hpp"
#include "fuzz/temporary_folder.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"
#include "tests/faults/fault_shim.hpp"
#include "tests/faults/fault_tasks.hpp"
#include "tests/faults/innermost_frame.hpp"
#include "tests/faults/known_weaknesses.hpp"
#include "tests/faults/tally.hpp"
#include "tests/unit/open_identifiers.hpp"

namespace {

using namespace faults;

constexpr const char* kOperationNames[] = {"allocation", "write", "sync",
                                           "truncate",   "read",  "open"};
constexpr unsigned kSeconds = 30;

struct Fault {
  Operation operation;
  std::uint64_t number;
  bool onwards;
};

std::string inWords(const Task& task, const Fault& fault) {
  return std::string(task.name) + " " + kOperationNames[static_cast<int>(fault.operation)] + " " +
         std::to_string(fault.number) + (fault.onwards ? " onwards" : " once");
}

// --- One fault -----------------------------------------------------------------------------

/// What a child tells; lies in memory that it shares with its parent.
struct Report {
  std::uint64_t operations;  // of the kind, in all of the task
  bool ended;
  bool failed;  // with one error
  char complaint[400];
  char where[100];  // the function of HDF5's, or of ours, that did not survive
};

void complain(Report& report, const std::string& words) {
  if (report.complaint[0] != '\0') return;  // the first is what matters
  std::snprintf(report.complaint, sizeof report.complaint, "%s", words.c_str());
}

/// Runs the action and says of an error that there should be none.
template <class Action>
void mustWork(Report& report, const char* what, Action action) {
  try {
    action();
  } catch (const Wrong& wrong) {
    complain(report, std::string(what) + ": wrong " + wrong.what);
  } catch (const std::exception& error) {
    complain(report, std::string(what) + ": " + error.what());
  }
}

void act(const Task& task, Script& script, Report& report) {
  try {
    task.act(script);
  } catch (const Wrong& wrong) {
    faultDisarm();
    complain(report, "wrong " + wrong.what);
  } catch (const zembra::HostError& error) {
    faultDisarm();
    std::printf("%s: %s\n", task.name, error.what());
    report.failed = true;
  } catch (const std::bad_alloc&) {
    report.failed = true;
  }
}

/// Counts where there is no number.
void tryFault(const Task& task, const Fault* fault, Operation counted, Report& report) {
  Script script;
  makeBase(script);
  task.prepare(script);
  const std::size_t before = h5test::openIdentifiers();
  h5test::openIdentifiers();
  Script own;
  own.file = script.file;
  own.dataset = script.dataset;
  const bool closes = std::strcmp(task.name, "close") == 0;
  const bool closesAll = std::strcmp(task.name, "library") == 0;
  Script& actor = closes ? script : own;

  if (fault == nullptr) {
    faultCount(counted);
  } else {
    faultArm(fault->operation, fault->number, fault->onwards);
  }
  act(task, actor, report);
  report.operations = faultDisarm();

  if (closesAll && !report.failed) script = Script();  // nothing is open
  mustWork(report, "closing what the task left open", [&] { own.closeAll(); });
  if (!closes && !closesAll) {
    const std::size_t after = h5test::openIdentifiers();
    if (after != before) {
      complain(report, "identifiers: " + std::to_string(before) + " before, " +
                           std::to_string(after) + " after");
    }
  }
  mustWork(report, "closing the file", [&] { script.closeAll(); });
  mustWork(report, "the file", checkBase);
  mustWork(report, "the next task", doNextTask);
  report.ended = true;
}

// --- All of them ---------------------------------------------------------------------------

int width(std::string_view words) { return static_cast<int>(words.size()); }

/// Prints what all found together.
void print(const Tally& tally, bool isSample) {
  std::printf("%-12s %8s %10s %10s %8s %8s\n", "", "tried", "succeeded", "one error", "known",
              "found");
  for (std::size_t operation = 0; operation < kOperations; ++operation) {
    const Outcomes& outcomes = tally.outcomes[operation];
    std::printf("%-12s %8zu %10zu %10zu %8zu %8zu\n", kOperationNames[operation],
                outcomes.tried.load(), outcomes.succeeded.load(), outcomes.failed.load(),
                outcomes.known.load(), outcomes.found.load());
  }
  for (std::size_t i = 0; i < knownWeaknesses().size(); ++i) {
    const Weakness& weakness = knownWeaknesses()[i];
    std::printf("known, %zu: %.*s: %.*s (%.*s)%s\n", tally.known.at(i).load(),
                width(weakness.operation), weakness.operation.data(), width(weakness.reason),
                weakness.reason.data(), width(weakness.words), weakness.words.data(),
                tally.known.at(i) == 0 && !isSample ? ": HAPPENS NO MORE" : "");
  }
}

/// One of those that share the tasks.
class Worker {
 public:
  Worker(std::size_t sample, Tally& tally) : sample_(sample), tally_(tally) {}

  /// Whether nothing was found that is not known.
  bool run() {
    const std::size_t all = tasks().size() * kOperations;
    for (std::size_t next = tally_.begun++; next < all; next = tally_.begun++) {
      tryAll(tasks()[next / kOperations], static_cast<Operation>(next % kOperations));
    }
    for (const auto& [words, where] : found_) {
      std::printf("FOUND, %zu: %s\n  faults --only %s\n", where.size(), words.c_str(),
                  where.front().c_str());
    }
    return found_.empty();
  }

  void tell(const Task& task, const Fault& fault) {
    const fuzz::End end = child(task, &fault, fault.operation, "/dev/stdout");
    std::printf("%s: %s, %s, %s\n", inWords(task, fault).c_str(), end.inWords().c_str(),
                report_.failed ? "failed" : "went on",
                report_.complaint[0] != '\0' ? report_.complaint : report_.where);
  }

 private:
  fuzz::End child(const Task& task, const Fault* fault, Operation counted,
                  const char* output = "/dev/null") {
    report_ = Report();
    const fuzz::End end = fuzz::inChild(folder_.path(), kSeconds, output, [&] {
      tellInnermostFrame(report_.where, sizeof report_.where);
      tryFault(task, fault, counted, report_);
    });
    folder_.clear();
    return end;
  }

  Outcomes& outcomesOf(Operation operation) {
    return tally_.outcomes.at(static_cast<std::size_t>(operation));
  }

  void tryAll(const Task& task, Operation operation) {
    const fuzz::End end = child(task, nullptr, operation);
    if (!end.isGood() || report_.failed || report_.complaint[0] != '\0') {
      ++outcomesOf(operation).found;
      found_["without a fault: " + end.inWords() + " " + report_.complaint].emplace_back(task.name);
      return;
    }
    const std::uint64_t all = report_.operations;
    const std::uint64_t step = sample_ == 0 ? 1 : std::max<std::uint64_t>(1, all / sample_);
    for (const bool onwards : {false, true}) {
      for (std::uint64_t number = all == 0 ? 0 : step / 2; number < all; number += step) {
        const Fault fault = {operation, number, onwards};
        judge(task, fault, child(task, &fault, operation));
      }
    }
  }

  void judge(const Task& task, const Fault& fault, const fuzz::End& end) {
    Outcomes& outcomes = outcomesOf(fault.operation);
    ++outcomes.tried;
    std::string words;
    if (!end.isGood()) {
      words = end.inWords() + (report_.ended ? " at the end of the process" : "") + " in " +
              (report_.where[0] != '\0' ? report_.where : "?");
      if (report_.complaint[0] != '\0') words += std::string(" after ") + report_.complaint;
    } else if (report_.complaint[0] != '\0') {
      words = report_.complaint;
    } else {
      ++(report_.failed ? outcomes.failed : outcomes.succeeded);
      return;
    }
    const std::string kind = kOperationNames[static_cast<int>(fault.operation)];
    if (const Weakness* weakness = knownWeakness(kind, words)) {
      ++outcomes.known;
      ++tally_.known.at(static_cast<std::size_t>(weakness - knownWeaknesses().data()));
      return;
    }
    ++outcomes.found;
    found_[kind + ": " + words].push_back(inWords(task, fault));
  }

  std::size_t sample_;
  Tally& tally_;
  fuzz::TemporaryFolder folder_{"h5gate-faults"};
  Report& report_ = shared<Report>();
  std::map<std::string, std::vector<std::string>> found_;
};

/// Forks a worker for each core: they are processes, because each forks for each fault. Whether
/// nothing was found that is not known.
bool run(std::size_t sample) {
  auto& tally = shared<Tally>();
  std::vector<pid_t> workers(std::max(1U, std::thread::hardware_concurrency()));
  std::fflush(nullptr);
  for (pid_t& worker : workers) {
    worker = fork();
    if (worker != 0) continue;
    const bool isGood = Worker(sample, tally).run();
    std::exit(isGood ? 0 : 1);
  }
  bool isGood = true;
  for (const pid_t worker : workers) {
    int status = 0;
    isGood = waitpid(worker, &status, 0) == worker && status == 0 && isGood;
  }
  print(tally, sample != 0);
  return isGood;
}

int usage() {
  std::fprintf(stderr, "faults [--sample N | --only TASK OPERATION NUMBER once|onwards]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) try {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  zembra::setWarningHandler([](const zembra::Warning&) {});
  zembra::loadGateway();
  if (arguments.size() == 5 && arguments[0] == "--only") {
    const auto task = std::ranges::find(tasks(), arguments[1], &Task::name);
    const auto* operation = std::ranges::find(kOperationNames, arguments[2]);
    if (task == tasks().end() || operation == std::end(kOperationNames)) return usage();
    Worker(0, shared<Tally>())
        .tell(*task, {static_cast<Operation>(operation - kOperationNames),
                      std::stoull(arguments[3]), arguments[4] == "onwards"});
    return 0;
  }
  const bool sampled = arguments.size() == 2 && arguments[0] == "--sample";
  if (!arguments.empty() && !sampled) return usage();
  return run(sampled ? std::stoul(arguments[1]) : 0) ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
