// Where a walk meets a limit: the length of a line, the thread's stack, and
// the runtime's memory. Each ends the call with a report or a plain false,
// never with a crash, and gives back everything it took.
#include <pthread.h>

#include <functional>
#include <new>

#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

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

// Runs `work` on a new thread with a stack of `bytes` and waits for it.
void RunWithStack(size_t bytes, std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, bytes);
  pthread_t thread;
  auto trampoline = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, trampoline, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
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
  RunWithStack(256 * 1024, [&] {
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

// Runs `scenario` with the nth allocation (or atom) failing, for n = 1, 2,
// ... up to the first run that the fault doesn't reach, which must give
// `whole`. Every run gives back all it took, and a run that met the fault
// raised or reported it. Returns the number of runs.
template <typename Scenario>
uint64_t FailEachInTurn(bool atoms, const Outcome& whole, Scenario scenario) {
  Runtime& rt = Runtime::Get();
  const moxhost::LiveCounts before = rt.Counts();
  for (uint64_t n = 1;; ++n) {
    SCOPED_TRACE((atoms ? "atom " : "allocation ") + std::to_string(n));
    if (n > 20000) {
      ADD_FAILURE() << "the scenario never came through";
      return n;
    }
    const uint64_t callsBefore = rt.AllocationCalls();
    atoms ? rt.FailNthStringAtom(n) : rt.FailNthAllocation(n);
    const Outcome o = scenario();
    const bool reached =
        atoms ? !o.reports.empty() || o.count == -1 : rt.AllocationCalls() - callsBefore >= n;
    rt.ClearFaults();
    EXPECT_EQ(CountsDiff(before, rt.Counts()), "");
    if (!reached) {
      EXPECT_EQ(o.valid, whole.valid);
      EXPECT_EQ(o.lines, whole.lines);
      EXPECT_EQ(o.reports, Lines{});
      return n;
    }
    // Out of memory, and what the missing object then made of the call.
    for (size_t i = 0; i < o.reports.size(); ++i) {
      EXPECT_EQ(o.reports[i], i == 0 ? std::bad_alloc().what() : "invalid container") << o;
    }
    EXPECT_TRUE(o.count == -1 || !o.reports.empty()) << "a fault went unreported";
  }
}

TEST_F(ValidatorTest, EveryAllocationOfAFailingValidationMayFail) {
  CMOXContainerRef validator = NewValidator(kDocSchema);
  const CPOSObject value = Parse("< list [ 5 a ] point < x 1 y 12 z 3 > >");
  Outcome whole;
  Validate(validator, "Doc", value, &whole.lines);
  ASSERT_EQ(whole.lines.size(), 4u);
  const CMOXStringHolder doc("Doc");
  for (bool atoms : {false, true}) {
    EXPECT_GT(FailEachInTurn(atoms, whole,
                             [&] {
                               Outcome o;
                               tLineSink = &o.lines;
                               o.valid = ValidatorEntries::Validate(validator.Container(),
                                                                    value.Container(), doc.Atom(),
                                                                    &CollectLine);
                               tLineSink = nullptr;
                               o.reports = TakeReports();
                               // The value and the schema are only read: a
                               // failing value stays invalid.
                               EXPECT_FALSE(o.valid);
                               return o;
                             }),
              20u);
  }
}

TEST_F(ValidatorTest, EveryAllocationOfASchemaCheckMayFail) {
  const CPOSObject schema = Parse("< Age < category int bogus 1 > Ages < category array > >");
  const Outcome whole = ValidateSchema(schema);
  ASSERT_FALSE(whole.valid);
  // Without a guard, a failure leaves the entry as an exception: the
  // failure itself, or what the missing object made of the walk. A meta-
  // schema that lost a member to the failure may even judge differently;
  // the reports say why.
  EXPECT_GT(FailEachInTurn(false, whole, [&] { return ValidateSchema(schema); }), 100u);
}

}  // namespace
}  // namespace moxtest
