// Per-signature method tables: sharing, refresh on a moved counter, invalid
// entries, and clean-up when a fetch fails.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/method_tables.h"
#include "library_fixture.h"

namespace {

using MOX_T_MT::MOXLookupProcTable;
using MOX_T_MT::MOXVTabListGeneric;

typedef int (*TestPingProc)(MOXContainer);
typedef int (*TestPongProc)(MOXContainer);
int Ping(MOXContainer) {
  return 1;
}
int Pong(MOXContainer) {
  return 2;
}
int PingAgain(MOXContainer) {
  return 3;
}

#define TEST_WIDGET_METHODS(X) \
  X(Ping, TestPingProc)        \
  X(Pong, TestPongProc)
MOX_DEFINE_SLOTS(TestWidgetSlots, TEST_WIDGET_METHODS)

void NoDestroy(void*) {}

class MethodTables : public StartedLibrary {
 protected:
  void SetUp() override {
    StartedLibrary::SetUp();
    list_ = MOXVTabListGeneric{};
    list_.fMethodCount = 2;
    Register("TestWidgetInterface", "Ping", "TestPingProc", reinterpret_cast<void*>(&Ping));
    Register("TestWidgetInterface", "Pong", "TestPongProc", reinterpret_cast<void*>(&Pong));
    Register("TestBrokenInterface", "Ping", "TestPingProc", reinterpret_cast<void*>(&Ping));
  }
  void TearDown() override {
    MOX_T_MT::MOXDeleteAllEntries(&list_);
    handles_.clear();
    gMOXUnregisterInterface("TestWidgetInterface");
    gMOXUnregisterInterface("TestBrokenInterface");
    StartedLibrary::TearDown();
  }
  static void Register(const char* interfaceName, const char* method, const char* procType,
                       void* function) {
    ASSERT_EQ(gMOXRegisterProcAddress(interfaceName, method, procType, function), 1u);
  }
  // A container whose signature names `interfaceName`, or none for null.
  MOXContainer Make(const char* interfaceName) {
    CMOXStringHolder name("TestWidgetImpl");
    CMOXStringHolder signature;
    if (interfaceName != nullptr) signature = CMOXStringHolder(interfaceName);
    handles_.emplace_back(MOXNewFullContainer(&instance_, name, &NoDestroy, signature));
    return handles_.back().Container();
  }
  void** Lookup(MOXContainer container) {
    return MOXLookupProcTable(&list_, &MOX_T_MT::MOXFetchSlots<TestWidgetSlots::Slot>, container);
  }
  static uint64_t GetMethodCalls() { return moxhost::Runtime::Get().GetMethodCalls(); }

  MOXVTabListGeneric list_;
  int instance_ = 0;
  std::vector<CMOXContainerRef> handles_;
};

TEST_F(MethodTables, OneSignatureSharesOneEntry) {
  MOXContainer a = Make("TestWidgetInterface");
  MOXContainer b = Make("TestWidgetInterface");
  uint64_t calls = GetMethodCalls();
  void** procsA = Lookup(a);
  EXPECT_EQ(GetMethodCalls() - calls, 2u);
  void** procsB = Lookup(b);
  EXPECT_EQ(procsA, procsB);
  EXPECT_EQ(GetMethodCalls() - calls, 2u) << "a hit must not ask the runtime";
  EXPECT_EQ(list_.fCount, 1u);
  EXPECT_EQ(MOXProcAt<TestWidgetSlots::Ping>(procsA)(a), 1);
  EXPECT_EQ(MOXProcAt<TestWidgetSlots::Pong>(procsA)(a), 2);
}

TEST_F(MethodTables, MovedCounterRefreshesInPlaceExactlyOnce) {
  MOXContainer widget = Make("TestWidgetInterface");
  void** procs = Lookup(widget);
  // Re-register Ping with another procedure, as a component upgrade would.
  gMOXUnregisterInterface("TestWidgetInterface");
  Register("TestWidgetInterface", "Ping", "TestPingProc", reinterpret_cast<void*>(&PingAgain));
  Register("TestWidgetInterface", "Pong", "TestPongProc", reinterpret_cast<void*>(&Pong));
  uint64_t calls = GetMethodCalls();
  void** refreshed = Lookup(widget);
  EXPECT_EQ(refreshed, procs) << "the entry is refreshed in place";
  EXPECT_EQ(GetMethodCalls() - calls, 2u);
  EXPECT_EQ(MOXProcAt<TestWidgetSlots::Ping>(procs)(widget), 3);
  Lookup(widget);
  EXPECT_EQ(GetMethodCalls() - calls, 2u) << "the second lookup must not fetch again";
}

TEST_F(MethodTables, MissingMethodIsRememberedUntilTheCounterMoves) {
  MOXContainer broken = Make("TestBrokenInterface");
  uint64_t calls = GetMethodCalls();
  for (int i = 0; i < 3; ++i) {
    try {
      Lookup(broken);
      FAIL() << "a signature without Pong is an invalid container";
    } catch (const CMOXError& e) {
      EXPECT_STREQ(e.what(), "invalid container");
    }
  }
  EXPECT_EQ(GetMethodCalls() - calls, 2u);
  moxhost::Runtime::Get().RaiseUnregisterCounter();
  EXPECT_THROW(Lookup(broken), CMOXError);
  EXPECT_EQ(GetMethodCalls() - calls, 4u);
}

TEST_F(MethodTables, NoContainerOrNoSignatureCannotGetASignature) {
  MOXContainer unsigned_ = Make(nullptr);
  for (MOXContainer container : {static_cast<MOXContainer>(nullptr), unsigned_}) {
    try {
      Lookup(container);
      FAIL();
    } catch (const CMOXError& e) {
      EXPECT_STREQ(e.what(), "couldn't get signature");
    }
  }
  EXPECT_EQ(list_.fCount, 0u);
}

TEST_F(MethodTables, FailedFetchOfANewEntryLeavesTheListAsItWas) {
  MOXContainer widget = Make("TestWidgetInterface");
  for (uint64_t n = 1; n <= 5; ++n) {
    moxhost::Runtime::Get().FailNthStringAtom(n);
    EXPECT_THROW(Lookup(widget), std::bad_alloc) << "atom " << n;
    EXPECT_EQ(list_.fCount, 0u);
    EXPECT_EQ(list_.fLock, 0u) << "the lock must be free after a throw";
  }
  moxhost::Runtime::Get().ClearFaults();
  moxhost::Runtime::Get().FailNthAllocation(1);
  EXPECT_THROW(Lookup(widget), std::bad_alloc);
  EXPECT_EQ(list_.fCount, 0u);
  moxhost::Runtime::Get().ClearFaults();
  EXPECT_NE(Lookup(widget), nullptr);
}

TEST_F(MethodTables, DeletingAllEntriesEmptiesAndTheListRefills) {
  Lookup(Make("TestWidgetInterface"));
  EXPECT_THROW(Lookup(Make("TestBrokenInterface")), CMOXError);
  EXPECT_EQ(list_.fCount, 2u);
  MOX_T_MT::MOXDeleteAllEntries(&list_);
  EXPECT_EQ(list_.fCount, 0u);
  EXPECT_EQ(list_.fHead, nullptr);
  EXPECT_NE(Lookup(Make("TestWidgetInterface")), nullptr);
  EXPECT_EQ(list_.fCount, 1u);
}

TEST_F(MethodTables, ConcurrentLookupsWhileTheCounterMoves) {
  MOXContainer widget = Make("TestWidgetInterface");
  std::atomic<bool> wrong{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        void** procs = Lookup(widget);
        if (MOXProcAt<TestWidgetSlots::Pong>(procs)(widget) != 2) wrong = true;
      }
    });
  }
  for (int i = 0; i < 200; ++i) moxhost::Runtime::Get().RaiseUnregisterCounter();
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(wrong.load());
  EXPECT_EQ(list_.fCount, 1u);
}

}  // namespace
