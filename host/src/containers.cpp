#include "containers.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <type_traits>

#include "MOXRuntimeProcs.h"
#include "block_cache.h"
#include "errors.h"
#include "faults.h"
#include "reports.h"
#include "stats.h"

namespace moxhost {
namespace {

using Container = MOXContainerOpaque;
constexpr uint32_t kDying = Container::kDying;

static_assert(std::is_standard_layout<Container>::value, "offsetof needs a standard layout");
static_assert(offsetof(Container, record) != 0, "components take 0 for an unset offset");

Container* AllocateContainer(CountBlock counts) {
  void* block = TakeBlock(sizeof(Container));
  if (block == nullptr) return nullptr;
  Container* container = new (block) Container;
  container->instances = &container->ownInstances;
  container->ownInstances.block = container;
  Count(counts, Counter::kContainers, 1);
  return container;
}

Container* AllocateContainer() {
  return AllocateContainer(ThisThreadCounts());
}

void FreeInstanceSet(InstanceSet* set) {
  // Nothing in the set is reachable any more: no lock needed.
  if (set->hasPrimary) {
    if (set->primary.destroy != nullptr) set->primary.destroy(set->primary.instance);
    ReleaseAtom(set->primary.name);
  }
  for (InstanceEntry* entry = set->secondaries; entry != nullptr;) {
    if (entry->destroy != nullptr) entry->destroy(entry->instance);
    ReleaseAtom(entry->name);
    InstanceEntry* next = entry->next;
    delete entry;
    entry = next;
  }
  Container* block = set->block;
  block->~Container();
  GiveBlock(block, sizeof(Container));
}

void ReleaseInstanceSet(InstanceSet* set) {
  // A count of one is the caller's own hold: no clone shares the set, and
  // none can be made from a container that is dying, so nothing else can
  // change the count any more.
  if (set->refs.load(std::memory_order_acquire) == 1 ||
      set->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    FreeInstanceSet(set);
  }
}

// Runs once per container, by the thread that set the dying bit.
void Destroy(Container* container) {
  Count(Counter::kContainers, -1);
  ReleaseAtom(container->signature.load(std::memory_order_acquire));
  for (InterfaceEntry* entry = container->interfaces.load(std::memory_order_acquire);
       entry != nullptr;) {
    InterfaceEntry* next = entry->next.load(std::memory_order_acquire);
    ReleaseAtom(entry->name);
    delete entry;
    entry = next;
  }
  InstanceSet* shared = container->instances;
  const bool isClone = shared != &container->ownInstances;
  ReleaseInstanceSet(shared);
  // A clone's own set holds no instance; dropping it frees the clone's block.
  if (isClone) ReleaseInstanceSet(&container->ownInstances);
}

// Sets the dying bit if the count is zero; the caller then destroys.
bool ClaimForDestruction(Container* container) {
  uint32_t expected = 0;
  return container->refs.compare_exchange_strong(expected, kDying, std::memory_order_acq_rel);
}

MOXErrorRef NewFullContainerProc(MOXContainer* out, void* instance, MOXStringAtom instanceName,
                                 MOXReleaseProc destroy, MOXStringAtom interfaceName,
                                 uintptr_t reserved1, uintptr_t reserved2, uintptr_t reserved3) {
  if (reserved1 != 0 || reserved2 != 0 || reserved3 != 0) {
    if (out != nullptr) *out = nullptr;
    if (destroy != nullptr) destroy(instance);
    return MakeError(kInvalidArgument, "NewFullContainer: the reserved words must be 0");
  }
  return NewFullContainer(out, instance, instanceName, destroy, interfaceName);
}

MOXErrorRef NewContainer(MOXContainer* out, uintptr_t reserved1, uintptr_t reserved2,
                         uintptr_t reserved3, uintptr_t reserved4, uintptr_t reserved5) {
  if (out == nullptr) return MakeError(kInvalidArgument, "NewContainer: null out-parameter");
  *out = nullptr;
  if ((reserved1 | reserved2 | reserved3 | reserved4 | reserved5) != 0) {
    return MakeError(kInvalidArgument, "NewContainer: the reserved words must be 0");
  }
  Container* container = AllocateContainer();
  if (container == nullptr) return OutOfMemoryError();
  *out = container;
  return nullptr;
}

MOXErrorRef CloneContainer(MOXContainer* out, MOXContainer source) {
  if (out == nullptr) return MakeError(kInvalidArgument, "CloneContainer: null out-parameter");
  *out = nullptr;
  if (source == nullptr) return MakeError(kInvalidArgument, "CloneContainer: null container");
  Container* clone = AllocateContainer();
  if (clone == nullptr) return OutOfMemoryError();
  {
    std::lock_guard<SpinLock> lock(source->instances->lock);
    clone->record = source->record;
  }
  clone->instances = source->instances;
  clone->instances->refs.fetch_add(1, std::memory_order_relaxed);
  clone->signature.store(RetainAtom(source->signature.load(std::memory_order_acquire)),
                         std::memory_order_release);
  std::atomic<InterfaceEntry*>* tail = &clone->interfaces;
  for (InterfaceEntry* entry = source->interfaces.load(std::memory_order_acquire); entry != nullptr;
       entry = entry->next.load(std::memory_order_acquire)) {
    InterfaceEntry* copy = new (std::nothrow) InterfaceEntry;
    if (copy == nullptr) {
      ClaimForDestruction(clone);
      Destroy(clone);
      return OutOfMemoryError();
    }
    copy->name = RetainAtom(entry->name);
    tail->store(copy, std::memory_order_release);
    tail = &copy->next;
  }
  *out = clone;
  return nullptr;
}

uint32_t AddRef(MOXContainer container) {
  if (container == nullptr) return 0;
  uint32_t refs = container->refs.load(std::memory_order_relaxed);
  do {
    if ((refs & kDying) != 0 || refs + 1 == kDying) return 0;
  } while (!container->refs.compare_exchange_weak(refs, refs + 1, std::memory_order_relaxed));
  return refs + 1;
}

// Lowers the count; false, with a report, when it is already zero.
bool Decrement(Container* container, const char* caller, uint32_t* after) {
  uint32_t refs = container->refs.load(std::memory_order_relaxed);
  do {
    if (refs == 0 || (refs & kDying) != 0) {
      ReportMisuse("%s: container %p is %s", caller, static_cast<void*>(container),
                   refs == 0 ? "at count zero" : "being destroyed");
      return false;
    }
  } while (!container->refs.compare_exchange_weak(refs, refs - 1, std::memory_order_acq_rel));
  *after = refs - 1;
  return true;
}

void Release(MOXContainer container) {
  if (container == nullptr) return;
  // One atomic operation either way: a last reference goes from one straight
  // to dying, any other only down by one. A container shared with a clone is
  // released as often as it is made.
  uint32_t refs = container->refs.load(std::memory_order_relaxed);
  for (;;) {
    if (refs == 0 || (refs & kDying) != 0) {
      ReportMisuse("%s: container %p is %s", "Release", static_cast<void*>(container),
                   refs == 0 ? "at count zero" : "being destroyed");
      return;
    }
    if (refs == 1) {
      if (container->refs.compare_exchange_weak(refs, kDying, std::memory_order_acq_rel)) {
        Destroy(container);
        return;
      }
    } else if (container->refs.compare_exchange_weak(refs, refs - 1, std::memory_order_acq_rel)) {
      return;
    }
  }
}

void DecrementWithoutDelete(MOXContainer container) {
  if (container == nullptr) return;
  uint32_t after = 0;
  Decrement(container, "DecrementWithoutDelete", &after);
}

void DeleteUnownedContainer(MOXContainer container) {
  if (container != nullptr && ClaimForDestruction(container)) Destroy(container);
}

MOXErrorRef RegisterInterface(MOXContainer container, MOXStringAtom interfaceName) {
  if (container == nullptr || interfaceName == nullptr) {
    return MakeError(kInvalidArgument, "RegisterInterface: null %s",
                     container == nullptr ? "container" : "interface name");
  }
  MOXStringAtom expected = nullptr;
  RetainAtom(interfaceName);
  if (container->signature.compare_exchange_strong(expected, interfaceName,
                                                   std::memory_order_acq_rel)) {
    container->record.signature = AtomText(interfaceName);
    return nullptr;
  }
  if (expected == interfaceName) {
    ReleaseAtom(interfaceName);
    return nullptr;
  }
  auto* added = new (std::nothrow) InterfaceEntry;
  if (added == nullptr) {
    ReleaseAtom(interfaceName);
    return OutOfMemoryError();
  }
  added->name = interfaceName;
  std::atomic<InterfaceEntry*>* link = &container->interfaces;
  for (;;) {
    InterfaceEntry* current = link->load(std::memory_order_acquire);
    if (current == nullptr) {
      if (link->compare_exchange_weak(current, added, std::memory_order_acq_rel)) return nullptr;
      continue;
    }
    if (current->name == interfaceName) {  // registered already
      ReleaseAtom(interfaceName);
      delete added;
      return nullptr;
    }
    link = &current->next;
  }
}

MOXErrorRef RegisterInstance(MOXContainer container, void* instance, MOXStringAtom instanceName,
                             MOXReleaseProc destroy) {
  if (container == nullptr || instanceName == nullptr) {
    return MakeError(kInvalidArgument, "RegisterInstance: null %s",
                     container == nullptr ? "container" : "instance name");
  }
  InstanceSet* set = container->instances;
  std::lock_guard<SpinLock> lock(set->lock);
  InstanceEntry** tail = &set->secondaries;
  bool taken = set->hasPrimary && set->primary.name == instanceName;
  for (; *tail != nullptr && !taken; tail = &(*tail)->next) taken = (*tail)->name == instanceName;
  if (taken) {
    return MakeError(kInvalidArgument, "RegisterInstance: an instance named \"%s\" exists already",
                     AtomText(instanceName));
  }
  if (!set->hasPrimary) {
    set->hasPrimary = true;
    set->primary = {instance, RetainAtom(instanceName), destroy, nullptr};
    container->record.instanceName = AtomText(instanceName);
    container->record.instance = instance;
    return nullptr;
  }
  auto* entry = new (std::nothrow) InstanceEntry{instance, instanceName, destroy, nullptr};
  if (entry == nullptr) return OutOfMemoryError();
  RetainAtom(instanceName);
  *tail = entry;
  return nullptr;
}

MOXErrorRef GetMethod(void** out, MOXContainer container, MOXStringAtom methodName,
                      MOXStringAtom procTypeName, bool mustExist) {
  Count(Counter::kGetMethodCalls, 1);
  if (out == nullptr) return MakeError(kInvalidArgument, "GetMethod: null out-parameter");
  *out = nullptr;
  if (container == nullptr) return MakeError(kInvalidArgument, "GetMethod: null container");
  const Registry& registry = Registry::Get();
  MOXStringAtom signature = container->signature.load(std::memory_order_acquire);
  void* method = registry.Resolve(signature, methodName, procTypeName);
  for (InterfaceEntry* entry = container->interfaces.load(std::memory_order_acquire);
       method == nullptr && entry != nullptr; entry = entry->next.load(std::memory_order_acquire)) {
    method = registry.Resolve(entry->name, methodName, procTypeName);
  }
  *out = method;
  if (method == nullptr && mustExist) {
    const char* signatureText = AtomText(signature);
    return MakeError(kNotFound,
                     "GetMethod: no method \"%s\" of proc type \"%s\" for signature \"%s\"",
                     methodName != nullptr ? AtomText(methodName) : "(null)",
                     procTypeName != nullptr ? AtomText(procTypeName) : "(null)",
                     signatureText != nullptr ? signatureText : "(none)");
  }
  return nullptr;
}

// Looks in the named interface directly, whether or not the container lists it.
MOXErrorRef GetParentMethod(void** out, MOXContainer container, MOXStringAtom interfaceName,
                            MOXStringAtom methodName, MOXStringAtom procTypeName) {
  if (out == nullptr) return MakeError(kInvalidArgument, "GetParentMethod: null out-parameter");
  *out = nullptr;
  if (container == nullptr) return MakeError(kInvalidArgument, "GetParentMethod: null container");
  *out = Registry::Get().Resolve(interfaceName, methodName, procTypeName);
  return nullptr;
}

void* GetInstance(MOXContainer container) {
  return container != nullptr ? container->record.instance : nullptr;
}

// A null container gives a null instance and no error, like an absent name:
// the caller then reports its own "not an instance of ..." failure.
MOXErrorRef NGetInstance(void** out, MOXContainer container, MOXStringAtom instanceName) {
  if (out == nullptr) return MakeError(kInvalidArgument, "NGetInstance: null out-parameter");
  *out = nullptr;
  if (container == nullptr || instanceName == nullptr) return nullptr;
  if (container->record.instanceName == AtomText(instanceName)) {
    *out = container->record.instance;
    return nullptr;
  }
  InstanceSet* set = container->instances;
  std::lock_guard<SpinLock> lock(set->lock);
  if (set->hasPrimary && set->primary.name == instanceName) {
    *out = set->primary.instance;
    return nullptr;
  }
  for (InstanceEntry* entry = set->secondaries; entry != nullptr; entry = entry->next) {
    if (entry->name == instanceName) {
      *out = entry->instance;
      break;
    }
  }
  return nullptr;
}

MOXStringAtom GetSignature(MOXContainer container) {
  return container != nullptr ? container->signature.load(std::memory_order_acquire) : nullptr;
}

const uint32_t* DebugGetRefCountAddr(MOXContainer container) {
  static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "read as a plain uint32_t");
  return container != nullptr ? reinterpret_cast<const uint32_t*>(&container->refs) : nullptr;
}

int64_t GetOffsetToPrimaryInstance() {
  return offsetof(Container, record);
}

}  // namespace

MOXErrorRef NewFullContainer(MOXContainer* out, void* instance, MOXStringAtom instanceName,
                             MOXReleaseProc destroy, MOXStringAtom interfaceName) {
  // The instance is the runtime's from the call on, so a failure destroys it.
  if (out == nullptr) {
    if (destroy != nullptr) destroy(instance);
    return MakeError(kInvalidArgument, "NewFullContainer: null out-parameter");
  }
  *out = nullptr;
  const CountBlock counts = ThisThreadCounts();
  Container* container =
      ShouldFail(counts, Fault::kContainer) ? nullptr : AllocateContainer(counts);
  if (container == nullptr) {
    if (destroy != nullptr) destroy(instance);
    return OutOfMemoryError();
  }
  InstanceSet& set = container->ownInstances;
  set.hasPrimary = true;
  set.primary = {instance, RetainAtom(instanceName), destroy, nullptr};
  container->signature.store(RetainAtom(interfaceName), std::memory_order_relaxed);
  container->record = {AtomText(instanceName), AtomText(interfaceName), instance};
  *out = container;
  return nullptr;
}

InterfaceRows ContainerInterface() {
  static const MethodRow rows[] = {
      {"NewFullContainer", "MOXNewFullContainerV5Proc",
       ProcAddress<MOXNewFullContainerV5Proc>(NewFullContainerProc)},
      {"NewContainer", "MOXNewContainerV2Proc", ProcAddress<MOXNewContainerV2Proc>(NewContainer)},
      {"CloneContainer", "MOXCloneContainerProc",
       ProcAddress<MOXCloneContainerProc>(CloneContainer)},
      {"AddRef", "MOXAddRefContainerV2Proc", ProcAddress<MOXAddRefContainerV2Proc>(AddRef)},
      {"Release", "MOXReleaseContainerProc", ProcAddress<MOXReleaseContainerProc>(Release)},
      {"DecrementWithoutDelete", "MOXDecrementWithoutDeleteProc",
       ProcAddress<MOXDecrementWithoutDeleteProc>(DecrementWithoutDelete)},
      {"DeleteUnownedContainer", "MOXDeleteUnownedContainerProc",
       ProcAddress<MOXDeleteUnownedContainerProc>(DeleteUnownedContainer)},
      {"RegisterInterface", "MOXRegisterInterfaceV2Proc",
       ProcAddress<MOXRegisterInterfaceV2Proc>(RegisterInterface)},
      {"RegisterInstance", "MOXRegisterInstanceV2Proc",
       ProcAddress<MOXRegisterInstanceV2Proc>(RegisterInstance)},
      {"GetMethod", "MOXGetMethodV3Proc", ProcAddress<MOXGetMethodV3Proc>(GetMethod)},
      {"GetParentMethod", "MOXGetParentMethodV2Proc",
       ProcAddress<MOXGetParentMethodV2Proc>(GetParentMethod)},
      {"GetInstance", "MOXGetInstanceProc", ProcAddress<MOXGetInstanceProc>(GetInstance)},
      {"NGetInstance", "MOXNGetInstanceProc", ProcAddress<MOXNGetInstanceProc>(NGetInstance)},
      {"GetSignature", "MOXGetSignatureProc", ProcAddress<MOXGetSignatureProc>(GetSignature)},
      {"DebugGetRefCountAddr", "MOXGetRefCountAddrProc",
       ProcAddress<MOXGetRefCountAddrProc>(DebugGetRefCountAddr)},
      {"GetOffsetToPrimaryInstance", "MOXGetOffsetToPrimaryInstProc",
       ProcAddress<MOXGetOffsetToPrimaryInstProc>(GetOffsetToPrimaryInstance)},
  };
  return {"MOXContainerInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
