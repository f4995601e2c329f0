// The classes through their interfaces: equality by class, clones, the texts
// of a bad handle, and what failed constructions leave behind. How a clone
// shares leaves and copies containers is seen from outside in the black-box
// tests, and a clone that runs out of memory in the out-of-memory tests.
#include <limits>

#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using namespace MOX_T_MT;  // NOLINT: the client classes
using Values = POSFixture;

int gReleaseCalls = 0;
void* gReleasedPointer = nullptr;
void CountRelease(void* pointer) {
  ++gReleaseCalls;
  gReleasedPointer = pointer;
}

CPOSObject Parse(const char* text) {
  CPOSObject object = CPOSObjectStatics::CreateFromText(text);
  EXPECT_FALSE(object.IsEmpty()) << text;
  return object;
}

// Equality has no tolerance, and another class is unequal, not a failure.
TEST_F(Values, EachClassHasItsOwnEquality) {
  const struct {
    const char *a, *b;
    bool aEqualsB, bEqualsA;
  } cases[] = {
      {"0", "-0", true, true},
      {"text", "Text", false, false},
      {"`0041D800`", "`0041`", false, false},  // length differs
      {"`0041D800`", "`0042D800`", false, false},
      {"<a 1>", "<a 1 b 2>", true, false},  // a Dict asks only about its own keys
      {"<b 2 d 4>", "<a 1 b 2 c 3 d 4 e 5>", true, false},
      {"<a 1>", "<b 1>", false, false},  // same values under other keys
      {"<a 1 c 3>", "<a 1 b 3>", false, false},
      {"<profile_a 1>", "<profile_b 1>", false, false},  // keys alike in their first bytes
      {"<a 1>", "<a (1)>", false, false},
      {"<>", "[]", false, false},
      {"<>", "<>", true, true},
      {"[1 two <c `0041`>]", "[1 two <c `0041`>]", true, true},
      {"[1 two <c `0041`>]", "[two 1 <c `0041`>]", false, false},  // order counts
      {"[1 two <c `0041`>]", "[1 two]", false, false},
      {"[1 two <c `0041`>]", "[1 two <c `0042`>]", false, false},
  };
  for (const auto& c : cases) {
    CPOSObject a = Parse(c.a), b = Parse(c.b);
    EXPECT_EQ(a.IsEqual(b), c.aEqualsB) << c.a << " vs " << c.b;
    EXPECT_EQ(b.IsEqual(a), c.bEqualsA) << c.b << " vs " << c.a;
    EXPECT_TRUE(a.IsEqual(a.Clone()) && a.Clone().IsEqual(a)) << c.a;
  }
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(Values, LeavesAreTheirOwnClonesAndKeepTheirOwnCopies) {
  CPOSNumber nan = CPOSNumber::New(std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(nan.IsEqual(nan)) << "NaN equals nothing, itself included";
  EXPECT_EQ(p.posObject.Clone(nan.Container()), nan.Container()) << "immutable: its own clone";
  EXPECT_EQ(p.RefCount(nan.Container()), 1u);
  EXPECT_EQ(CPOSString::New("text").Get(), CPOSString::New("text").Get())
      << "equal texts share one C string";
  uint16_t units[] = {0x41, 0xD800, 0};
  CPOSUnicodeString text = CPOSUnicodeString::New(units);
  units[0] = 0x42;
  EXPECT_EQ(text.Get()[0], 0x41);
  EXPECT_EQ(text.Get()[1], 0xD800) << "stored as they come";
  char bytes[] = {1, 2, 3};
  CPOSBinData data = CPOSBinData::New("t", bytes, 3);
  bytes[0] = 9;
  EXPECT_EQ(static_cast<const char*>(data.GetBinData())[0], 1);
  EXPECT_FALSE(data.IsEqual(CPOSBinData::New("t", bytes, 3)));
  EXPECT_FALSE(data.IsEqual(CPOSBinData::New("u", data.GetBinData(), 3))) << "type name";
  EXPECT_TRUE(data.IsEqual(CPOSBinData::New("t", data.GetBinData(), 3)));
  CPOSBinData zero = CPOSBinData::New("t", nullptr, 0);
  EXPECT_TRUE(zero.IsEqual(CPOSBinData::New("t", bytes, 0)));
  EXPECT_FALSE(zero.IsEqual(data));
  EXPECT_EQ(TakeReports(), Reports{});
}

// A clone keeps the holes of an array.
TEST_F(Values, HolesStayHolesAndMatchOnlyHoles) {
  CPOSArray holed = CPOSArray::New();
  CPOSNumber member = CPOSNumber::New(1);
  p.posArray.SetAt(holed.Container(), 2, member.Container());
  CPOSArray copy(holed.Clone());
  EXPECT_EQ(copy.Count(), 3u);
  EXPECT_EQ(p.posArray.GetAt(copy.Container(), 0), nullptr);
  EXPECT_EQ(p.posArray.GetAt(copy.Container(), 2), member.Container());
  EXPECT_TRUE(holed.IsEqual(copy));
  CPOSObject filled = Parse("[1 1 1]");
  EXPECT_FALSE(holed.IsEqual(filled));
  EXPECT_FALSE(filled.IsEqual(holed));
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(Values, RawPointersReleaseOnceAtDeathAndAreAllEqual) {
  gReleaseCalls = 0;
  int target = 0;
  MOXContainer pointer = p.Keep(p.posRawPointer.NewPOSRawPointer(&target, &CountRelease));
  MOXContainer null = p.Keep(p.posRawPointer.NewPOSRawPointer(nullptr, &CountRelease));
  MOXContainer bare = p.Keep(p.posRawPointer.NewPOSRawPointer(nullptr, nullptr));
  EXPECT_EQ(p.posRawPointer.GetRawPointer(pointer), &target);
  EXPECT_EQ(p.posRawPointer.GetReleaseProc(pointer), &CountRelease);
  EXPECT_TRUE(p.posObject.IsEqual(bare, pointer)) << "neither pointer nor procedure is compared";
  EXPECT_EQ(p.posObject.Clone(pointer), pointer) << "never duplicated";
  p.container.Release(null);
  EXPECT_EQ(gReleaseCalls, 1);
  EXPECT_EQ(gReleasedPointer, nullptr) << "a null pointer is released all the same";
  p.container.Release(pointer);
  EXPECT_EQ(gReleaseCalls, 2);
  EXPECT_EQ(gReleasedPointer, &target);
  p.container.Release(bare);
  EXPECT_EQ(gReleaseCalls, 2);
}

// Every entry checks its handles: a null one is an invalid container, one
// of another class is named, and the result is null, zero or false. Nothing
// changes, and an unowned object handed in stays unowned.
TEST_F(Values, BadHandlesReportAndGiveNeutralResults) {
  MOXContainer n = p.Keep(p.posNumber.NewPOSNumber(7));
  MOXContainer array = p.Keep(p.posArray.NewPOSArray());
  MOXContainer dict = p.Keep(p.posDict.NewPOSDict());
  EXPECT_FALSE(p.posString.IsPOSString(n));
  EXPECT_FALSE(p.posNumber.IsPOSNumber(nullptr));
  EXPECT_EQ(TakeReports(), Reports{}) << "the class tests never report";
  EXPECT_EQ(p.posNumber.Get(nullptr), 0.0);
  EXPECT_EQ(p.posString.Get(n), nullptr);
  EXPECT_EQ(p.posBinData.GetSize(n), 0u);
  EXPECT_EQ(p.posArray.GetAt(n, 0), nullptr);
  EXPECT_EQ(p.posDictIterator.NewPOSDictIterator(n), nullptr);
  EXPECT_FALSE(p.posDictIterator.IsDone(nullptr));
  EXPECT_EQ(p.posObject.Clone(nullptr), nullptr);
  EXPECT_FALSE(p.posObject.IsEqual(nullptr, n));
  p.posArray.Append(array, nullptr);
  p.Put(dict, "k", nullptr);
  p.posDict.Put(dict, nullptr, n);
  EXPECT_EQ(
      TakeReports(),
      (Reports{"instance was not an POSNumber", "instance was not an POSString",
               "instance was not an POSBinData", "instance was not an POSArray",
               "instance was not an POSDict", "invalid container", "invalid container",
               "invalid container", "invalid container", "invalid container", "null argument"}));
  EXPECT_EQ(p.posArray.Count(array), 0u);
  EXPECT_EQ(p.RefCount(n), 1u);
  MOXContainer fresh = p.posString.NewPOSString("unowned");
  EXPECT_FALSE(p.posObject.IsEqual(n, fresh));
  p.posStatics.DebugDump(fresh);
  EXPECT_EQ(p.RefCount(fresh), 0u) << "comparing or dumping leaves an unowned object unowned";
  p.Drop(fresh);
  for (MOXContainer object : {n, array, dict}) p.container.Release(object);
}

TEST_F(Values, FailedConstructionsLeaveNothingAndReport) {
  moxhost::Runtime& rt = moxhost::Runtime::Get();
  rt.FailNthStringAtom(1);
  EXPECT_EQ(p.posString.NewPOSString("fresh atom"), nullptr);
  rt.FailNthAllocation(1);
  EXPECT_EQ(p.posNumber.NewPOSNumber(1), nullptr) << "the object itself";
  const uint16_t units[] = {0x41, 0};
  rt.FailNthAllocation(2);
  EXPECT_EQ(p.posUnicodeString.NewPOSUnicodeString(units), nullptr) << "the block of units";
  rt.FailNthStringAtom(1);
  EXPECT_EQ(p.posBinData.NewPOSBinData("fresh type", "x", 1), nullptr);
  rt.ClearFaults();
  EXPECT_EQ(TakeReports(), Reports(4, std::bad_alloc().what()));
  EXPECT_EQ(p.posString.NewPOSString(nullptr), nullptr);
  EXPECT_EQ(p.posUnicodeString.NewPOSUnicodeString(nullptr), nullptr);
  EXPECT_EQ(p.posBinData.NewPOSBinData("t", nullptr, 1), nullptr);
  EXPECT_EQ(TakeReports(), Reports(3, "null argument"));
  rt.HideInterface("MOXSharedBuffInterface");
  rt.RaiseUnregisterCounter();
  EXPECT_EQ(p.posBinData.NewPOSBinData("t", "x", 1), nullptr);
  rt.ClearFaults();
  EXPECT_EQ(TakeReports().size(), 1u) << "without shared buffers: reported, null";
  // The fixture checks that every count, the live-object count included, is
  // back where it started.
}

}  // namespace
}  // namespace moxtest
