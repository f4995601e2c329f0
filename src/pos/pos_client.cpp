#include "pos/pos_client.h"

#include "binding/errors.h"
#include "pos/pos_client_tables.h"

namespace MOX_T_MT {

namespace {

constexpr MOXMethodRow kStaticsRows[] = {
    MOX_CLIENT_ROW("DebugDump", POSObjectDebugDumpProc),
    MOX_CLIENT_ROW("DebugDumpWithHeader", POSObjectDebugDumpWithHeaderProc),
    MOX_CLIENT_ROW("DebugDumpRewind", POSObjectDebugDumpRewindProc),
    MOX_CLIENT_ROW("CreateFromText", POSObjectCreateFromTextProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kNumberRows[] = {
    MOX_CLIENT_ROW("NewPOSNumber", POSNumberNewPOSNumberProc),
    MOX_CLIENT_ROW("IsPOSNumber", POSNumberIsPOSNumberProc),
    MOX_CLIENT_ROW("Get", POSNumberGetProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kStringRows[] = {
    MOX_CLIENT_ROW("NewPOSString", POSStringNewPOSStringProc),
    MOX_CLIENT_ROW("IsPOSString", POSStringIsPOSStringProc),
    MOX_CLIENT_ROW("Get", POSStringGetProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kUnicodeStringRows[] = {
    MOX_CLIENT_ROW("NewPOSUnicodeString", POSUnicodeStringNewPOSUnicodeStringProc),
    MOX_CLIENT_ROW("IsPOSUnicodeString", POSUnicodeStringIsPOSUnicodeStringProc),
    MOX_CLIENT_ROW("Get", POSUnicodeStringGetProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kBinDataRows[] = {
    MOX_CLIENT_ROW("NewPOSBinData", POSBinDataNewPOSBinDataProc),
    MOX_CLIENT_ROW("IsPOSBinData", POSBinDataIsPOSBinDataProc),
    MOX_CLIENT_ROW("GetTypeName", POSBinDataGetTypeNameProc),
    MOX_CLIENT_ROW("GetBinData", POSBinDataGetBinDataProc),
    MOX_CLIENT_ROW("GetSize", POSBinDataGetSizeProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kRawPointerRows[] = {
    MOX_CLIENT_ROW("NewPOSRawPointer", POSRawPointerNewPOSRawPointerProc),
    MOX_CLIENT_ROW("IsPOSRawPointer", POSRawPointerIsPOSRawPointerProc),
    MOX_CLIENT_ROW("GetRawPointer", POSRawPointerGetRawPointerProc),
    MOX_CLIENT_ROW("GetReleaseProc", POSRawPointerGetReleaseProcProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kArrayRows[] = {
    MOX_CLIENT_ROW("NewPOSArray", POSArrayNewPOSArrayProc),
    MOX_CLIENT_ROW("IsPOSArray", POSArrayIsPOSArrayProc),
    MOX_CLIENT_ROW("GetAt", POSArrayGetAtProc),
    MOX_CLIENT_ROW("Count", POSArrayCountProc),
    MOX_CLIENT_ROW("SetAt", POSArraySetAtProc),
    MOX_CLIENT_ROW("Append", POSArrayAppendProc),
    MOX_CLIENT_ROW("Remove", POSArrayRemoveProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kDictRows[] = {
    MOX_CLIENT_ROW("NewPOSDict", POSDictNewPOSDictProc),
    MOX_CLIENT_ROW("IsPOSDict", POSDictIsPOSDictProc),
    MOX_CLIENT_ROW("Get", POSDictGetProc),
    MOX_CLIENT_ROW("DeepGet", POSDictDeepGetProc),
    MOX_CLIENT_ROW("Put", POSDictPutProc),
    MOX_CLIENT_ROW("Remove", POSDictRemoveProc),
    MOX_CLIENT_END_ROW,
};
constexpr MOXMethodRow kDictIteratorRows[] = {
    MOX_CLIENT_ROW("NewPOSDictIterator", POSDictIteratorNewPOSDictIteratorProc),
    MOX_CLIENT_ROW("Begin", POSDictIteratorBeginProc),
    MOX_CLIENT_ROW("Next", POSDictIteratorNextProc),
    MOX_CLIENT_ROW("IsDone", POSDictIteratorIsDoneProc),
    MOX_CLIENT_ROW("CurKey", POSDictIteratorCurKeyProc),
    MOX_CLIENT_END_ROW,
};

template <size_t N>
constexpr size_t RowCount(const MOXMethodRow (&)[N]) {
  return N - 1;  // without the closing row
}
static_assert(RowCount(kStaticsRows) == kStaticsMethodCount, "statics rows");
static_assert(RowCount(kNumberRows) == kNumberMethodCount, "number rows");
static_assert(RowCount(kStringRows) == kStringMethodCount, "string rows");
static_assert(RowCount(kUnicodeStringRows) == kUnicodeStringMethodCount, "unicode rows");
static_assert(RowCount(kBinDataRows) == kBinDataMethodCount, "bindata rows");
static_assert(RowCount(kRawPointerRows) == kRawPointerMethodCount, "raw pointer rows");
static_assert(RowCount(kArrayRows) == kArrayMethodCount, "array rows");
static_assert(RowCount(kDictRows) == kDictMethodCount, "dict rows");
static_assert(RowCount(kDictIteratorRows) == kIteratorMethodCount, "iterator rows");

void* gStaticsSlots[kStaticsMethodCount];
void* gNumberSlots[kNumberMethodCount];
void* gStringSlots[kStringMethodCount];
void* gUnicodeStringSlots[kUnicodeStringMethodCount];
void* gBinDataSlots[kBinDataMethodCount];
void* gRawPointerSlots[kRawPointerMethodCount];
void* gArraySlots[kArrayMethodCount];
void* gDictSlots[kDictMethodCount];
void* gDictIteratorSlots[kIteratorMethodCount];

// Loaded on first use and again whenever the runtime has unregistered
// something; a failed load leaves slot 0 clear, so the table reads as absent.
MOXInterfaceTable gStaticsTable("POSObjectStatics", kStaticsRows, RowCount(kStaticsRows),
                                gStaticsSlots, true);
MOXInterfaceTable gNumberTable("POSNumberInterface", kNumberRows, RowCount(kNumberRows),
                               gNumberSlots, true);
MOXInterfaceTable gStringTable("POSStringInterface", kStringRows, RowCount(kStringRows),
                               gStringSlots, true);
MOXInterfaceTable gUnicodeStringTable("POSUnicodeStringInterface", kUnicodeStringRows,
                                      RowCount(kUnicodeStringRows), gUnicodeStringSlots, true);
MOXInterfaceTable gBinDataTable("POSBinDataInterface", kBinDataRows, RowCount(kBinDataRows),
                                gBinDataSlots, true);
MOXInterfaceTable gRawPointerTable("POSRawPointerInterface", kRawPointerRows,
                                   RowCount(kRawPointerRows), gRawPointerSlots, true);
MOXInterfaceTable gArrayTable("POSArrayInterface", kArrayRows, RowCount(kArrayRows), gArraySlots,
                              true);
MOXInterfaceTable gDictTable("POSDictInterface", kDictRows, RowCount(kDictRows), gDictSlots, true);
MOXInterfaceTable gDictIteratorTable("POSDictIteratorInterface", kDictIteratorRows,
                                     RowCount(kDictIteratorRows), gDictIteratorSlots, true);

using POSIsProc = bool (*)(MOXContainer);

// The conversion of every typed class: `target` already holds a copy of the
// object; it stays only if the class's test says yes.
void CheckClass(CPOSObject& target, CPOSClientTable& client, bool quiet, const char* failure) {
  void** slots = client.Refresh();
  if (slots != nullptr && MOXProcAt<POSIsProc>(slots, kIsSlot)(target.fContainer)) return;
  if (!quiet) throw POSException(failure);
  target.Reset();
}

bool IsOfClass(const CPOSObject& object, CPOSClientTable& client) {
  void** slots = client.Refresh();
  return slots != nullptr && MOXProcAt<POSIsProc>(slots, kIsSlot)(object.fContainer);
}

// Wraps what a New method returned; a null handle (the method failed and
// reported) raises "invalid container".
template <class Typed>
Typed Adopt(MOXContainer fresh) {
  Typed typed;
  static_cast<CPOSObject&>(typed) = CPOSObject(fresh);
  return typed;
}

// The New method of a class, or null when the interface is not there.
template <typename Proc, typename... Args>
MOXContainer CallNew(CPOSClientTable& client, Args... args) {
  void** slots = client.Refresh();
  if (slots == nullptr) return nullptr;
  return MOXProcAt<Proc>(slots, kNewSlot)(args...);
}

constexpr char kDictGetFailed[] = "CPOSDict::Get failed";
// What every DeepGet miss raises, whatever the step that missed.
constexpr char kSubscriptFailed[] = "CPOSArray::GetAt subscript failed";

}  // namespace

CPOSClientTable gPOSObjectStaticsClient(&gStaticsTable);
CPOSClientTable gPOSNumberClient(&gNumberTable);
CPOSClientTable gPOSStringClient(&gStringTable);
CPOSClientTable gPOSUnicodeStringClient(&gUnicodeStringTable);
CPOSClientTable gPOSBinDataClient(&gBinDataTable);
CPOSClientTable gPOSRawPointerClient(&gRawPointerTable);
CPOSClientTable gPOSArrayClient(&gArrayTable);
CPOSClientTable gPOSDictClient(&gDictTable);
CPOSClientTable gPOSDictIteratorClient(&gDictIteratorTable);

void** CPOSClientTable::Refresh() {
  void** slots = fTable->Get();
  __atomic_store_n(&fSlots, slots, __ATOMIC_RELAXED);
  return slots;
}

// ---- Statics -------------------------------------------------------------------

CPOSObject CPOSObjectStatics::CreateFromText(const char* text, const char** position) {
  void** slots = gPOSObjectStaticsClient.Refresh();
  if (slots == nullptr) return CPOSObject();
  MOXContainer object =
      MOXProcAt<POSObjectCreateFromTextProc>(slots, kStaticsCreateFromText)(text, position);
  if (object == nullptr) return CPOSObject();
  return CPOSObject(object);
}

bool CPOSObjectStatics::DebugDump(const CPOSObject& object) {
  void** slots = gPOSObjectStaticsClient.Refresh();
  if (slots == nullptr) return false;
  MOXProcAt<POSObjectDebugDumpProc>(slots, kStaticsDebugDump)(object.fContainer);
  return true;
}

// ---- Scalars -------------------------------------------------------------------

CPOSNumber::CPOSNumber(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSNumberClient, quiet, "downcast from CPOSObject to CPOSNumber failed");
}
CPOSNumber CPOSNumber::New(double value) {
  return Adopt<CPOSNumber>(CallNew<POSNumberNewPOSNumberProc>(gPOSNumberClient, value));
}
bool CPOSNumber::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSNumberClient);
}
double CPOSNumber::Get() const {
  return gPOSNumberClient.Slot<POSNumberGetProc>(kNumberGet)(fContainer);
}

CPOSString::CPOSString(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSStringClient, quiet, "downcast from CPOSObject to CPOSString failed");
}
CPOSString CPOSString::New(const char* text) {
  return Adopt<CPOSString>(CallNew<POSStringNewPOSStringProc>(gPOSStringClient, text));
}
bool CPOSString::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSStringClient);
}
const char* CPOSString::Get() const {
  return gPOSStringClient.Slot<POSStringGetProc>(kStringGet)(fContainer);
}

CPOSUnicodeString::CPOSUnicodeString(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSUnicodeStringClient, quiet,
             "downcast from CPOSObject to CPOSUnicodeString failed");
}
CPOSUnicodeString CPOSUnicodeString::New(const uint16_t* units) {
  return Adopt<CPOSUnicodeString>(
      CallNew<POSUnicodeStringNewPOSUnicodeStringProc>(gPOSUnicodeStringClient, units));
}
bool CPOSUnicodeString::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSUnicodeStringClient);
}
const uint16_t* CPOSUnicodeString::Get() const {
  return gPOSUnicodeStringClient.Slot<POSUnicodeStringGetProc>(kUnicodeStringGet)(fContainer);
}

CPOSBinData::CPOSBinData(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSBinDataClient, quiet, "downcast from CPOSObject to CPOSBinData failed");
}
CPOSBinData CPOSBinData::New(const char* typeName, const void* data, uint64_t size) {
  return Adopt<CPOSBinData>(
      CallNew<POSBinDataNewPOSBinDataProc>(gPOSBinDataClient, typeName, data, size));
}
bool CPOSBinData::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSBinDataClient);
}
const char* CPOSBinData::GetTypeName() const {
  return gPOSBinDataClient.Slot<POSBinDataGetTypeNameProc>(kBinDataGetTypeName)(fContainer);
}
const void* CPOSBinData::GetBinData() const {
  return gPOSBinDataClient.Slot<POSBinDataGetBinDataProc>(kBinDataGetBinData)(fContainer);
}
uint64_t CPOSBinData::GetSize() const {
  return gPOSBinDataClient.Slot<POSBinDataGetSizeProc>(kBinDataGetSize)(fContainer);
}

CPOSRawPointer::CPOSRawPointer(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSRawPointerClient, quiet,
             "downcast from CPOSObject to CPOSRawPointer failed");
}
CPOSRawPointer CPOSRawPointer::New(void* pointer, MOXReleaseProc release) {
  return Adopt<CPOSRawPointer>(
      CallNew<POSRawPointerNewPOSRawPointerProc>(gPOSRawPointerClient, pointer, release));
}
bool CPOSRawPointer::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSRawPointerClient);
}
void* CPOSRawPointer::GetRawPointer() const {
  return gPOSRawPointerClient.Slot<POSRawPointerGetRawPointerProc>(kRawPointerGetRawPointer)(
      fContainer);
}

CPOSMOXObjRef::CPOSMOXObjRef(const CPOSObject& object, bool quiet) : CPOSRawPointer(object, quiet) {
  if (!quiet && IsEmpty()) throw POSException("downcast from CPOSObject to CPOSMOXObjRef failed");
}

// ---- Arrays --------------------------------------------------------------------

CPOSArray::CPOSArray(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSArrayClient, quiet, "downcast from CPOSObject to CPOSArray failed");
}
CPOSArray CPOSArray::New() {
  return Adopt<CPOSArray>(CallNew<POSArrayNewPOSArrayProc>(gPOSArrayClient));
}
bool CPOSArray::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSArrayClient);
}

CPOSObject CPOSArray::GetAt(uint64_t index) const {
  MOXContainer member = gPOSArrayClient.Slot<POSArrayGetAtProc>(kArrayGetAt)(fContainer, index);
  if (member == nullptr) throw POSException(kSubscriptFailed);
  return CPOSObject(member);
}
uint32_t CPOSArray::Count() const {
  return gPOSArrayClient.Slot<POSArrayCountProc>(kArrayCount)(fContainer);
}
void CPOSArray::Append(const CPOSObject& value) const {
  gPOSArrayClient.Slot<POSArrayAppendProc>(kArrayAppend)(fContainer, value.fContainer);
}

// ---- Dictionaries ----------------------------------------------------------------

CPOSDict::CPOSDict(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass(*this, gPOSDictClient, quiet, "downcast from CPOSObject to CPOSDict failed");
}
CPOSDict CPOSDict::New() {
  return Adopt<CPOSDict>(CallNew<POSDictNewPOSDictProc>(gPOSDictClient));
}
bool CPOSDict::Is(const CPOSObject& object) {
  return IsOfClass(object, gPOSDictClient);
}

bool CPOSDict::Has(const char* key) const {
  CMOXStringHolder atom(key);
  return gPOSDictClient.Slot<POSDictGetProc>(kDictGet)(fContainer, atom.fAtom) != nullptr;
}
bool CPOSDict::HasDeep(const char* address) const {
  CMOXStringHolder atom(address);
  return gPOSDictClient.Slot<POSDictDeepGetProc>(kDictDeepGet)(fContainer, atom.fAtom) != nullptr;
}
void CPOSDict::Put(const char* key, const CPOSObject& value) const {
  Put(CMOXStringHolder(key), value);
}
void CPOSDict::Put(const CMOXStringHolder& key, const CPOSObject& value) const {
  gPOSDictClient.Slot<POSDictPutProc>(kDictPut)(fContainer, key.fAtom, value.fContainer);
}
void CPOSDict::Remove(const char* key) const {
  CMOXStringHolder atom(key);
  gPOSDictClient.Slot<POSDictRemoveProc>(kDictRemove)(fContainer, atom.fAtom);
}
CPOSObject CPOSDict::Get(const char* key, bool quiet) const {
  return Get(CMOXStringHolder(key), quiet);
}
CPOSObject CPOSDict::Get(const CMOXStringHolder& key, bool quiet) const {
  MOXContainer value = gPOSDictClient.Slot<POSDictGetProc>(kDictGet)(fContainer, key.fAtom);
  if (value != nullptr) return CPOSObject(value);
  if (!quiet) throw POSException(kDictGetFailed);
  return CPOSObject();
}
CPOSObject CPOSDict::DeepGet(const char* address, bool quiet) const {
  CMOXStringHolder atom(address);
  MOXContainer value =
      gPOSDictClient.Slot<POSDictDeepGetProc>(kDictDeepGet)(fContainer, atom.fAtom);
  if (value != nullptr) return CPOSObject(value);
  if (!quiet) throw POSException(kSubscriptFailed);
  return CPOSObject();
}
uint32_t CPOSDict::Count() const {
  uint32_t count = 0;
  CPOSDictIterator iterator(*this);
  for (iterator.Begin(); !iterator.IsDone(); iterator.Next()) ++count;
  return count;
}

#define POS_DICT_ACCESSOR(Name, Typed, Lookup)              \
  Typed CPOSDict::Name(const char* key, bool quiet) const { \
    return Typed(Lookup(key, quiet), quiet);                \
  }
POS_DICT_ACCESSOR(GetNumber, CPOSNumber, Get)
POS_DICT_ACCESSOR(GetString, CPOSString, Get)
POS_DICT_ACCESSOR(GetArray, CPOSArray, Get)
POS_DICT_ACCESSOR(GetDict, CPOSDict, Get)
POS_DICT_ACCESSOR(GetBinData, CPOSBinData, Get)
POS_DICT_ACCESSOR(GetRawPointer, CPOSRawPointer, Get)
POS_DICT_ACCESSOR(GetMOXObjRef, CPOSMOXObjRef, Get)
POS_DICT_ACCESSOR(DeepGetNumber, CPOSNumber, DeepGet)
POS_DICT_ACCESSOR(DeepGetString, CPOSString, DeepGet)
POS_DICT_ACCESSOR(DeepGetArray, CPOSArray, DeepGet)
POS_DICT_ACCESSOR(DeepGetDict, CPOSDict, DeepGet)
POS_DICT_ACCESSOR(DeepGetBinData, CPOSBinData, DeepGet)
POS_DICT_ACCESSOR(DeepGetRawPointer, CPOSRawPointer, DeepGet)
POS_DICT_ACCESSOR(DeepGetMOXObjRef, CPOSMOXObjRef, DeepGet)
#undef POS_DICT_ACCESSOR

// ---- Iterators -------------------------------------------------------------------

namespace {
MOXContainer NewIterator(MOXContainer dict) {
  void** slots = gPOSDictIteratorClient.Refresh();
  if (slots == nullptr) return nullptr;
  return MOXProcAt<POSDictIteratorNewPOSDictIteratorProc>(slots, kIteratorNew)(dict);
}
}  // namespace

CPOSDictIterator::CPOSDictIterator(const CPOSDict& dict)
    : CMOXContainerRef(NewIterator(dict.fContainer)) {}

void CPOSDictIterator::Begin() const {
  gPOSDictIteratorClient.Slot<POSDictIteratorBeginProc>(kIteratorBegin)(fContainer);
}
void CPOSDictIterator::Next() const {
  gPOSDictIteratorClient.Slot<POSDictIteratorNextProc>(kIteratorNext)(fContainer);
}
bool CPOSDictIterator::IsDone() const {
  return gPOSDictIteratorClient.Slot<POSDictIteratorIsDoneProc>(kIteratorIsDone)(fContainer);
}
const char* CPOSDictIterator::CurKey() const {
  return gPOSDictIteratorClient.Slot<POSDictIteratorCurKeyProc>(kIteratorCurKey)(fContainer);
}

}  // namespace MOX_T_MT
