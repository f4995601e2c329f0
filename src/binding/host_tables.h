// The library's view of its runtime: the lookup slot, the five core
// procedures, the unregister counter, and the tables of named interfaces.
//
// Every call into another component goes through a slot of a table, never by
// name at the point of use. A table of a named interface is loaded through
// the lookup procedure and carries the counter value of its last load (its
// stamp); when the runtime unregisters anything the counter moves and every
// table knows it is stale.
//
// Slots are single aligned pointers, read and written with relaxed atomic
// operations: a reader may see a slot of the old runtime while a refresh runs,
// and both values are procedures that were valid at some time.
#ifndef MOXUTILS_BINDING_HOST_TABLES_H_
#define MOXUTILS_BINDING_HOST_TABLES_H_

#include <cstddef>
#include <cstdint>

#include "MOXRuntimeProcs.h"
#include "binding/method_rows.h"

// ---- Process-wide binding state -------------------------------------------

extern MOXLookupProc gHostLookupProc;  // the lookup slot; null while unbound
extern MOXRegisterProcAddressProc gMOXRegisterProcAddress;
extern MOXReportErrorProc gMOXReportError;
extern MOXUnregisterInterfaceProc gMOXUnregisterInterface;
extern MOXGetUnregisterCountAddrProc gMOXGetUnregisterCountAddr;
extern MOXIsMultiThreadedProc gMOXIsMultiThreaded;
extern uint64_t* gUnregisterCountAddr;  // the counter lives in the runtime
extern bool gBindingComplete;           // from now on a failed lookup throws
extern int64_t gOffsetToPrimaryInstance;
extern uint32_t gStaticMarker;  // 13 once the static constructors have run

// The unregister counter, read afresh at each use. A relaxed load is a plain
// load on every platform we build for; it only keeps race detectors quiet.
inline uint64_t MOXReadUnregisterCount() {
  return __atomic_load_n(gUnregisterCountAddr, __ATOMIC_RELAXED);
}

// Asks the runtime for a procedure. Null while unbound. During binding a
// missing procedure gives null; once the binding is complete it throws a
// CMOXError with an empty message and component "MOX".
void* MOXLookupMethod(const char* interfaceName, const char* methodName, const char* procTypeName);

// Calls MOXReportError when the runtime has one; otherwise drops the text.
void MOXReportErrorText(const char* message);

// ---- Tables of named interfaces --------------------------------------------

// Fills `slots` from the last row to the first, so that slot 0 is written
// last. Stops at the first missing method and returns false; slots written
// so far stay. `flag` is accepted for callers that pass one and changes
// nothing.
bool MOXLoadInterfaceTable(const MOXMethodRow* rows, size_t count, const char* interfaceName,
                           void** slots, bool flag = false);

// One table of a named interface: its rows, its slots, and its stamp.
class MOXInterfaceTable {
 public:
  // `onDemand` tables clear slot 0 after a failed load, so that they read as
  // absent until the next successful one.
  constexpr MOXInterfaceTable(const char* interfaceName, const MOXMethodRow* rows, size_t count,
                              void** slots, bool onDemand)
      : fInterfaceName(interfaceName),
        fRows(rows),
        fCount(count),
        fSlots(slots),
        fOnDemand(onDemand),
        fStamp(0) {}

  // MOXGetInterfaceTable: the slots, loaded again when the counter has moved
  // since the last load; null when the interface can't be bound.
  void** Get() {
    if (MOXReadUnregisterCount() == Stamp()) return fSlots;
    return Reload();
  }
  // True when the counter still equals the stamp of the last load.
  bool IsCurrent() const { return MOXReadUnregisterCount() == Stamp(); }

  // Slot `index`, untyped; TMOXInterfaceTable::Proc gives a named slot with
  // its method's type.
  void* Slot(size_t index) const { return __atomic_load_n(&fSlots[index], __ATOMIC_RELAXED); }
  void SetSlot(size_t index, void* procedure) {
    __atomic_store_n(&fSlots[index], procedure, __ATOMIC_RELAXED);
  }
  bool HasSlot(size_t index) const { return Slot(index) != nullptr; }
  uint64_t Stamp() const { return __atomic_load_n(&fStamp, __ATOMIC_RELAXED); }
  // Forgets the load: every slot null and the stamp 0.
  void Clear();

  const char* InterfaceName() const { return fInterfaceName; }
  size_t Count() const { return fCount; }

 private:
  // Get when the counter has moved since the last load.
  void** Reload();

  const char* fInterfaceName;
  const MOXMethodRow* fRows;
  size_t fCount;
  void** fSlots;
  bool fOnDemand;
  uint64_t fStamp;
};

// The table of one interface whose slots are named by a method list
// (MOX_DEFINE_SLOTS): its rows and count come from the slots' namespace, and
// a call names its slot and gets the method's type, so a slot can't be called
// with another method's arguments, nor one interface's slot used on another.
template <typename SlotEnum>
class TMOXInterfaceTable : public MOXInterfaceTable {
 public:
  template <size_t kSlotCount>
  constexpr TMOXInterfaceTable(const char* interfaceName, void* (&slots)[kSlotCount], bool onDemand)
      : MOXInterfaceTable(interfaceName, MOXSlotRows(SlotEnum()), MOXSlotCount(SlotEnum()), slots,
                          onDemand) {
    static_assert(kSlotCount == MOXSlotCount(SlotEnum()), "one slot for each method");
  }

  template <SlotEnum kSlot>
  MOXProcOf<kSlot> Proc() const {
    return reinterpret_cast<MOXProcOf<kSlot>>(Slot(kSlot));
  }
  template <SlotEnum kSlot>
  void SetProc(MOXProcOf<kSlot> procedure) {
    SetSlot(kSlot, reinterpret_cast<void*>(procedure));
  }
};

// ---- The four tables bound at start ----------------------------------------

MOX_DEFINE_SLOTS(MOXContainerSlots, MOX_CONTAINER_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXErrorSlots, MOX_ERROR_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXStringSlots, MOX_STRING_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(MOXMemorySlots, MOX_MEMORY_INTERFACE_METHODS)

extern TMOXInterfaceTable<MOXContainerSlots::Slot> gMOXContainerTable;
extern TMOXInterfaceTable<MOXErrorSlots::Slot> gMOXErrorTable;
extern TMOXInterfaceTable<MOXStringSlots::Slot> gMOXStringTable;
extern TMOXInterfaceTable<MOXMemorySlots::Slot> gMOXMemoryTable;

// Calls through the four core tables. Each is one slot load and one call.
namespace MOXString {
inline MOXStringAtom NewStringAtom(const char* text) {
  return gMOXStringTable.Proc<MOXStringSlots::NewStringAtom>()(text);
}
inline void DeleteStringAtom(MOXStringAtom atom) {
  gMOXStringTable.Proc<MOXStringSlots::DeleteStringAtom>()(atom);
}
inline const char* GetCString(MOXStringAtom atom) {
  return gMOXStringTable.Proc<MOXStringSlots::GetCString>()(atom);
}
inline MOXStringAtom AddRef(MOXStringAtom atom) {
  return gMOXStringTable.Proc<MOXStringSlots::AddRef>()(atom);
}
}  // namespace MOXString

namespace MOXMemory {
inline void* Alloc(uint64_t size) {
  return gMOXMemoryTable.Proc<MOXMemorySlots::Alloc>()(size);
}
inline void* Realloc(void* block, uint64_t size) {
  return gMOXMemoryTable.Proc<MOXMemorySlots::Realloc>()(block, size);
}
inline void Free(void* block) {
  gMOXMemoryTable.Proc<MOXMemorySlots::Free>()(block);
}
// Alloc that raises std::bad_alloc on null.
void* AllocOrThrow(uint64_t size);
// Realloc that raises std::bad_alloc on null; the old block then stays valid.
void* ReallocOrThrow(void* block, uint64_t size);
}  // namespace MOXMemory

namespace MOXErrorProcs {
inline MOXErrorRef NewError(const char* message, const char* component, int64_t id, uintptr_t a,
                            uintptr_t b) {
  return gMOXErrorTable.Proc<MOXErrorSlots::NewError>()(message, component, id, a, b);
}
inline MOXErrorRef GetCoreError(int32_t code) {
  return gMOXErrorTable.Proc<MOXErrorSlots::GetCoreError>()(code);
}
inline MOXErrorRef AddRef(MOXErrorRef error) {
  return gMOXErrorTable.Proc<MOXErrorSlots::AddRef>()(error);
}
inline void Release(MOXErrorRef error) {
  gMOXErrorTable.Proc<MOXErrorSlots::Release>()(error);
}
inline MOXStringAtom GetErrorMessage(MOXErrorRef error) {
  return gMOXErrorTable.Proc<MOXErrorSlots::GetErrorMessage>()(error);
}
inline MOXStringAtom GetComponent(MOXErrorRef error) {
  return gMOXErrorTable.Proc<MOXErrorSlots::GetComponent>()(error);
}
inline int64_t GetID(MOXErrorRef error) {
  return gMOXErrorTable.Proc<MOXErrorSlots::GetID>()(error);
}
}  // namespace MOXErrorProcs

namespace MOXContainerProcs {
inline MOXErrorRef NewFullContainer(MOXContainer* out, void* instance, MOXStringAtom instanceName,
                                    MOXReleaseProc destroy, MOXStringAtom interfaceName) {
  return gMOXContainerTable.Proc<MOXContainerSlots::NewFullContainer>()(
      out, instance, instanceName, destroy, interfaceName, 0, 0, 0);
}
inline MOXErrorRef NewContainer(MOXContainer* out, uintptr_t a, uintptr_t b, uintptr_t c,
                                uintptr_t d, uintptr_t e) {
  return gMOXContainerTable.Proc<MOXContainerSlots::NewContainer>()(out, a, b, c, d, e);
}
inline uint32_t AddRef(MOXContainer container) {
  return gMOXContainerTable.Proc<MOXContainerSlots::AddRef>()(container);
}
inline void Release(MOXContainer container) {
  gMOXContainerTable.Proc<MOXContainerSlots::Release>()(container);
}
inline void DecrementWithoutDelete(MOXContainer container) {
  gMOXContainerTable.Proc<MOXContainerSlots::DecrementWithoutDelete>()(container);
}
inline void DeleteUnownedContainer(MOXContainer container) {
  gMOXContainerTable.Proc<MOXContainerSlots::DeleteUnownedContainer>()(container);
}
inline MOXErrorRef GetMethod(void** out, MOXContainer container, MOXStringAtom method,
                             MOXStringAtom procType, bool mustExist) {
  return gMOXContainerTable.Proc<MOXContainerSlots::GetMethod>()(out, container, method, procType,
                                                                 mustExist);
}
inline MOXErrorRef NGetInstance(void** out, MOXContainer container, MOXStringAtom name) {
  return gMOXContainerTable.Proc<MOXContainerSlots::NGetInstance>()(out, container, name);
}
inline int64_t GetOffsetToPrimaryInstance() {
  return gMOXContainerTable.Proc<MOXContainerSlots::GetOffsetToPrimaryInstance>()();
}
}  // namespace MOXContainerProcs

#endif  // MOXUTILS_BINDING_HOST_TABLES_H_
