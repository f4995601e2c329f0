// CMOXContainerRef owns one reference to a runtime container, and the helpers
// that read a container's primary-instance record.
#ifndef MOXUTILS_BINDING_CONTAINER_REF_H_
#define MOXUTILS_BINDING_CONTAINER_REF_H_

#include "MOXTypes.h"
#include "binding/host_tables.h"
#include "binding/string_holder.h"

// The record the runtime keeps at gOffsetToPrimaryInstance in every container.
inline const MOXPrimaryInstanceRecord* MOXPrimaryRecord(MOXContainer container) {
  return reinterpret_cast<const MOXPrimaryInstanceRecord*>(
      reinterpret_cast<const char*>(container) + gOffsetToPrimaryInstance);
}

// The instance of `container` named by `name`. The common case is one pointer
// comparison on the primary-instance record; otherwise, a null container
// included, the runtime is asked with NGetInstance. May give null.
void* MOXFindInstance(MOXContainer container, const CMOXStringHolder& name);

// NGetInstance with a local out-variable; an error is thrown.
void* MOXNGetInstance(MOXContainer container, const CMOXStringHolder& name);

class CMOXContainerRef {
 public:
  CMOXContainerRef() noexcept : fContainer(nullptr) {}
  // Holds `container`: takes over the caller's reference with `adopt`,
  // otherwise takes one (not for null). "invalid container" when the runtime
  // refuses the reference.
  CMOXContainerRef(MOXContainer container, bool adopt);
  // Counted: takes a reference even for null, so that a null container
  // raises "invalid container" on a runtime that refuses it.
  explicit CMOXContainerRef(MOXContainer container);
  // Copying an empty handle gives an empty handle without error.
  CMOXContainerRef(const CMOXContainerRef& other);
  CMOXContainerRef(CMOXContainerRef&& other) noexcept : fContainer(other.fContainer) {
    other.fContainer = nullptr;
  }
  CMOXContainerRef& operator=(const CMOXContainerRef& other);
  CMOXContainerRef& operator=(CMOXContainerRef&& other) noexcept;
  ~CMOXContainerRef() { MOXContainerProcs::Release(fContainer); }

  // Release if non-null; the handle becomes empty.
  void GuardedRelease();
  // DeleteUnownedContainer if non-null; the handle becomes empty.
  void UnownedDelete();
  // Gives the reference up for a foreign caller: DecrementWithoutDelete, and
  // the handle becomes empty. The container survives at its new count, which
  // may be zero, for its next owner.
  MOXContainer GiveAway();

  MOXContainer Get() const { return fContainer; }
  bool IsEmpty() const { return fContainer == nullptr; }

  MOXContainer fContainer;
};

// NewContainer with five words; the result is stored in `handle` without a
// reference of its own.
void MOXNewContainer(CMOXContainerRef& handle, uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d,
                     uintptr_t e);

// Makes the container of a library object: NewFullContainer with the given
// names and destroy procedure. The container comes back unowned. On failure
// the object is not freed: the runtime has its pointer and destroy procedure.
MOXContainer MOXNewFullContainer(void* instance, const CMOXStringHolder& instanceName,
                                 MOXReleaseProc destroy, const CMOXStringHolder& interfaceName);

#endif  // MOXUTILS_BINDING_CONTAINER_REF_H_
