#include "memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "MOXRuntimeProcs.h"
#include "block_cache.h"
#include "faults.h"
#include "reports.h"
#include "stats.h"

namespace moxhost {
namespace {

// Sixteen bytes keep the block as aligned as malloc's own.
struct alignas(16) BlockHeader {
  uint64_t size;
  uint64_t magic;
};
constexpr uint64_t kLiveMagic = 0x4d4f58426c6f636bULL;  // "MOXBlock"
constexpr uint64_t kFreedMagic = 0x667265656420626cULL;
constexpr uint64_t kMaxSize = UINT64_MAX / 2;

BlockHeader* HeaderOf(void* block) {
  return static_cast<BlockHeader*>(block) - 1;
}

// Null, with a report, for a block that is not a live one of ours.
BlockHeader* CheckedHeader(void* block, const char* caller) {
  BlockHeader* header = HeaderOf(block);
  if (header->magic == kLiveMagic) return header;
  ReportMisuse("%s: %p is not a live block of MOXMemoryInterface%s", caller, block,
               header->magic == kFreedMagic ? " (freed already)" : "");
  return nullptr;
}

void* Alloc(uint64_t size) {
  const CountBlock counts = ThisThreadCounts();
  Count(counts, Counter::kAllocationCalls, 1);
  if (ShouldFail(counts, Fault::kAllocation) || size > kMaxSize) return nullptr;
  auto* header = static_cast<BlockHeader*>(TakeBlock(sizeof(BlockHeader) + size));
  if (header == nullptr) return nullptr;
  header->size = size;
  header->magic = kLiveMagic;
  Count(counts, Counter::kMemoryBlocks, 1);
  Count(counts, Counter::kMemoryBytes, static_cast<int64_t>(size));
  return header + 1;
}

void Free(void* block) {
  if (block == nullptr) return;
  BlockHeader* header = CheckedHeader(block, "Free");
  if (header == nullptr) return;
  const CountBlock counts = ThisThreadCounts();
  Count(counts, Counter::kMemoryBlocks, -1);
  Count(counts, Counter::kMemoryBytes, -static_cast<int64_t>(header->size));
  header->magic = kFreedMagic;
  GiveBlock(header, sizeof(BlockHeader) + header->size);
}

void* Realloc(void* block, uint64_t size) {
  if (block == nullptr) return Alloc(size);
  Count(Counter::kAllocationCalls, 1);
  BlockHeader* header = CheckedHeader(block, "Realloc");
  if (header == nullptr) return nullptr;
  // On failure the old block stays as it was, as with realloc.
  if (ShouldFail(Fault::kAllocation) || size > kMaxSize) return nullptr;
  const uint64_t oldSize = header->size;
  BlockHeader* moved;
  if (sizeof(BlockHeader) + size <= kLargestCachedBlock ||
      sizeof(BlockHeader) + oldSize <= kLargestCachedBlock) {
    // Blocks of the cache's sizes move whole, so that each keeps the size of
    // its class.
    moved = static_cast<BlockHeader*>(TakeBlock(sizeof(BlockHeader) + size));
    if (moved == nullptr) return nullptr;
    std::memcpy(moved + 1, header + 1, oldSize < size ? oldSize : size);
    header->magic = kFreedMagic;
    GiveBlock(header, sizeof(BlockHeader) + oldSize);
  } else {
    header->magic = kFreedMagic;  // until realloc says where the block is now
    moved = static_cast<BlockHeader*>(std::realloc(header, sizeof(BlockHeader) + size));
    if (moved == nullptr) {
      header->magic = kLiveMagic;
      return nullptr;
    }
  }
  moved->size = size;
  moved->magic = kLiveMagic;
  Count(Counter::kMemoryBytes, static_cast<int64_t>(size) - static_cast<int64_t>(oldSize));
  return moved + 1;
}

uint64_t GetBlockSize(void* block) {
  if (block == nullptr) return 0;
  BlockHeader* header = CheckedHeader(block, "GetBlockSize");
  return header != nullptr ? header->size : 0;
}

}  // namespace

InterfaceRows MemoryInterface() {
  static const MethodRow rows[] = {
      {"Alloc", "MOXMemAllocProc", ProcAddress<MOXMemAllocProc>(Alloc)},
      {"Realloc", "MOXMemReallocProc", ProcAddress<MOXMemReallocProc>(Realloc)},
      {"Free", "MOXMemFreeProc", ProcAddress<MOXMemFreeProc>(Free)},
      {"GetBlockSize", "MOXMemGetBlockSizeProc", ProcAddress<MOXMemGetBlockSizeProc>(GetBlockSize)},
  };
  return {"MOXMemoryInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
