#include "pos/deep_get.h"

#include <cstdlib>
#include <cstring>

#include "binding/host_tables.h"
#include "pos/array.h"
#include "pos/dict.h"

namespace NPOSObjectImpl {

namespace {

// The malformed-address failure carries its text with it: the rest of the
// address is copied into the exception, which may outlive the walk.
class MalformedAddress : public POSException {
 public:
  explicit MalformedAddress(const char* rest) : POSException(nullptr) {
    std::memcpy(fText, kTemplate, sizeof kTemplate);
    // Six characters of the rest over the X's; a shorter rest is padded with
    // NULs and so ends the text early.
    std::strncpy(std::strstr(fText, "at: ") + 4, rest, 6);
  }
  const char* what() const noexcept override { return fText; }

 private:
  static constexpr char kTemplate[] = "Dict::DeepGet malformed address at: XXXXXX";
  char fText[sizeof kTemplate];
};

constexpr char MalformedAddress::kTemplate[];

CPOSObject Miss(bool quiet, const char* message) {
  if (!quiet) throw POSException(message);
  return CPOSObject();
}

// The rest of the walk from `value`, or the value itself at the end.
CPOSObject Continue(const CPOSObject& value, char* rest, bool quiet) {
  if (*rest == '\0') return value;
  return DeepLookup(ResolveBaseObject(value.Container()), rest, quiet);
}

CPOSObject KeyStep(BaseObject* object, char* address, bool quiet) {
  Dict* dict = dynamic_cast<Dict*>(object);
  if (dict == nullptr) return Miss(quiet, "Dict::DeepGet entry on non-dict");
  char* key = address + 1;
  char* rest = key + std::strcspn(key, ".[");
  // The key is cut out of the working copy in place, and the character after
  // it put back before the walk goes on.
  char following = *rest;
  *rest = '\0';
  CPOSObject value;
  try {
    value = dict->LookupValue(key, quiet);
  } catch (...) {
    *rest = following;
    throw;
  }
  *rest = following;
  if (value.IsEmpty()) return Miss(quiet, "Dict::DeepGet cannot locate key");
  return Continue(value, rest, quiet);
}

CPOSObject SubscriptStep(BaseObject* object, char* address, bool quiet) {
  Array* array = dynamic_cast<Array*>(object);
  if (array == nullptr) return Miss(quiet, "Dict::DeepGet subscript on non-array");
  char* digits = address + 1;
  size_t length = std::strspn(digits, "0123456789");
  if (length == 0 || digits[length] != ']') {
    return Miss(quiet, "Dict::DeepGet malformed array subscript []");
  }
  digits[length] = '\0';
  // Cut to 32 bits and widened again with its sign, then compared unsigned.
  int64_t index = static_cast<int32_t>(std::strtol(digits, nullptr, 10));
  CPOSObject member = array->GetAt(static_cast<uint64_t>(index));
  if (member.IsEmpty()) return Miss(quiet, "Dict::DeepGet subscript out of range");
  return Continue(member, digits + length + 1, quiet);
}

}  // namespace

CPOSObject DeepLookup(BaseObject* object, char* address, bool quiet) {
  switch (*address) {
    case '.':
      return KeyStep(object, address, quiet);
    case '[':
      return SubscriptStep(object, address, quiet);
    default:
      // Only after a subscript: the text behind "]" is no step.
      if (!quiet) throw MalformedAddress(address);
      return CPOSObject();
  }
}

CPOSObject DeepGetValue(Dict* dict, const CMOXStringHolder& address, bool quiet) {
  const char* text = address.CString();
  bool addDot = text[0] != '.';
  size_t length = std::strlen(text);
  char* copy = static_cast<char*>(MOXMemory::AllocOrThrow(length + (addDot ? 1 : 0) + 1));
  char* end = copy;
  if (addDot) *end++ = '.';
  std::memcpy(end, text, length + 1);
  CPOSObject result;
  try {
    result = DeepLookup(dict, copy, quiet);
  } catch (...) {
    MOXMemory::Free(copy);
    if (quiet) return CPOSObject();
    throw POSException("Dict::DeepGet lookup failed");
  }
  MOXMemory::Free(copy);
  return result;
}

}  // namespace NPOSObjectImpl
