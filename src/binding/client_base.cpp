#include "binding/client_base.h"

#include "binding/host_tables.h"

namespace MOX_T_MT {

void* CMOXClientBase::operator new(std::size_t size) {
  return MOXMemory::AllocOrThrow(size);
}

void CMOXClientBase::operator delete(void* block) noexcept {
  if (block != nullptr) MOXMemory::Free(block);
}

}  // namespace MOX_T_MT
