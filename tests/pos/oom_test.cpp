// Out of memory at every allocation of a scenario, as a careful foreign
// component would meet it: no crash, a null or neutral result with a report,
// and nothing left behind.
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

class OutOfMemory : public POSFixture {
 protected:
  // Runs `scenario`, which tells whether it came out whole, with the nth
  // allocation (or string atom) failing, for n = 1, 2, ... up to the first
  // run that the fault does not reach. Every run gives back all it took; one
  // that met the fault reports the exhaustion first, then only `then`.
  template <typename Scenario>
  void FailEachInTurn(bool atoms, const std::string& then, Scenario scenario) {
    moxhost::Runtime& rt = moxhost::Runtime::Get();
    const moxhost::LiveCounts before = rt.Counts();
    const int32_t objects = NPOSObjectImpl::BaseObject::LiveObjectCount();
    uint64_t n = 1;
    for (;; ++n) {
      SCOPED_TRACE((atoms ? "atom " : "allocation ") + std::to_string(n));
      ASSERT_LT(n, 1000u);
      const uint64_t callsBefore = rt.AllocationCalls();
      atoms ? rt.FailNthStringAtom(n) : rt.FailNthAllocation(n);
      const bool whole = scenario();
      rt.ClearFaults();
      const Reports reports = TakeReports();
      // Atoms are not counted: for them, the report tells that one failed.
      const bool reached = atoms ? !reports.empty() : rt.AllocationCalls() - callsBefore >= n;
      EXPECT_EQ(CountsDiff(before, rt.Counts()), "");
      EXPECT_EQ(NPOSObjectImpl::BaseObject::LiveObjectCount(), objects);
      if (!reached) {
        EXPECT_TRUE(whole);
        EXPECT_EQ(reports, Reports{});
        break;
      }
      EXPECT_FALSE(whole);
      ASSERT_FALSE(reports.empty()) << "a fault went unreported";
      EXPECT_EQ(reports.front(), std::bad_alloc().what());
      for (size_t i = 1; i < reports.size(); ++i) EXPECT_EQ(reports[i], then) << i;
    }
    EXPECT_GT(n, 5u) << "the scenario allocates at every step";
  }
};

// <list [0 <k s>] u `A` d bin>, each step skipped when its input came back
// null; a failed Append or Put shows only in the reports.
MOXContainer Build(const POSProcs& p) {
  MOXContainer root = p.Keep(p.posDict.NewPOSDict());
  if (root == nullptr) return nullptr;
  MOXContainer list = p.Keep(p.posArray.NewPOSArray());
  MOXContainer zero = p.Keep(p.posNumber.NewPOSNumber(0));
  MOXContainer inner = p.Keep(p.posDict.NewPOSDict());
  MOXContainer text = p.Keep(p.posString.NewPOSString("s"));
  const uint16_t units[] = {0x41, 0};
  MOXContainer unicode = p.Keep(p.posUnicodeString.NewPOSUnicodeString(units));
  MOXContainer bin = p.Keep(p.posBinData.NewPOSBinData("bin", "bytes", 5));
  if (list && zero) p.posArray.Append(list, zero);
  if (inner && text) p.Put(inner, "k", text);
  if (list && inner) p.posArray.Append(list, inner);
  if (list) p.Put(root, "list", list);
  if (unicode) p.Put(root, "u", unicode);
  if (bin) p.Put(root, "d", bin);
  for (MOXContainer object : {list, zero, inner, text, unicode, bin}) {
    if (object != nullptr) p.container.Release(object);
  }
  return root;
}

TEST_F(OutOfMemory, EveryAllocationOfBuildAndCloneMayFail) {
  MOXContainer reference = Build(p);
  // A clone that fails reports once more for each level above the failure.
  FailEachInTurn(false, "CPOSObject::Clone failed", [&] {
    MOXContainer root = Build(p);
    MOXContainer copy = root != nullptr ? p.Keep(p.posObject.Clone(root)) : nullptr;
    if (copy != nullptr) {
      EXPECT_TRUE(p.posObject.IsEqual(root, copy) && p.posObject.IsEqual(copy, root));
    }
    const bool whole = copy != nullptr && p.posObject.IsEqual(copy, reference) &&
                       p.posObject.IsEqual(reference, copy);
    for (MOXContainer object : {root, copy}) {
      if (object != nullptr) p.container.Release(object);
    }
    return whole;
  });
  p.container.Release(reference);
}

// The parse gives null, or the tree without what could not be added.
TEST_F(OutOfMemory, EveryAllocationAndAtomOfAParseMayFail) {
  auto create = reinterpret_cast<POSObjectCreateFromTextProc>(moxhost::Runtime::LookupProc()(
      "POSObjectStatics", "CreateFromText", "POSObjectCreateFromTextProc"));
  const char* const text = "<list [1 (two) `0033` <four [4]>] name x>";
  MOXContainer complete = p.Keep(create(text, nullptr));
  auto parse = [&] {
    const char* position = text;
    MOXContainer object = p.Keep(create(text, &position));
    EXPECT_EQ(position, nullptr) << "running out is no syntax error";
    if (object == nullptr) return false;
    const bool whole =
        p.posObject.IsEqual(object, complete) && p.posObject.IsEqual(complete, object);
    p.container.Release(object);
    return whole;
  };
  // The entry that was handed no object reports it as well.
  FailEachInTurn(false, "invalid container", parse);
  FailEachInTurn(true, "invalid container", parse);
  p.container.Release(complete);
}

}  // namespace
}  // namespace moxtest
