// The text of a TypeA number: "%.32g" on the way out, strtod on the way in,
// both in the locale of the calling thread, since that is what the format
// has always meant.
//
// Where the locale's decimal point is ".", both directions run without the
// C library's formatting and parsing. A number that is a 64-bit integer or a
// fixed-point number with at most 63 fraction bits has its digits made here,
// exactly; std::to_chars with a precision gives the digits of "%.32g" for the
// others; and std::from_chars, like strtod, the correctly rounded double of
// the longest decimal prefix. A text that <charconv> does not take (a leading
// '+', no digits, a value out of range) and every other locale keep the C
// library's path, so the bytes and the values are the same either way.
#ifndef MOXUTILS_STREAMER_NUMBER_TEXT_H_
#define MOXUTILS_STREAMER_NUMBER_TEXT_H_

#include <cstddef>

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

// Room for any "%.32g" text and its terminator.
constexpr size_t kNumberTextSize = 64;

// Writes the "%.32g" text of `value` and a terminator; returns its length.
// When `decimal` is given, it tells whether the text is known to hold only
// ASCII digits, '+', '-', '.' and 'e' (false where the C library wrote it:
// another locale's separator, "inf", "nan").
size_t FormatNumberText(double value, char (&text)[kNumberTextSize], bool* decimal = nullptr);

// strtod(text, nullptr) of the `length` bytes at `text`, which end in a
// terminator: the value of the longest numeric prefix, 0 when there is none.
double ParseNumberText(const char* text, size_t length);

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_NUMBER_TEXT_H_
