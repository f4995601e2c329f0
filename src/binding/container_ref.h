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

// Owns one reference to a container, or nothing. One handle belongs to one
// thread at a time; the container's count is the runtime's and may change
// from any thread.
class CMOXContainerRef {
 public:
  CMOXContainerRef() noexcept : fContainer(nullptr) {}
  // Counted: takes a reference even for null, so that a null container
  // raises "invalid container" on a runtime that refuses it.
  explicit CMOXContainerRef(MOXContainer container);
  // Takes over the caller's reference to `container`: no AddRef. Null gives
  // an empty handle.
  static CMOXContainerRef Adopt(MOXContainer container) noexcept;
  // Takes a reference of its own to `container`, the caller keeping theirs;
  // null gives an empty handle. "invalid container" when the runtime refuses
  // the reference.
  static CMOXContainerRef Retain(MOXContainer container);
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

  // The container, still owned by the handle; null when empty.
  MOXContainer Container() const { return fContainer; }
  bool IsEmpty() const { return fContainer == nullptr; }

 protected:
  // For handles that manage their reference themselves: Detach gives the
  // container up with no call to the runtime, and the handle becomes empty;
  // Attach stores a container in an empty handle, again with no call.
  MOXContainer Detach() noexcept {
    MOXContainer container = fContainer;
    fContainer = nullptr;
    return container;
  }
  void Attach(MOXContainer container) noexcept { fContainer = container; }

 private:
  // Stores `container`, taking a reference unless `adopt` or null.
  CMOXContainerRef(MOXContainer container, bool adopt);

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
