#include "binding/container_ref.h"

#include <utility>

#include "binding/errors.h"

void* MOXNGetInstance(MOXContainer container, const CMOXStringHolder& name) {
  void* instance = nullptr;
  MOXCheck(MOXContainerProcs::NGetInstance(&instance, container, name.Atom()));
  return instance;
}

void* MOXFindInstance(MOXContainer container, const CMOXStringHolder& name) {
  if (container != nullptr) {
    const MOXPrimaryInstanceRecord* record = MOXPrimaryRecord(container);
    if (record->instanceName == name.CString()) return record->instance;
  }
  return MOXNGetInstance(container, name);
}

CMOXContainerRef::CMOXContainerRef(MOXContainer container, bool adopt) : fContainer(container) {
  if (container != nullptr && !adopt && MOXContainerProcs::AddRef(container) == 0) {
    fContainer = nullptr;
    MOXThrowInvalidContainer();
  }
}

CMOXContainerRef CMOXContainerRef::Adopt(MOXContainer container) noexcept {
  return CMOXContainerRef(container, true);
}

CMOXContainerRef CMOXContainerRef::Retain(MOXContainer container) {
  return CMOXContainerRef(container, false);
}

CMOXContainerRef::CMOXContainerRef(MOXContainer container) : fContainer(container) {
  if (MOXContainerProcs::AddRef(container) == 0) {
    fContainer = nullptr;
    MOXThrowInvalidContainer();
  }
}

CMOXContainerRef::CMOXContainerRef(const CMOXContainerRef& other) : fContainer(other.fContainer) {
  if (MOXContainerProcs::AddRef(fContainer) == 0) {
    fContainer = nullptr;
    if (other.fContainer != nullptr) MOXThrowInvalidContainer();
  }
}

CMOXContainerRef& CMOXContainerRef::operator=(const CMOXContainerRef& other) {
  CMOXContainerRef copy(other);
  std::swap(fContainer, copy.fContainer);
  return *this;
}

CMOXContainerRef& CMOXContainerRef::operator=(CMOXContainerRef&& other) noexcept {
  std::swap(fContainer, other.fContainer);
  return *this;
}

void CMOXContainerRef::GuardedRelease() {
  MOXContainer container = fContainer;
  fContainer = nullptr;
  if (container != nullptr) MOXContainerProcs::Release(container);
}

void CMOXContainerRef::UnownedDelete() {
  MOXContainer container = fContainer;
  fContainer = nullptr;
  if (container != nullptr) MOXContainerProcs::DeleteUnownedContainer(container);
}

MOXContainer CMOXContainerRef::GiveAway() {
  MOXContainerProcs::DecrementWithoutDelete(fContainer);
  MOXContainer container = fContainer;
  fContainer = nullptr;
  return container;
}

void MOXNewContainer(CMOXContainerRef& handle, uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d,
                     uintptr_t e) {
  MOXContainer container = nullptr;
  MOXCheck(MOXContainerProcs::NewContainer(&container, a, b, c, d, e));
  handle = CMOXContainerRef::Adopt(container);
}

MOXContainer MOXNewFullContainer(void* instance, const CMOXStringHolder& instanceName,
                                 MOXReleaseProc destroy, const CMOXStringHolder& interfaceName) {
  MOXContainer container = nullptr;
  MOXCheck(MOXContainerProcs::NewFullContainer(&container, instance, instanceName.Atom(), destroy,
                                               interfaceName.Atom()));
  return container;
}
