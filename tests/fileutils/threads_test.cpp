// Several threads at once: copies of one shared stream, the first of them
// requested by all threads together, and streams of each thread's own made,
// copied and dropped.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "fileutils_fixture.h"

namespace moxtest {
namespace {

TEST_F(FileUtilsTest, ThreadsCopyOneStreamAndMakeTheirOwnAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 15;
  std::string content;
  for (int i = 0; content.size() < 5000; ++i) content += std::to_string(i) + ",";
  CMOXPositionableStreamRef shared = NewStream("shared");
  ASSERT_FALSE(shared.IsEmpty());
  shared.Write(content.data(), content.size());

  std::atomic<int> ready{0};
  std::vector<int> good(kThreads, 0);
  std::vector<std::string> failures(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // All threads ask for their first copy together.
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();
      const std::string mine = "thread " + std::to_string(t);
      try {
        for (int round = 0; round < kRounds; ++round) {
          CMOXPositionableStreamRef copy(shared.CreateIndependentlyPositionableStream());
          CMOXPositionableStreamRef copyOfCopy(copy.CreateIndependentlyPositionableStream());
          CMOXPositionableStreamRef own = NewStream("own");
          own.Write(mine.data(), mine.size());
          CMOXPositionableStreamRef ownCopy(own.CreateIndependentlyPositionableStream());
          if (ReadAll(copy) == content && ReadAll(copyOfCopy) == content &&
              ReadAll(ownCopy) == mine) {
            ++good[t];
          }
        }
      } catch (const std::exception& e) {
        failures[t] = e.what();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds));
  EXPECT_EQ(failures, std::vector<std::string>(kThreads));
  EXPECT_EQ(shared.Mark(), 0) << "reopened once, at the start";
  EXPECT_EQ(ReadAll(shared), content);
}

}  // namespace
}  // namespace moxtest
