// Failing streams: every failure ends in a report and a neutral result, the
// stream where it must be, and nothing left behind. (Out of memory: the fault
// loops of the black-box suite.)
#include "streamer_fixture.h"
#include "tree_maker.h"

namespace moxtest {
namespace {

using moxhost::Runtime;
using moxhost::StreamOp;

constexpr size_t kHeaderSize = 28;

class FailureTest : public StreamerTest {
 protected:
  void SetUp() override {
    StreamerTest::SetUp();
    tree_ = TreeMaker(1).Make(4);
    bytes_ = Write(tree_);
    ASSERT_GT(bytes_.size(), 3 * 512u);
  }
  void TearDown() override {
    tree_.Reset();
    StreamerTest::TearDown();
  }

  // Runs Serialize into a new stream with `fault` set; true on success. The
  // stream's contents go to `written`.
  template <typename Fault>
  bool SerializeWith(Fault fault, std::string* written) {
    ScopedCountsCheck counts;
    CMOXPositionableStreamRef stream = MemoryStream();
    fault();
    const bool ok = Serialize(stream, tree_);
    Runtime::Get().ClearFaults();
    *written = Contents(stream);
    return ok;
  }
  // Runs Deserialize of the tree's bytes with `fault` set; true when the tree
  // came back. The stream's position afterwards goes to `position`.
  template <typename Fault>
  bool DeserializeWith(Fault fault, int64_t* position) {
    ScopedCountsCheck counts;
    CMOXPositionableStreamRef stream = MemoryStream(bytes_);
    fault();
    CPOSObject back = Deserialize(stream);
    Runtime::Get().ClearFaults();
    *position = stream.Mark();
    if (back.IsEmpty()) return false;
    EXPECT_TRUE(back.IsEqual(tree_));
    return true;
  }

  CPOSObject tree_;
  std::string bytes_;
};

TEST_F(FailureTest, FailingWritesKeepWhatWasFlushed) {
  for (uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 100u) << "the tree was never written";
    std::string written;
    if (SerializeWith([&] { Runtime::Get().FailNthStreamCall(StreamOp::kWrite, n); }, &written)) {
      EXPECT_EQ(written, bytes_);
      EXPECT_EQ(n, 3 + (bytes_.size() - kHeaderSize + 511) / 512);
      break;
    }
    EXPECT_EQ(Reports(), "Write: injected fault");
    // The failed block is lost; those before it stay.
    EXPECT_EQ(written, bytes_.substr(0, n < 3 ? (n - 1) * 27 : kHeaderSize + (n - 3) * 512));
  }
}

TEST_F(FailureTest, FailingReadsLeaveTheStreamBehindTheLastByteTaken) {
  for (uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 100u) << "the tree was never read";
    int64_t position;
    if (DeserializeWith([&] { Runtime::Get().FailNthStreamCall(StreamOp::kRead, n); }, &position)) {
      EXPECT_EQ(position, static_cast<int64_t>(bytes_.size()));
      break;
    }
    EXPECT_EQ(Reports(), "Read: injected fault");
    const uint64_t blocks = n > kHeaderSize + 1 ? n - kHeaderSize - 1 : 0;
    EXPECT_EQ(position, static_cast<int64_t>(std::min(n - 1, kHeaderSize) + 512 * blocks));
  }
}

TEST_F(FailureTest, FailingMarkOrSeekIsReportedAndReleasesTheObject) {
  for (StreamOp op : {StreamOp::kMark, StreamOp::kSeek}) {
    int64_t position;
    EXPECT_FALSE(DeserializeWith([&] { Runtime::Get().FailNthStreamCall(op, 1); }, &position));
    EXPECT_EQ(Reports(), op == StreamOp::kMark ? "Mark: injected fault" : "Seek: injected fault");
  }
}

}  // namespace
}  // namespace moxtest
