// The writing side of the character streams.
#ifndef MOXUTILS_STREAMER_OCHAR_STREAM_H_
#define MOXUTILS_STREAMER_OCHAR_STREAM_H_

#include <cstdint>

#include "streamer/char_stream.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

class OCharStream : public CharStream {
 public:
  explicit OCharStream(const CMOXPositionableStreamRef& source);
  // Writes what the block holds. Raises the stream's error (unless unwinding).
  ~OCharStream() noexcept(false) override;

  // Stores `c` under the current escape table: unprintable bytes and 0x7F as
  // a backslash and three octal digits, the raw half of a pair as a backslash
  // and its letter, anything else as it is.
  virtual void PutChar(char c);

  // Stores `c` unescaped. A full block is written only when one more byte
  // arrives, so a stream is never written early. Closing bytes go here.
  void Store(char c);

 private:
  void Flush();
};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_OCHAR_STREAM_H_
