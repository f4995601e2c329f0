#include "stats.h"

#include <mutex>
#include <sstream>

#include "moxhost/runtime.h"

namespace moxhost {
namespace stats_internal {
namespace {

struct Blocks {
  std::mutex mu;
  Block* threads = nullptr;  // the blocks of running threads
  Block ended;
  Blocks() { ended.shared = true; }
};

// Never destroyed: threads may count while the process exits.
Blocks& AllBlocks() {
  static Blocks* blocks = new Blocks;
  return *blocks;
}

// Folds the thread's block into the shared one when the thread ends.
struct ThreadEnd {
  Block* block = nullptr;
  ~ThreadEnd() {
    Blocks& blocks = AllBlocks();
    std::lock_guard<std::mutex> lock(blocks.mu);
    for (int i = 0; i < static_cast<int>(Counter::kCount); ++i) {
      blocks.ended.values[i].fetch_add(block->values[i].load(std::memory_order_relaxed),
                                       std::memory_order_relaxed);
    }
    Block** link = &blocks.threads;
    while (*link != block) link = &(*link)->next;
    *link = block->next;
    delete block;
    tBlock = &blocks.ended;
  }
};

}  // namespace

Block* AttachThisThread() {
  static thread_local ThreadEnd threadEnd;
  Blocks& blocks = AllBlocks();
  Block* block = new Block;
  {
    std::lock_guard<std::mutex> lock(blocks.mu);
    block->next = blocks.threads;
    blocks.threads = block;
  }
  threadEnd.block = block;
  tBlock = block;
  return block;
}

}  // namespace stats_internal

int64_t CountSum(Counter counter) {
  using namespace stats_internal;
  const int index = static_cast<int>(counter);
  Blocks& blocks = AllBlocks();
  std::lock_guard<std::mutex> lock(blocks.mu);
  int64_t sum = blocks.ended.values[index].load(std::memory_order_relaxed);
  for (Block* block = blocks.threads; block != nullptr; block = block->next) {
    sum += block->values[index].load(std::memory_order_relaxed);
  }
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
