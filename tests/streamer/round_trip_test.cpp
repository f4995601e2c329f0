// Round trips: random trees through memory and file streams, and numbers to
// the last bit.
#include <unistd.h>

#include <cmath>
#include <cstring>

#include "streamer_fixture.h"
#include "tree_maker.h"

namespace moxtest {
namespace {

void ExpectSameTree(const CPOSObject& back, const CPOSObject& original) {
  ASSERT_FALSE(back.IsEmpty());
  EXPECT_TRUE(back.IsEqual(original));
  EXPECT_TRUE(original.IsEqual(back));
}

TEST_F(StreamerTest, RandomTreesRoundTripThroughMemoryStreams) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    CPOSObject tree = TreeMaker(seed).Make(4);
    const std::string bytes = Write(tree);
    CPOSObject back = Read(bytes);
    ExpectSameTree(back, tree);
    EXPECT_EQ(Write(back), bytes) << "seed " << seed;
  }
  EXPECT_EQ(Reports(), "");
}

TEST_F(StreamerTest, RandomTreesRoundTripThroughFileStreams) {
  char path[] = "/tmp/streamer_round_trip_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  for (uint32_t seed = 100; seed < 110; ++seed) {
    CPOSObject tree = TreeMaker(seed).Make(5);
    {
      CMOXPositionableStreamRef out(MOXNewPositionableFileStream(path, "wb"));
      ASSERT_TRUE(Serialize(out, tree)) << Reports();
    }
    CMOXPositionableStreamRef in(MOXNewPositionableFileStream(path, "rb"));
    ExpectSameTree(Deserialize(in), tree);
  }
  unlink(path);
}

TEST_F(StreamerTest, FiniteNumbersRoundTripToTheBit) {
  TreeMaker maker(7);
  std::vector<double> values = {-0.0,
                                0.0,
                                5e-324,
                                -2.2250738585072014e-308,
                                1.7976931348623157e308,
                                0.1,
                                1.0 / 3,
                                9007199254740993.0};
  for (int i = 0; i < 2000; ++i) values.push_back(maker.Number());
  for (double value : values) {
    CPOSNumber back(Read(Write(CPOSNumber::New(value))));
    const double got = back.Get();
    EXPECT_EQ(memcmp(&got, &value, sizeof value), 0) << value;
  }
}

TEST_F(StreamerTest, NaNAndInfinityAreWrittenButRefused) {
  for (double value : {NAN, INFINITY, -INFINITY}) {
    const std::string bytes = Write(CPOSNumber::New(value));
    EXPECT_TRUE(Read(bytes).IsEmpty()) << bytes;
    EXPECT_EQ(Reports(), "malformed number");
  }
}

}  // namespace
}  // namespace moxtest
