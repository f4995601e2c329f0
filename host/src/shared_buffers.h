// "MOXSharedBuffInterface": reference-counted blocks of bytes that components
// pass to each other without copying.
#ifndef MOXHOST_SHARED_BUFFERS_H_
#define MOXHOST_SHARED_BUFFERS_H_

#include <atomic>
#include <cstdint>

#include "MOXTypes.h"
#include "registry.h"

struct MOXSharedBuffOpaque {
  std::atomic<int64_t> refs;
  uint64_t size;
  void* data;
  MOXReleaseProc release;  // the caller's procedure, or null when the runtime owns `data`,
                           // which then follows this record in the same block
};

namespace moxhost {

void RetainSharedBuffer(MOXSharedBuff buffer);
void ReleaseSharedBuffer(MOXSharedBuff buffer);

InterfaceRows SharedBuffInterface();

}  // namespace moxhost

#endif  // MOXHOST_SHARED_BUFFERS_H_
