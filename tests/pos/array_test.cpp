// Arrays: growth, holes, replacement, removal, the reference each slot holds,
// and the calls that must do nothing and say nothing.
#include "pos/array.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

class Arrays : public POSFixture {
 protected:
  void SetUp() override {
    POSFixture::SetUp();
    array_ = p.Keep(p.posArray.NewPOSArray());
    impl_ = NPOSObjectImpl::FromContainer<NPOSObjectImpl::Array>(array_);
  }
  void TearDown() override {
    p.container.Release(array_);
    POSFixture::TearDown();
  }
  MOXContainer array_ = nullptr;
  NPOSObjectImpl::Array* impl_ = nullptr;
};

TEST_F(Arrays, GrowsByDoublingFromFourAndLeavesHolesBehindSetAt) {
  MOXContainer member = p.Keep(p.posNumber.NewPOSNumber(1));
  std::vector<uint32_t> capacities;
  for (int i = 0; i < 17; ++i) {
    p.posArray.Append(array_, member);
    capacities.push_back(impl_->Capacity());
  }
  EXPECT_EQ(capacities,
            (std::vector<uint32_t>{4, 4, 4, 4, 8, 8, 8, 8, 16, 16, 16, 16, 16, 16, 16, 16, 32}));
  EXPECT_EQ(p.RefCount(member), 18u) << "one reference per slot, moved on growth";
  p.posArray.SetAt(array_, 100, member);
  EXPECT_EQ(impl_->Capacity(), 128u) << "one call may jump several steps";
  EXPECT_EQ(p.posArray.Count(array_), 101u);
  for (uint64_t i = 17; i < 100; ++i) ASSERT_EQ(p.posArray.GetAt(array_, i), nullptr) << i;
  EXPECT_EQ(p.posArray.GetAt(array_, 100), member);
  EXPECT_EQ(p.RefCount(member), 19u) << "GetAt leaves the count alone";
  impl_->EnsureCapacity(10);
  EXPECT_EQ(impl_->Capacity(), 128u) << "capacity never shrinks";
  EXPECT_EQ(TakeReports(), Reports{});
  p.container.Release(member);
}

TEST_F(Arrays, SetAtReplacesAndRemoveShiftsSilently) {
  MOXContainer members[4];
  for (int i = 0; i < 4; ++i) {
    members[i] = p.Keep(p.posNumber.NewPOSNumber(i));
    p.posArray.Append(array_, members[0]);
  }
  for (int i = 1; i < 4; ++i) p.posArray.SetAt(array_, i, members[i]);
  EXPECT_EQ(p.RefCount(members[0]), 2u) << "the replaced members were released";
  p.posArray.Remove(array_, 1);
  ASSERT_EQ(p.posArray.Count(array_), 3u);
  EXPECT_EQ(p.posArray.GetAt(array_, 0), members[0]);
  EXPECT_EQ(p.posArray.GetAt(array_, 1), members[2]);
  EXPECT_EQ(p.posArray.GetAt(array_, 2), members[3]);
  EXPECT_EQ(p.RefCount(members[1]), 1u);
  EXPECT_EQ(p.RefCount(members[3]), 2u) << "moving down takes no extra reference";
  p.posArray.Remove(array_, 3);
  p.posArray.Remove(array_, uint64_t{1} << 32);
  EXPECT_EQ(p.posArray.GetAt(array_, 3), nullptr);
  EXPECT_EQ(p.posArray.GetAt(array_, uint64_t{1} << 32), nullptr) << "compared in 64 bits";
  EXPECT_EQ(p.posArray.Count(array_), 3u);
  for (int i = 0; i < 3; ++i) p.posArray.Remove(array_, 0);
  EXPECT_EQ(p.RefCount(members[3]), 1u) << "removing the last member releases it too";
  p.posArray.Append(array_, members[0]);
  EXPECT_EQ(impl_->Capacity(), 4u) << "the emptied block is reused";
  EXPECT_EQ(TakeReports(), Reports{}) << "out of range is silent";
  for (MOXContainer member : members) p.container.Release(member);
}

// An index whose successor does not fit in the 32-bit count can never be
// stored: that is out of memory, as is a failed growth.
TEST_F(Arrays, IndicesBeyondTheCountAndFailedGrowthReportAndChangeNothing) {
  MOXContainer member = p.Keep(p.posNumber.NewPOSNumber(5));
  p.posArray.Append(array_, member);
  p.posArray.SetAt(array_, 0xFFFFFFFFu, member);
  p.posArray.SetAt(array_, uint64_t{1} << 32, member);
  EXPECT_EQ(TakeReports(), Reports(2, std::bad_alloc().what()));
  EXPECT_EQ(p.posArray.Count(array_), 1u);
  EXPECT_EQ(p.RefCount(member), 2u) << "the rejected values were let go";
  moxhost::Runtime::Get().FailNthAllocation(1);
  for (int i = 0; i < 4; ++i) p.posArray.Append(array_, member);
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()});
  EXPECT_EQ(p.posArray.Count(array_), 4u) << "the growth that failed appended nothing";
  EXPECT_EQ(p.RefCount(member), 5u);
  p.container.Release(member);
}

}  // namespace
}  // namespace moxtest
