#include "support/live_counts.h"

#include <gtest/gtest.h>

namespace moxtest {

std::string CountsDiff(const moxhost::LiveCounts& before, const moxhost::LiveCounts& after) {
  std::string diff;
  auto compare = [&](const char* name, int64_t was, int64_t is) {
    if (was == is) return;
    if (!diff.empty()) diff += ", ";
    diff += std::string(name) + " " + std::to_string(was) + " -> " + std::to_string(is);
  };
  compare("containers", before.containers, after.containers);
  compare("atoms", before.atoms, after.atoms);
  compare("errors", before.errors, after.errors);
  compare("sharedBuffers", before.sharedBuffers, after.sharedBuffers);
  compare("memoryBlocks", before.memoryBlocks, after.memoryBlocks);
  compare("memoryBytes", before.memoryBytes, after.memoryBytes);
  compare("cacheIDs", before.cacheIDs, after.cacheIDs);
  compare("progress", before.progress, after.progress);
  compare("filters", before.filters, after.filters);
  return diff;
}

ScopedCountsCheck::~ScopedCountsCheck() {
  const moxhost::LiveCounts after = moxhost::Runtime::Get().Counts();
  EXPECT_TRUE(after == before_) << "live objects changed: " << CountsDiff(before_, after);
}

}  // namespace moxtest
