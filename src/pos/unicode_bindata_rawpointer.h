// The three further value classes: UnicodeString (16-bit units), BinData (a
// named block of bytes in a shared buffer) and RawPointer (a pointer the
// object model carries without understanding it, with an optional release
// procedure). All three are immutable, so a clone is the object itself; in
// particular a RawPointer is never duplicated and its release procedure runs
// once, when the object dies.
#ifndef MOXUTILS_POS_UNICODE_BINDATA_RAWPOINTER_H_
#define MOXUTILS_POS_UNICODE_BINDATA_RAWPOINTER_H_

#include <cstdint>

#include "MOXTypes.h"
#include "binding/string_holder.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

// A private copy of zero-terminated 16-bit units, stored as they come: no
// surrogate pairs are interpreted and nothing is normalised.
class UnicodeString final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSUnicodeString";
  static constexpr ObjectClass kClass = ObjectClass::kUnicodeString;

  // Copies `units` up to and including the first zero unit.
  explicit UnicodeString(const uint16_t* units);
  ~UnicodeString() override;

  BaseObject* Clone() override;
  // Same length and the same units, the terminator included.
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  const uint16_t* Units() const { return fUnits; }
  // Units in the block, the terminator included: 1 for the empty text.
  uint64_t Length() const { return fLength; }

 private:
  uint16_t* fUnits;
  uint64_t fLength;
};

// Bytes copied once, at creation, into a shared buffer of the runtime, under a
// type name that the library gives no meaning.
class BinData final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSBinData";
  static constexpr ObjectClass kClass = ObjectClass::kBinData;

  // "Missing Interface" without the runtime's shared buffers.
  BinData(const char* typeName, const void* data, uint64_t size);
  ~BinData() override;

  BaseObject* Clone() override;
  // Same type name, same size, same bytes.
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  const char* TypeName() const { return fTypeName.CString(); }
  const void* Data() const { return fData; }
  uint64_t Size() const { return fSize; }

 private:
  CMOXStringHolder fTypeName;
  MOXSharedBuff fBuffer;
  void* fData;
  uint64_t fSize;
};

class RawPointer final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSRawPointer";
  static constexpr ObjectClass kClass = ObjectClass::kRawPointer;

  RawPointer(void* pointer, MOXReleaseProc releaseProc)
      : fPointer(pointer), fReleaseProc(releaseProc) {}
  // Calls the release procedure with the pointer, if there is one.
  ~RawPointer() override;

  BaseObject* Clone() override;
  // Any two raw pointers are equal: neither the pointer nor the release
  // procedure is compared.
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  void* Pointer() const { return fPointer; }
  MOXReleaseProc ReleaseProc() const { return fReleaseProc; }

 private:
  void* const fPointer;
  const MOXReleaseProc fReleaseProc;
};

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_UNICODE_BINDATA_RAWPOINTER_H_
