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

void** MOXInterfaceTable::Get() {
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

const MOXMethodRow kContainerRows[] = {
    MOX_CLIENT_ROW("NewFullContainer", MOXNewFullContainerV5Proc),
    MOX_CLIENT_ROW("NewContainer", MOXNewContainerV2Proc),
    MOX_CLIENT_ROW("CloneContainer", MOXCloneContainerProc),
    MOX_CLIENT_ROW("AddRef", MOXAddRefContainerV2Proc),
    MOX_CLIENT_ROW("Release", MOXReleaseContainerProc),
    MOX_CLIENT_ROW("DecrementWithoutDelete", MOXDecrementWithoutDeleteProc),
    MOX_CLIENT_ROW("DeleteUnownedContainer", MOXDeleteUnownedContainerProc),
    MOX_CLIENT_ROW("RegisterInterface", MOXRegisterInterfaceV2Proc),
    MOX_CLIENT_ROW("RegisterInstance", MOXRegisterInstanceV2Proc),
    MOX_CLIENT_ROW("GetMethod", MOXGetMethodV3Proc),
    MOX_CLIENT_ROW("GetParentMethod", MOXGetParentMethodV2Proc),
    MOX_CLIENT_ROW("GetInstance", MOXGetInstanceProc),
    MOX_CLIENT_ROW("NGetInstance", MOXNGetInstanceProc),
    MOX_CLIENT_ROW("GetSignature", MOXGetSignatureProc),
    MOX_CLIENT_ROW("DebugGetRefCountAddr", MOXGetRefCountAddrProc),
    MOX_CLIENT_ROW("GetOffsetToPrimaryInstance", MOXGetOffsetToPrimaryInstProc),
    MOX_CLIENT_END_ROW,
};

const MOXMethodRow kErrorRows[] = {
    MOX_CLIENT_ROW("NewError", MOXNewErrorProc),
    MOX_CLIENT_ROW("GetCoreError", MOXGetCoreErrorProc),
    MOX_CLIENT_ROW("AddRef", MOXErrorAddRefProcV2),
    MOX_CLIENT_ROW("Release", MOXErrorReleaseProc),
    MOX_CLIENT_ROW("GetErrorMessage", MOXErrorGetMessageProc),
    MOX_CLIENT_ROW("GetComponent", MOXErrorGetComponentProc),
    MOX_CLIENT_ROW("GetID", MOXErrorGetIDProc),
    MOX_CLIENT_ROW("GetErrorInfo", MOXGetErrorInfoProc),
    MOX_CLIENT_END_ROW,
};

const MOXMethodRow kStringRows[] = {
    MOX_CLIENT_ROW("NewStringAtom", MOXNewStringAtomProc),
    MOX_CLIENT_ROW("DeleteStringAtom", MOXDeleteStringAtomProc),
    MOX_CLIENT_ROW("GetCString", MOXGetCStringProc),
    MOX_CLIENT_ROW("AddRef", MOXAddRefStringAtomProc),
    MOX_CLIENT_END_ROW,
};

const MOXMethodRow kMemoryRows[] = {
    MOX_CLIENT_ROW("Alloc", MOXMemAllocProc),
    MOX_CLIENT_ROW("Realloc", MOXMemReallocProc),
    MOX_CLIENT_ROW("Free", MOXMemFreeProc),
    MOX_CLIENT_ROW("GetBlockSize", MOXMemGetBlockSizeProc),
    MOX_CLIENT_END_ROW,
};

void* gContainerSlots[16];
void* gErrorSlots[8];
void* gStringSlots[4];
void* gMemorySlots[4];

}  // namespace

MOXInterfaceTable gMOXContainerTable("MOXContainerInterface", kContainerRows,
                                     MOXRowCount(kContainerRows), gContainerSlots, false);
MOXInterfaceTable gMOXErrorTable("MOXErrorInterface", kErrorRows, MOXRowCount(kErrorRows),
                                 gErrorSlots, false);
MOXInterfaceTable gMOXStringTable("MOXStringInterface", kStringRows, MOXRowCount(kStringRows),
                                  gStringSlots, false);
MOXInterfaceTable gMOXMemoryTable("MOXMemoryInterface", kMemoryRows, MOXRowCount(kMemoryRows),
                                  gMemorySlots, false);

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
