#include "block_cache.h"

#include <cstdlib>

namespace moxhost {
namespace block_cache_internal {

namespace {

// Empties the lists when the thread ends, and leaves them without room.
struct ThreadEnd {
  ~ThreadEnd() {
    for (size_t c = 0; c < kClasses; ++c) {
      while (FreeBlock* block = tLists.heads[c]) {
        tLists.heads[c] = block->next;
        std::free(block);
      }
    }
    tLists.room = 0;
    tLists.closed = true;
  }
};

// Gives the lists their room, once per thread, and arranges for them to be
// emptied at the thread's end. The room is zero until then, so that the
// first block given on a thread comes here.
void OpenLists() {
  tLists.open = true;
  if (tLists.closed) return;
  static thread_local ThreadEnd threadEnd;
  (void)threadEnd;
  tLists.room = kBytesPerThread;
}

}  // namespace

void* TakeFromHeap(size_t bytes) {
  // A block of a class is as large as its class, to serve any request of it.
  if (kCache && bytes <= kLargestCachedBlock)
    return std::malloc((ClassOf(bytes) + 1) * kClassBytes);
  return std::malloc(bytes);
}

void GiveToHeap(void* block, size_t bytes) {
  if (kCache && block != nullptr && bytes <= kLargestCachedBlock && !tLists.open) {
    OpenLists();
    // Now with room, unless the thread's lists were emptied at its end.
    if (tLists.room >= (ClassOf(bytes) + 1) * kClassBytes) {
      GiveBlock(block, bytes);
      return;
    }
  }
  std::free(block);
}

}  // namespace block_cache_internal
}  // namespace moxhost
