#include "validator/error_text.h"

#include <cstdarg>
#include <cstdio>

#include "binding/host_tables.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSArray;
using MOX_T_MT::CPOSString;

namespace {

// The formatting buffer, given back to the runtime however the call ends.
class FormatBuffer {
 public:
  // One byte beyond the limit holds the terminator of a text of exactly
  // kFormatLimit characters, so formatting never writes past the block.
  FormatBuffer() : fText(static_cast<char*>(MOXMemory::AllocOrThrow(kFormatLimit + 1))) {}
  ~FormatBuffer() { MOXMemory::Free(fText); }
  FormatBuffer(const FormatBuffer&) = delete;
  FormatBuffer& operator=(const FormatBuffer&) = delete;

  char* fText;
};

}  // namespace

CPOSString FormatIntoPOSString(const char* format, ...) {
  FormatBuffer buffer;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer.fText, kFormatLimit + 1, format, arguments);
  va_end(arguments);
  if (length < 0 || static_cast<size_t>(length) > kFormatLimit) {
    throw TOVException("FormatIntoPOSString overwrote buffer");
  }
  return CPOSString::New(buffer.fText);
}

void PrefixErrors(const CPOSArray& lines, uint32_t first, const CPOSString& prefix) {
  for (uint32_t i = first; i < lines.Count(); ++i) {
    CPOSString line(lines.GetAt(i));
    lines.SetAt(i, FormatIntoPOSString("%s %s", prefix.Get(), line.Get()));
  }
}

void DropErrors(const CPOSArray& lines, uint32_t first) {
  for (uint32_t count = lines.Count(); count > first; --count) lines.Remove(count - 1);
}

}  // namespace NPOSValidatorImpl
