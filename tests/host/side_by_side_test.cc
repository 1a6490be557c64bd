// Work on several threads.
#include "host/side_by_side.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace ordvane::host {
namespace {

TEST(SideBySide, KeepsItsHelpersForTheNextCall) {
  constexpr std::size_t kThreads = 4;
  std::mutex mutex;
  std::set<std::thread::id> met;
  // Whoever comes waits for the others, so that all of them have to come; those that there are none for are
  // not waited for for ever.
  const auto meet = [&] {
    std::atomic<std::size_t> here = 0;
    side_by_side(kThreads, [&] {
      ++here;
      {
        const std::lock_guard lock(mutex);
        met.insert(std::this_thread::get_id());
      }
      const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (here < kThreads && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    });
    EXPECT_EQ(here, kThreads);
  };
  const HelperThreads helpers;
  for (int round = 0; round < 20; ++round) {
    const HelperThreads inner;
    meet();
  }
  EXPECT_EQ(met.size(), kThreads);
}

TEST(SideBySide, DoesEachPieceOnceWhoeverHelps) {
  constexpr std::size_t kPieces = 50, kRounds = 300;
  const auto rounds = [] {
    for (std::size_t round = 0; round < kRounds; ++round) {
      std::vector<std::atomic<int>> done(kPieces);
      // Some pieces call for helpers of their own.
      each_side_by_side(kPieces, 3, [&](std::size_t piece) {
        if (piece % 10 == 0)
          each_side_by_side(2, 2, [&](std::size_t) { ++done[piece]; });
        else
          done[piece] += 2;
      });
      for (const auto& times : done) ASSERT_EQ(times, 2);
    }
  };
  rounds();
  const HelperThreads helpers;
  rounds();
  EXPECT_THROW(each_side_by_side(kPieces, 3, [](std::size_t) { throw std::runtime_error("a piece"); }),
               std::runtime_error);
  rounds();
}

TEST(SideBySide, DoesWhatIsAsideBeforeItEnds) {
  bool done = false;
  {
    const Aside work([&] { done = true; });
  }
  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace ordvane::host
