// Arrays: growth, holes, replacement, removal, the reference each slot holds,
// and the calls that must do nothing and say nothing.
#include "pos/array.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using NPOSObjectImpl::Array;
using NPOSObjectImpl::FromContainer;

class Arrays : public POSFixture {
 protected:
  void SetUp() override {
    POSFixture::SetUp();
    array_ = p.Keep(p.newArray());
    impl_ = FromContainer<Array>(array_);
  }
  void TearDown() override {
    p.release(array_);
    POSFixture::TearDown();
  }
  MOXContainer array_ = nullptr;
  Array* impl_ = nullptr;
};

TEST_F(Arrays, GrowsByDoublingFromFour) {
  MOXContainer member = p.Keep(p.newNumber(1));
  EXPECT_EQ(impl_->Capacity(), 0u);
  std::vector<uint32_t> capacities;
  for (int i = 0; i < 17; ++i) {
    p.append(array_, member);
    capacities.push_back(impl_->Capacity());
  }
  EXPECT_EQ(capacities[0], 4u);
  EXPECT_EQ(capacities[3], 4u);
  EXPECT_EQ(capacities[4], 8u);
  EXPECT_EQ(capacities[8], 16u);
  EXPECT_EQ(capacities[16], 32u);
  EXPECT_EQ(p.count(array_), 17u);
  EXPECT_EQ(p.RefCount(member), 18u) << "one reference per slot, moved on growth";
  impl_->EnsureCapacity(1000);
  EXPECT_EQ(impl_->Capacity(), 1024u) << "one call may jump several steps";
  impl_->EnsureCapacity(10);
  EXPECT_EQ(impl_->Capacity(), 1024u) << "capacity never shrinks";
  p.release(member);
}

TEST_F(Arrays, SetAtBeyondTheCountLeavesHoles) {
  MOXContainer value = p.Keep(p.newString("v"));
  p.setAt(array_, 100, value);
  EXPECT_EQ(impl_->Capacity(), 128u);
  EXPECT_EQ(p.count(array_), 101u);
  for (uint64_t i = 0; i < 100; ++i) ASSERT_EQ(p.getAt(array_, i), nullptr) << i;
  EXPECT_EQ(p.getAt(array_, 100), value);
  MOX_T_MT::CPOSArray client{MOX_T_MT::CPOSObject(array_)};
  try {
    client.GetAt(50);
    ADD_FAILURE() << "a hole is a miss for the client";
  } catch (const MOX_T_MT::POSException& e) {
    EXPECT_STREQ(e.what(), "CPOSArray::GetAt subscript failed");
  }
  EXPECT_EQ(TakeReports(), Reports{});
  p.release(value);
}

TEST_F(Arrays, SetAtBelowTheCountReplacesAndReleasesTheOldMember) {
  MOXContainer first = p.Keep(p.newNumber(1));
  MOXContainer second = p.Keep(p.newNumber(2));
  p.append(array_, first);
  p.append(array_, first);
  EXPECT_EQ(p.RefCount(first), 3u);
  p.setAt(array_, 0, second);
  EXPECT_EQ(p.count(array_), 2u);
  EXPECT_EQ(p.RefCount(first), 2u);
  EXPECT_EQ(p.RefCount(second), 2u);
  EXPECT_EQ(p.getAt(array_, 0), second);
  EXPECT_EQ(p.RefCount(second), 2u) << "GetAt leaves the member's count alone";
  p.release(first);
  p.release(second);
}

TEST_F(Arrays, RemoveShiftsTheRestAndKeepsTheBlock) {
  MOXContainer members[4];
  for (int i = 0; i < 4; ++i) {
    members[i] = p.Keep(p.newNumber(i));
    p.append(array_, members[i]);
  }
  p.removeAt(array_, 1);
  ASSERT_EQ(p.count(array_), 3u);
  EXPECT_EQ(p.getAt(array_, 0), members[0]);
  EXPECT_EQ(p.getAt(array_, 1), members[2]);
  EXPECT_EQ(p.getAt(array_, 2), members[3]);
  EXPECT_EQ(p.RefCount(members[1]), 1u);
  EXPECT_EQ(p.RefCount(members[3]), 2u) << "moving down takes no extra reference";
  p.removeAt(array_, 3);
  p.removeAt(array_, uint64_t{1} << 32);
  EXPECT_EQ(p.count(array_), 3u);
  for (int i = 0; i < 3; ++i) p.removeAt(array_, 0);
  EXPECT_EQ(p.count(array_), 0u);
  EXPECT_EQ(impl_->Capacity(), 4u);
  p.append(array_, members[0]);
  EXPECT_EQ(impl_->Capacity(), 4u) << "the next Append reuses the block";
  EXPECT_EQ(TakeReports(), Reports{}) << "out of range is silent";
  for (MOXContainer member : members) p.release(member);
}

TEST_F(Arrays, OutOfRangeAndBadArgumentsChangeNothing) {
  MOXContainer member = p.Keep(p.newNumber(5));
  p.append(array_, member);
  EXPECT_EQ(p.getAt(array_, 1), nullptr);
  EXPECT_EQ(p.getAt(array_, uint64_t{1} << 32), nullptr) << "compared in 64 bits";
  EXPECT_EQ(TakeReports(), Reports{});
  p.append(array_, nullptr);
  p.setAt(array_, 0, nullptr);
  p.append(member, member);
  EXPECT_EQ(p.getAt(member, 0), nullptr);
  p.setAt(array_, 0xFFFFFFFFu, member);
  p.setAt(array_, uint64_t{1} << 32, member);
  EXPECT_EQ(TakeReports(), (Reports{"invalid container", "invalid container",
                                    "instance was not an POSArray", "instance was not an POSArray",
                                    std::bad_alloc().what(), std::bad_alloc().what()}));
  EXPECT_EQ(p.count(array_), 1u);
  EXPECT_EQ(p.getAt(array_, 0), member);
  EXPECT_EQ(p.RefCount(member), 2u) << "the rejected values were let go";
  moxhost::Runtime::Get().FailNthAllocation(1);
  for (int i = 0; i < 4; ++i) p.append(array_, member);
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()});
  EXPECT_EQ(p.count(array_), 4u) << "the growth that failed appended nothing";
  EXPECT_EQ(impl_->Capacity(), 4u);
  EXPECT_EQ(p.RefCount(member), 5u);
  p.release(member);
}

}  // namespace
}  // namespace moxtest
