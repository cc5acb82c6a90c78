// Threads that live for one call: each batch is prepared, worked on and finished, in order.
#include "chunks/crew.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <vector>

namespace {

class Crews : public testing::TestWithParam<unsigned> {};

TEST_P(Crews, WorkOnEveryBatchOnce) {
  const unsigned members = GetParam();
  constexpr std::size_t kBatches = 200;
  const std::size_t jobs = members == 1 ? 1 : 2 * members;
  std::vector<std::size_t> batchOf(jobs);
  std::vector<int> worked(kBatches);
  std::vector<std::size_t> prepared;
  std::vector<std::size_t> finished;
  std::atomic<bool> strangers = false;
  const bool done = chunks::runInOrder(
      members, jobs, kBatches,
      [&](std::size_t job, std::size_t batch) {
        batchOf[job] = batch;
        prepared.push_back(batch);
        return true;
      },
      [&](std::size_t job, std::size_t member) {
        if (member >= members) strangers = true;
        ++worked[batchOf[job]];
      },
      [&](std::size_t job, std::size_t batch) {
        EXPECT_EQ(batchOf[job], batch);
        EXPECT_EQ(worked[batch], 1);
        finished.push_back(batch);
        return true;
      });
  EXPECT_TRUE(done);
  EXPECT_FALSE(strangers);
  ASSERT_EQ(prepared.size(), kBatches);
  EXPECT_EQ(prepared, finished);
  EXPECT_TRUE(std::is_sorted(finished.begin(), finished.end()));
}

TEST_P(Crews, EndWhenAStepSaysSo) {
  const unsigned members = GetParam();
  const std::size_t jobs = 2 * members;
  std::size_t prepared = 0;
  std::size_t finished = 0;
  const auto run = [&](std::size_t prepareUntil, std::size_t finishUntil) {
    return chunks::runInOrder(
        members, jobs, 100, [&](std::size_t, std::size_t) { return ++prepared < prepareUntil; },
        [](std::size_t, std::size_t) {},
        [&](std::size_t, std::size_t) { return ++finished < finishUntil; });
  };
  EXPECT_FALSE(run(1000, 10));
  EXPECT_EQ(finished, 10U);
  prepared = finished = 0;
  EXPECT_FALSE(run(10, 1000));
  EXPECT_EQ(prepared, 10U);
  prepared = finished = 0;
  EXPECT_TRUE(run(1000, 1000));
}

TEST_P(Crews, EndWhenAStepThrows) {
  const auto nothing = [](std::size_t, std::size_t) { return true; };
  const auto failing = [](std::size_t, std::size_t batch) -> bool {
    if (batch == 5) throw std::bad_alloc();
    return true;
  };
  const auto work = [](std::size_t, std::size_t) {};
  EXPECT_THROW(chunks::runInOrder(GetParam(), 4, 100, failing, work, nothing), std::bad_alloc);
  EXPECT_THROW(chunks::runInOrder(GetParam(), 4, 100, nothing, work, failing), std::bad_alloc);
}

INSTANTIATE_TEST_SUITE_P(Of, Crews, testing::Values(1, 2, 3, 8));

}  // namespace
