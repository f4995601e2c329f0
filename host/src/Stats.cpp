#include "Stats.h"

#include <sstream>

#include "moxhost/Runtime.h"

namespace moxhost {

Stats gStats;

size_t StripedCounter::StripeOfThisThread() {
  // Threads take stripes in turn, so a handful of busy threads never share one.
  static std::atomic<size_t> nextStripe{0};
  thread_local size_t stripe = nextStripe.fetch_add(1, std::memory_order_relaxed) % kStripes;
  return stripe;
}

int64_t StripedCounter::Sum() const {
  int64_t sum = 0;
  for (const Stripe& stripe : stripes_) sum += stripe.value.load(std::memory_order_relaxed);
  return sum;
}

bool LiveCounts::operator==(const LiveCounts& other) const {
  return containers == other.containers && atoms == other.atoms && errors == other.errors &&
         sharedBuffers == other.sharedBuffers && memoryBlocks == other.memoryBlocks &&
         memoryBytes == other.memoryBytes && cacheIDs == other.cacheIDs &&
         progress == other.progress && filters == other.filters;
}

std::string LiveCounts::ToString() const {
  std::ostringstream out;
  out << "containers=" << containers << " atoms=" << atoms << " errors=" << errors
      << " sharedBuffers=" << sharedBuffers << " memoryBlocks=" << memoryBlocks
      << " memoryBytes=" << memoryBytes << " cacheIDs=" << cacheIDs << " progress=" << progress
      << " filters=" << filters;
  return out.str();
}

}  // namespace moxhost
