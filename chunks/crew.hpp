// Threads that live for one call. They work on numbered jobs while the calling thread
// prepares others, and know nothing of HDF5, which only the calling thread may call.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace chunks {

class Crew {
 public:
  /// `work(job, member)` must not throw; member 0 is the calling thread. Where the system
  /// has no threads left, the crew is smaller.
  using Work = std::function<void(std::size_t job, std::size_t member)>;
  Crew(unsigned size, std::size_t jobs, Work work);
  /// Waits for what is being worked on; what nobody has begun is left.
  ~Crew();
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  void start(std::size_t job);
  /// Returns when the job is done; works on others, and on this one, meanwhile.
  void finish(std::size_t job);

 private:
  void serve(std::size_t member);
  void workOnNext(std::unique_lock<std::mutex>& lock, std::size_t member);

  Work work_;
  std::mutex mutex_;
  std::condition_variable begun_;
  std::condition_variable done_;
  std::deque<std::size_t> waiting_;
  std::vector<char> isDone_;
  bool over_ = false;
  std::vector<std::thread> threads_;
};

/// Batches 0 to `count` in order: `prepare` and `finish` on the calling thread, `work` on
/// any member in between. A batch is handed on as the job, of `jobs`, that it occupies.
/// Ends early, with false, when `prepare` or `finish` gives false.
template <class Prepare, class Work, class Finish>
bool runInOrder(unsigned members, std::size_t jobs, std::size_t count, Prepare prepare, Work work,
                Finish finish) {
  Crew crew(members, jobs, work);
  for (std::size_t next = 0, oldest = 0; oldest < count;) {
    if (next < count && next - oldest < jobs) {
      if (!prepare(next % jobs, next)) return false;
      crew.start(next % jobs);
      ++next;
    } else {
      crew.finish(oldest % jobs);
      if (!finish(oldest % jobs, oldest)) return false;
      ++oldest;
    }
  }
  return true;
}

}  // namespace chunks
