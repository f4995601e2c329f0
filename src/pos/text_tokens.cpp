#include "pos/text_tokens.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace NPOSObjectImpl {

namespace {

// isalpha of the character taken as a signed value, without handing isalpha
// a negative argument it isn't defined for. A signed character is either in
// 0..127, where both readings agree, or negative, where the C library's
// classification of the signed value is that of the byte, with the one
// exception of -1, which is EOF and never a letter.
bool IsSignedAlpha(char c) {
  // The ASCII letters are letters in every locale, and the other ASCII
  // characters are not: only the bytes above ASCII need the C library.
  if (static_cast<signed char>(c) >= 0) return ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
  if (static_cast<signed char>(c) == EOF) return false;
  return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

// The value of a hexadecimal digit of either case, or -1.
int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool IsNameStart(char c) {
  return c == '_' || IsSignedAlpha(c);
}

bool IsNameChar(char c) {
  return c == '_' || IsDecimalDigit(c) || IsSignedAlpha(c);
}

const char* ScanName(const char* body) {
  while (IsNameChar(*body)) ++body;
  return body;
}

const char* ScanNumber(const char* body) {
  // The first character, sign or not, is taken as it is.
  ++body;
  while (IsDecimalDigit(*body) || *body == '.') ++body;
  return body;
}

const char* ScanParenthesisedBody(const char* body) {
  for (;;) {
    switch (*body) {
      case '\0':
        return nullptr;
      case ')':
        return body;
      case '\\':
        // The escaped character may be anything but the end of the text.
        if (body[1] == '\0') return nullptr;
        body += 2;
        break;
      default:
        ++body;
    }
  }
}

const char* ScanUnicodeBody(const char* body) {
  while (*body != '`') {
    if (*body == '\0') return nullptr;
    ++body;
  }
  return body;
}

bool DecodeStringBody(const char* begin, const char* end, char (&out)[kMaxStringTokenLength + 1]) {
  const size_t length = static_cast<size_t>(end - begin);
  if (length > kMaxStringTokenLength) return false;
  // Most tokens quote nothing: one copy.
  if (std::memchr(begin, '\\', length) == nullptr) {
    std::memcpy(out, begin, length);
    out[length] = '\0';
    return true;
  }
  char* to = out;
  for (const char* from = begin; from < end; ++from) {
    if (*from == '\\' && from + 1 < end) ++from;
    *to++ = *from;
  }
  *to = '\0';
  return true;
}

bool DecodeUnicodeBody(const char* begin, const char* end, uint16_t (&out)[kMaxUnicodeUnits + 1]) {
  const size_t length = static_cast<size_t>(end - begin);
  if (length > kMaxUnicodeTokenLength) return false;
  // A body whose length is no multiple of four reads its last group on into
  // the closing accent, where the conversion stops. Reading from a copy that
  // holds the body and the accent gives the same groups as reading the text
  // itself, while the C library's scan never looks beyond the token.
  char text[kMaxUnicodeTokenLength + 2];
  std::memcpy(text, begin, length + 1);
  text[length + 1] = '\0';
  size_t units = 0;
  for (size_t at = 0; at < length; at += 4) {
    // Four hexadecimal digits, by far the common group, read directly; any
    // other group is left to the C library's scan, signs, blanks and all.
    int digits[4];
    bool plain = at + 4 <= length;
    for (size_t i = 0; plain && i < 4; ++i) {
      digits[i] = HexDigitValue(text[at + i]);
      plain = digits[i] >= 0;
    }
    if (plain) {
      out[units++] = static_cast<uint16_t>((digits[0] << 12) | (digits[1] << 8) | (digits[2] << 4) |
                                           digits[3]);
      continue;
    }
    // Digits that the group lacks read as zero.
    unsigned int high = 0;
    unsigned int low = 0;
    std::sscanf(text + at, "%02X%02x", &high, &low);
    // Each half is a byte, also when the scan read a sign.
    out[units++] = static_cast<uint16_t>(((high & 0xFFu) << 8) | (low & 0xFFu));
  }
  out[units] = 0;
  return true;
}

bool DecodeNumberBody(const char* begin, const char* end, double* value) {
  const size_t length = static_cast<size_t>(end - begin);
  if (length > kMaxNumberTokenLength) return false;
  char text[kMaxNumberTokenLength + 1];
  std::memcpy(text, begin, length);
  text[length] = '\0';
  // What strtod leaves unconverted, a second point and all after it, is
  // ignored.
  *value = std::strtod(text, nullptr);
  return true;
}

}  // namespace NPOSObjectImpl
