// Many threads at once on shared immutable values and a tree nobody writes:
// creating, reading, cloning, comparing and resolving method tables while
// the unregister counter moves. Meant to run under ThreadSanitizer too.
#include <atomic>
#include <thread>
#include <vector>

#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using namespace MOX_T_MT;  // NOLINT: the client classes under test

using Threads = POSFixture;

TEST_F(Threads, ReadersCloneAndCompareWhileTablesGoStale) {
  CPOSObject shared = CPOSObjectStatics::CreateFromText("<a [1 (two) `0041`] b <c 3>>");
  CPOSDict tree(shared);
  CPOSNumber one = CPOSNumber::New(1);
  std::atomic<bool> stop(false);
  std::atomic<int> failures(0);
  auto check = [&](bool ok) {
    if (!ok) failures.fetch_add(1, std::memory_order_relaxed);
  };
  std::thread unregisterer([&] {
    while (!stop.load()) {
      moxhost::Runtime::Get().RaiseUnregisterCounter();
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> workers;
  for (int t = 0; t < 8; ++t) {
    workers.emplace_back([&, t] {
      for (int i = 0; i < 300; ++i) {
        CPOSNumber number = CPOSNumber::New(t * 1000 + i);
        check(number.Get() == t * 1000 + i);
        CPOSString text = CPOSString::New("two");
        check(text.IsEqual(tree.DeepGet("a[1]")));
        CPOSObject view(one.Container());  // a method-table lookup of its own
        check(view.IsEqual(tree.DeepGet("a[0]")));
        CPOSDict copy(tree.Clone());
        check(copy.IsEqual(tree) && tree.IsEqual(copy));
        check(copy.GetDict("b").GetNumber("c").Get() == 3.0);
        check(tree.Count() == 2u);
        CPOSArray list = tree.GetArray("a");
        check(CPOSObject(list.GetAt(0)).Clone().Container() == list.GetAt(0).Container());
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  stop.store(true);
  unregisterer.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(TakeReports(), Reports{});
}

}  // namespace
}  // namespace moxtest
