#include "streamer/number_text.h"

#include <langinfo.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

namespace {

// Asked at every call: the locale may change between two numbers, and the
// question is a few loads.
bool DecimalPointIsDot() {
  const char* point = nl_langinfo(RADIXCHAR);
  return point[0] == '.' && point[1] == '\0';
}

// The significant digits of "%.32g".
constexpr int kDigits = 32;

// `value`, below 10^16, as sixteen digits with leading zeros. Four groups of
// four digits, each split in two pairs, so that the divisions do not wait for
// one another.
void WriteSixteenDigits(uint64_t value, char* out) {
  static const char kPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  const uint32_t high = static_cast<uint32_t>(value / 100000000);
  const uint32_t low = static_cast<uint32_t>(value % 100000000);
  const uint32_t groups[4] = {high / 10000, high % 10000, low / 10000, low % 10000};
  for (int i = 0; i < 4; ++i) {
    std::memcpy(out + 4 * i, kPairs + 2 * (groups[i] / 100), 2);
    std::memcpy(out + 4 * i + 2, kPairs + 2 * (groups[i] % 100), 2);
  }
}

// The "%.32g" text of a double that is a 64-bit integer, or a fixed-point
// number with at most 63 bits after the point: most numbers of real
// documents (coordinates, prices, counts, identifiers). The digits of the
// fraction come exactly, and the last printed digit is rounded half to even
// on the exact value, as the C library rounds. False for any other value,
// which <charconv> then formats.
bool FormatFixedPoint(double value, char (&text)[kNumberTextSize], size_t* length) {
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const bool negative = (bits >> 63) != 0;
  const int biased = static_cast<int>((bits >> 52) & 0x7FF);
  uint64_t mantissa = bits & ((uint64_t{1} << 52) - 1);
  if (biased == 0x7FF || (biased == 0 && mantissa != 0)) return false;
  char* out = text;
  if (negative) *out++ = '-';
  if (biased == 0) {
    *out++ = '0';
    *out = '\0';
    *length = static_cast<size_t>(out - text);
    return true;
  }
  mantissa |= uint64_t{1} << 52;
  // value = mantissa * 2^exponent = integer + fraction / 2^fractionBits
  const int exponent = biased - 1075;
  uint64_t integer;
  uint64_t fraction = 0;
  int fractionBits = 0;
  if (exponent >= 0) {
    if (exponent > 11) return false;  // 2^64 and beyond
    integer = mantissa << exponent;
  } else {
    fractionBits = -exponent;
    const int zeros = std::min(__builtin_ctzll(mantissa), fractionBits);
    mantissa >>= zeros;
    fractionBits -= zeros;
    // The fraction and its mask must fit in 64 bits.
    if (fractionBits > 63) return false;
    integer = mantissa >> fractionBits;
    fraction = mantissa & ((uint64_t{1} << fractionBits) - 1);
  }

  // The digits of the integer, then those of the fraction, sixteen at a time
  // (one 128-bit product each), until 33 significant digits are there: one
  // more than printed, for the rounding. What the fraction still holds after
  // them only matters as "something" or "nothing".
  char raw[96];
  int rawCount = 0;
  int first = -1;  // where the first significant digit stands in `raw`
  if (integer != 0) {
    rawCount = static_cast<int>(std::to_chars(raw, raw + 20, integer).ptr - raw);
    first = 0;
  }
  const int integerDigits = rawCount;
  const uint64_t mask = (uint64_t{1} << fractionBits) - 1;
  while (fraction != 0 && (first < 0 || rawCount - first <= kDigits)) {
    const unsigned __int128 product =
        static_cast<unsigned __int128>(fraction) * 10000000000000000ULL;  // 10^16
    WriteSixteenDigits(static_cast<uint64_t>(product >> fractionBits), raw + rawCount);
    fraction = static_cast<uint64_t>(product) & mask;
    for (int i = rawCount; first < 0 && i < rawCount + 16; ++i) {
      if (raw[i] != '0') first = i;
    }
    rawCount += 16;
  }
  const char* digits = raw + first;
  int count = rawCount - first;
  int point = integerDigits != 0 ? integerDigits - 1 : -1 - first;  // the exponent of digits[0]
  if (count > kDigits) {
    // Half to even: a 5 with nothing after it rounds towards an even digit.
    bool rest = fraction != 0;
    for (int i = kDigits + 1; i < count && !rest; ++i) rest = digits[i] != '0';
    const char next = digits[kDigits];
    count = kDigits;
    if (next > '5' || (next == '5' && (rest || (digits[kDigits - 1] - '0') % 2 != 0))) {
      char* last = raw + first + kDigits - 1;
      for (; last >= raw + first && *last == '9'; --last) *last = '0';
      if (last >= raw + first) {
        ++*last;
      } else {
        raw[first] = '1';
        ++point;
      }
    }
  }
  while (count > 1 && digits[count - 1] == '0') --count;

  // %g: the exponent form below 10^-4 and from 10^32 on, else the plain
  // form; no trailing zeros either way.
  if (point < -4 || point >= kDigits) {
    *out++ = digits[0];
    if (count > 1) {
      *out++ = '.';
      out = std::copy(digits + 1, digits + count, out);
    }
    *out++ = 'e';
    *out++ = point < 0 ? '-' : '+';
    const int magnitude = point < 0 ? -point : point;
    if (magnitude >= 100) *out++ = static_cast<char>('0' + magnitude / 100);
    *out++ = static_cast<char>('0' + magnitude / 10 % 10);
    *out++ = static_cast<char>('0' + magnitude % 10);
  } else if (point >= 0) {
    for (int i = 0; i <= point; ++i) *out++ = i < count ? digits[i] : '0';
    if (count > point + 1) {
      *out++ = '.';
      out = std::copy(digits + point + 1, digits + count, out);
    }
  } else {
    *out++ = '0';
    *out++ = '.';
    out = std::fill_n(out, -point - 1, '0');
    out = std::copy(digits, digits + count, out);
  }
  *out = '\0';
  *length = static_cast<size_t>(out - text);
  return true;
}

}  // namespace

size_t FormatNumberText(double value, char (&text)[kNumberTextSize], bool* decimal) {
  // NaN and the infinities are rare enough to leave their spelling ("-nan"
  // included) to the C library alone.
  if (std::isfinite(value) && DecimalPointIsDot()) {
    size_t length;
    if (FormatFixedPoint(value, text, &length)) {
      if (decimal != nullptr) *decimal = true;
      return length;
    }
    const std::to_chars_result written =
        std::to_chars(text, text + kNumberTextSize - 1, value, std::chars_format::general, 32);
    if (written.ec == std::errc()) {
      *written.ptr = '\0';
      if (decimal != nullptr) *decimal = true;
      return static_cast<size_t>(written.ptr - text);
    }
  }
  if (decimal != nullptr) *decimal = false;
  return static_cast<size_t>(std::snprintf(text, kNumberTextSize, "%.32g", value));
}

double ParseNumberText(const char* text, size_t length) {
  if (length != 0 && text[0] != '+' && DecimalPointIsDot()) {
    double value = 0;
    const std::from_chars_result read =
        std::from_chars(text, text + length, value, std::chars_format::general);
    if (read.ec == std::errc()) return value;
  }
  return std::strtod(text, nullptr);
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
