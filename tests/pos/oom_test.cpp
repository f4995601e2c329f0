// Out of memory at every allocation of a scenario that builds a tree, clones
// it and compares the two, as a careful foreign component would: no crash,
// a null or neutral result with a report, and nothing left behind.
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using OutOfMemory = POSFixture;

// Builds <list [0 <k s>] u `A` d bin>, clones and compares; skips any step
// whose input came back null. Returns whether every object was made (a failed
// Append or Put shows only in the reports).
bool BuildCloneCompare(const POSProcs& p) {
  bool complete = true;
  auto keep = [&](MOXContainer object) {
    complete = complete && object != nullptr;
    return p.Keep(object);
  };
  MOXContainer root = keep(p.newDict());
  if (root == nullptr) return false;
  MOXContainer list = keep(p.newArray());
  MOXContainer zero = keep(p.newNumber(0));
  MOXContainer inner = keep(p.newDict());
  MOXContainer text = keep(p.newString("s"));
  const uint16_t units[] = {0x41, 0};
  MOXContainer unicode = keep(p.newUnicode(units));
  MOXContainer bin = keep(p.newBinData("bin", "bytes", 5));
  if (list && zero) p.append(list, zero);
  if (inner && text) p.Put(inner, "k", text);
  if (list && inner) p.append(list, inner);
  if (list) p.Put(root, "list", list);
  if (unicode) p.Put(root, "u", unicode);
  if (bin) p.Put(root, "d", bin);
  MOXContainer copy = keep(p.clone(root));
  if (copy != nullptr) {
    EXPECT_TRUE(p.isEqual(root, copy));
    EXPECT_TRUE(p.isEqual(copy, root));
  }
  for (MOXContainer object : {root, list, zero, inner, text, unicode, bin, copy}) {
    if (object != nullptr) p.release(object);
  }
  return complete;
}

TEST_F(OutOfMemory, EveryAllocationOfBuildAndCloneMayFail) {
  moxhost::Runtime& rt = moxhost::Runtime::Get();
  int32_t objects = NPOSObjectImpl::BaseObject::LiveObjectCount();
  uint64_t n = 1;
  for (;; ++n) {
    uint64_t callsBefore = rt.AllocationCalls();
    rt.FailNthAllocation(n);
    bool complete = BuildCloneCompare(p);
    rt.ClearFaults();
    bool faultFired = rt.AllocationCalls() - callsBefore >= n;
    Reports reports = TakeReports();
    EXPECT_EQ(CountsDiff(started_, rt.Counts()), "") << "allocation " << n;
    EXPECT_EQ(NPOSObjectImpl::BaseObject::LiveObjectCount(), objects) << "allocation " << n;
    if (!faultFired) {
      EXPECT_TRUE(complete);
      EXPECT_EQ(reports, Reports{});
      break;
    }
    ASSERT_FALSE(reports.empty()) << "allocation " << n;
    EXPECT_EQ(reports.front(), std::bad_alloc().what()) << "allocation " << n;
    for (size_t i = 1; i < reports.size(); ++i) {
      EXPECT_EQ(reports[i], "CPOSObject::Clone failed") << "allocation " << n;
    }
  }
  EXPECT_GT(n, 15u) << "the scenario allocates at every step";
}

}  // namespace
}  // namespace moxtest
