// "MOXMemoryInterface": the heap that components route their objects through.
// Each block carries its size in a header, which keeps the live counts exact
// and lets Free notice a pointer that never came from Alloc.
#ifndef MOXHOST_MEMORY_H_
#define MOXHOST_MEMORY_H_

#include "registry.h"

namespace moxhost {

InterfaceRows MemoryInterface();

}  // namespace moxhost

#endif  // MOXHOST_MEMORY_H_
