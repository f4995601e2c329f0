// Start, stop and restart of the library, and its failed starts.
#include <cstring>

#include "MOXUtils.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/server_tables.h"
#include "binding/string_holder.h"
#include "library/entry.h"
#include "library_fixture.h"
#include "moxhost/runtime.h"

namespace {

// Counts the lookups a start makes and forwards them to the runtime.
int gLookups = 0;
void* CountingLookup(const char* interfaceName, const char* method, const char* procType) {
  ++gLookups;
  return moxhost::Runtime::LookupProc()(interfaceName, method, procType);
}

TEST(Entry, SecondStartFailsUntilTerminate) {
  EXPECT_EQ(MOXUtilsInitialize(nullptr), 0u);
  EXPECT_TRUE(gAtExitRegistered) << "a refused binding registers the exit hook";
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u) << "failed start sticks";
  MOXUtilsTerminate();
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u) << "second start";
  MOXUtilsTerminate();
}

TEST(Entry, TerminateWithoutStartDoesNothing) {
  moxhost::LiveCounts before = RT().Counts();
  MOXUtilsTerminate();
  MOXUtilsTerminate();
  EXPECT_FALSE(gInitialized);
  EXPECT_EQ(RT().Counts(), before);
}

TEST(Entry, StartAndStopLeaveNothingBehindAndCanRepeat) {
  moxhost::LiveCounts before = RT().Counts();
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u) << "round " << round;
    EXPECT_NE(gUnknownError.Error(), nullptr);
    MOXUtilsTerminate();
    EXPECT_EQ(gUnknownError.Error(), nullptr);
    EXPECT_EQ(RT().Counts().ToString(), before.ToString()) << "round " << round;
  }
}

TEST(Entry, ATableIsFetchedOncePerCounterValue) {
  ASSERT_EQ(MOXUtilsInitialize(&CountingLookup), 1u);
  const MOXMethodRow rows[] = {{"Alloc", "MOXMemAllocProc"}, {"Free", "MOXMemFreeProc"}};
  void* slots[2] = {nullptr, nullptr};
  MOXInterfaceTable table("MOXMemoryInterface", rows, 2, slots, true);
  gLookups = 0;
  ASSERT_NE(table.Get(), nullptr);
  EXPECT_EQ(gLookups, 2);
  ASSERT_NE(table.Get(), nullptr);
  EXPECT_EQ(gLookups, 2) << "a current table is not fetched again";
  RT().RaiseUnregisterCounter();
  ASSERT_NE(table.Get(), nullptr);
  EXPECT_EQ(gLookups, 4) << "a moved counter reloads the table once";
  ASSERT_NE(table.Get(), nullptr);
  EXPECT_EQ(gLookups, 4);
  MOXUtilsTerminate();
}

TEST(Entry, MissingContainerOrMemoryInterfaceIsAThrownBinding) {
  // The hook is registered once per process: an earlier test in the same
  // process may have done it already.
  const bool hookBefore = gAtExitRegistered;
  for (const char* interfaceName : {"MOXContainerInterface", "MOXMemoryInterface"}) {
    RT().HideInterface(interfaceName);
    EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u) << interfaceName;
    EXPECT_EQ(gAtExitRegistered, hookBefore) << "a thrown binding skips the exit hook";
    EXPECT_TRUE(gInitialized);
    MOXUtilsTerminate();
    RT().ClearFaults();
  }
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  EXPECT_TRUE(gAtExitRegistered);
  MOXUtilsTerminate();
}

struct RefusedCase {
  const char* interfaceName;
  const char* method;  // null hides the whole interface
};

class RefusedBinding : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedBinding, ReturnsZeroAndRegistersTheExitHook) {
  moxhost::LiveCounts before = RT().Counts();
  const RefusedCase& c = GetParam();
  if (c.method == nullptr) {
    RT().HideInterface(c.interfaceName);
  } else {
    RT().HideMethod(c.interfaceName, c.method);
  }
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u);
  EXPECT_TRUE(gAtExitRegistered);
  MOXUtilsTerminate();
  RT().ClearFaults();
  EXPECT_EQ(RT().Counts().ToString(), before.ToString());
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  MOXUtilsTerminate();
}

INSTANTIATE_TEST_SUITE_P(Entry, RefusedBinding,
                         ::testing::Values(RefusedCase{"MOX", "MOXRegisterProcAddress"},
                                           RefusedCase{"MOX", "MOXIsMultiThreaded"},
                                           RefusedCase{"MOXErrorInterface", nullptr},
                                           RefusedCase{"MOXErrorInterface", "GetErrorInfo"},
                                           RefusedCase{"MOXStringInterface", nullptr},
                                           RefusedCase{"MOXStringInterface", "AddRef"}));

TEST(Entry, FailedAtomOfTheNamesFailsTheStartWithoutLeaks) {
  moxhost::LiveCounts before = RT().Counts();
  for (uint64_t n = 1; n <= 10; ++n) {
    RT().FailNthStringAtom(n);
    EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u) << "atom " << n;
    EXPECT_TRUE(gAtExitRegistered);
    MOXUtilsTerminate();
    RT().ClearFaults();
    EXPECT_EQ(RT().Counts().ToString(), before.ToString()) << "atom " << n;
  }
}

TEST(Entry, FailedAllocationOfTheNamesFailsTheStart) {
  RT().FailNthAllocation(1);
  EXPECT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 0u);
  MOXUtilsTerminate();
}

TEST_F(StartedLibrary, LookupAfterBindingThrowsAnErrorOfComponentMOX) {
  try {
    MOXLookupMethod("NoSuchInterface", "Nothing", "NothingProc");
    FAIL() << "a missing method must throw once the binding is complete";
  } catch (const CMOXError& e) {
    ASSERT_NE(e.Error(), nullptr);
    EXPECT_STREQ(MOXString::GetCString(MOXErrorProcs::GetComponent(e.Error())), "MOX");
    EXPECT_STREQ(e.what(), "");
  }
  gBindingComplete = false;
  EXPECT_EQ(MOXLookupMethod("NoSuchInterface", "Nothing", "NothingProc"), nullptr);
  gBindingComplete = true;
}

void ProcA() {}
void ProcC() {}

TEST_F(StartedLibrary, LoadingATableStopsAtAMissingMethodFromTheEnd) {
  ASSERT_EQ(gMOXRegisterProcAddress("TestTableInterface", "A", "TestAProc",
                                    reinterpret_cast<void*>(&ProcA)),
            1u);
  ASSERT_EQ(gMOXRegisterProcAddress("TestTableInterface", "C", "TestCProc",
                                    reinterpret_cast<void*>(&ProcC)),
            1u);
  const MOXMethodRow rows[] = {{"A", "TestAProc"}, {"B", "TestBProc"}, {"C", "TestCProc"}};
  int sentinel = 0;
  void* slots[3] = {&sentinel, &sentinel, &sentinel};
  gBindingComplete = false;
  EXPECT_FALSE(MOXLoadInterfaceTable(rows, 3, "TestTableInterface", slots));
  gBindingComplete = true;
  EXPECT_EQ(slots[2], reinterpret_cast<void*>(&ProcC));
  EXPECT_EQ(slots[1], nullptr);
  EXPECT_EQ(slots[0], &sentinel) << "slots before the missing one stay untouched";
  EXPECT_TRUE(MOXLoadInterfaceTable(rows, 0, "TestTableInterface", slots));
  gMOXUnregisterInterface("TestTableInterface");
}

TEST_F(StartedLibrary, OnDemandTableReadsAbsentAfterAFailedReload) {
  const MOXMethodRow rows[] = {{"A", "TestAProc"}, {"", ""}};
  void* slots[1] = {nullptr};
  MOXInterfaceTable table("TestOnDemandInterface", rows, 1, slots, true);
  ASSERT_EQ(gMOXRegisterProcAddress("TestOnDemandInterface", "A", "TestAProc",
                                    reinterpret_cast<void*>(&ProcA)),
            1u);
  ASSERT_NE(table.Get(), nullptr);
  EXPECT_EQ(table.Stamp(), RT().UnregisterCount());
  EXPECT_TRUE(table.HasSlot(0));
  gMOXUnregisterInterface("TestOnDemandInterface");  // moves the counter
  EXPECT_FALSE(table.IsCurrent());
  EXPECT_THROW(table.Get(), CMOXError) << "a missing method throws once bound";
  gBindingComplete = false;
  EXPECT_EQ(table.Get(), nullptr);
  gBindingComplete = true;
  EXPECT_FALSE(table.HasSlot(0)) << "slot 0 cleared, so the table reads as absent";
}

TEST_F(StartedLibrary, RegistrationStopsAtTheFirstRefusalAndKeepsEarlierRows) {
  const MOXServerRow rows[] = {
      {"A", "TestAProc", reinterpret_cast<void*>(&ProcA)},
      {"B", "TestBProc", reinterpret_cast<void*>(&ProcA)},
      {"C", "TestCProc", reinterpret_cast<void*>(&ProcC)},
  };
  RT().RefuseRegistration("TestRegisteredInterface", "B");
  EXPECT_FALSE(MOXRegisterMethods(rows, 3, "TestRegisteredInterface"));
  MOXLookupProc lookup = moxhost::Runtime::LookupProc();
  EXPECT_EQ(lookup("TestRegisteredInterface", "A", "TestAProc"), reinterpret_cast<void*>(&ProcA));
  EXPECT_EQ(lookup("TestRegisteredInterface", "B", "TestBProc"), nullptr);
  EXPECT_EQ(lookup("TestRegisteredInterface", "C", "TestCProc"), nullptr);
  EXPECT_TRUE(MOXRegisterMethods(rows, 0, "TestRegisteredInterface"));
  gMOXUnregisterInterface("TestRegisteredInterface");
}

}  // namespace
