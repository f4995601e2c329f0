// Clone copies the structure and shares the leaves; IsEqual compares by the
// rule of each class, one-sided for dictionaries.
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using namespace MOX_T_MT;  // NOLINT: the client classes

using CloneEqual = POSFixture;

CPOSObject Parse(const char* text) {
  CPOSObject object = CPOSObjectStatics::CreateFromText(text);
  EXPECT_FALSE(object.IsEmpty()) << text;
  return object;
}

TEST_F(CloneEqual, CloneIsDeepForContainersAndSharesLeaves) {
  CPOSDict source(Parse("<n 5 list [s]>"));
  CPOSObject number = source.Get("n");
  CPOSDict copy(source.Clone());
  EXPECT_NE(copy.fContainer, source.fContainer);
  EXPECT_EQ(copy.Get("n").fContainer, number.fContainer) << "leaves are shared";
  EXPECT_EQ(p.RefCount(number.fContainer), 3u);
  EXPECT_TRUE(copy.IsEqual(source) && source.IsEqual(copy));
  CPOSArray copiedList = copy.GetArray("list");
  EXPECT_NE(copiedList.fContainer, source.GetArray("list").fContainer) << "containers are not";
  copiedList.Append(CPOSNumber::New(6));
  EXPECT_EQ(source.GetArray("list").Count(), 1u) << "the clone's change stays in the clone";
  EXPECT_FALSE(copy.IsEqual(source) || source.IsEqual(copy));
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(CloneEqual, EachClassHasItsOwnEquality) {
  CPOSObject small = Parse("<a 1>");
  CPOSObject large = Parse("<a 1 b 2>");
  EXPECT_TRUE(small.IsEqual(large)) << "a Dict asks only about its own keys";
  EXPECT_FALSE(large.IsEqual(small));
  EXPECT_FALSE(small.IsEqual(Parse("<a (1)>")));
  EXPECT_FALSE(Parse("<>").IsEqual(Parse("[]")));
  EXPECT_FALSE(Parse("[]").IsEqual(Parse("<>")));
  EXPECT_TRUE(Parse("<>").IsEqual(Parse("<>")));
  CPOSObject array = Parse("[1 two <c `0041`>]");
  EXPECT_TRUE(array.IsEqual(array.Clone()));
  EXPECT_TRUE(array.IsEqual(Parse("[1 two <c `0041`>]")));
  EXPECT_FALSE(array.IsEqual(Parse("[two 1 <c `0041`>]"))) << "order counts";
  EXPECT_FALSE(array.IsEqual(Parse("[1 two]")));
  EXPECT_FALSE(Parse("[1 two]").IsEqual(array));
  EXPECT_FALSE(array.IsEqual(Parse("[1 two <c `0042`>]")));
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(CloneEqual, HolesStayHolesAndMatchOnlyHoles) {
  CPOSArray holed = CPOSArray::New();
  CPOSNumber member = CPOSNumber::New(1);
  p.setAt(holed.fContainer, 2, member.fContainer);
  CPOSArray copy(holed.Clone());
  EXPECT_EQ(copy.Count(), 3u);
  EXPECT_EQ(p.getAt(copy.fContainer, 0), nullptr);
  EXPECT_EQ(p.getAt(copy.fContainer, 2), member.fContainer);
  EXPECT_TRUE(holed.IsEqual(copy));
  CPOSObject filled = Parse("[1 1 1]");
  EXPECT_FALSE(holed.IsEqual(filled));
  EXPECT_FALSE(filled.IsEqual(holed));
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(CloneEqual, EntriesReportBadHandlesAndLeaveCountsAlone) {
  CPOSNumber number = CPOSNumber::New(1);
  EXPECT_EQ(p.clone(nullptr), nullptr);
  EXPECT_FALSE(p.isEqual(number.fContainer, nullptr));
  EXPECT_FALSE(p.isEqual(nullptr, number.fContainer));
  p.debugDump(nullptr);
  EXPECT_EQ(TakeReports(), Reports(4, "invalid container"));
  MOXContainer fresh = p.newString("unowned");
  EXPECT_FALSE(p.isEqual(number.fContainer, fresh));
  p.debugDump(fresh);
  EXPECT_EQ(p.RefCount(fresh), 0u) << "comparing or dumping leaves an unowned object unowned";
  EXPECT_EQ(p.RefCount(number.fContainer), 1u);
  p.Drop(fresh);
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(CloneEqual, AFailedCloneAnywhereInTheTreeLeavesNothing) {
  CPOSObject root = Parse("<list [<k 1> s] d <k 1>>");
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
