// CharStream and its two children (ichar_stream.h, ochar_stream.h) put a 512-byte block and the
// TypeA escape rules between a client stream and the per-type routines of the streamer.
//
//   OCharStream out(stream);        // takes one byte at a time, escapes it,
//   out.PutChar('"');               // and writes whole blocks
//   ...                             // the last block goes out at destruction
//
//   ICharStream in(stream);         // reads blocks and undoes the escapes
//   char c;
//   while (in.GetChar(&c)) ...      // false at the closing byte of the form
//                                   // destruction gives back the read-ahead
//
// The streams know nothing of POS objects: the streamer decides which form is
// current by overwriting `params`. Objects of these classes live on the stack
// of one Serialize or Deserialize call and are used by one thread.
//
// The destructors do real work (the final write, the seek back) and raise
// when the client stream fails. While another exception is already leaving
// the scope, a failure there is dropped instead, so that the first failure is
// the one reported and the process never sees two exceptions at once.
#ifndef MOXUTILS_STREAMER_CHAR_STREAM_H_
#define MOXUTILS_STREAMER_CHAR_STREAM_H_

#include <cstdint>

#include "MOXTypes.h"
#include "binding/client_streams.h"
#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

// The size of the block of both streams.
constexpr uint64_t kCharStreamBlockSize = 512;

// Owns one reference to a shared buffer of the runtime.
class SharedBlock {
 public:
  // A new buffer of `size` bytes; "Missing Interface" without the shared
  // buffer table, std::bad_alloc when the runtime has no memory.
  explicit SharedBlock(uint64_t size);
  SharedBlock(const SharedBlock&) = delete;
  SharedBlock& operator=(const SharedBlock&) = delete;
  ~SharedBlock();

  MOXSharedBuff Get() const { return fBuffer; }

 private:
  MOXSharedBuff fBuffer;
};

class CharStream {
 public:
  CharStream(const CharStream&) = delete;
  CharStream& operator=(const CharStream&) = delete;
  virtual ~CharStream() noexcept(false);

  // The current form; the streamer saves, replaces and restores it.
  StreamingParams params;
  // Where the bytes go or come from; holds one reference on the stream.
  CMOXPositionableStreamRef stream;
  SharedBlock sharedBuffer;
  unsigned char* bufferData;
  uint64_t bufferSize;
  // ICharStream: the next byte to give. OCharStream: the start of the block.
  unsigned char* cursor;
  // ICharStream: bytes left at `cursor`. OCharStream: bytes in the block.
  uint64_t count;

 protected:
  // Starts outside every form, with a new block of 512 bytes.
  explicit CharStream(const CMOXPositionableStreamRef& source);

  // True while an exception that started after construction is unwinding the
  // stack: the destructor then must not raise.
  bool Unwinding() const;

 private:
  int fUncaughtAtStart;
};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_CHAR_STREAM_H_
