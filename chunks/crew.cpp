#include "chunks/crew.hpp"

#include <csignal>
#include <exception>
#include <utility>

namespace chunks {
namespace {

/// Signals are for threads that the process had before the call.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

Crew::Crew(unsigned size, std::size_t jobs, Work work) : work_(std::move(work)), isDone_(jobs, 0) {
  threads_.reserve(size);
  const BlockedSignals blocked;
  for (std::size_t member = 1; member < size; ++member) {
    try {
      threads_.emplace_back([this, member] { serve(member); });
    } catch (const std::exception&) {
      return;  // those that there are do the work
    }
  }
}

Crew::~Crew() {
  {
    const std::lock_guard lock(mutex_);
    over_ = true;
  }
  begun_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void Crew::start(std::size_t job) {
  {
    const std::lock_guard lock(mutex_);
    isDone_[job] = 0;
    waiting_.push_back(job);
  }
  begun_.notify_one();
}

void Crew::finish(std::size_t job) {
  std::unique_lock lock(mutex_);
  while (isDone_[job] == 0) {
    if (waiting_.empty()) {
      done_.wait(lock);
    } else {
      workOnNext(lock, 0);
    }
  }
}

void Crew::serve(std::size_t member) {
  std::unique_lock lock(mutex_);
  for (;;) {
    begun_.wait(lock, [this] { return over_ || !waiting_.empty(); });
    if (over_) return;
    workOnNext(lock, member);
    done_.notify_one();
  }
}

void Crew::workOnNext(std::unique_lock<std::mutex>& lock, std::size_t member) {
  const std::size_t job = waiting_.front();
  waiting_.pop_front();
  lock.unlock();
  work_(job, member);
  lock.lock();
  isDone_[job] = 1;
}

}  // namespace chunks
