// Small blocks of the process heap, kept on a free list of the thread that
// let them go, for the next block of the same size class on that thread.
// Containers and the components' small objects live and die by the million;
// a free list costs a few loads and stores where malloc and free cost a
// hundred instructions or more.
//
// Blocks of up to kLargestCachedBlock bytes are rounded up to a multiple of
// 16 so that any block of a class serves any request of it; larger ones go
// to malloc and free directly. Each thread keeps up to kBytesPerThread bytes
// of blocks, of whatever classes it let go, enough for a tree of some
// thousands of objects built and released again (a parse, a small clone),
// whose blocks would otherwise go to the heap and come back one by one. A
// room of 16 MiB was tried: larger trees ran no faster, and the heap's other
// users in the same process slower. Builds with AddressSanitizer or
// ThreadSanitizer take malloc and free for every block, so that a block used
// after it is let go is still found.
//
// Any thread may take and give; a block may be given by another thread than
// the one that took it.
#ifndef MOXHOST_BLOCK_CACHE_H_
#define MOXHOST_BLOCK_CACHE_H_

#include <cstddef>

namespace moxhost {

constexpr size_t kLargestCachedBlock = 256;

namespace block_cache_internal {

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
constexpr size_t kBytesPerThread = size_t{1} << 20;

struct FreeBlock {
  FreeBlock* next;
};

struct FreeLists {
  FreeBlock* heads[kClasses];
  // Bytes the lists may still take before they are full.
  size_t room;
  // Set once the thread's lists are ready: their room counted, and the
  // thread arranged for them to be emptied at its end. Cleared again when
  // they were emptied at its end: blocks let go after that (by the
  // destructors of other thread-local or static objects) go back to the
  // heap.
  bool open;
  bool closed;
};

// Constant-initialised, and in the static thread-local block (the runtime is
// linked into programs, never loaded with dlopen), so that each access is a
// plain load off the thread pointer.
__attribute__((tls_model("initial-exec"))) inline thread_local FreeLists tLists = {};

inline size_t ClassOf(size_t bytes) {
  return bytes == 0 ? 0 : (bytes - 1) / kClassBytes;
}

void* TakeFromHeap(size_t bytes);
void GiveToHeap(void* block, size_t bytes);

}  // namespace block_cache_internal

// A block of at least `bytes` bytes, aligned as malloc aligns; null when the
// heap has none.
inline void* TakeBlock(size_t bytes) {
  using namespace block_cache_internal;
  if (kCache && bytes <= kLargestCachedBlock) {
    const size_t c = ClassOf(bytes);
    if (FreeBlock* block = tLists.heads[c]) {
      tLists.heads[c] = block->next;
      tLists.room += (c + 1) * kClassBytes;
      return block;
    }
  }
  return TakeFromHeap(bytes);
}

// Gives back a block of TakeBlock, with the `bytes` it was asked for.
inline void GiveBlock(void* block, size_t bytes) {
  using namespace block_cache_internal;
  if (kCache && bytes <= kLargestCachedBlock && block != nullptr) {
    const size_t c = ClassOf(bytes);
    const size_t classBytes = (c + 1) * kClassBytes;
    if (tLists.room >= classBytes) {
      FreeBlock* freed = static_cast<FreeBlock*>(block);
      freed->next = tLists.heads[c];
      tLists.heads[c] = freed;
      tLists.room -= classBytes;
      return;
    }
  }
  GiveToHeap(block, bytes);
}

}  // namespace moxhost

#endif  // MOXHOST_BLOCK_CACHE_H_
