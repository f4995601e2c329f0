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

// Each step gives the value it reached (empty for a quiet miss) and stores
// where the rest of the address begins in `rest`.
CPOSObject KeyStep(BaseObject* object, char* address, bool quiet, char** rest) {
  Dict* dict = dynamic_cast<Dict*>(object);
  if (dict == nullptr) return Miss(quiet, "Dict::DeepGet entry on non-dict");
  char* key = address + 1;
  char* end = key + std::strcspn(key, ".[");
  // The key is cut out of the working copy in place, and the character after
  // it put back before the walk goes on.
  char following = *end;
  *end = '\0';
  CPOSObject value;
  try {
    value = dict->LookupValue(key, quiet);
  } catch (...) {
    *end = following;
    throw;
  }
  *end = following;
  if (value.IsEmpty()) return Miss(quiet, "Dict::DeepGet cannot locate key");
  *rest = end;
  return value;
}

CPOSObject SubscriptStep(BaseObject* object, char* address, bool quiet, char** rest) {
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
  *rest = digits + length + 1;
  return member;
}

}  // namespace

CPOSObject DeepLookup(BaseObject* object, char* address, bool quiet) {
  // One step per turn, so that an address of any length walks in the same
  // stack. The value reached holds the object of the next step alive.
  CPOSObject value;
  for (;;) {
    char* rest = nullptr;
    switch (*address) {
      case '.':
        value = KeyStep(object, address, quiet, &rest);
        break;
      case '[':
        value = SubscriptStep(object, address, quiet, &rest);
        break;
      default:
        // Only after a subscript: the text behind "]" is no step.
        if (!quiet) throw MalformedAddress(address);
        return CPOSObject();
    }
    if (value.IsEmpty() || *rest == '\0') return value;
    object = ResolveBaseObject(value.Container());
    address = rest;
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
