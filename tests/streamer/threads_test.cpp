// One streamer handle serving many threads at once, each on its own stream;
// and threads with little stack meeting deeply nested data.
#include <thread>

#include "streamer_fixture.h"
#include "support/stack_thread.h"
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

TEST_F(StreamerTest, NestingDeeperThanTheStackIsRefusedNotACrash) {
  constexpr int kDepth = 3000;
  CPOSArray nested = CPOSArray::New();
  for (int level = 1; level < kDepth; ++level) {
    CPOSArray outer = CPOSArray::New();
    outer.Append(nested);
    nested = outer;
  }
  const std::string deep = Write(nested);
  bool written = true;
  CPOSObject read;
  RunWithStack(192 * 1024, [&] {
    written = Serialize(MemoryStream(), nested);
    read = Read(deep);
  });
  EXPECT_FALSE(written);
  EXPECT_TRUE(read.IsEmpty());
  EXPECT_EQ(Reports(), "nesting too deep for the stack|nesting too deep for the stack");
  // With the stack of the main thread the same text reads.
  EXPECT_TRUE(Read(deep).IsEqual(nested));
}

}  // namespace
}  // namespace moxtest
