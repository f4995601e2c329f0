// The container categories: each judges parts of the value, or the whole
// value again, through CheckType with a fresh error list, and copies that
// list's lines up under a prefix that says where they came from.
#include "binding/errors.h"
#include "validator/error_text.h"
#include "validator/number_rules.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSDictIterator;
using MOX_T_MT::CPOSNumber;

int32_t StructValidator::CheckArray(const CPOSDict& schema, const CPOSDict& definition,
                                    const CPOSObject& value, const CPOSArray& errors) const {
  CPOSArray array(value, /*quiet=*/true);
  if (array.IsEmpty()) {
    AppendLine(errors, "Array object expected");
    return 1;
  }
  const int32_t n = static_cast<int32_t>(array.Count());
  int32_t count = 0;
  // The length limits don't stop the member checks.
  CPOSNumber minimum(definition.Get(fMinLen, /*quiet=*/true), /*quiet=*/true);
  if (!minimum.IsEmpty() && minimum.Get() > static_cast<double>(n)) {
    errors.Append(
        FormatIntoPOSString("Array length below mininum value %d", TruncateToInt32(minimum.Get())));
    count = 1;
  }
  CPOSNumber maximum(definition.Get(fMaxLen, /*quiet=*/true), /*quiet=*/true);
  if (!maximum.IsEmpty() && static_cast<double>(n) > maximum.Get()) {
    // Unlike its twin, this message has no number in it.
    AppendLine(errors, "Array length above maximum value");
    ++count;
  }

  // Member i against the type named by `memberType`, its lines under "[i]:".
  auto checkMember = [&](int32_t i, const CPOSString& memberType) {
    CPOSArray fresh = CPOSArray::New();
    CPOSObject member = array.GetAt(static_cast<uint64_t>(i));
    const int32_t result = CheckType(schema, CMOXStringHolder(memberType.Get()), member, fresh);
    if (result != 0) {
      PrefixErrors(errors, fresh, FormatIntoPOSString("[%d]:", i));
      count += result;
    }
  };
  CPOSObject memberTypes = definition.Get(fMemberType, /*quiet=*/true);
  CPOSString homogeneous(memberTypes, /*quiet=*/true);
  if (!homogeneous.IsEmpty()) {
    for (int32_t i = 0; i < n; ++i) checkMember(i, homogeneous);
    return count;
  }
  CPOSArray heterogeneous(memberTypes, /*quiet=*/true);
  if (!heterogeneous.IsEmpty()) {
    if (static_cast<int32_t>(heterogeneous.Count()) != n) {
      AppendLine(errors, "Heterogenous array object size did not match type array size");
      return count + 1;
    }
    for (int32_t i = 0; i < n; ++i) {
      checkMember(i, CPOSString(heterogeneous.GetAt(static_cast<uint64_t>(i))));
    }
  }
  // Without a "membertype" any members will do.
  return count;
}

int32_t StructValidator::CheckDict(const CPOSDict& schema, const CPOSDict& definition,
                                   const CPOSObject& value, const CPOSArray& errors) const {
  CPOSDict dict(value, /*quiet=*/true);
  if (dict.IsEmpty()) {
    AppendLine(errors, "Dict object expected");
    return 1;
  }
  int32_t count = 0;
  CPOSDict required(definition.Get(fRequired, /*quiet=*/true), /*quiet=*/true);
  if (!required.IsEmpty()) {
    for (CPOSDictIterator it(required); !it.IsDone(); it.Next()) {
      const char* key = it.CurKey();
      if (dict.Has(key)) continue;
      errors.Append(FormatIntoPOSString("Missing required member %s", key));
      ++count;
    }
  }
  // A member missing: no member is examined at all.
  if (count > 0) return count;

  CPOSString keyType(definition.Get(fKeyType, /*quiet=*/true), /*quiet=*/true);
  CPOSString valueType(definition.Get(fValueType, /*quiet=*/true), /*quiet=*/true);
  // One check of one member against `type`; its lines under `prefixFormat`.
  auto check = [&](const char* prefixFormat, const char* key, const char* type,
                   const CPOSObject& checked) {
    CPOSArray fresh = CPOSArray::New();
    const int32_t result = CheckType(schema, CMOXStringHolder(type), checked, fresh);
    if (result > 0) {
      PrefixErrors(errors, fresh, FormatIntoPOSString(prefixFormat, key, type));
      count += result;
    }
  };
  // The type that "required" or "optional" names for `key`, or an empty
  // handle. Looked up anew for each key.
  auto namedIn = [&](const CMOXStringHolder& list, const CMOXStringHolder& key) {
    CPOSDict members(definition.Get(list, /*quiet=*/true), /*quiet=*/true);
    if (members.IsEmpty()) return CPOSString();
    return CPOSString(members.Get(key, /*quiet=*/true), /*quiet=*/true);
  };

  // The steps don't exclude each other: a member may be checked by several,
  // and each failure gives its own lines. Only "keytype", "required" and
  // "optional" make a member known.
  for (CPOSDictIterator it(dict); !it.IsDone(); it.Next()) {
    // The key's own atom keeps its text for the whole step and serves the
    // lookups below.
    const CMOXStringHolder key(it.CurKey());
    const CPOSObject member = dict.Get(key);
    bool seen = false;
    if (!keyType.IsEmpty()) {
      check("%s (key, type != %s):", key.CString(), keyType.Get(), CPOSString::New(key.CString()));
      seen = true;
    }
    if (!valueType.IsEmpty()) {
      check("%s (value, type != %s):", key.CString(), valueType.Get(), member);
    }
    CPOSString requiredType = namedIn(fRequired, key);
    if (!requiredType.IsEmpty()) {
      check("%s (required, type != %s):", key.CString(), requiredType.Get(), member);
      seen = true;
    }
    CPOSString optionalType = namedIn(fOptional, key);
    if (!optionalType.IsEmpty()) {
      check("%s (optional, type != %s):", key.CString(), optionalType.Get(), member);
      seen = true;
    }
    if (!seen) {
      ++count;
      errors.Append(FormatIntoPOSString("Unknown member %s", key.CString()));
    }
  }
  return count;
}

int32_t StructValidator::CheckUnion(const CPOSDict& schema, const CPOSDict& definition,
                                    const CPOSObject& value, const CPOSArray& errors) const {
  CPOSArray members(definition.Get(fSet, /*quiet=*/true), /*quiet=*/true);
  const uint32_t m = members.IsEmpty() ? 0 : members.Count();
  CPOSArray tried = CPOSArray::New();
  for (uint32_t i = 0; i < m; ++i) {
    CPOSArray fresh = CPOSArray::New();
    CPOSString name(members.GetAt(i));
    const int32_t result = CheckType(schema, CMOXStringHolder(name.Get()), value, fresh);
    // The first member that fits wins; what the others said is dropped.
    if (result == 0) return 0;
    PrefixErrors(tried, fresh, FormatIntoPOSString("Trying %s:", name.Get()));
  }
  // One error however many members failed; with no member at all, one error
  // and no line.
  PrefixErrors(errors, tried, CPOSString::New("Not a valid union type:"));
  return 1;
}

int32_t StructValidator::CheckIntersection(const CPOSDict& schema, const CPOSDict& definition,
                                           const CPOSObject& value, const CPOSArray& errors) const {
  CPOSArray members(definition.Get(fSet, /*quiet=*/true), /*quiet=*/true);
  if (members.IsEmpty() || members.Count() < 1) return 0;
  int32_t count = 0;
  // Every member is tried, also after a failure.
  for (uint32_t i = 0; i < members.Count(); ++i) {
    CPOSArray fresh = CPOSArray::New();
    CPOSString name(members.GetAt(i));
    const int32_t result = CheckType(schema, CMOXStringHolder(name.Get()), value, fresh);
    if (result > 0) {
      PrefixErrors(errors, fresh, FormatIntoPOSString("Failed intersection type %s:", name.Get()));
      count += result;
    }
  }
  return count;
}

}  // namespace NPOSValidatorImpl
