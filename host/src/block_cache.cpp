#include "block_cache.h"

#include <cstdlib>

namespace moxhost {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kCache = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kCache = false;
#else
constexpr bool kCache = true;
#endif
#else
constexpr bool kCache = true;
#endif

constexpr size_t kClassBytes = 16;
constexpr size_t kClasses = kLargestCachedBlock / kClassBytes;
// Enough for the churn of one thread; beyond it blocks go back to the heap.
constexpr int kBlocksPerClass = 64;

struct FreeBlock {
  FreeBlock* next;
};

struct FreeLists {
  FreeBlock* heads[kClasses];
  int counts[kClasses];
  // Set once the thread has arranged for its lists to be emptied at its end.
  bool emptiedAtEnd;
  // Set when the thread's lists were emptied at its end: blocks let go after
  // that (by the destructors of other thread-local or static objects) go
  // back to the heap.
  bool closed;
};

// Constant-initialised, and in the executable's own thread-local block (the
// runtime is linked into programs, never loaded), so that each access is a
// plain load off the thread pointer.
__attribute__((tls_model("initial-exec"))) thread_local FreeLists tLists = {};

// Empties the lists when the thread ends.
struct ThreadEnd {
  ~ThreadEnd() {
    for (size_t c = 0; c < kClasses; ++c) {
      while (FreeBlock* block = tLists.heads[c]) {
        tLists.heads[c] = block->next;
        std::free(block);
      }
      tLists.counts[c] = 0;
    }
    tLists.closed = true;
  }
};

size_t ClassOf(size_t bytes) {
  return bytes == 0 ? 0 : (bytes - 1) / kClassBytes;
}

}  // namespace

void* TakeBlock(size_t bytes) {
  if (!kCache || bytes > kLargestCachedBlock) return std::malloc(bytes);
  const size_t c = ClassOf(bytes);
  if (FreeBlock* block = tLists.heads[c]) {
    tLists.heads[c] = block->next;
    --tLists.counts[c];
    return block;
  }
  return std::malloc((c + 1) * kClassBytes);
}

void GiveBlock(void* block, size_t bytes) {
  if (block == nullptr) return;
  if (!kCache || bytes > kLargestCachedBlock || tLists.closed) {
    std::free(block);
    return;
  }
  const size_t c = ClassOf(bytes);
  if (tLists.counts[c] == kBlocksPerClass) {
    std::free(block);
    return;
  }
  if (!tLists.emptiedAtEnd) {
    static thread_local ThreadEnd threadEnd;
    (void)threadEnd;
    tLists.emptiedAtEnd = true;
  }
  FreeBlock* freed = static_cast<FreeBlock*>(block);
  freed->next = tLists.heads[c];
  tLists.heads[c] = freed;
  ++tLists.counts[c];
}

}  // namespace moxhost
