// One streamer handle serving many threads at once, each on its own stream.
#include <thread>

#include "streamer_fixture.h"
#include "tree_maker.h"

namespace moxtest {
namespace {

TEST_F(StreamerTest, ThreadsShareOneStreamerHandle) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 25;
  std::vector<std::thread> threads;
  std::vector<int> good(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &good] {
      TreeMaker maker(1000 + t);
      for (int round = 0; round < kRounds; ++round) {
        CPOSObject tree = maker.Make(3);
        CMOXPositionableStreamRef stream = MemoryStream();
        if (!Serialize(stream, tree)) continue;
        stream.Seek(0, 0);
        CPOSObject back = Deserialize(stream);
        if (!back.IsEmpty() && back.IsEqual(tree) && tree.IsEqual(back)) ++good[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds));
  EXPECT_EQ(Reports(), "");
}

}  // namespace
}  // namespace moxtest
