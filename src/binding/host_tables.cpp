#include "binding/host_tables.h"

#include "binding/errors.h"

MOXLookupProc gHostLookupProc = nullptr;
MOXRegisterProcAddressProc gMOXRegisterProcAddress = nullptr;
MOXReportErrorProc gMOXReportError = nullptr;
MOXUnregisterInterfaceProc gMOXUnregisterInterface = nullptr;
MOXGetUnregisterCountAddrProc gMOXGetUnregisterCountAddr = nullptr;
MOXIsMultiThreadedProc gMOXIsMultiThreaded = nullptr;
uint64_t* gUnregisterCountAddr = nullptr;
bool gBindingComplete = false;
int64_t gOffsetToPrimaryInstance = 0;
uint32_t gStaticMarker = 0;

void* MOXLookupMethod(const char* interfaceName, const char* methodName, const char* procTypeName) {
  MOXLookupProc lookup = gHostLookupProc;
  if (lookup == nullptr) return nullptr;
  void* procedure = lookup(interfaceName, methodName, procTypeName);
  if (procedure == nullptr && gBindingComplete) MOXThrowNewError("", "MOX", 0, 0, 0);
  return procedure;
}

void MOXReportErrorText(const char* message) {
  MOXReportErrorProc report = gMOXReportError;
  if (report != nullptr) report(message);
}

bool MOXLoadInterfaceTable(const MOXMethodRow* rows, size_t count, const char* interfaceName,
                           void** slots, bool /*flag*/) {
  // From the last row to the first: slot 0 is written last, so a table whose
  // slot 0 is set was loaded to the end.
  for (size_t i = count; i-- > 0;) {
    void* procedure = MOXLookupMethod(interfaceName, rows[i].method, rows[i].procType);
    __atomic_store_n(&slots[i], procedure, __ATOMIC_RELAXED);
    if (procedure == nullptr) return false;
  }
  return true;
}

void** MOXInterfaceTable::Reload() {
  uint64_t counter = MOXReadUnregisterCount();
  if (counter == Stamp()) return fSlots;
  if (MOXLoadInterfaceTable(fRows, fCount, fInterfaceName, fSlots)) {
    __atomic_store_n(&fStamp, counter, __ATOMIC_RELAXED);
    return fSlots;
  }
  if (fOnDemand) SetSlot(0, nullptr);
  return nullptr;
}

void MOXInterfaceTable::Clear() {
  for (size_t i = 0; i < fCount; ++i) SetSlot(i, nullptr);
  __atomic_store_n(&fStamp, uint64_t{0}, __ATOMIC_RELAXED);
}

// ---- The four core interfaces ------------------------------------------------

namespace {
void* gContainerSlots[MOXContainerSlots::kMethodCount];
void* gErrorSlots[MOXErrorSlots::kMethodCount];
void* gStringSlots[MOXStringSlots::kMethodCount];
void* gMemorySlots[MOXMemorySlots::kMethodCount];
}  // namespace

TMOXInterfaceTable<MOXContainerSlots::Slot> gMOXContainerTable(MOX_CONTAINER_INTERFACE_NAME,
                                                               gContainerSlots, false);
TMOXInterfaceTable<MOXErrorSlots::Slot> gMOXErrorTable(MOX_ERROR_INTERFACE_NAME, gErrorSlots,
                                                       false);
TMOXInterfaceTable<MOXStringSlots::Slot> gMOXStringTable(MOX_STRING_INTERFACE_NAME, gStringSlots,
                                                         false);
TMOXInterfaceTable<MOXMemorySlots::Slot> gMOXMemoryTable(MOX_MEMORY_INTERFACE_NAME, gMemorySlots,
                                                         false);

void* MOXMemory::AllocOrThrow(uint64_t size) {
  void* block = Alloc(size);
  if (block == nullptr) MOXThrowBadAlloc();
  return block;
}

void* MOXMemory::ReallocOrThrow(void* block, uint64_t size) {
  void* grown = Realloc(block, size);
  if (grown == nullptr) MOXThrowBadAlloc();
  return grown;
}
