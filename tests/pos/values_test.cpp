// The value classes through their interfaces: getters, equality by class, the
// texts of a wrong class, and what failed constructions leave behind.
#include <cmath>
#include <limits>

#include "pos/pos_fixture.h"
#include "pos/unicode_bindata_rawpointer.h"

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

TEST_F(Values, NumbersAndStringsCompareWithoutTolerance) {
  CPOSNumber nan = CPOSNumber::New(std::numeric_limits<double>::quiet_NaN());
  CPOSNumber third = CPOSNumber::New(1.0 / 3.0);
  EXPECT_TRUE(std::isnan(nan.Get()));
  EXPECT_EQ(third.Get(), 1.0 / 3.0);
  EXPECT_FALSE(nan.IsEqual(nan)) << "NaN equals nothing, itself included";
  EXPECT_TRUE(CPOSNumber::New(0.0).IsEqual(CPOSNumber::New(-0.0)));
  EXPECT_EQ(p.clone(third.fContainer), third.fContainer) << "immutable: its own clone";
  EXPECT_EQ(p.RefCount(third.fContainer), 1u);
  CPOSString a = CPOSString::New("text");
  CPOSString b = CPOSString::New("text");
  EXPECT_NE(a.fContainer, b.fContainer);
  EXPECT_EQ(a.Get(), b.Get()) << "equal texts share one C string";
  EXPECT_TRUE(a.IsEqual(b));
  EXPECT_FALSE(a.IsEqual(CPOSString::New("Text")));
  EXPECT_STREQ(CPOSString::New("").Get(), "");
  EXPECT_FALSE(CPOSNumber::New(1).IsEqual(CPOSString::New("1")));
  EXPECT_FALSE(CPOSString::New("1").IsEqual(CPOSNumber::New(1)));
  EXPECT_EQ(TakeReports(), Reports{}) << "another class is unequal, not a failure";
}

TEST_F(Values, UnicodeStringsAndBinDataKeepTheirOwnCopies) {
  uint16_t units[] = {0x41, 0xD800, 0};
  CPOSUnicodeString text = CPOSUnicodeString::New(units);
  units[0] = 0x42;
  EXPECT_EQ(text.Get()[0], 0x41);
  EXPECT_EQ(text.Get()[1], 0xD800) << "stored as they come";
  const uint16_t empty[] = {0, 0x41, 0};
  CPOSUnicodeString none = CPOSUnicodeString::New(empty);
  EXPECT_EQ(NPOSObjectImpl::FromContainer<NPOSObjectImpl::UnicodeString>(none.fContainer)->Length(),
            1u);
  const uint16_t prefix[] = {0x41, 0};
  EXPECT_FALSE(text.IsEqual(CPOSUnicodeString::New(units))) << "first unit differs";
  EXPECT_FALSE(text.IsEqual(CPOSUnicodeString::New(prefix))) << "length differs";
  EXPECT_TRUE(text.IsEqual(CPOSUnicodeString::New(text.Get())));

  char bytes[] = {1, 2, 3};
  CPOSBinData data = CPOSBinData::New("t", bytes, 3);
  bytes[0] = 9;
  EXPECT_EQ(static_cast<const char*>(data.GetBinData())[0], 1);
  EXPECT_FALSE(data.IsEqual(CPOSBinData::New("t", bytes, 3)));
  EXPECT_FALSE(data.IsEqual(CPOSBinData::New("u", data.GetBinData(), 3))) << "type name";
  EXPECT_TRUE(data.IsEqual(CPOSBinData::New("t", data.GetBinData(), 3)));
  CPOSBinData zero = CPOSBinData::New("t", nullptr, 0);
  EXPECT_EQ(zero.GetSize(), 0u);
  EXPECT_TRUE(zero.IsEqual(CPOSBinData::New("t", bytes, 0)));
  EXPECT_FALSE(zero.IsEqual(data));
}

TEST_F(Values, RawPointersReleaseOnceAtDeathAndAreAllEqual) {
  gReleaseCalls = 0;
  int target = 0;
  MOXContainer pointer = p.Keep(p.newRawPointer(&target, &CountRelease));
  MOXContainer null = p.Keep(p.newRawPointer(nullptr, &CountRelease));
  MOXContainer bare = p.Keep(p.newRawPointer(nullptr, nullptr));
  EXPECT_EQ(p.getRawPointer(pointer), &target);
  EXPECT_EQ(p.getReleaseProc(pointer), &CountRelease);
  EXPECT_TRUE(p.isEqual(bare, pointer)) << "neither pointer nor procedure is compared";
  EXPECT_EQ(p.clone(pointer), pointer) << "never duplicated";
  p.release(null);
  EXPECT_EQ(gReleaseCalls, 1);
  EXPECT_EQ(gReleasedPointer, nullptr) << "a null pointer is released all the same";
  p.release(pointer);
  EXPECT_EQ(gReleaseCalls, 2);
  EXPECT_EQ(gReleasedPointer, &target);
  p.release(bare);
  EXPECT_EQ(gReleaseCalls, 2);
}

TEST_F(Values, EveryGetterNamesItsClassWhenHandedAnother) {
  CPOSNumber number = CPOSNumber::New(7);
  MOXContainer n = number.fContainer;
  EXPECT_FALSE(p.isString(n));
  EXPECT_FALSE(p.isNumber(nullptr));
  EXPECT_EQ(TakeReports(), Reports{}) << "the class tests never report";
  EXPECT_EQ(p.getNumber(CPOSString::New("7").fContainer), 0.0);
  EXPECT_EQ(p.getNumber(nullptr), 0.0);
  EXPECT_EQ(p.getString(n), nullptr);
  EXPECT_EQ(p.getUnicode(n), nullptr);
  EXPECT_EQ(p.getSize(n), 0u);
  EXPECT_EQ(p.getRawPointer(n), nullptr);
  EXPECT_EQ(p.count(n), 0u);
  EXPECT_EQ(p.get(n, nullptr), nullptr);
  EXPECT_EQ(TakeReports(),
            (Reports{"instance was not an POSNumber", "instance was not an POSNumber",
                     "instance was not an POSString", "instance was not an POSUnicodeString",
                     "instance was not an POSBinData", "instance was not an POSRawPointer",
                     "instance was not an POSArray", "instance was not an POSDict"}));
}

TEST_F(Values, FailedConstructionsLeaveNothingAndReport) {
  moxhost::Runtime& rt = moxhost::Runtime::Get();
  rt.FailNthStringAtom(1);
  EXPECT_EQ(p.newString("fresh atom"), nullptr);
  rt.FailNthAllocation(1);
  EXPECT_EQ(p.newNumber(1), nullptr) << "the object itself";
  const uint16_t units[] = {0x41, 0};
  rt.FailNthAllocation(2);
  EXPECT_EQ(p.newUnicode(units), nullptr) << "the block of units";
  rt.FailNthStringAtom(1);
  EXPECT_EQ(p.newBinData("fresh type", "x", 1), nullptr);
  rt.ClearFaults();
  EXPECT_EQ(TakeReports(), Reports(4, std::bad_alloc().what()));
  EXPECT_EQ(p.newString(nullptr), nullptr);
  EXPECT_EQ(p.newUnicode(nullptr), nullptr);
  EXPECT_EQ(p.newBinData("t", nullptr, 1), nullptr);
  EXPECT_EQ(TakeReports(), Reports(3, "null argument"));
  rt.HideInterface("MOXSharedBuffInterface");
  rt.RaiseUnregisterCounter();
  EXPECT_EQ(p.newBinData("t", "x", 1), nullptr);
  rt.ClearFaults();
  EXPECT_EQ(TakeReports().size(), 1u) << "without shared buffers: reported, null";
  // The fixture checks that every count, the live-object count included, is
  // back where it started.
}

}  // namespace
}  // namespace moxtest
