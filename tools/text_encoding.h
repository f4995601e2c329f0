// Conversions between the texts of JSON (UTF-8) and those of POS objects:
// 8-bit strings, whose bytes posctl reads as Latin-1 characters, 16-bit
// Unicode strings, and dictionary keys, which hold UTF-8.
#ifndef POSCTL_TEXT_ENCODING_H_
#define POSCTL_TEXT_ENCODING_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace posctl {

// The length of the well-formed UTF-8 sequence at `at`, with its code point
// in `codePoint`; 0 when the bytes there are no UTF-8.
size_t Utf8SequenceAt(std::string_view bytes, size_t at, char32_t* codePoint);

// Code points of well-formed UTF-8, as JSON parsers hand it over.
std::u32string DecodeUtf8(std::string_view utf8);
void AppendUtf8(char32_t codePoint, std::string* out);

// True when every character fits one byte of an 8-bit string.
bool FitsLatin1(const std::u32string& text);
std::string ToLatin1(const std::u32string& text);
std::string Latin1ToUtf8(std::string_view bytes);

// UTF-16, with surrogate pairs for characters beyond U+FFFF.
std::u16string ToUtf16(const std::u32string& text);
// Zero-terminated UTF-16 to UTF-8. False, with the index of the unit, when a
// surrogate has no partner.
bool Utf16ToUtf8(const uint16_t* units, std::string* out, size_t* badUnit);

// Bytes that form UTF-8 stay as they are; any other byte is read as a
// Latin-1 character, so that every key has a JSON form.
std::string BytesToUtf8(std::string_view bytes);

}  // namespace posctl

#endif  // POSCTL_TEXT_ENCODING_H_
