#include "pos/pos_client.h"

#include "binding/errors.h"
#include "pos/pos_client_tables.h"

namespace MOX_T_MT {

namespace {

void* gStaticsSlots[POSObjectStaticsSlots::kMethodCount];
void* gNumberSlots[POSNumberSlots::kMethodCount];
void* gStringSlots[POSStringSlots::kMethodCount];
void* gUnicodeStringSlots[POSUnicodeStringSlots::kMethodCount];
void* gBinDataSlots[POSBinDataSlots::kMethodCount];
void* gRawPointerSlots[POSRawPointerSlots::kMethodCount];
void* gArraySlots[POSArraySlots::kMethodCount];
void* gDictSlots[POSDictSlots::kMethodCount];
void* gDictIteratorSlots[POSDictIteratorSlots::kMethodCount];

// Loaded on first use and again whenever the runtime has unregistered
// something; a failed load leaves slot 0 clear, so the table reads as absent.
TMOXInterfaceTable<POSObjectStaticsSlots::Slot> gStaticsTable(POS_OBJECT_STATICS_NAME,
                                                              gStaticsSlots, true);
TMOXInterfaceTable<POSNumberSlots::Slot> gNumberTable(POS_NUMBER_INTERFACE_NAME, gNumberSlots,
                                                      true);
TMOXInterfaceTable<POSStringSlots::Slot> gStringTable(POS_STRING_INTERFACE_NAME, gStringSlots,
                                                      true);
TMOXInterfaceTable<POSUnicodeStringSlots::Slot> gUnicodeStringTable(
    POS_UNICODE_STRING_INTERFACE_NAME, gUnicodeStringSlots, true);
TMOXInterfaceTable<POSBinDataSlots::Slot> gBinDataTable(POS_BIN_DATA_INTERFACE_NAME, gBinDataSlots,
                                                        true);
TMOXInterfaceTable<POSRawPointerSlots::Slot> gRawPointerTable(POS_RAW_POINTER_INTERFACE_NAME,
                                                              gRawPointerSlots, true);
TMOXInterfaceTable<POSArraySlots::Slot> gArrayTable(POS_ARRAY_INTERFACE_NAME, gArraySlots, true);
TMOXInterfaceTable<POSDictSlots::Slot> gDictTable(POS_DICT_INTERFACE_NAME, gDictSlots, true);
TMOXInterfaceTable<POSDictIteratorSlots::Slot> gDictIteratorTable(POS_DICT_ITERATOR_INTERFACE_NAME,
                                                                  gDictIteratorSlots, true);

// The conversion of every typed class: `target` already holds a copy of the
// object; it stays only if the class's test (`kIs`, its IsPOS... slot) says
// yes.
template <auto kIs>
void CheckClass(CPOSObject& target, TPOSClientTable<decltype(kIs)>& client, bool quiet,
                const char* failure) {
  void** slots = client.Refresh();
  if (slots != nullptr && MOXProcAt<kIs>(slots)(target.Container())) return;
  if (!quiet) throw POSException(failure);
  target.Reset();
}

template <auto kIs>
bool IsOfClass(const CPOSObject& object, TPOSClientTable<decltype(kIs)>& client) {
  void** slots = client.Refresh();
  return slots != nullptr && MOXProcAt<kIs>(slots)(object.Container());
}

// Wraps what a New method returned; a null handle (the method failed and
// reported) raises "invalid container".
template <class Typed>
Typed WrapNew(MOXContainer fresh) {
  Typed typed;
  static_cast<CPOSObject&>(typed) = CPOSObject(fresh);
  return typed;
}

// The New method of a class (`kNew`, its NewPOS... slot), or null when the
// interface is not there.
template <auto kNew, typename... Args>
MOXContainer CallNew(TPOSClientTable<decltype(kNew)>& client, Args... args) {
  void** slots = client.Refresh();
  if (slots == nullptr) return nullptr;
  return MOXProcAt<kNew>(slots)(args...);
}

constexpr char kDictGetFailed[] = "CPOSDict::Get failed";
// What every DeepGet miss raises, whatever the step that missed.
constexpr char kSubscriptFailed[] = "CPOSArray::GetAt subscript failed";

}  // namespace

TPOSClientTable<POSObjectStaticsSlots::Slot> gPOSObjectStaticsClient(&gStaticsTable);
TPOSClientTable<POSNumberSlots::Slot> gPOSNumberClient(&gNumberTable);
TPOSClientTable<POSStringSlots::Slot> gPOSStringClient(&gStringTable);
TPOSClientTable<POSUnicodeStringSlots::Slot> gPOSUnicodeStringClient(&gUnicodeStringTable);
TPOSClientTable<POSBinDataSlots::Slot> gPOSBinDataClient(&gBinDataTable);
TPOSClientTable<POSRawPointerSlots::Slot> gPOSRawPointerClient(&gRawPointerTable);
TPOSClientTable<POSArraySlots::Slot> gPOSArrayClient(&gArrayTable);
TPOSClientTable<POSDictSlots::Slot> gPOSDictClient(&gDictTable);
TPOSClientTable<POSDictIteratorSlots::Slot> gPOSDictIteratorClient(&gDictIteratorTable);

// ---- Statics -------------------------------------------------------------------

CPOSObject CPOSObjectStatics::CreateFromText(const char* text, const char** position) {
  void** slots = gPOSObjectStaticsClient.Refresh();
  if (slots == nullptr) return CPOSObject();
  MOXContainer object = MOXProcAt<POSObjectStaticsSlots::CreateFromText>(slots)(text, position);
  if (object == nullptr) return CPOSObject();
  return CPOSObject(object);
}

bool CPOSObjectStatics::DebugDump(const CPOSObject& object) {
  void** slots = gPOSObjectStaticsClient.Refresh();
  if (slots == nullptr) return false;
  MOXProcAt<POSObjectStaticsSlots::DebugDump>(slots)(object.Container());
  return true;
}

// ---- Scalars -------------------------------------------------------------------

CPOSNumber::CPOSNumber(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSNumberSlots::IsPOSNumber>(*this, gPOSNumberClient, quiet,
                                          "downcast from CPOSObject to CPOSNumber failed");
}
CPOSNumber CPOSNumber::New(double value) {
  return WrapNew<CPOSNumber>(CallNew<POSNumberSlots::NewPOSNumber>(gPOSNumberClient, value));
}
bool CPOSNumber::Is(const CPOSObject& object) {
  return IsOfClass<POSNumberSlots::IsPOSNumber>(object, gPOSNumberClient);
}
double CPOSNumber::Get() const {
  return gPOSNumberClient.Proc<POSNumberSlots::Get>()(Container());
}

CPOSString::CPOSString(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSStringSlots::IsPOSString>(*this, gPOSStringClient, quiet,
                                          "downcast from CPOSObject to CPOSString failed");
}
CPOSString CPOSString::New(const char* text) {
  return WrapNew<CPOSString>(CallNew<POSStringSlots::NewPOSString>(gPOSStringClient, text));
}
bool CPOSString::Is(const CPOSObject& object) {
  return IsOfClass<POSStringSlots::IsPOSString>(object, gPOSStringClient);
}
const char* CPOSString::Get() const {
  return gPOSStringClient.Proc<POSStringSlots::Get>()(Container());
}

CPOSUnicodeString::CPOSUnicodeString(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSUnicodeStringSlots::IsPOSUnicodeString>(
      *this, gPOSUnicodeStringClient, quiet,
      "downcast from CPOSObject to CPOSUnicodeString failed");
}
CPOSUnicodeString CPOSUnicodeString::New(const uint16_t* units) {
  return WrapNew<CPOSUnicodeString>(
      CallNew<POSUnicodeStringSlots::NewPOSUnicodeString>(gPOSUnicodeStringClient, units));
}
bool CPOSUnicodeString::Is(const CPOSObject& object) {
  return IsOfClass<POSUnicodeStringSlots::IsPOSUnicodeString>(object, gPOSUnicodeStringClient);
}
const uint16_t* CPOSUnicodeString::Get() const {
  return gPOSUnicodeStringClient.Proc<POSUnicodeStringSlots::Get>()(Container());
}

CPOSBinData::CPOSBinData(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSBinDataSlots::IsPOSBinData>(*this, gPOSBinDataClient, quiet,
                                            "downcast from CPOSObject to CPOSBinData failed");
}
CPOSBinData CPOSBinData::New(const char* typeName, const void* data, uint64_t size) {
  return WrapNew<CPOSBinData>(
      CallNew<POSBinDataSlots::NewPOSBinData>(gPOSBinDataClient, typeName, data, size));
}
bool CPOSBinData::Is(const CPOSObject& object) {
  return IsOfClass<POSBinDataSlots::IsPOSBinData>(object, gPOSBinDataClient);
}
const char* CPOSBinData::GetTypeName() const {
  return gPOSBinDataClient.Proc<POSBinDataSlots::GetTypeName>()(Container());
}
const void* CPOSBinData::GetBinData() const {
  return gPOSBinDataClient.Proc<POSBinDataSlots::GetBinData>()(Container());
}
uint64_t CPOSBinData::GetSize() const {
  return gPOSBinDataClient.Proc<POSBinDataSlots::GetSize>()(Container());
}

CPOSRawPointer::CPOSRawPointer(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSRawPointerSlots::IsPOSRawPointer>(
      *this, gPOSRawPointerClient, quiet, "downcast from CPOSObject to CPOSRawPointer failed");
}
CPOSRawPointer CPOSRawPointer::New(void* pointer, MOXReleaseProc release) {
  return WrapNew<CPOSRawPointer>(
      CallNew<POSRawPointerSlots::NewPOSRawPointer>(gPOSRawPointerClient, pointer, release));
}
bool CPOSRawPointer::Is(const CPOSObject& object) {
  return IsOfClass<POSRawPointerSlots::IsPOSRawPointer>(object, gPOSRawPointerClient);
}
void* CPOSRawPointer::GetRawPointer() const {
  return gPOSRawPointerClient.Proc<POSRawPointerSlots::GetRawPointer>()(Container());
}

CPOSMOXObjRef::CPOSMOXObjRef(const CPOSObject& object, bool quiet) : CPOSRawPointer(object, quiet) {
  if (!quiet && IsEmpty()) throw POSException("downcast from CPOSObject to CPOSMOXObjRef failed");
}

// ---- Arrays --------------------------------------------------------------------

CPOSArray::CPOSArray(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSArraySlots::IsPOSArray>(*this, gPOSArrayClient, quiet,
                                        "downcast from CPOSObject to CPOSArray failed");
}
CPOSArray CPOSArray::New() {
  return WrapNew<CPOSArray>(CallNew<POSArraySlots::NewPOSArray>(gPOSArrayClient));
}
bool CPOSArray::Is(const CPOSObject& object) {
  return IsOfClass<POSArraySlots::IsPOSArray>(object, gPOSArrayClient);
}

CPOSObject CPOSArray::GetAt(uint64_t index) const {
  MOXContainer member = gPOSArrayClient.Proc<POSArraySlots::GetAt>()(Container(), index);
  if (member == nullptr) throw POSException(kSubscriptFailed);
  return CPOSObject(member);
}
uint32_t CPOSArray::Count() const {
  return gPOSArrayClient.Proc<POSArraySlots::Count>()(Container());
}
void CPOSArray::Append(const CPOSObject& value) const {
  gPOSArrayClient.Proc<POSArraySlots::Append>()(Container(), value.Container());
}
void CPOSArray::SetAt(uint64_t index, const CPOSObject& value) const {
  gPOSArrayClient.Proc<POSArraySlots::SetAt>()(Container(), index, value.Container());
}
void CPOSArray::Remove(uint64_t index) const {
  gPOSArrayClient.Proc<POSArraySlots::Remove>()(Container(), index);
}

// ---- Dictionaries ----------------------------------------------------------------

CPOSDict::CPOSDict(const CPOSObject& object, bool quiet) : CPOSObject(object) {
  CheckClass<POSDictSlots::IsPOSDict>(*this, gPOSDictClient, quiet,
                                      "downcast from CPOSObject to CPOSDict failed");
}
CPOSDict CPOSDict::New() {
  return WrapNew<CPOSDict>(CallNew<POSDictSlots::NewPOSDict>(gPOSDictClient));
}
bool CPOSDict::Is(const CPOSObject& object) {
  return IsOfClass<POSDictSlots::IsPOSDict>(object, gPOSDictClient);
}

bool CPOSDict::Has(const char* key) const {
  CMOXStringHolder atom(key);
  return gPOSDictClient.Proc<POSDictSlots::Get>()(Container(), atom.Atom()) != nullptr;
}
bool CPOSDict::HasDeep(const char* address) const {
  CMOXStringHolder atom(address);
  return gPOSDictClient.Proc<POSDictSlots::DeepGet>()(Container(), atom.Atom()) != nullptr;
}
void CPOSDict::Put(const char* key, const CPOSObject& value) const {
  Put(CMOXStringHolder(key), value);
}
void CPOSDict::Put(const CMOXStringHolder& key, const CPOSObject& value) const {
  gPOSDictClient.Proc<POSDictSlots::Put>()(Container(), key.Atom(), value.Container());
}
void CPOSDict::Remove(const char* key) const {
  CMOXStringHolder atom(key);
  gPOSDictClient.Proc<POSDictSlots::Remove>()(Container(), atom.Atom());
}
CPOSObject CPOSDict::Get(const char* key, bool quiet) const {
  return Get(CMOXStringHolder(key), quiet);
}
CPOSObject CPOSDict::Get(const CMOXStringHolder& key, bool quiet) const {
  MOXContainer value = gPOSDictClient.Proc<POSDictSlots::Get>()(Container(), key.Atom());
  if (value != nullptr) return CPOSObject(value);
  if (!quiet) throw POSException(kDictGetFailed);
  return CPOSObject();
}
CPOSObject CPOSDict::DeepGet(const char* address, bool quiet) const {
  CMOXStringHolder atom(address);
  MOXContainer value = gPOSDictClient.Proc<POSDictSlots::DeepGet>()(Container(), atom.Atom());
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
  return MOXProcAt<POSDictIteratorSlots::NewPOSDictIterator>(slots)(dict);
}
}  // namespace

CPOSDictIterator::CPOSDictIterator(const CPOSDict& dict)
    : CMOXContainerRef(NewIterator(dict.Container())) {}

void CPOSDictIterator::Begin() const {
  gPOSDictIteratorClient.Proc<POSDictIteratorSlots::Begin>()(Container());
}
void CPOSDictIterator::Next() const {
  gPOSDictIteratorClient.Proc<POSDictIteratorSlots::Next>()(Container());
}
bool CPOSDictIterator::IsDone() const {
  return gPOSDictIteratorClient.Proc<POSDictIteratorSlots::IsDone>()(Container());
}
const char* CPOSDictIterator::CurKey() const {
  return gPOSDictIteratorClient.Proc<POSDictIteratorSlots::CurKey>()(Container());
}

}  // namespace MOX_T_MT
