#include "validator/schema_check.h"

#include <cstdio>
#include <cstring>
#include <exception>

#include "binding/errors.h"
#include "binding/host_wrappers.h"
#include "pos/pos_client_tables.h"
#include "validator/meta_schema.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSDictIterator;
using MOX_T_MT::CPOSNumber;
using MOX_T_MT::POSException;

namespace {

// The names that resolve before any schema lookup, in the order they are
// tried.
const char* const kBuiltinNames[] = {
    "any",     "bool",   "int",       "real",         "string",         "unicodestring",
    "bindata", "rawptr", "moxobjref", "ctbaseobjref", "moxerrorobjref",
};

// The meta-schema as a fresh object. An empty object when the statics
// interface isn't there; "CreateFromText failed" when the text didn't parse.
CPOSObject ParseMetaSchema() {
  void** slots = MOX_T_MT::gPOSObjectStaticsClient.Refresh();
  if (slots == nullptr) return CPOSObject();
  MOXContainer meta =
      MOXProcAt<MOX_T_MT::POSObjectStaticsSlots::CreateFromText>(slots)(MetaSchemaText, nullptr);
  if (meta == nullptr) throw POSException("CreateFromText failed");
  return CPOSObject(meta);
}

// One reference of the callback's text buffer, for the span of a write.
class HeldBuffer {
 public:
  explicit HeldBuffer(MOXSharedBuff buffer) : fBuffer(buffer) {
    MOXSharedBuffProcs::AddRef(buffer);
  }
  ~HeldBuffer() { MOXSharedBuffProcs::Release(fBuffer); }
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;

  char* Text() const { return static_cast<char*>(MOXSharedBuffProcs::GetBuffer(fBuffer)); }
  uint64_t Size() const { return MOXSharedBuffProcs::GetSize(fBuffer); }

 private:
  MOXSharedBuff fBuffer;
};

// Writes `prefix` and `detail` when both fit with their terminator, else
// leaves the buffer's text empty.
void WriteCaught(MOXSharedBuff buffer, const char* prefix, const char* detail) {
  if (buffer == nullptr) return;
  HeldBuffer held(buffer);
  const uint64_t size = held.Size();
  if (std::strlen(prefix) + std::strlen(detail) < size) {
    std::snprintf(held.Text(), size, "%s%s", prefix, detail);
  } else if (size != 0) {
    held.Text()[0] = 0;
  }
}

}  // namespace

uint32_t TypeNameExists(MOXContainer value, MOXStringAtom /*typeName*/, MOXSharedBuff textBuffer,
                        void* clientData) {
  try {
    CPOSString name{CPOSObject(value)};
    const CMOXStringHolder atom(name.Get());
    const CPOSDict& names = *static_cast<const CPOSDict*>(clientData);
    if (!names.Get(atom, /*quiet=*/true).IsEmpty()) return 1;
    if (textBuffer == nullptr) return 0;
    HeldBuffer held(textBuffer);
    static const char kPrefix[] = "Cannot locate definition of type ";
    const uint64_t size = held.Size();
    if (std::strlen(kPrefix) + std::strlen(name.Get()) >= size) {
      throw TOVException("Error buffer too small");
    }
    std::snprintf(held.Text(), size, "%s%s", kPrefix, name.Get());
    return 0;
  } catch (const std::exception& e) {
    WriteCaught(textBuffer, "Caught exception: ", e.what());
  } catch (...) {
    // The text as it stands, trailing blank included.
    WriteCaught(textBuffer, "Caught unknown exception: ", "");
  }
  return 0;
}

bool ValidateSchemaAgainstMeta(const CPOSDict& schema, POSValidatorErrorProc errorProc) {
  CPOSDict meta(ParseMetaSchema());
  // Every name the schema may use: the built-in ones, then its own keys.
  CPOSDict names = CPOSDict::New();
  for (const char* builtin : kBuiltinNames) names.Put(builtin, CPOSNumber::New(1.0));
  // A new iterator stands on the first key already.
  for (CPOSDictIterator it(schema); !it.IsDone(); it.Next()) {
    names.Put(it.CurKey(), CPOSNumber::New(1.0));
  }
  StructValidator metaValidator(meta, /*validateSchema=*/false);
  metaValidator.RegisterCallback(CMOXStringHolder("TypeName"), &TypeNameExists, &names);
  return metaValidator.Validate(schema, CMOXStringHolder(POS_STRUCT_VALIDATOR_SCHEMA_TYPE),
                                errorProc);
}

}  // namespace NPOSValidatorImpl
