#include "streamer/ochar_stream.h"

#include <cctype>
#include <cstdio>

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

OCharStream::OCharStream(const CMOXPositionableStreamRef& source) : CharStream(source) {
  cursor = bufferData;
}

OCharStream::~OCharStream() noexcept(false) {
  if (count == 0) return;
  if (!Unwinding()) {
    Flush();
    return;
  }
  // A failure is already on its way out; the bytes written so far stay in the
  // stream, and a second failure here would only hide the first.
  try {
    Flush();
  } catch (...) {
  }
}

void OCharStream::PutChar(char c) {
  const unsigned char byte = static_cast<unsigned char>(c);
  // isprint follows the process locale: bytes above 0x7F are octal in the "C"
  // locale and raw where the locale calls them printable. Both read back the
  // same.
  if (byte == 0x7F || (!std::isprint(byte) && !IsStreamSpace(byte))) {
    char octal[4];
    std::snprintf(octal, sizeof octal, "%03o", byte);
    Store('\\');
    Store(octal[0]);
    Store(octal[1]);
    Store(octal[2]);
    return;
  }
  for (const char* pair = params.escapes; pair[0] != 0; pair += 2) {
    if (pair[0] != c) continue;
    if (pair[1] != 0) {
      Store('\\');
      Store(pair[1]);
      return;
    }
    break;
  }
  Store(c);
}

void OCharStream::Store(char c) {
  if (count == kCharStreamBlockSize) Flush();
  bufferData[count++] = static_cast<unsigned char>(c);
}

void OCharStream::Flush() {
  // The block counts as gone before the write: when the write fails its bytes
  // are lost, and the destructor does not try them a second time.
  const uint64_t size = count;
  count = 0;
  stream.Write(bufferData, size);
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
