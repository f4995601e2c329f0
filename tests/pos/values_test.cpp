// The value classes through their interfaces: creation, getters, the class
// tests, the texts of a wrong class, and what failures leave behind.
#include <cmath>
#include <cstring>
#include <limits>

#include "pos/pos_fixture.h"
#include "pos/unicode_bindata_rawpointer.h"

namespace moxtest {
namespace {

using Values = POSFixture;

int gReleaseCalls = 0;
void* gReleasedPointer = reinterpret_cast<void*>(1);
void CountRelease(void* pointer) {
  ++gReleaseCalls;
  gReleasedPointer = pointer;
}

TEST_F(Values, NumbersKeepTheirDoubleAndCompareWithoutTolerance) {
  MOXContainer nan = p.Keep(p.newNumber(std::numeric_limits<double>::quiet_NaN()));
  MOXContainer zero = p.Keep(p.newNumber(0.0));
  MOXContainer minusZero = p.Keep(p.newNumber(-0.0));
  MOXContainer third = p.Keep(p.newNumber(1.0 / 3.0));
  ASSERT_TRUE(nan && zero && minusZero && third);
  EXPECT_TRUE(std::isnan(p.getNumber(nan)));
  EXPECT_EQ(p.getNumber(third), 1.0 / 3.0);
  EXPECT_FALSE(p.isEqual(nan, nan)) << "NaN equals nothing, itself included";
  EXPECT_TRUE(p.isEqual(zero, minusZero));
  EXPECT_FALSE(p.isEqual(third, zero));
  EXPECT_EQ(p.clone(third), third) << "an immutable value is its own clone";
  EXPECT_EQ(p.RefCount(third), 1u) << "and the clone takes no reference";
  for (MOXContainer object : {nan, zero, minusZero, third}) p.release(object);
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(Values, StringsAreInternedAndEqualByText) {
  MOXContainer a = p.Keep(p.newString("text"));
  MOXContainer b = p.Keep(p.newString("text"));
  MOXContainer other = p.Keep(p.newString("Text"));
  MOXContainer empty = p.Keep(p.newString(""));
  MOXContainer one = p.Keep(p.newNumber(1));
  MOXContainer oneText = p.Keep(p.newString("1"));
  EXPECT_NE(a, b);
  EXPECT_EQ(p.getString(a), p.getString(b)) << "equal texts share one C string";
  EXPECT_STREQ(p.getString(empty), "");
  EXPECT_TRUE(p.isEqual(a, b));
  EXPECT_FALSE(p.isEqual(a, other));
  EXPECT_FALSE(p.isEqual(one, oneText));
  EXPECT_FALSE(p.isEqual(oneText, one));
  EXPECT_EQ(TakeReports(), Reports{}) << "another class is not equal, and not a failure";
  for (MOXContainer object : {a, b, other, empty, one, oneText}) p.release(object);
}

TEST_F(Values, UnicodeStringsCopyTheirUnitsAndCompareThemAll) {
  uint16_t source[] = {0x41, 0xD800, 0xDC00, 0};
  MOXContainer text = p.Keep(p.newUnicode(source));
  source[0] = 0x42;
  const uint16_t* units = p.getUnicode(text);
  EXPECT_EQ(units[0], 0x41) << "the object keeps its own copy";
  EXPECT_EQ(units[1], 0xD800) << "units are stored as they come";
  EXPECT_EQ(units[3], 0);
  const uint16_t emptyUnits[] = {0, 0x41, 0};
  MOXContainer empty = p.Keep(p.newUnicode(emptyUnits));
  EXPECT_EQ(p.getUnicode(empty)[0], 0);
  EXPECT_EQ(NPOSObjectImpl::FromContainer<NPOSObjectImpl::UnicodeString>(empty)->Length(), 1u);
  MOXContainer same = p.Keep(p.newUnicode(units));
  MOXContainer longer = p.Keep(p.newUnicode(source));  // "B..." differs at the first unit
  const uint16_t prefix[] = {0x41, 0};
  MOXContainer shorter = p.Keep(p.newUnicode(prefix));
  EXPECT_TRUE(p.isEqual(text, same));
  EXPECT_FALSE(p.isEqual(text, longer));
  EXPECT_FALSE(p.isEqual(text, shorter));
  EXPECT_FALSE(p.isEqual(shorter, text));
  for (MOXContainer object : {text, empty, same, longer, shorter}) p.release(object);
}

TEST_F(Values, BinDataCopiesTheBytesAndComparesTypeSizeAndBytes) {
  char bytes[] = {1, 2, 3, 4};
  MOXContainer data = p.Keep(p.newBinData("image/x", bytes, sizeof bytes));
  bytes[0] = 9;
  EXPECT_STREQ(p.getTypeName(data), "image/x");
  EXPECT_EQ(p.getSize(data), 4u);
  EXPECT_EQ(static_cast<const char*>(p.getBinData(data))[0], 1);
  const char original[] = {1, 2, 3, 4};
  MOXContainer same = p.Keep(p.newBinData("image/x", original, 4));
  MOXContainer renamed = p.Keep(p.newBinData("image/y", original, 4));
  MOXContainer changed = p.Keep(p.newBinData("image/x", bytes, 4));
  MOXContainer empty = p.Keep(p.newBinData("image/x", nullptr, 0));
  MOXContainer empty2 = p.Keep(p.newBinData("image/x", original, 0));
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(p.getSize(empty), 0u);
  EXPECT_TRUE(p.isEqual(data, same));
  EXPECT_FALSE(p.isEqual(data, renamed));
  EXPECT_FALSE(p.isEqual(data, changed));
  EXPECT_TRUE(p.isEqual(empty, empty2));
  EXPECT_FALSE(p.isEqual(empty, data));
  for (MOXContainer object : {data, same, renamed, changed, empty, empty2}) p.release(object);
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(Values, RawPointersReleaseOnceAtDeathAndAreAllEqual) {
  gReleaseCalls = 0;
  int target = 0;
  MOXContainer pointer = p.Keep(p.newRawPointer(&target, &CountRelease));
  MOXContainer null = p.Keep(p.newRawPointer(nullptr, &CountRelease));
  MOXContainer bare = p.Keep(p.newRawPointer(nullptr, nullptr));
  EXPECT_EQ(p.getRawPointer(pointer), &target);
  EXPECT_EQ(p.getReleaseProc(pointer), &CountRelease);
  EXPECT_EQ(p.getReleaseProc(bare), nullptr);
  EXPECT_TRUE(p.isEqual(pointer, null)) << "neither pointer nor procedure is compared";
  EXPECT_TRUE(p.isEqual(bare, pointer));
  EXPECT_EQ(p.clone(pointer), pointer);
  EXPECT_EQ(gReleaseCalls, 0);
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
  MOXContainer number = p.Keep(p.newNumber(7));
  MOXContainer string = p.Keep(p.newString("7"));
  EXPECT_FALSE(p.isNumber(string));
  EXPECT_FALSE(p.isNumber(nullptr));
  EXPECT_FALSE(p.isString(nullptr));
  EXPECT_EQ(TakeReports(), Reports{}) << "the class tests never report";
  EXPECT_EQ(p.getNumber(string), 0.0);
  EXPECT_EQ(p.getNumber(nullptr), 0.0);
  EXPECT_EQ(p.getString(number), nullptr);
  EXPECT_EQ(p.getUnicode(number), nullptr);
  EXPECT_EQ(p.getTypeName(number), nullptr);
  EXPECT_EQ(p.getBinData(number), nullptr);
  EXPECT_EQ(p.getSize(number), 0u);
  EXPECT_EQ(p.getRawPointer(number), nullptr);
  EXPECT_EQ(p.getReleaseProc(number), nullptr);
  EXPECT_EQ(p.count(number), 0u);
  EXPECT_EQ(p.get(number, nullptr), nullptr);
  EXPECT_EQ(TakeReports(),
            (Reports{"instance was not an POSNumber", "instance was not an POSNumber",
                     "instance was not an POSString", "instance was not an POSUnicodeString",
                     "instance was not an POSBinData", "instance was not an POSBinData",
                     "instance was not an POSBinData", "instance was not an POSRawPointer",
                     "instance was not an POSRawPointer", "instance was not an POSArray",
                     "instance was not an POSDict"}));
  p.release(number);
  p.release(string);
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
  EXPECT_EQ(p.newBinData(nullptr, "x", 1), nullptr);
  EXPECT_EQ(p.newBinData("t", nullptr, 1), nullptr);
  EXPECT_EQ(TakeReports(), Reports(4, "null argument"));
  // The fixture checks that every count, the live-object count included, is
  // back where it started.
}

}  // namespace
}  // namespace moxtest
