// Roots of the classes whose objects live in the runtime's memory: every new
// goes through Alloc of "MOXMemoryInterface" and every delete through Free,
// so that the host accounts for the library's objects.
#ifndef MOXUTILS_BINDING_CLIENT_BASE_H_
#define MOXUTILS_BINDING_CLIENT_BASE_H_

#include <cstddef>

namespace MOX_T_MT {

class CMOXClientBase {
 public:
  // std::bad_alloc when Alloc gives null.
  static void* operator new(std::size_t size);
  static void operator delete(void* block) noexcept;
  // Placement form, for objects built in a block that is already there.
  static void* operator new(std::size_t, void* block) noexcept { return block; }
  static void operator delete(void*, void*) noexcept {}
};

// Root of the client streams: only a virtual destructor.
class CMOXVirtualClientBase : public CMOXClientBase {
 public:
  virtual ~CMOXVirtualClientBase() = default;
};

// Parent of the method-table list elements, which puts them in host memory.
class CMOXClientBasePMT : public CMOXClientBase {};

}  // namespace MOX_T_MT

#endif  // MOXUTILS_BINDING_CLIENT_BASE_H_
