// The validator objects. A StructValidator walks a value against one named
// type of its schema and gathers one line per fault. The walk is spread over
// struct_validator.cpp (CheckType and the callback step), check_scalars.cpp
// (names, categories, scalar limits) and check_containers.cpp (arrays,
// dictionaries, unions and intersections).
//
// Like the streamer, the validator is a client of the object model: it reads
// schemas and values and makes its lines through the registered interfaces
// and the CPOS... handles, except that a dictionary's members and a type
// name's atom are read in place (own_objects.h).
//
// Threads: a validator does not change during a walk, so any number of
// threads may Validate with one validator at once, each call with its own
// error list. RegisterCallback must run alone.
#ifndef MOXUTILS_VALIDATOR_STRUCT_VALIDATOR_H_
#define MOXUTILS_VALIDATOR_STRUCT_VALIDATOR_H_

#include <cstdint>

#include "MOXTypes.h"
#include "POSValidatorProcs.h"
#include "binding/client_base.h"
#include "binding/string_holder.h"
#include "binding/utils_names.h"
#include "pos/pos_client.h"
#include "pos/pos_object.h"
#include "validator/callback_map.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSArray;
using MOX_T_MT::CPOSDict;
using MOX_T_MT::CPOSObject;
using MOX_T_MT::CPOSString;

// The instance behind every validator handle, in the runtime's memory.
class BaseValidator : public MOX_T_MT::CMOXClientBase {
 public:
  virtual ~BaseValidator() = default;
  // True when `value` satisfies `typeName`. The lines of a failure go to
  // `errorProc` (may be null) after the walk; exceptions leave to the caller.
  virtual bool Validate(const CPOSObject& value, const CMOXStringHolder& typeName,
                        POSValidatorErrorProc errorProc) const = 0;

  // The validator behind `container`: null for a container with no instance
  // under "POSValidatorImpl", and for one whose instance there is not a
  // validator (a directory object). Reads the instance's tag word before
  // anything else of it. What the runtime raises for a null or dead handle
  // passes through.
  static BaseValidator* Find(MOXContainer container);

 protected:
  BaseValidator() = default;

 private:
  // Right after the vtable pointer, where Find reads it as bytes, never by
  // name (utils_names.h).
  [[maybe_unused]] uintptr_t fInstanceTag = kMOXValidatorInstanceTag;
};

// The keywords of the schema language, one atom each, made in this order when
// a validator is built, so that a walk compares names by pointer and looks
// keys up without making atoms. X(member, text).
#define MOX_VALIDATOR_KEYWORDS(X)      \
  X(fAny, "any")                       \
  X(fBool, "bool")                     \
  X(fInt, "int")                       \
  X(fReal, "real")                     \
  X(fString, "string")                 \
  X(fUnicodeString, "unicodestring")   \
  X(fBinData, "bindata")               \
  X(fMOXErrorObjRef, "moxerrorobjref") \
  X(fCTBaseObjRef, "ctbaseobjref")     \
  X(fMOXObjRef, "moxobjref")           \
  X(fRawPtr, "rawptr")                 \
  X(fCategory, "category")             \
  X(fCustom, "custom")                 \
  X(fDict, "dict")                     \
  X(fArray, "array")                   \
  X(fUnion, "union")                   \
  X(fIntersection, "intersection")     \
  X(fTrue, "true")                     \
  X(fFalse, "false")                   \
  X(fSet, "set")                       \
  X(fRequired, "required")             \
  X(fOptional, "optional")             \
  X(fMin, "min")                       \
  X(fMinExcl, "minexcl")               \
  X(fMax, "max")                       \
  X(fMaxExcl, "maxexcl")               \
  X(fMinLen, "minlen")                 \
  X(fMaxLen, "maxlen")                 \
  X(fIllegalChars, "illegalchars")     \
  X(fOneOf, "oneof")                   \
  X(fMemberType, "membertype")         \
  X(fValueType, "valuetype")           \
  X(fKeyType, "keytype")

// What CheckBuiltinType found.
enum BuiltinResult : int32_t { kNotBuiltin = 0, kBuiltinValid = 1, kBuiltinInvalid = 2 };

class StructValidator : public BaseValidator {
 public:
  // Holds `schema` (counted, not copied; may be empty) and makes the keyword
  // atoms. With `validateSchema` the schema must pass the meta-schema first,
  // or TOVException "Schema is not valid" is raised; both makers of
  // validators pass false and take the schema on trust.
  StructValidator(const CPOSDict& schema, bool validateSchema);
  ~StructValidator() override = default;
  StructValidator(const StructValidator&) = delete;
  StructValidator& operator=(const StructValidator&) = delete;

  // The validator behind `container`: null for a null handle or an instance
  // of another kind, a directory object included. FromContainer raises "instance was not an
  // StructValidator" instead.
  static StructValidator* TryFromContainer(MOXContainer container);
  static StructValidator* FromContainer(MOXContainer container);

  // Makes a new error list, walks, and on failure hands the lines to
  // `errorProc`, or to DebugDump when there is none.
  bool Validate(const CPOSObject& value, const CMOXStringHolder& typeName,
                POSValidatorErrorProc errorProc) const override;

  // Registers `proc` as the check of `typeName`, replacing an earlier one.
  // Must not run beside any other call on this validator.
  void RegisterCallback(const CMOXStringHolder& typeName, POSStructValidatorCallbackProc proc,
                        void* clientData);

  // The walk. Each returns the number of errors (never negative), appending
  // one line per fault to `errors` and none when it returns 0; a schema
  // fault raises instead. A container category gathers its children's lines
  // in the same list and puts its prefixes before them there.
  //
  // CheckType: built-in names first, then the schema's definition, then the
  // callback of the name if the structure passed. Every recursion of the walk
  // goes through it, and it refuses to go deeper when the thread's stack runs
  // short.
  int32_t CheckType(const CPOSDict& schema, const CMOXStringHolder& typeName,
                    const CPOSObject& value, const CPOSArray& errors) const;
  // The eleven built-in names, with no schema. `typeName` is an interned
  // text, compared by its pointer.
  BuiltinResult CheckBuiltinType(const char* typeName, const CPOSObject& value,
                                 const CPOSArray& errors) const;
  // The definition of `typeName` in `schema`, by its category.
  int32_t CheckDefinedType(const CPOSDict& schema, const CMOXStringHolder& typeName,
                           const CPOSObject& value, const CPOSArray& errors) const;

  // For tests: the registered callbacks, and the list that every validator
  // keeps and no call uses.
  const CallbackMap& Callbacks() const { return fCallbacks; }
  const CPOSArray& KeptErrors() const { return fErrors; }

 private:
  // The parts of CheckDefinedType, each with the definition in hand.
  int32_t CheckNumberLimits(const CPOSDict& definition, const CPOSObject& value,
                            const CPOSArray& errors) const;
  int32_t CheckStringLimits(const CPOSDict& definition, const CPOSObject& value,
                            const CPOSArray& errors) const;
  int32_t CheckUnicodeStringLimits(const CPOSDict& definition, const CPOSObject& value,
                                   const CPOSArray& errors) const;
  int32_t CheckBinDataLimits(const CPOSDict& definition, const CPOSObject& value,
                             const CPOSArray& errors) const;
  int32_t CheckArray(const CPOSDict& schema, const CPOSDict& definition, const CPOSObject& value,
                     const CPOSArray& errors) const;
  int32_t CheckDict(const CPOSDict& schema, const CPOSDict& definition, const CPOSObject& value,
                    const CPOSArray& errors) const;
  int32_t CheckUnion(const CPOSDict& schema, const CPOSDict& definition, const CPOSObject& value,
                     const CPOSArray& errors) const;
  int32_t CheckIntersection(const CPOSDict& schema, const CPOSDict& definition,
                            const CPOSObject& value, const CPOSArray& errors) const;
  // The last word of a registered callback on a name whose walk passed.
  int32_t CheckCallback(const CMOXStringHolder& typeName, const CPOSObject& value,
                        const CPOSArray& errors, int32_t count) const;
  // Appends a line of fixed text.
  static void AppendLine(const CPOSArray& errors, const char* text);

  // Kept from construction to destruction and never read: every call
  // gathers its lines in a list of its own.
  CPOSArray fErrors;
  CallbackMap fCallbacks;
  CPOSDict fSchema;
  // The keyword atoms; released in reverse order, from "keytype" to "any".
#define MOX_VALIDATOR_KEYWORD_MEMBER(member, text) CMOXStringHolder member;
  MOX_VALIDATOR_KEYWORDS(MOX_VALIDATOR_KEYWORD_MEMBER)
#undef MOX_VALIDATOR_KEYWORD_MEMBER
};

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_STRUCT_VALIDATOR_H_
