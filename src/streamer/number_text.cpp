#include "streamer/number_text.h"

#include <langinfo.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
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

}  // namespace

size_t FormatNumberText(double value, char (&text)[kNumberTextSize]) {
  // NaN and the infinities are rare enough to leave their spelling ("-nan"
  // included) to the C library alone.
  if (std::isfinite(value) && DecimalPointIsDot()) {
    const std::to_chars_result written =
        std::to_chars(text, text + kNumberTextSize - 1, value, std::chars_format::general, 32);
    if (written.ec == std::errc()) {
      *written.ptr = '\0';
      return static_cast<size_t>(written.ptr - text);
    }
  }
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
