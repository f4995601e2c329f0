// String holders, the recursive wait mutex and the spin lock.
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "binding/host_tables.h"
#include "binding/spin_lock.h"
#include "binding/string_holder.h"
#include "binding/wait_mutex.h"
#include "library_fixture.h"

namespace {

TEST(StringHolderUnbound, EmptyHolderMakesNoCall) {
  // The library is not bound: a call through the string table would crash.
  CMOXStringHolder fromNull = CMOXStringHolder::Retain(nullptr);
  EXPECT_TRUE(fromNull.IsEmpty());
  CMOXStringHolder copy(fromNull);
  EXPECT_EQ(copy.Atom(), nullptr);
  EXPECT_EQ(copy.CString(), nullptr);
}

using StringHolder = StartedLibrary;

TEST_F(StringHolder, EqualTextsShareOneCString) {
  CMOXStringHolder a("settings");
  CMOXStringHolder b(std::string("sett").append("ings").c_str());
  EXPECT_EQ(a.CString(), b.CString());
  EXPECT_EQ(a.Atom(), b.Atom());
  CMOXStringHolder other("other");
  EXPECT_NE(a.CString(), other.CString());
}

TEST_F(StringHolder, AdoptingAndCopyingBalanceReferences) {
  int64_t atomsBefore = moxhost::Runtime::Get().Counts().atoms;
  {
    CMOXStringHolder made("only-here");
    CMOXStringHolder shared = CMOXStringHolder::Retain(made.Atom());
    CMOXStringHolder adopted = CMOXStringHolder::Adopt(MOXString::AddRef(made.Atom()));
    CMOXStringHolder copied(adopted);
    made.Reset();
    shared = copied;
    EXPECT_STREQ(shared.CString(), "only-here");
  }
  EXPECT_EQ(moxhost::Runtime::Get().Counts().atoms, atomsBefore);
}

TEST_F(StringHolder, ConcatenationTreatsEmptyAsEmptyText) {
  CMOXStringHolder none;
  CMOXStringHolder both = CMOXStringHolder::Concat(none, none);
  ASSERT_FALSE(both.IsEmpty());
  EXPECT_STREQ(both.CString(), "");
  CMOXStringHolder joined =
      CMOXStringHolder::Concat(CMOXStringHolder("Number below "), CMOXStringHolder("mininum"));
  EXPECT_EQ(joined.CString(), CMOXStringHolder("Number below mininum").CString());
  EXPECT_STREQ(CMOXStringHolder::Concat(none, CMOXStringHolder("x")).CString(), "x");
}

TEST_F(StringHolder, HexadecimalHolder) {
  EXPECT_STREQ(CMOXStringHolder(uint64_t{0xDEADBEEF}).CString(), "0x00000000deadbeef");
  EXPECT_STREQ(CMOXStringHolder(~uint64_t{0}).CString(), "0xffffffffffffffff");
}

TEST_F(StringHolder, RefusedAtomIsBadAlloc) {
  moxhost::Runtime::Get().FailNthStringAtom(1);
  EXPECT_THROW(CMOXStringHolder("refused"), std::bad_alloc);
  moxhost::Runtime::Get().FailNthAllocation(1);
  EXPECT_THROW(CMOXStringHolder::Concat(CMOXStringHolder("a"), CMOXStringHolder("b")),
               std::bad_alloc);
}

TEST(WaitMutex, OwnerRelocksAndOthersWaitForTheLastUnlock) {
  TOVWaitMutex mutex;
  std::atomic<int> stage{0};
  mutex.Lock();
  mutex.Lock();
  std::thread other([&] {
    stage = 1;
    mutex.Lock();
    stage = 2;
    mutex.Unlock();
  });
  while (stage.load() != 1) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(stage.load(), 1);
  mutex.Unlock();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(stage.load(), 1) << "one unlock of two must not release the lock";
  mutex.Unlock();
  other.join();
  EXPECT_EQ(stage.load(), 2);
}

// Each lock must make a plain read-modify-write of a shared counter exact.
template <typename Lock, typename Unlock>
long CountUnderLock(Lock lock, Unlock unlock) {
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        lock();
        long seen = counter;
        counter = seen + 1;
        unlock();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return counter;
}

TEST(WaitMutexAndSpinLock, ExcludeOtherThreads) {
  TOVWaitMutex mutex;
  EXPECT_EQ(CountUnderLock([&] { mutex.Lock(); }, [&] { mutex.Unlock(); }), 80000);
  uint32_t word = 0;
  EXPECT_EQ(CountUnderLock([&] { MOXSpinLockAcquire(&word); }, [&] { MOXSpinLockRelease(&word); }),
            80000);
  EXPECT_EQ(word, 0u);
}

TEST(SpinLock, HolderReleasesWhileAnExceptionPasses) {
  uint32_t word = 0;
  try {
    MOXSpinLockHolder hold(&word);
    EXPECT_EQ(word, 1u);
    throw std::runtime_error("inside");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(word, 0u);
}

}  // namespace
