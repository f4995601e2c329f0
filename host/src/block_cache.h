// Small blocks of the process heap, kept on a free list of the thread that
// let them go, for the next block of the same size class on that thread.
// Containers and the components' small objects live and die by the million;
// a free list costs a few loads and stores where malloc and free cost a
// hundred instructions or more.
//
// Blocks of up to kLargestCachedBlock bytes are rounded up to a multiple of
// 16 so that any block of a class serves any request of it; larger ones go
// to malloc and free directly. Builds with AddressSanitizer or
// ThreadSanitizer take malloc and free for every block, so that a block used
// after it is let go is still found.
#ifndef MOXHOST_BLOCK_CACHE_H_
#define MOXHOST_BLOCK_CACHE_H_

#include <cstddef>

namespace moxhost {

constexpr size_t kLargestCachedBlock = 256;

// A block of at least `bytes` bytes, aligned as malloc aligns; null when the
// heap has none.
void* TakeBlock(size_t bytes);
// Gives back a block of TakeBlock, with the `bytes` it was asked for.
void GiveBlock(void* block, size_t bytes);

}  // namespace moxhost

#endif  // MOXHOST_BLOCK_CACHE_H_
