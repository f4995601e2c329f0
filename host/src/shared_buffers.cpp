#include "shared_buffers.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "MOXRuntimeProcs.h"
#include "faults.h"
#include "reports.h"
#include "stats.h"

namespace moxhost {
namespace {

// A buffer whose bytes the runtime owns is one block: the record, then the
// bytes, so that making and destroying one costs a single allocation.
MOXSharedBuff NewOwningBuffer(uint64_t size) {
  // One byte at least, so that an empty buffer still has an address.
  const uint64_t bytes = size != 0 ? size : 1;
  if (bytes > SIZE_MAX - sizeof(MOXSharedBuffOpaque)) return nullptr;
  void* block = std::calloc(sizeof(MOXSharedBuffOpaque) + bytes, 1);
  if (block == nullptr) return nullptr;
  auto* buffer = new (block) MOXSharedBuffOpaque;
  buffer->data = static_cast<char*>(block) + sizeof(MOXSharedBuffOpaque);
  buffer->release = nullptr;
  return buffer;
}

void Destroy(MOXSharedBuff buffer) {
  if (buffer->release != nullptr) {
    buffer->release(buffer->data);
    delete buffer;
  } else {
    buffer->~MOXSharedBuffOpaque();
    std::free(buffer);
  }
  Count(Counter::kSharedBuffers, -1);
}

// On failure the caller keeps `data`: a null result means it was not taken.
MOXSharedBuff NewBuffer(uint64_t size, void* data, MOXReleaseProc release, uintptr_t reserved1,
                        uintptr_t reserved2) {
  if (reserved1 != 0 || reserved2 != 0) {
    ReportMisuse("NewBuffer: the reserved words must be 0");
    return nullptr;
  }
  if (ShouldFail(Fault::kBuffer)) return nullptr;
  MOXSharedBuff buffer;
  if (data != nullptr && release != nullptr) {
    buffer = new (std::nothrow) MOXSharedBuffOpaque;
    if (buffer == nullptr) return nullptr;
    buffer->data = data;
    buffer->release = release;
  } else {
    buffer = NewOwningBuffer(size);
    if (buffer == nullptr) return nullptr;
    if (data != nullptr) std::memcpy(buffer->data, data, size);
  }
  buffer->size = size;
  buffer->refs.store(1, std::memory_order_relaxed);
  Count(Counter::kSharedBuffers, 1);
  return buffer;
}

void DeleteUnowned(MOXSharedBuff buffer) {
  if (buffer == nullptr) return;
  int64_t expected = 1;
  if (buffer->refs.compare_exchange_strong(expected, 0, std::memory_order_acq_rel)) {
    Destroy(buffer);
    return;
  }
  ReportMisuse("DeleteUnowned: shared buffer %p is held %lld times", static_cast<void*>(buffer),
               static_cast<long long>(expected));
}

void* GetBuffer(MOXSharedBuff buffer) {
  return buffer != nullptr ? buffer->data : nullptr;
}

uint64_t GetSize(MOXSharedBuff buffer) {
  return buffer != nullptr ? buffer->size : 0;
}

}  // namespace

void RetainSharedBuffer(MOXSharedBuff buffer) {
  if (buffer != nullptr) buffer->refs.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseSharedBuffer(MOXSharedBuff buffer) {
  if (buffer != nullptr && buffer->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    Destroy(buffer);
  }
}

InterfaceRows SharedBuffInterface() {
  static const MethodRow rows[] = {
      {"NewBuffer", "MOXSharedBuffNewBufferV3Proc",
       ProcAddress<MOXSharedBuffNewBufferV3Proc>(NewBuffer)},
      {"DeleteUnowned", "MOXSharedBuffDelUnownedProc",
       ProcAddress<MOXSharedBuffDelUnownedProc>(DeleteUnowned)},
      {"AddRef", "MOXSharedBuffAddRefProc",
       ProcAddress<MOXSharedBuffAddRefProc>(RetainSharedBuffer)},
      {"Release", "MOXSharedBuffReleaseProc",
       ProcAddress<MOXSharedBuffReleaseProc>(ReleaseSharedBuffer)},
      {"GetBuffer", "MOXSharedBuffGetBufferProc",
       ProcAddress<MOXSharedBuffGetBufferProc>(GetBuffer)},
      {"GetSize", "MOXSharedBuffGetSizeProc", ProcAddress<MOXSharedBuffGetSizeProc>(GetSize)},
  };
  return {"MOXSharedBuffInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
