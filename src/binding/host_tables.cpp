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
    {"NewFullContainer", "MOXNewFullContainerV5Proc"},
    {"NewContainer", "MOXNewContainerV2Proc"},
    {"CloneContainer", "MOXCloneContainerProc"},
    {"AddRef", "MOXAddRefContainerV2Proc"},
    {"Release", "MOXReleaseContainerProc"},
    {"DecrementWithoutDelete", "MOXDecrementWithoutDeleteProc"},
    {"DeleteUnownedContainer", "MOXDeleteUnownedContainerProc"},
    {"RegisterInterface", "MOXRegisterInterfaceV2Proc"},
    {"RegisterInstance", "MOXRegisterInstanceV2Proc"},
    {"GetMethod", "MOXGetMethodV3Proc"},
    {"GetParentMethod", "MOXGetParentMethodV2Proc"},
    {"GetInstance", "MOXGetInstanceProc"},
    {"NGetInstance", "MOXNGetInstanceProc"},
    {"GetSignature", "MOXGetSignatureProc"},
    {"DebugGetRefCountAddr", "MOXGetRefCountAddrProc"},
    {"GetOffsetToPrimaryInstance", "MOXGetOffsetToPrimaryInstProc"},
    {"", ""},
};

const MOXMethodRow kErrorRows[] = {
    {"NewError", "MOXNewErrorProc"},
    {"GetCoreError", "MOXGetCoreErrorProc"},
    {"AddRef", "MOXErrorAddRefProcV2"},
    {"Release", "MOXErrorReleaseProc"},
    {"GetErrorMessage", "MOXErrorGetMessageProc"},
    {"GetComponent", "MOXErrorGetComponentProc"},
    {"GetID", "MOXErrorGetIDProc"},
    {"GetErrorInfo", "MOXGetErrorInfoProc"},
    {"", ""},
};

const MOXMethodRow kStringRows[] = {
    {"NewStringAtom", "MOXNewStringAtomProc"},
    {"DeleteStringAtom", "MOXDeleteStringAtomProc"},
    {"GetCString", "MOXGetCStringProc"},
    {"AddRef", "MOXAddRefStringAtomProc"},
    {"", ""},
};

const MOXMethodRow kMemoryRows[] = {
    {"Alloc", "MOXMemAllocProc"},
    {"Realloc", "MOXMemReallocProc"},
    {"Free", "MOXMemFreeProc"},
    {"GetBlockSize", "MOXMemGetBlockSizeProc"},
    {"", ""},
};

constexpr size_t kRowCount(size_t withClosingRow) {
  return withClosingRow - 1;
}

void* gContainerSlots[16];
void* gErrorSlots[8];
void* gStringSlots[4];
void* gMemorySlots[4];

}  // namespace

MOXInterfaceTable gMOXContainerTable("MOXContainerInterface", kContainerRows,
                                     kRowCount(sizeof kContainerRows / sizeof kContainerRows[0]),
                                     gContainerSlots, false);
MOXInterfaceTable gMOXErrorTable("MOXErrorInterface", kErrorRows,
                                 kRowCount(sizeof kErrorRows / sizeof kErrorRows[0]), gErrorSlots,
                                 false);
MOXInterfaceTable gMOXStringTable("MOXStringInterface", kStringRows,
                                  kRowCount(sizeof kStringRows / sizeof kStringRows[0]),
                                  gStringSlots, false);
MOXInterfaceTable gMOXMemoryTable("MOXMemoryInterface", kMemoryRows,
                                  kRowCount(sizeof kMemoryRows / sizeof kMemoryRows[0]),
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
