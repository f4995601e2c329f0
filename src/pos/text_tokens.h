// The lexical layer of the POS text notation: which characters start and
// continue each token, where a token ends, and what its characters mean. It
// knows nothing of objects and raises nothing; the grammar in text_parser.cpp
// turns its answers into objects and syntax errors.
//
// All decoding happens in fixed buffers sized by the limits below, so a token
// costs no allocation of its own.
#ifndef MOXUTILS_POS_TEXT_TOKENS_H_
#define MOXUTILS_POS_TEXT_TOKENS_H_

#include <cstddef>
#include <cstdint>

namespace NPOSObjectImpl {

// Longest tokens, in characters of the text. Backslashes count: the limit is
// on what the writer typed, not on the decoded text.
constexpr size_t kMaxStringTokenLength = 100;   // names and parenthesised strings
constexpr size_t kMaxNumberTokenLength = 100;   // sign, digits and points
constexpr size_t kMaxUnicodeTokenLength = 401;  // 100 groups of four digits and one over
// Units that a Unicode token of the longest length yields.
constexpr size_t kMaxUnicodeUnits = (kMaxUnicodeTokenLength + 3) / 4;

// Space, TAB, LF and CR; no other character separates tokens.
inline bool IsNotationSpace(char c) {
  // One test of a bit for the four blanks, all at or below ' '.
  constexpr uint64_t kBlanks =
      (uint64_t{1} << ' ') | (uint64_t{1} << '\t') | (uint64_t{1} << '\n') | (uint64_t{1} << '\r');
  const auto byte = static_cast<unsigned char>(c);
  return byte <= ' ' && ((kBlanks >> byte) & 1) != 0;
}
inline bool IsDecimalDigit(char c) {
  return c >= '0' && c <= '9';
}

// A letter is what isalpha accepts for the character taken as a signed value,
// so in a locale with 8-bit letters those letters may start a name.
bool IsNameStart(char c);
bool IsNameChar(char c);
inline bool IsNumberStart(char c) {
  return IsDecimalDigit(c) || c == '-' || c == '+' || c == '.';
}

// Scanners. Each takes the first character of the token's body and returns
// the end of the body.
//
// A name or a number ends at the first character that can't continue it.
// A sign counts only as the first character of a number, and there is no
// exponent: "1e5" is the number 1 followed by the name e5.
const char* ScanName(const char* body);
const char* ScanNumber(const char* body);
// Parenthesised and Unicode strings end at their closing character, which is
// not part of the body. A backslash in a parenthesised string takes the next
// character as it stands, so "\)" does not close it and parentheses don't
// nest. Both return null when the text ends before the closing character.
const char* ScanParenthesisedBody(const char* body);
const char* ScanUnicodeBody(const char* body);

// Decoders of a body [begin, end). Each returns false, leaving `out` as it
// was, when the body is longer than its limit.
//
// The text of a name or parenthesised string: a backslash is dropped and the
// character after it kept as it stands. There are no named escapes.
bool DecodeStringBody(const char* begin, const char* end, char (&out)[kMaxStringTokenLength + 1]);
// Units of a Unicode body, zero-terminated: groups of four hexadecimal
// digits, high byte first. `end` must point at the closing accent.
bool DecodeUnicodeBody(const char* begin, const char* end, uint16_t (&out)[kMaxUnicodeUnits + 1]);
// The value of a number body, by strtod: "1.2.3" is 1.2, "-" and "+." are 0.
bool DecodeNumberBody(const char* begin, const char* end, double* value);

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_TEXT_TOKENS_H_
