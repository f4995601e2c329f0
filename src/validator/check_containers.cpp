// The container categories: each judges parts of the value, or the whole
// value again, through CheckType, and puts a prefix that says where they came
// from before the lines of each part that failed.
#include <cstring>

#include "binding/errors.h"
#include "validator/error_text.h"
#include "validator/number_rules.h"
#include "validator/own_objects.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSNumber;
using NPOSObjectImpl::DictNode;
using NPOSObjectImpl::DictTree;

namespace {

// A type named by a definition, with the atom its String already holds: a
// name costs no new atom however many members it checks.
class NamedType {
 public:
  // No type named.
  NamedType() = default;
  explicit NamedType(const CPOSString& name) : fAtom(OwnAtom(name)) {}

  bool IsNamed() const { return !fAtom.IsEmpty(); }
  const char* Text() const { return fAtom.CString(); }

  // CheckType of `value` under this name.
  int32_t Check(const StructValidator& validator, const CPOSDict& schema, const CPOSObject& value,
                const CPOSArray& errors) const {
    return validator.CheckType(schema, fAtom, value, errors);
  }

 private:
  CMOXStringHolder fAtom;
};

}  // namespace

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
  CPOSNumber minimum(OwnGet(definition, fMinLen), /*quiet=*/true);
  if (!minimum.IsEmpty() && minimum.Get() > static_cast<double>(n)) {
    errors.Append(
        FormatIntoPOSString("Array length below mininum value %d", TruncateToInt32(minimum.Get())));
    count = 1;
  }
  CPOSNumber maximum(OwnGet(definition, fMaxLen), /*quiet=*/true);
  if (!maximum.IsEmpty() && static_cast<double>(n) > maximum.Get()) {
    // Unlike its twin, this message has no number in it.
    AppendLine(errors, "Array length above maximum value");
    ++count;
  }

  // Member i against `memberType`, its lines under "[i]:".
  auto checkMember = [&](int32_t i, const NamedType& memberType) {
    const uint32_t first = errors.Count();
    CPOSObject member = array.GetAt(static_cast<uint64_t>(i));
    const int32_t result = memberType.Check(*this, schema, member, errors);
    if (result != 0) {
      PrefixErrors(errors, first, FormatIntoPOSString("[%d]:", i));
      count += result;
    }
  };
  CPOSObject memberTypes = OwnGet(definition, fMemberType);
  CPOSString homogeneous(memberTypes, /*quiet=*/true);
  if (!homogeneous.IsEmpty()) {
    const NamedType memberType(homogeneous);
    for (int32_t i = 0; i < n; ++i) checkMember(i, memberType);
    return count;
  }
  CPOSArray heterogeneous(memberTypes, /*quiet=*/true);
  if (!heterogeneous.IsEmpty()) {
    if (static_cast<int32_t>(heterogeneous.Count()) != n) {
      AppendLine(errors, "Heterogenous array object size did not match type array size");
      return count + 1;
    }
    for (int32_t i = 0; i < n; ++i) {
      checkMember(i, NamedType(CPOSString(heterogeneous.GetAt(static_cast<uint64_t>(i)))));
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
  DictTree& members = OwnTree(dict);
  int32_t count = 0;
  CPOSDict required(OwnGet(definition, fRequired), /*quiet=*/true);
  if (!required.IsEmpty()) {
    // Both dictionaries hold their keys in ascending order: one pass over the
    // value's keys finds every required one, with no lookup and no atom.
    DictNode* present = members.First();
    auto isPresent = [&present](const char* key) {
      for (; present != nullptr; present = DictTree::Next(present)) {
        const int order = std::strcmp(present->Key(), key);
        if (order >= 0) return order == 0;
      }
      return false;
    };
    for (DictNode* node = OwnTree(required).First(); node != nullptr; node = DictTree::Next(node)) {
      if (isPresent(node->Key())) continue;
      errors.Append(FormatIntoPOSString("Missing required member %s", node->Key()));
      ++count;
    }
  }
  // A member missing: no member is examined at all.
  if (count > 0) return count;

  CPOSString keyTypeText(OwnGet(definition, fKeyType), /*quiet=*/true);
  CPOSString valueTypeText(OwnGet(definition, fValueType), /*quiet=*/true);
  const NamedType keyType = keyTypeText.IsEmpty() ? NamedType() : NamedType(keyTypeText);
  const NamedType valueType = valueTypeText.IsEmpty() ? NamedType() : NamedType(valueTypeText);
  // A key read as a String passes these two without being made one.
  const bool anyKeyPasses = keyType.Text() == fString.CString() || keyType.Text() == fAny.CString();
  CPOSDict optional(OwnGet(definition, fOptional), /*quiet=*/true);
  // One check of one member against `type`; its lines under `prefixFormat`.
  auto check = [&](const char* prefixFormat, const char* key, const NamedType& type,
                   const CPOSObject& checked) {
    const uint32_t first = errors.Count();
    const int32_t result = type.Check(*this, schema, checked, errors);
    if (result > 0) {
      PrefixErrors(errors, first, FormatIntoPOSString(prefixFormat, key, type.Text()));
      count += result;
    }
  };
  // The type that "required" or "optional" names for `key`, or no type: an
  // absent key and a value other than a String name none.
  auto namedIn = [](const CPOSDict& names, const char* key) {
    if (names.IsEmpty()) return NamedType();
    DictNode* node = OwnTree(names).Find(key);
    if (node == nullptr) return NamedType();
    CPOSString name(node->fValue, /*quiet=*/true);
    return name.IsEmpty() ? NamedType() : NamedType(name);
  };

  // The steps don't exclude each other: a member may be checked by several,
  // and each failure gives its own lines. Only "keytype", "required" and
  // "optional" make a member known.
  for (DictNode* node = members.First(); node != nullptr; node = DictTree::Next(node)) {
    // Counted copies of the node's key and value: they stay whole through
    // the checks, whatever a callback does to the dictionary.
    const CMOXStringHolder key(node->fKey);
    const CPOSObject member(node->fValue);
    bool seen = false;
    if (keyType.IsNamed()) {
      if (!anyKeyPasses) {
        check("%s (key, type != %s):", key.CString(), keyType, CPOSString::New(key.CString()));
      }
      seen = true;
    }
    if (valueType.IsNamed()) {
      check("%s (value, type != %s):", key.CString(), valueType, member);
    }
    const NamedType requiredType = namedIn(required, key.CString());
    if (requiredType.IsNamed()) {
      check("%s (required, type != %s):", key.CString(), requiredType, member);
      seen = true;
    }
    const NamedType optionalType = namedIn(optional, key.CString());
    if (optionalType.IsNamed()) {
      check("%s (optional, type != %s):", key.CString(), optionalType, member);
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
  CPOSArray members(OwnGet(definition, fSet), /*quiet=*/true);
  const uint32_t m = members.IsEmpty() ? 0 : members.Count();
  const uint32_t first = errors.Count();
  for (uint32_t i = 0; i < m; ++i) {
    CPOSString name(members.GetAt(i));
    const uint32_t tried = errors.Count();
    const int32_t result = NamedType(name).Check(*this, schema, value, errors);
    // The first member that fits wins; what the others said is dropped.
    if (result == 0) {
      DropErrors(errors, first);
      return 0;
    }
    PrefixErrors(errors, tried, FormatIntoPOSString("Trying %s:", name.Get()));
  }
  // One error however many members failed; with no member at all, one error
  // and no line.
  PrefixErrors(errors, first, CPOSString::New("Not a valid union type:"));
  return 1;
}

int32_t StructValidator::CheckIntersection(const CPOSDict& schema, const CPOSDict& definition,
                                           const CPOSObject& value, const CPOSArray& errors) const {
  CPOSArray members(OwnGet(definition, fSet), /*quiet=*/true);
  if (members.IsEmpty() || members.Count() < 1) return 0;
  int32_t count = 0;
  // Every member is tried, also after a failure.
  for (uint32_t i = 0; i < members.Count(); ++i) {
    CPOSString name(members.GetAt(i));
    const uint32_t first = errors.Count();
    const int32_t result = NamedType(name).Check(*this, schema, value, errors);
    if (result > 0) {
      PrefixErrors(errors, first, FormatIntoPOSString("Failed intersection type %s:", name.Get()));
      count += result;
    }
  }
  return count;
}

}  // namespace NPOSValidatorImpl
