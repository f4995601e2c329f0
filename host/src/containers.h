// Containers: reference-counted wrappers of implementation instances that
// answer for the interfaces registered for them.
//
// The count is one atomic word per container, with no lock anywhere on the
// AddRef/Release path. A container starts at zero and is destroyed when a
// Release brings it back to zero, or by DeleteUnownedContainer while it is at
// zero; the high bit of the word marks it as being destroyed, after which
// AddRef answers 0.
//
// Instances live in an instance set that clones share; the destroy procedures
// run when the last container sharing the set dies: the primary instance's
// first, then the others in the order they were registered.
#ifndef MOXHOST_CONTAINERS_H_
#define MOXHOST_CONTAINERS_H_

#include <atomic>
#include <cstdint>

#include "atoms.h"
#include "MOXTypes.h"
#include "registry.h"
#include "spin_lock.h"

namespace moxhost {

struct InstanceEntry {
  void* instance = nullptr;
  MOXStringAtom name = nullptr;  // one reference, owned by the set
  MOXReleaseProc destroy = nullptr;
  InstanceEntry* next = nullptr;
};

struct InstanceSet {
  // The container whose block holds this set, plus each clone sharing it.
  std::atomic<int32_t> refs{1};
  MOXContainer block = nullptr;
  SpinLock lock;
  bool hasPrimary = false;
  InstanceEntry primary;
  InstanceEntry* secondaries = nullptr;  // in registration order
};

struct InterfaceEntry {
  MOXStringAtom name;  // one reference
  std::atomic<InterfaceEntry*> next{nullptr};
};

}  // namespace moxhost

struct MOXContainerOpaque {
  static constexpr uint32_t kDying = 1u << 31;

  std::atomic<uint32_t> refs{0};
  uint32_t unused = 0;
  // Read by components at GetOffsetToPrimaryInstance(); set once, before the
  // container is handed out (or by the first RegisterInstance/Interface of a
  // bare container).
  MOXPrimaryInstanceRecord record{nullptr, nullptr, nullptr};
  std::atomic<MOXStringAtom> signature{nullptr};  // one reference
  // Interfaces added after the signature, appended without a lock.
  std::atomic<moxhost::InterfaceEntry*> interfaces{nullptr};
  moxhost::InstanceSet* instances = nullptr;  // &ownInstances, or a shared one
  moxhost::InstanceSet ownInstances;
};

namespace moxhost {

// NewFullContainer for the runtime's own objects. On failure `destroy` has
// run on `instance`.
MOXErrorRef NewFullContainer(MOXContainer* out, void* instance, MOXStringAtom instanceName,
                             MOXReleaseProc destroy, MOXStringAtom interfaceName);

// The primary instance when its name is `instanceName`, else null. One
// comparison of addresses: the runtime's own methods check this way that a
// container is theirs.
inline void* InstanceNamed(MOXContainer container, MOXStringAtom instanceName) {
  return container != nullptr && container->record.instanceName == AtomText(instanceName)
             ? container->record.instance
             : nullptr;
}

InterfaceRows ContainerInterface();

}  // namespace moxhost

#endif  // MOXHOST_CONTAINERS_H_
