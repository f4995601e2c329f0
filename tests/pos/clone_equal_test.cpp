// Clone copies the structure and shares the leaves; IsEqual compares by the
// rule of each class, one-sided for dictionaries.
#include "pos/array.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using MOX_T_MT::CPOSArray;
using MOX_T_MT::CPOSDict;
using MOX_T_MT::CPOSNumber;
using MOX_T_MT::CPOSObject;
using MOX_T_MT::CPOSString;

using CloneEqual = POSFixture;

TEST_F(CloneEqual, CloneIsDeepForContainersAndSharesLeaves) {
  CPOSNumber number = CPOSNumber::New(5);
  CPOSArray inner = CPOSArray::New();
  inner.Append(CPOSString::New("s"));
  CPOSDict source = CPOSDict::New();
  source.Put("n", number);
  source.Put("list", inner);
  EXPECT_EQ(p.RefCount(number.fContainer), 2u);

  CPOSDict copy(source.Clone());
  EXPECT_NE(copy.fContainer, source.fContainer);
  EXPECT_EQ(copy.GetNumber("n").fContainer, number.fContainer) << "leaves are shared";
  EXPECT_EQ(p.RefCount(number.fContainer), 3u);
  EXPECT_TRUE(copy.IsEqual(source));
  EXPECT_TRUE(source.IsEqual(copy));
  CPOSArray copiedList = copy.GetArray("list");
  EXPECT_NE(copiedList.fContainer, inner.fContainer) << "containers are copied";
  copiedList.Append(CPOSNumber::New(6));
  EXPECT_EQ(inner.Count(), 1u) << "a change in the clone does not show in the source";
  EXPECT_FALSE(copy.IsEqual(source));
  EXPECT_FALSE(source.IsEqual(copy));
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(CloneEqual, DictEqualityLooksOnlyAtItsOwnKeys) {
  CPOSDict small = CPOSDict::New();
  small.Put("a", CPOSNumber::New(1));
  CPOSDict large(small.Clone());
  large.Put("b", CPOSNumber::New(2));
  EXPECT_TRUE(small.IsEqual(large));
  EXPECT_FALSE(large.IsEqual(small));
  CPOSDict other = CPOSDict::New();
  other.Put("a", CPOSString::New("1"));
  EXPECT_FALSE(small.IsEqual(other)) << "same key, value of another class";
  EXPECT_FALSE(CPOSDict::New().IsEqual(CPOSArray::New()));
  EXPECT_FALSE(CPOSArray::New().IsEqual(CPOSDict::New()));
  EXPECT_TRUE(CPOSDict::New().IsEqual(CPOSDict::New()));
  EXPECT_TRUE(CPOSArray::New().IsEqual(CPOSArray::New()));
}

TEST_F(CloneEqual, ArraysCompareMemberByMemberInOrder) {
  CPOSArray a = CPOSArray::New();
  a.Append(CPOSNumber::New(1));
  a.Append(CPOSString::New("two"));
  CPOSArray same(a.Clone());
  CPOSArray reversed = CPOSArray::New();
  reversed.Append(CPOSString::New("two"));
  reversed.Append(CPOSNumber::New(1));
  CPOSArray shorter = CPOSArray::New();
  shorter.Append(CPOSNumber::New(1));
  EXPECT_TRUE(a.IsEqual(same));
  EXPECT_FALSE(a.IsEqual(reversed));
  EXPECT_FALSE(a.IsEqual(shorter));
  EXPECT_FALSE(shorter.IsEqual(a));
}

TEST_F(CloneEqual, HolesStayHolesAndMatchOnlyHoles) {
  CPOSArray holed = CPOSArray::New();
  MOXContainer member = p.Keep(p.newNumber(1));
  p.setAt(holed.fContainer, 2, member);
  CPOSArray copy(holed.Clone());
  EXPECT_EQ(copy.Count(), 3u);
  EXPECT_EQ(p.getAt(copy.fContainer, 0), nullptr);
  EXPECT_EQ(p.getAt(copy.fContainer, 2), member);
  EXPECT_TRUE(holed.IsEqual(copy));
  CPOSArray filled = CPOSArray::New();
  for (int i = 0; i < 3; ++i) filled.Append(CPOSNumber::New(1));
  EXPECT_FALSE(holed.IsEqual(filled));
  EXPECT_FALSE(filled.IsEqual(holed));
  EXPECT_EQ(TakeReports(), Reports{});
  p.release(member);
}

TEST_F(CloneEqual, EntriesReportBadHandles) {
  CPOSNumber number = CPOSNumber::New(1);
  EXPECT_EQ(p.clone(nullptr), nullptr);
  EXPECT_FALSE(p.isEqual(number.fContainer, nullptr));
  EXPECT_FALSE(p.isEqual(nullptr, number.fContainer));
  EXPECT_EQ(TakeReports(),
            (Reports{"invalid container", "invalid container", "invalid container"}));
  EXPECT_EQ(p.RefCount(number.fContainer), 1u);
  MOXContainer fresh = p.newString("unowned");
  EXPECT_TRUE(p.isEqual(number.fContainer, number.fContainer));
  EXPECT_FALSE(p.isEqual(number.fContainer, fresh));
  EXPECT_EQ(p.RefCount(fresh), 0u) << "comparing leaves an unowned object alive and unowned";
  p.debugDump(fresh);
  EXPECT_EQ(p.RefCount(fresh), 0u);
  p.Drop(fresh);
  p.debugDump(nullptr);
  EXPECT_EQ(TakeReports(), Reports{"invalid container"});
}

TEST_F(CloneEqual, AFailedCloneAnywhereInTheTreeLeavesNothing) {
  CPOSDict root = CPOSDict::New();
  CPOSArray list = CPOSArray::New();
  CPOSDict leafDict = CPOSDict::New();
  leafDict.Put("k", CPOSNumber::New(1));
  list.Append(leafDict);
  list.Append(CPOSString::New("s"));
  root.Put("list", list);
  root.Put("d", leafDict);
  moxhost::LiveCounts before = moxhost::Runtime::Get().Counts();
  int32_t objects = NPOSObjectImpl::BaseObject::LiveObjectCount();
  for (uint64_t n = 1;; ++n) {
    moxhost::Runtime::Get().FailNthAllocation(n);
    MOXContainer copy = p.clone(root.fContainer);
    moxhost::Runtime::Get().ClearFaults();
    Reports reports = TakeReports();
    if (copy != nullptr) {
      EXPECT_TRUE(reports.empty());
      EXPECT_TRUE(root.IsEqual(CPOSObject(copy))) << "the clone that finally succeeds";
      break;
    }
    ASSERT_FALSE(reports.empty()) << n;
    EXPECT_EQ(reports.front(), std::bad_alloc().what()) << n;
    for (size_t i = 1; i < reports.size(); ++i) {
      EXPECT_EQ(reports[i], "CPOSObject::Clone failed") << "one report per level above";
    }
    EXPECT_EQ(CountsDiff(before, moxhost::Runtime::Get().Counts()), "") << n;
    EXPECT_EQ(NPOSObjectImpl::BaseObject::LiveObjectCount(), objects) << n;
    ASSERT_LT(n, 100u);
  }
}

}  // namespace
}  // namespace moxtest
