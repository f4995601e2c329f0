#include "pos/unicode_bindata_rawpointer.h"

#include <cstring>

#include "binding/host_tables.h"
#include "binding/host_wrappers.h"

namespace NPOSObjectImpl {

// ---- UnicodeString ---------------------------------------------------------------

namespace {
uint64_t UnitsWithTerminator(const uint16_t* units) {
  if (units == nullptr) throw POSException(kNullArgument);
  uint64_t length = 0;
  while (units[length] != 0) ++length;
  return length + 1;
}
}  // namespace

UnicodeString::UnicodeString(const uint16_t* units)
    : fUnits(nullptr), fLength(UnitsWithTerminator(units)) {
  fUnits = static_cast<uint16_t*>(MOXMemory::AllocOrThrow(fLength * sizeof(uint16_t)));
  std::memcpy(fUnits, units, fLength * sizeof(uint16_t));
}

UnicodeString::~UnicodeString() {
  if (fUnits != nullptr) MOXMemory::Free(fUnits);
}

// ---- BinData ---------------------------------------------------------------------

namespace {
const char* CheckedTypeName(const char* typeName) {
  if (typeName == nullptr) throw POSException(kNullArgument);
  return typeName;
}
}  // namespace

BinData::BinData(const char* typeName, const void* data, uint64_t size)
    : fTypeName(CheckedTypeName(typeName)), fBuffer(nullptr), fData(nullptr), fSize(0) {
  if (data == nullptr && size != 0) throw POSException(kNullArgument);
  // A zeroed buffer of the runtime, which then receives the caller's bytes:
  // the object hands out its own copy from now on.
  fBuffer = MOXNewSharedBuffer(size, nullptr, nullptr, 0, 0);
  fData = MOXSharedBuffProcs::GetBuffer(fBuffer);
  fSize = size;
  if (size != 0) std::memcpy(fData, data, size);
}

BinData::~BinData() {
  // Release is a no-op slot after process exit; the type name goes with its
  // holder.
  if (fBuffer != nullptr) MOXSharedBuffProcs::Release(fBuffer);
}

// ---- RawPointer ------------------------------------------------------------------

RawPointer::~RawPointer() {
  if (fReleaseProc != nullptr) fReleaseProc(fPointer);
}

}  // namespace NPOSObjectImpl
