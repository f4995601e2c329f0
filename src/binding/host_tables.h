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

// A row of a client method table: the method and the proc type the caller
// expects. Row k fills slot k.
struct MOXMethodRow {
  const char* method;
  const char* procType;
};

// A row whose proc-type name is the name of its C typedef, so that a table
// and the public headers can't drift apart: a misspelt name doesn't compile.
template <typename Proc>
constexpr const char* MOXProcTypeName(const char* name) {
  return name;
}
#define MOX_CLIENT_ROW(method, ProcType) \
  { method, MOXProcTypeName<ProcType>(#ProcType) }
#define MOX_CLIENT_END_ROW \
  { "", "" }

// The rows of a table closed by its end row, which doesn't count.
template <typename Row, size_t N>
constexpr size_t MOXRowCount(const Row (&)[N]) {
  return N - 1;
}

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
  void** Get();
  // True when the counter still equals the stamp of the last load.
  bool IsCurrent() const { return MOXReadUnregisterCount() == Stamp(); }

  template <typename Proc>
  Proc Slot(size_t index) const {
    return reinterpret_cast<Proc>(__atomic_load_n(&fSlots[index], __ATOMIC_RELAXED));
  }
  void SetSlot(size_t index, void* procedure) {
    __atomic_store_n(&fSlots[index], procedure, __ATOMIC_RELAXED);
  }
  bool HasSlot(size_t index) const { return Slot<void*>(index) != nullptr; }
  uint64_t Stamp() const { return __atomic_load_n(&fStamp, __ATOMIC_RELAXED); }
  // Forgets the load: every slot null and the stamp 0.
  void Clear();

  const char* InterfaceName() const { return fInterfaceName; }
  size_t Count() const { return fCount; }

 private:
  const char* fInterfaceName;
  const MOXMethodRow* fRows;
  size_t fCount;
  void** fSlots;
  bool fOnDemand;
  uint64_t fStamp;
};

// The four tables bound at start.
extern MOXInterfaceTable gMOXContainerTable;
extern MOXInterfaceTable gMOXErrorTable;
extern MOXInterfaceTable gMOXStringTable;
extern MOXInterfaceTable gMOXMemoryTable;

// Calls through the four core tables. Each is one slot load and one call.
namespace MOXString {
inline MOXStringAtom NewStringAtom(const char* text) {
  return gMOXStringTable.Slot<MOXNewStringAtomProc>(0)(text);
}
inline void DeleteStringAtom(MOXStringAtom atom) {
  gMOXStringTable.Slot<MOXDeleteStringAtomProc>(1)(atom);
}
inline const char* GetCString(MOXStringAtom atom) {
  return gMOXStringTable.Slot<MOXGetCStringProc>(2)(atom);
}
inline MOXStringAtom AddRef(MOXStringAtom atom) {
  return gMOXStringTable.Slot<MOXAddRefStringAtomProc>(3)(atom);
}
}  // namespace MOXString

namespace MOXMemory {
inline void* Alloc(uint64_t size) {
  return gMOXMemoryTable.Slot<MOXMemAllocProc>(0)(size);
}
inline void* Realloc(void* block, uint64_t size) {
  return gMOXMemoryTable.Slot<MOXMemReallocProc>(1)(block, size);
}
inline void Free(void* block) {
  gMOXMemoryTable.Slot<MOXMemFreeProc>(2)(block);
}
// Alloc that raises std::bad_alloc on null.
void* AllocOrThrow(uint64_t size);
// Realloc that raises std::bad_alloc on null; the old block then stays valid.
void* ReallocOrThrow(void* block, uint64_t size);
}  // namespace MOXMemory

namespace MOXErrorProcs {
inline MOXErrorRef NewError(const char* message, const char* component, int64_t id, uintptr_t a,
                            uintptr_t b) {
  return gMOXErrorTable.Slot<MOXNewErrorProc>(0)(message, component, id, a, b);
}
inline MOXErrorRef GetCoreError(int32_t code) {
  return gMOXErrorTable.Slot<MOXGetCoreErrorProc>(1)(code);
}
inline MOXErrorRef AddRef(MOXErrorRef error) {
  return gMOXErrorTable.Slot<MOXErrorAddRefProcV2>(2)(error);
}
inline void Release(MOXErrorRef error) {
  gMOXErrorTable.Slot<MOXErrorReleaseProc>(3)(error);
}
inline MOXStringAtom GetErrorMessage(MOXErrorRef error) {
  return gMOXErrorTable.Slot<MOXErrorGetMessageProc>(4)(error);
}
inline MOXStringAtom GetComponent(MOXErrorRef error) {
  return gMOXErrorTable.Slot<MOXErrorGetComponentProc>(5)(error);
}
inline int64_t GetID(MOXErrorRef error) {
  return gMOXErrorTable.Slot<MOXErrorGetIDProc>(6)(error);
}
}  // namespace MOXErrorProcs

namespace MOXContainerProcs {
inline MOXErrorRef NewFullContainer(MOXContainer* out, void* instance, MOXStringAtom instanceName,
                                    MOXReleaseProc destroy, MOXStringAtom interfaceName) {
  return gMOXContainerTable.Slot<MOXNewFullContainerV5Proc>(0)(out, instance, instanceName, destroy,
                                                               interfaceName, 0, 0, 0);
}
inline MOXErrorRef NewContainer(MOXContainer* out, uintptr_t a, uintptr_t b, uintptr_t c,
                                uintptr_t d, uintptr_t e) {
  return gMOXContainerTable.Slot<MOXNewContainerV2Proc>(1)(out, a, b, c, d, e);
}
inline uint32_t AddRef(MOXContainer container) {
  return gMOXContainerTable.Slot<MOXAddRefContainerV2Proc>(3)(container);
}
inline void Release(MOXContainer container) {
  gMOXContainerTable.Slot<MOXReleaseContainerProc>(4)(container);
}
inline void DecrementWithoutDelete(MOXContainer container) {
  gMOXContainerTable.Slot<MOXDecrementWithoutDeleteProc>(5)(container);
}
inline void DeleteUnownedContainer(MOXContainer container) {
  gMOXContainerTable.Slot<MOXDeleteUnownedContainerProc>(6)(container);
}
inline MOXErrorRef GetMethod(void** out, MOXContainer container, MOXStringAtom method,
                             MOXStringAtom procType, bool mustExist) {
  return gMOXContainerTable.Slot<MOXGetMethodV3Proc>(9)(out, container, method, procType,
                                                        mustExist);
}
inline MOXErrorRef NGetInstance(void** out, MOXContainer container, MOXStringAtom name) {
  return gMOXContainerTable.Slot<MOXNGetInstanceProc>(12)(out, container, name);
}
inline int64_t GetOffsetToPrimaryInstance() {
  return gMOXContainerTable.Slot<MOXGetOffsetToPrimaryInstProc>(15)();
}
}  // namespace MOXContainerProcs

#endif  // MOXUTILS_BINDING_HOST_TABLES_H_
