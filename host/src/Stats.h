// Counters behind Runtime::Counts() and the call counts of the runtime.
//
// Every object the runtime hands out moves one of these counters, on every
// thread, so they are striped: each thread adds to its own cache line and a
// reader sums the stripes. Reads are exact when no other thread is counting.
#ifndef MOXHOST_STATS_H_
#define MOXHOST_STATS_H_

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace moxhost {

class StripedCounter {
 public:
  constexpr StripedCounter() = default;

  void Add(int64_t delta) {
    stripes_[StripeOfThisThread()].value.fetch_add(delta, std::memory_order_relaxed);
  }
  void Increment() { Add(1); }
  void Decrement() { Add(-1); }
  int64_t Sum() const;

 private:
  static constexpr size_t kStripes = 16;
  struct alignas(64) Stripe {
    std::atomic<int64_t> value{0};
  };
  static size_t StripeOfThisThread();

  Stripe stripes_[kStripes];
};

// One counter per kind of live object, plus the call counts.
struct Stats {
  StripedCounter containers;
  StripedCounter atoms;
  StripedCounter errors;
  StripedCounter sharedBuffers;
  StripedCounter memoryBlocks;
  StripedCounter memoryBytes;
  StripedCounter cacheIDs;
  StripedCounter progress;
  StripedCounter filters;
  StripedCounter getMethodCalls;
  StripedCounter allocationCalls;
};

// Constant-initialised: usable from any static constructor.
extern Stats gStats;

}  // namespace moxhost

#endif  // MOXHOST_STATS_H_
