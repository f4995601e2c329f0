// The reading side of the character streams, and the byte readers that work
// on the client stream directly.
#ifndef MOXUTILS_STREAMER_ICHAR_STREAM_H_
#define MOXUTILS_STREAMER_ICHAR_STREAM_H_

#include <cstdint>

#include "streamer/atom_cache.h"
#include "streamer/char_stream.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

class ICharStream final : public CharStream {
 public:
  explicit ICharStream(const CMOXPositionableStreamRef& source);
  // Seeks the client stream back over the bytes read ahead and not consumed,
  // so that it stands just behind the last byte that GetChar took. Raises the
  // stream's error (unless unwinding).
  ~ICharStream() noexcept(false) override;

  // Stores the next byte, escapes undone, and returns false when it is the
  // closing byte of the current form. A byte that came from an escape never
  // closes the form and is never normalised. Raises "unexpected EOF" at the
  // end of the stream and "Unexpected escape sequence" for a backslash and a
  // letter that the current form does not know.
  virtual bool GetChar(char* out) {
    // An ordinary byte of the block: no escape to undo, no refill.
    if (count != 0 && *cursor != '\\') {
      --count;
      unsigned char byte = *cursor++;
      if (params.normalizeSpace && IsStreamSpace(byte)) byte = ' ';
      *out = static_cast<char>(byte);
      return params.closeChar != *out;
    }
    return GetCharAfterBlock(out);
  }

  // Moves up to `wanted` bytes to `dest` as GetChar would give them, as long
  // as they are ordinary bytes of the block that do not close the form; stops
  // before a backslash, the closing byte or the end of the block. Returns how
  // many it moved; GetChar goes on from there.
  size_t TakeRun(char* dest, size_t wanted) {
    const size_t limit = wanted < count ? wanted : count;
    // Copies of the members: the stores to `dest` could otherwise change them
    // for all the compiler knows, and it would load them again for each byte.
    const unsigned char close = static_cast<unsigned char>(params.closeChar);
    const bool normalize = params.normalizeSpace;
    const unsigned char* const source = cursor;
    size_t n = 0;
    for (; n < limit; ++n) {
      unsigned char byte = source[n];
      if (normalize && IsStreamSpace(byte)) byte = ' ';
      if (byte == '\\' || byte == close) break;
      dest[n] = static_cast<char>(byte);
    }
    cursor += n;
    count -= n;
    return n;
  }

  // The atoms of the texts the reader made last, for the time of one read:
  // the keys of a document's dictionaries come back again and again.
  AtomCache atoms;

  // GetChar until a byte other than a space, which it stores; false when
  // that byte closes the form.
  bool GetNonSpaceChar(char* out) {
    // Raw blanks of the block, where a blank does not close the form.
    if (params.closeChar != ' ') {
      while (count != 0 && (*cursor == ' ' || (params.normalizeSpace && IsStreamSpace(*cursor)))) {
        --count;
        ++cursor;
      }
    }
    while (GetChar(out)) {
      if (*out != ' ') return true;
    }
    return false;
  }

 private:
  // GetChar where the block is empty or a backslash comes next.
  bool GetCharAfterBlock(char* out);
  unsigned char NextRawByte();
  void Refill();
  void GiveBackReadAhead();
};

// Fills `dest` with up to `wanted` bytes from `in`, stopping after the
// closing byte of the form, which is consumed and not counted. With
// `skipSpace`, space, TAB, LF and CR are dropped. With `mustFill`, fewer than
// `wanted` bytes raise "GetChars ran out of input". Adds no terminator.
uint64_t GetChars(ICharStream& in, char* dest, uint64_t wanted, bool mustFill, bool skipSpace);

// One byte straight from the client stream, without a block; used for the
// version name, before the format is known. "getNextChar unexpected EOF" at
// the end of the stream.
int getNextChar(const CMOXPositionableStreamRef& stream);
// The first byte that is not 0x20. TAB, LF and CR are not skipped here.
int getNextNonSpaceChar(const CMOXPositionableStreamRef& stream);

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_ICHAR_STREAM_H_
