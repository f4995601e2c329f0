// Where a walk meets a limit: the length of a line and the thread's stack.
// Each ends the call with a report or a plain false, never with a crash, and
// gives back everything it took. (The runtime's memory: the fault loops of
// the black-box suite.)
#include "support/stack_thread.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

CPOSDict DictWithKeyOf(size_t length) {
  CPOSDict dict = CPOSDict::New();
  dict.Put(std::string(length, 'k').c_str(), CPOSNumber::New(1));
  return dict;
}

TEST_F(ValidatorTest, ALineOfMoreThan1024CharactersEndsTheWalk) {
  const char* const dict = "< D < category dict > >";
  const char* const nested =
      "< A < category array membertype B > B < category array membertype D >"
      "  D < category dict > >";
  auto nestedValue = [](size_t length) {
    CPOSArray outer = CPOSArray::New(), inner = CPOSArray::New();
    inner.Append(DictWithKeyOf(length));
    outer.Append(inner);
    return outer;
  };
  // "Unknown member " is 15 characters, and each "[0]: " 5 more: the limit
  // holds at every level that a line passes.
  const struct {
    const char* schema;
    const char* type;
    CPOSObject value;
    size_t lineLength;  // 0: the walk ends
  } cases[] = {
      {dict, "D", DictWithKeyOf(1009), 1024}, {dict, "D", DictWithKeyOf(1010), 0},
      {dict, "D", DictWithKeyOf(1100), 0},    {nested, "A", nestedValue(999), 1024},
      {nested, "A", nestedValue(1000), 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lineLength);
    const Outcome o = Run(c.schema, c.type, c.value);
    EXPECT_FALSE(o.valid);
    if (c.lineLength != 0) {
      EXPECT_EQ(o.count, 1);
      ASSERT_EQ(o.lines.size(), 1u);
      EXPECT_EQ(o.lines[0].size(), c.lineLength);
      EXPECT_EQ(o.reports, Lines{});
    } else {
      EXPECT_EQ(o.count, -1);
      EXPECT_EQ(o.lines, Lines{});
      EXPECT_EQ(o.reports, Lines{"FormatIntoPOSString overwrote buffer"});
    }
  }
}

TEST_F(ValidatorTest, AWalkDeeperThanTheStackEndsWithAReport) {
  const char* const selfReferring = "< U < category union set [ U ] > >";
  EXPECT_TRUE(ValidateSchema(selfReferring).valid) << "the schema check does not see it";
  CMOXContainerRef loop = NewValidator(selfReferring);
  CMOXContainerRef lists = NewValidator("< L < category array membertype L > >");
  CPOSArray nested = CPOSArray::New();
  for (int level = 1; level < 1000; ++level) {
    CPOSArray outer = CPOSArray::New();
    outer.Append(nested);
    nested = outer;
  }
  Lines lines;
  bool loopValid = true, nestedValid = true;
  RunWithStack(kSmallStack, [&] {
    loopValid = Validate(loop, "U", CPOSNumber::New(1), &lines);
    nestedValid = Validate(lists, "L", nested, &lines);
  });
  EXPECT_FALSE(loopValid);
  EXPECT_FALSE(nestedValid);
  EXPECT_EQ(lines, Lines{});
  EXPECT_EQ(TakeReports(),
            (Lines{"nesting too deep for the stack", "nesting too deep for the stack"}));
  // With the stack of the main thread the same value is valid.
  EXPECT_TRUE(Validate(lists, "L", nested, &lines));
  EXPECT_EQ(TakeReports(), Lines{});
}

}  // namespace
}  // namespace moxtest
