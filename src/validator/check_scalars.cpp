// The built-in names, the dispatch on a definition's category, and the limits
// of the scalar categories.
#include <cstring>

#include "binding/errors.h"
#include "validator/error_text.h"
#include "validator/number_rules.h"
#include "validator/own_objects.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSBinData;
using MOX_T_MT::CPOSNumber;
using MOX_T_MT::CPOSRawPointer;
using MOX_T_MT::CPOSUnicodeString;

BuiltinResult StructValidator::CheckBuiltinType(const char* name, const CPOSObject& value,
                                                const CPOSArray& errors) const {
  using NPOSObjectImpl::ObjectClass;
  // Checks one class; the line when the value is of another.
  auto expect = [&](bool isOfClass, const char* line) {
    if (isOfClass) return kBuiltinValid;
    AppendLine(errors, line);
    return kBuiltinInvalid;
  };
  if (name == fAny.CString()) return kBuiltinValid;  // the value is not even looked at
  // The value's class and contents, from the object itself when it is one of
  // ours, else from the interfaces.
  const NPOSObjectImpl::BaseObject* const own = OwnObjectAtOnce(value);
  auto isOf = [&](ObjectClass objectClass, bool (*isThroughInterface)(const CPOSObject&)) {
    return own != nullptr ? own->Class() == objectClass : isThroughInterface(value);
  };
  // False when the value is no Number.
  auto numberOf = [&](double* number) {
    if (own != nullptr) {
      if (own->Class() != ObjectClass::kNumber) return false;
      *number = static_cast<const NPOSObjectImpl::Number*>(own)->Value();
      return true;
    }
    CPOSNumber handle(value, /*quiet=*/true);
    if (handle.IsEmpty()) return false;
    *number = handle.Get();
    return true;
  };
  // The interned text of a String value, or null. The value keeps it alive.
  auto textOf = [&]() -> const char* {
    if (own != nullptr) {
      return own->Class() == ObjectClass::kString
                 ? static_cast<const NPOSObjectImpl::String*>(own)->Text()
                 : nullptr;
    }
    CPOSString handle(value, /*quiet=*/true);
    return handle.IsEmpty() ? nullptr : handle.Get();
  };
  double number = 0;
  if (name == fBool.CString()) {
    if (numberOf(&number)) {
      return expect(number == 0.0 || number == 1.0, "BOOL was a number unequal to zero or one");
    }
    // Case-sensitive: the String's interned text is one of the two
    // keywords' own.
    if (const char* const word = textOf()) {
      return expect(word == fTrue.CString() || word == fFalse.CString(),
                    "BOOL was not a valid string (true/false)");
    }
    return expect(false, "Expected BOOL was of invalid type");
  }
  if (name == fInt.CString()) {
    if (!numberOf(&number)) return expect(false, "Expected INT was of invalid type");
    return expect(static_cast<double>(TruncateToInt32(number)) == number,
                  "INT was not a whole number");
  }
  if (name == fReal.CString()) {
    return expect(isOf(ObjectClass::kNumber, &CPOSNumber::Is), "Expected REAL was of invalid type");
  }
  if (name == fString.CString()) {
    return expect(isOf(ObjectClass::kString, &CPOSString::Is),
                  "Expected STRING was of invalid type");
  }
  if (name == fUnicodeString.CString()) {
    return expect(isOf(ObjectClass::kUnicodeString, &CPOSUnicodeString::Is),
                  "Expected UNICODESTRING was of invalid type");
  }
  if (name == fBinData.CString()) {
    return expect(isOf(ObjectClass::kBinData, &CPOSBinData::Is),
                  "Expected BINDATA was of invalid type");
  }
  if (name == fRawPtr.CString()) {
    return expect(isOf(ObjectClass::kRawPointer, &CPOSRawPointer::Is),
                  "Expected RAWPTR was of invalid type");
  }
  // The three reference words accept any raw pointer, as "rawptr" does; only
  // the message differs.
  if (name == fMOXObjRef.CString() || name == fCTBaseObjRef.CString() ||
      name == fMOXErrorObjRef.CString()) {
    return expect(isOf(ObjectClass::kRawPointer, &CPOSRawPointer::Is),
                  "Expected OBJREF was of invalid type");
  }
  return kNotBuiltin;
}

int32_t StructValidator::CheckDefinedType(const CPOSDict& schema, const CMOXStringHolder& typeName,
                                          const CPOSObject& value, const CPOSArray& errors) const {
  // A name the schema doesn't define is a fault of the value's claim, not of
  // the schema: one line, and the walk goes on.
  // An empty schema is asked through its interface, which reports the empty
  // handle before the miss.
  CPOSDict definition(
      schema.IsEmpty() ? schema.Get(typeName, /*quiet=*/true) : OwnGet(schema, typeName),
      /*quiet=*/true);
  if (definition.IsEmpty()) {
    errors.Append(
        FormatIntoPOSString("Schema not applicable, no definition for %s", typeName.CString()));
    return 1;
  }
  CPOSString categoryText(OwnGet(definition, fCategory), /*quiet=*/true);
  if (categoryText.IsEmpty()) {
    CPOSString message =
        FormatIntoPOSString("Malformed schema definition for %s, no category", typeName.CString());
    throw TOVFormattedException(CMOXStringHolder(message.Get()));
  }
  // A String's text is interned: it is the keyword's own text when the
  // words are equal.
  const char* const word = categoryText.Get();

  const bool number = word == fInt.CString() || word == fReal.CString();
  const bool scalar = number || word == fString.CString() || word == fUnicodeString.CString() ||
                      word == fBinData.CString() || word == fRawPtr.CString() ||
                      word == fMOXObjRef.CString() || word == fCTBaseObjRef.CString() ||
                      word == fMOXErrorObjRef.CString();
  if (scalar) {
    // The class first: limits are never tested on a value of another class.
    if (CheckBuiltinType(word, value, errors) != kBuiltinValid) return 1;
    if (number) return CheckNumberLimits(definition, value, errors);
    if (word == fString.CString()) return CheckStringLimits(definition, value, errors);
    if (word == fUnicodeString.CString())
      return CheckUnicodeStringLimits(definition, value, errors);
    if (word == fBinData.CString()) return CheckBinDataLimits(definition, value, errors);
    return 0;
  }
  if (word == fArray.CString()) return CheckArray(schema, definition, value, errors);
  if (word == fDict.CString()) return CheckDict(schema, definition, value, errors);
  if (word == fUnion.CString()) return CheckUnion(schema, definition, value, errors);
  if (word == fIntersection.CString()) return CheckIntersection(schema, definition, value, errors);
  // "any", "bool" and "custom" included: they are names, not categories.
  throw TOVException("Unknown category in schema");
}

// A limit of a definition: a Number under `key`, or none when the key is
// absent or holds another class.
namespace {
CPOSNumber Limit(const CPOSDict& definition, const CMOXStringHolder& key) {
  return CPOSNumber(OwnGet(definition, key), /*quiet=*/true);
}

// The two length limits shared by strings, Unicode strings and binary data,
// compared as doubles; each failure appends its line.
int32_t CheckLengthLimits(const CPOSNumber& minimum, const CPOSNumber& maximum, double length,
                          const CPOSArray& errors, const char* belowFormat,
                          const char* aboveFormat) {
  int32_t count = 0;
  if (!minimum.IsEmpty() && minimum.Get() > length) {
    errors.Append(FormatIntoPOSString(belowFormat, TruncateToInt32(minimum.Get())));
    ++count;
  }
  if (!maximum.IsEmpty() && length > maximum.Get()) {
    errors.Append(FormatIntoPOSString(aboveFormat, TruncateToInt32(maximum.Get())));
    ++count;
  }
  return count;
}

// True when `text` equals a member of `choices`, read from the first on up
// to the first match. A member that is not a String raises its downcast text.
bool IsOneOf(const MOX_T_MT::CPOSArray& choices, const char* text) {
  for (uint32_t i = 0; i < choices.Count(); ++i) {
    if (std::strcmp(CPOSString(choices.GetAt(i)).Get(), text) == 0) return true;
  }
  return false;
}
}  // namespace

int32_t StructValidator::CheckNumberLimits(const CPOSDict& definition, const CPOSObject& value,
                                           const CPOSArray& errors) const {
  const double v = CPOSNumber(value).Get();
  int32_t count = 0;
  // Each limit prints rounded to single precision; a NaN on either side
  // passes, as every comparison with it is false.
  auto check = [&](const CMOXStringHolder& key, bool (*fails)(double limit, double v),
                   const char* format) {
    CPOSNumber limit = Limit(definition, key);
    if (limit.IsEmpty() || !fails(limit.Get(), v)) return;
    errors.Append(FormatIntoPOSString(format, AsSinglePrecision(limit.Get())));
    ++count;
  };
  check(
      fMin, [](double limit, double v) { return limit > v; }, "Number below mininum value %f");
  check(
      fMax, [](double limit, double v) { return v > limit; }, "Number above maximum value %f");
  check(
      fMinExcl, [](double limit, double v) { return limit >= v; },
      "Number below mininum value %f (exclusive)");
  check(
      fMaxExcl, [](double limit, double v) { return v >= limit; },
      "Number above maximum value %f (exclusive)");
  return count;
}

int32_t StructValidator::CheckStringLimits(const CPOSDict& definition, const CPOSObject& value,
                                           const CPOSArray& errors) const {
  const char* const text = CPOSString(value).Get();
  const size_t length = std::strlen(text);
  int32_t count = CheckLengthLimits(
      Limit(definition, fMinLen), Limit(definition, fMaxLen), static_cast<double>(length), errors,
      "String length below mininum value %d", "String length above maximum value %d");
  CPOSString illegal(OwnGet(definition, fIllegalChars), /*quiet=*/true);
  if (!illegal.IsEmpty() && std::strcspn(text, illegal.Get()) != length) {
    // The message names the forbidden set, not the value.
    errors.Append(FormatIntoPOSString("String contains illegal characters in '%s'", illegal.Get()));
    ++count;
  }
  MOX_T_MT::CPOSArray choices(OwnGet(definition, fOneOf), /*quiet=*/true);
  if (!choices.IsEmpty() && !IsOneOf(choices, text)) {
    AppendLine(errors, "String is not one of the enumerated values");
    ++count;
  }
  return count;
}

int32_t StructValidator::CheckUnicodeStringLimits(const CPOSDict& definition,
                                                  const CPOSObject& value,
                                                  const CPOSArray& errors) const {
  // 16-bit units before the first zero; a surrogate pair counts two.
  const uint16_t* units = CPOSUnicodeString(value).Get();
  uint32_t length = 0;
  while (units[length] != 0) ++length;
  return CheckLengthLimits(Limit(definition, fMinLen), Limit(definition, fMaxLen),
                           static_cast<double>(length), errors,
                           "Unicode String length below mininum value %d",
                           "Unicode String length above maximum value %d");
}

int32_t StructValidator::CheckBinDataLimits(const CPOSDict& definition, const CPOSObject& value,
                                            const CPOSArray& errors) const {
  CPOSBinData block(value);
  // The length messages are those of strings, deliberately.
  int32_t count = CheckLengthLimits(
      Limit(definition, fMinLen), Limit(definition, fMaxLen), static_cast<double>(block.GetSize()),
      errors, "String length below mininum value %d", "String length above maximum value %d");
  // The enumeration names the block's type, never its contents.
  MOX_T_MT::CPOSArray choices(OwnGet(definition, fOneOf), /*quiet=*/true);
  if (!choices.IsEmpty() && !IsOneOf(choices, block.GetTypeName())) {
    AppendLine(errors, "TypeName is not one of the enumerated values");
    ++count;
  }
  return count;
}

}  // namespace NPOSValidatorImpl
