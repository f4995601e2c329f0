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
#include "pos/pos_client.h"
#include "pos/pos_object.h"
#include "pos/text_tokens.h"

using MOX_T_MT::CPOSArray;
using MOX_T_MT::CPOSDict;
using MOX_T_MT::CPOSNumber;
using MOX_T_MT::CPOSObject;
using MOX_T_MT::CPOSString;
using MOX_T_MT::CPOSUnicodeString;

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
constexpr char kBadParserState[] = "Bad parser state";
constexpr char kStringTooLong[] = "Exceeded max string length";
constexpr char kNumberTooLong[] = "Exceeded max number length";
constexpr char kTrailingText[] = "Unexpected characters after object";

// The decoders keep their token buffers out of ParseObject's frame, which
// recurses once for each level of nesting.
[[gnu::noinline]] CPOSObject DecodeStringToken(const char* begin, const char* end) {
  char text[kMaxStringTokenLength + 1];
  if (!DecodeStringBody(begin, end, text)) throw CFTParseError(kStringTooLong);
  return CPOSString::New(text);
}

[[gnu::noinline]] CPOSObject DecodeUnicodeToken(const char* begin, const char* end) {
  uint16_t units[kMaxUnicodeUnits + 1];
  if (!DecodeUnicodeBody(begin, end, units)) throw CFTParseError(kStringTooLong);
  return CPOSUnicodeString::New(units);
}

[[gnu::noinline]] CPOSObject DecodeNumberToken(const char* begin, const char* end) {
  double value = 0;
  if (!DecodeNumberBody(begin, end, &value)) throw CFTParseError(kNumberTooLong);
  return CPOSNumber::New(value);
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
  if (*start == '(' || *start == '`') {
    const char* const body = start + 1;
    const char* const close = *start == '(' ? ScanParenthesisedBody(body) : ScanUnicodeBody(body);
    if (close == nullptr) {
      // The text ends inside the token. Reading on past the end is not an
      // option, so this counts as a text that ends too early.
      cursor = body + std::strlen(body);
      throw CFTParseError(kEmptyText);
    }
    cursor = close + 1;
    return *start == '(' ? DecodeStringToken(body, close) : DecodeUnicodeToken(body, close);
  }
  return CPOSObject();
}

// The container being filled, held as what it is: each member goes in
// without asking the container's class again.
struct Enclosing {
  const CPOSArray* array;  // null for a Dict
  const CPOSDict* dict;    // null for an Array
};

CPOSObject ParseObject(const char*& cursor, const Enclosing* enclosing);

// Reads a container's contents after its opening bracket; the result is the
// container.
CPOSObject ParseArray(const char*& cursor) {
  const CPOSArray array = CPOSArray::New();
  const Enclosing enclosing{&array, nullptr};
  ++cursor;
  return ParseObject(cursor, &enclosing);
}

CPOSObject ParseDict(const char*& cursor) {
  const CPOSDict dict = CPOSDict::New();
  const Enclosing enclosing{nullptr, &dict};
  ++cursor;
  return ParseObject(cursor, &enclosing);
}

// Adds `current` to the container being filled: appended to an Array, or
// taken as a key whose value is read next, for a Dict.
void AddToEnclosing(const char*& cursor, const Enclosing& enclosing, const CPOSObject& current) {
  if (enclosing.array != nullptr) {
    enclosing.array->Append(current);
    return;
  }
  if (enclosing.dict == nullptr) throw CFTParseError(kBadParserState);
  CPOSString key(current, /*quiet=*/true);
  if (key.IsEmpty()) throw CFTParseError(kExpectedKey);
  const char* const keyText = key.Get();
  const CPOSObject value = ParseObject(cursor, nullptr);
  // Put replaces: of a key given twice, the last value stays.
  enclosing.dict->Put(keyText, value);
}

CPOSObject ParseObject(const char*& cursor, const Enclosing* enclosing) {
  // Each level of nesting is a level of this recursion. Too deep for the
  // stack is no syntax error: it passes ParseDocument and is reported.
  MOX_T_MT::CheckStackReserve();
  if (*cursor == '\0') throw CFTParseError(kEmptyText);
  for (;;) {
    const char c = *cursor;
    if (IsNotationSpace(c)) {
      ++cursor;
    } else if (c == ']' || c == '>') {
      ++cursor;
      const bool closes = enclosing != nullptr &&
                          (c == ']' ? enclosing->array != nullptr : enclosing->dict != nullptr);
      if (!closes) throw CFTParseError(c == ']' ? kUnexpectedBracket : kUnexpectedAngle);
      return c == ']' ? CPOSObject(*enclosing->array) : CPOSObject(*enclosing->dict);
    } else {
      CPOSObject current;
      if (c == '<') {
        current = ParseDict(cursor);
      } else if (c == '[') {
        current = ParseArray(cursor);
      } else {
        current = ParseScalar(cursor);
        if (current.IsEmpty()) throw CFTParseError(kUnexpectedCharacter);
      }
      if (enclosing == nullptr) return current;
      AddToEnclosing(cursor, *enclosing, current);
    }
    // Inside a container the text must go on; at top level only blanks were
    // read so far.
    if (*cursor == '\0') throw CFTParseError(kEmptyText);
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
