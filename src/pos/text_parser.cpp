// The grammar of the POS text notation. The parse is a recursive descent in
// which each level knows the container it fills, if any:
//
//   ParseObject(cursor, enclosing)
//     no enclosing:  reads one object and returns it
//     an Array:      appends objects until "]", then returns the Array
//     a Dict:        puts key and value pairs until ">", then returns the Dict
//
// Every object is held in a CPOSObject from the moment it is made, so a syntax
// error, which unwinds to ParseDocument, releases everything built so far.
#include "pos/text_parser.h"

#include <cstring>

#include "binding/errors.h"
#include "binding/stack_guard.h"
#include "pos/array.h"
#include "pos/dict.h"
#include "pos/number_string.h"
#include "pos/pos_client.h"
#include "pos/pos_object.h"
#include "pos/text_tokens.h"
#include "pos/unicode_bindata_rawpointer.h"

using MOX_T_MT::CPOSObject;

namespace NPOSObjectImpl {

namespace {

// A syntax error. The base is private on purpose: no handler for
// std::exception can catch it, so it never reaches an entry point's report;
// only ParseDocument, which catches this exact type, sees its text.
class CFTParseError : TOVException {
 public:
  explicit CFTParseError(const char* message) noexcept : TOVException(message) {}
  using TOVException::what;
};

constexpr char kEmptyText[] = "Empty text string";
constexpr char kUnexpectedBracket[] = "Unexpected ]";
constexpr char kUnexpectedAngle[] = "Unexpected >";
constexpr char kUnexpectedCharacter[] = "Unexpected character";
constexpr char kExpectedKey[] = "Expected dictionary key string";
constexpr char kStringTooLong[] = "Exceeded max string length";
constexpr char kNumberTooLong[] = "Exceeded max number length";
constexpr char kTrailingText[] = "Unexpected characters after object";

// A new object of class T, made here as its New... entry makes it but
// without the call through the registered interface, with the same results:
// a failure is reported as the entry reports it and leaves a null handle, as
// does an interface that is not there, and a null handle raises "invalid
// container". The object is held from the moment it has a container, so a
// throw from then on releases it with its holder. `made`, when given,
// receives the object.
template <class T, class Slots, class... Args>
CPOSObject MakeHeld(MOX_T_MT::TPOSClientTable<Slots>& client, T** made, Args... args) {
  MOXContainer container = nullptr;
  if (client.Refresh() != nullptr) {
    container = EntryGuard<MOXContainer>([&] {
      T* object = new T(args...);
      if (made != nullptr) *made = object;
      return NewObjectContainer(object);
    });
  }
  return CPOSObject(container);
}

// What holding a null handle raises: "invalid container", in the runtime's
// words.
[[noreturn]] void RaiseAsANullHandle() {
  const CPOSObject held(nullptr);
  // A runtime that lets a null handle be held still gives nothing to parse.
  MOXThrowInvalidContainer();
}

// Puts a member into the container being filled as the Append and Put
// entries do: a failure (out of memory) is reported there, and the parse
// goes on without the member.
template <class Insert>
void InsertAsTheEntryWould(Insert&& insert) {
  EntryGuardVoid(insert);
}

// The decoders keep their token buffers out of ParseObject's frame, which
// recurses once for each level of nesting.
[[gnu::noinline]] CPOSObject DecodeStringToken(const char* begin, const char* end) {
  char text[kMaxStringTokenLength + 1];
  if (!DecodeStringBody(begin, end, text)) throw CFTParseError(kStringTooLong);
  return MakeHeld<String>(MOX_T_MT::gPOSStringClient, nullptr, text);
}

// A key: the atom of its text, with no String object around it.
[[gnu::noinline]] CMOXStringHolder DecodeKeyToken(const char* begin, const char* end) {
  char text[kMaxStringTokenLength + 1];
  if (!DecodeStringBody(begin, end, text)) throw CFTParseError(kStringTooLong);
  // Read as a String would be, with the same failures: no interface, or an
  // atom the runtime can't make (reported), raise "invalid container".
  CMOXStringHolder key;
  if (MOX_T_MT::gPOSStringClient.Refresh() != nullptr) {
    EntryGuardVoid([&] { key = CMOXStringHolder(text); });
  }
  if (key.IsEmpty()) RaiseAsANullHandle();
  return key;
}

[[gnu::noinline]] CPOSObject DecodeUnicodeToken(const char* begin, const char* end) {
  uint16_t units[kMaxUnicodeUnits + 1];
  if (!DecodeUnicodeBody(begin, end, units)) throw CFTParseError(kStringTooLong);
  return MakeHeld<UnicodeString>(MOX_T_MT::gPOSUnicodeStringClient, nullptr, units);
}

[[gnu::noinline]] CPOSObject DecodeNumberToken(const char* begin, const char* end) {
  double value = 0;
  if (!DecodeNumberBody(begin, end, &value)) throw CFTParseError(kNumberTooLong);
  return MakeHeld<Number>(MOX_T_MT::gPOSNumberClient, nullptr, value);
}

// The body of the parenthesised string that opens at the cursor, or, when the
// text ends inside it, the syntax error of a text that ends too early
// (reading on past the end is not an option; a Unicode string is read the
// same way). The cursor ends one past the closing parenthesis.
const char* ParenthesisedBody(const char*& cursor, const char** close) {
  const char* const body = cursor + 1;
  *close = ScanParenthesisedBody(body);
  if (*close == nullptr) {
    cursor = body + std::strlen(body);
    throw CFTParseError(kEmptyText);
  }
  cursor = *close + 1;
  return body;
}

// Reads the scalar token at the cursor, or returns an empty object when no
// scalar starts there. The cursor ends one past the token.
CPOSObject ParseScalar(const char*& cursor) {
  const char* const start = cursor;
  if (IsNameStart(*start)) {
    cursor = ScanName(start);
    return DecodeStringToken(start, cursor);
  }
  if (IsNumberStart(*start)) {
    cursor = ScanNumber(start);
    return DecodeNumberToken(start, cursor);
  }
  if (*start == '(') {
    const char* close = nullptr;
    const char* const body = ParenthesisedBody(cursor, &close);
    return DecodeStringToken(body, close);
  }
  if (*start == '`') {
    const char* const body = start + 1;
    const char* const close = ScanUnicodeBody(body);
    if (close == nullptr) {
      cursor = body + std::strlen(body);
      throw CFTParseError(kEmptyText);
    }
    cursor = close + 1;
    return DecodeUnicodeToken(body, close);
  }
  return CPOSObject();
}

// The container being filled, held as what it is: each member goes in
// without asking the container's class again.
struct Enclosing {
  CPOSObject* held;  // the container's own holder, given up as the result
  Array* array;      // null for a Dict
  Dict* dict;        // null for an Array
};

CPOSObject ParseObject(const char*& cursor, const Enclosing* enclosing);

// Reads a container's contents after its opening bracket, "[" for an Array
// and "<" for a Dict, at the cursor; the result is the container.
CPOSObject ParseContainer(const char*& cursor) {
  Array* array = nullptr;
  Dict* dict = nullptr;
  CPOSObject held = *cursor == '[' ? MakeHeld<Array>(MOX_T_MT::gPOSArrayClient, &array)
                                   : MakeHeld<Dict>(MOX_T_MT::gPOSDictClient, &dict);
  const Enclosing enclosing{&held, array, dict};
  ++cursor;
  return ParseObject(cursor, &enclosing);
}

// Reads a key and its value into the Dict being filled. A key is a name or a
// parenthesised string; anything else is read whole first, as an object, and
// then refused.
void ParseDictEntry(const char*& cursor, Dict* dict) {
  const char* const start = cursor;
  CMOXStringHolder key;
  if (IsNameStart(*start)) {
    cursor = ScanName(start);
    key = DecodeKeyToken(start, cursor);
  } else if (*start == '(') {
    const char* close = nullptr;
    const char* const body = ParenthesisedBody(cursor, &close);
    key = DecodeKeyToken(body, close);
  } else {
    CPOSObject other;
    if (*start == '<' || *start == '[') {
      other = ParseContainer(cursor);
    } else {
      other = ParseScalar(cursor);
      if (other.IsEmpty()) throw CFTParseError(kUnexpectedCharacter);
    }
    throw CFTParseError(kExpectedKey);
  }
  CPOSObject value = ParseObject(cursor, nullptr);
  // Put replaces: of a key given twice, the last value stays.
  InsertAsTheEntryWould([&] {
    dict->InsertValue(static_cast<CMOXStringHolder&&>(key), static_cast<CPOSObject&&>(value));
  });
}

CPOSObject ParseObject(const char*& cursor, const Enclosing* enclosing) {
  // Each level of nesting is a level of this recursion. Too deep for the
  // stack is no syntax error: it passes ParseDocument and is reported.
  MOX_T_MT::CheckStackReserve();
  for (;;) {
    // Inside a container the text must go on; at top level only blanks were
    // read so far.
    while (IsNotationSpace(*cursor)) ++cursor;
    const char c = *cursor;
    if (c == '\0') throw CFTParseError(kEmptyText);
    if (c == ']' || c == '>') {
      ++cursor;
      const bool closes = enclosing != nullptr &&
                          (c == ']' ? enclosing->array != nullptr : enclosing->dict != nullptr);
      if (!closes) throw CFTParseError(c == ']' ? kUnexpectedBracket : kUnexpectedAngle);
      return static_cast<CPOSObject&&>(*enclosing->held);
    } else if (enclosing != nullptr && enclosing->dict != nullptr) {
      ParseDictEntry(cursor, enclosing->dict);
    } else {
      CPOSObject current;
      if (c == '<' || c == '[') {
        current = ParseContainer(cursor);
      } else {
        current = ParseScalar(cursor);
        if (current.IsEmpty()) throw CFTParseError(kUnexpectedCharacter);
      }
      if (enclosing == nullptr) return current;
      InsertAsTheEntryWould([&] { enclosing->array->Append(static_cast<CPOSObject&&>(current)); });
    }
  }
}

CPOSObject ParseDocument(const char* text, const char** position, const char** message) {
  if (position != nullptr) *position = nullptr;
  if (message != nullptr) *message = nullptr;
  const char* cursor = text;
  CPOSObject result;
  try {
    // A null text reads as the empty one, rather than crash.
    if (cursor == nullptr) throw CFTParseError(kEmptyText);
    result = ParseObject(cursor, nullptr);
    while (IsNotationSpace(*cursor)) ++cursor;
    if (*cursor != '\0') throw CFTParseError(kTrailingText);
  } catch (const CFTParseError& error) {
    // A syntax error is the caller's answer, not a failure to report.
    if (position != nullptr) *position = cursor;
    if (message != nullptr) *message = error.what();
    result.Reset();
  }
  return result;
}

}  // namespace

MOXContainer CreateFromTextWithMessage(const char* text, const char** position,
                                       const char** message) {
  return EntryGuard<MOXContainer>(
      [&] { return ParseDocument(text, position, message).GiveAway(); });
}

MOXContainer POSObjectStaticsEntries::CreateFromText(const char* text, const char** position) {
  return CreateFromTextWithMessage(text, position, nullptr);
}

}  // namespace NPOSObjectImpl
