// Counters behind Runtime::Counts() and the call counts of the runtime.
//
// Every object the runtime hands out moves a counter, on every thread, and an
// atomic read-modify-write per count would cost more than most of the
// operations it counts. So each thread counts into a block of its own with a
// plain load and store, and a reader sums the blocks of all threads under a
// mutex. A thread's block is folded into a shared one when the thread ends.
// Sums are exact when no other thread is counting.
#ifndef MOXHOST_STATS_H_
#define MOXHOST_STATS_H_

#include <atomic>
#include <cstdint>

#include "moxhost/runtime.h"

namespace moxhost {

enum class Counter : int {
  kContainers,
  kAtoms,
  kErrors,
  kSharedBuffers,
  kMemoryBlocks,
  kMemoryBytes,
  kCacheIDs,
  kProgress,
  kFilters,
  kGetMethodCalls,
  kAllocationCalls,
  // Calls of each fault point, in the order of Fault (faults.h).
  kFaultPointCalls,
  kCount = kFaultPointCalls + kFaultPointCount
};

namespace stats_internal {

struct Block {
  std::atomic<int64_t> values[static_cast<int>(Counter::kCount)] = {};
  // Written by more than one thread: the block of ended threads, also used by
  // a thread that counts after its own block was folded at its end.
  bool shared = false;
  Block* next = nullptr;
};

// Constant-initialised, and in the executable's own thread-local block (the
// runtime is linked into programs, never loaded), so each access is a plain
// load off the thread pointer.
__attribute__((tls_model("initial-exec"))) inline thread_local Block* tBlock = nullptr;
Block* AttachThisThread();

}  // namespace stats_internal

// The calling thread's counters, found once for several counts in a row.
using CountBlock = stats_internal::Block*;
inline CountBlock ThisThreadCounts() {
  stats_internal::Block* block = stats_internal::tBlock;
  if (__builtin_expect(block == nullptr, 0)) block = stats_internal::AttachThisThread();
  return block;
}

// Counts into the block of ThisThreadCounts() on the same thread.
inline void Count(CountBlock block, Counter counter, int64_t delta) {
  std::atomic<int64_t>& value = block->values[static_cast<int>(counter)];
  if (__builtin_expect(block->shared, 0)) {
    value.fetch_add(delta, std::memory_order_relaxed);
  } else {
    value.store(value.load(std::memory_order_relaxed) + delta, std::memory_order_relaxed);
  }
}

inline void Count(Counter counter, int64_t delta) {
  Count(ThisThreadCounts(), counter, delta);
}

int64_t CountSum(Counter counter);

}  // namespace moxhost

#endif  // MOXHOST_STATS_H_
