// The reading side of the character streams, and the byte readers that work
// on the client stream directly.
#ifndef MOXUTILS_STREAMER_ICHAR_STREAM_H_
#define MOXUTILS_STREAMER_ICHAR_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

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
    const unsigned char* const kinds = RunKinds();
    const unsigned char* const source = cursor;
    size_t n = 0;
    // Eight plain bytes at a time, without a branch per byte.
    while (n + 8 <= limit) {
      const unsigned char* const group = source + n;
      if (kinds[group[0]] | kinds[group[1]] | kinds[group[2]] | kinds[group[3]] | kinds[group[4]] |
          kinds[group[5]] | kinds[group[6]] | kinds[group[7]]) {
        break;
      }
      std::memcpy(dest + n, group, 8);
      n += 8;
    }
    for (; n < limit; ++n) {
      const unsigned char kind = kinds[source[n]];
      if (kind == kRunStop) break;
      dest[n] = kind == kRunSpace ? ' ' : static_cast<char>(source[n]);
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
      // The four blanks as bits of one word: one test for each byte.
      constexpr uint64_t kBlanks = (uint64_t{1} << ' ') | (uint64_t{1} << '\t') |
                                   (uint64_t{1} << '\n') | (uint64_t{1} << '\r');
      const uint64_t skipped = params.normalizeSpace ? kBlanks : uint64_t{1} << ' ';
      unsigned char* next = cursor;
      const unsigned char* const end = cursor + count;
      while (next != end && *next <= ' ' && ((skipped >> *next) & 1) != 0) ++next;
      count -= static_cast<uint64_t>(next - cursor);
      cursor = next;
    }
    while (GetChar(out)) {
      if (*out != ' ') return true;
    }
    return false;
  }

 private:
  // What TakeRun does with each byte value under one form: copy it, copy a
  // space for it (a normalised blank), or stop before it (a backslash, or
  // the closing byte once normalised).
  static constexpr unsigned char kRunPlain = 0;
  static constexpr unsigned char kRunSpace = 1;
  static constexpr unsigned char kRunStop = 2;
  // A stream meets a handful of forms; each table is made once.
  static constexpr int kRunTableCache = 8;
  struct RunTable {
    int key;
    unsigned char kinds[256];
  };

  // The kinds of the bytes under the current form.
  const unsigned char* RunKinds() {
    const int key =
        static_cast<unsigned char>(params.closeChar) | (params.normalizeSpace ? 256 : 0);
    if (key != fRunKey) SelectRunTable(key);
    return fRunKinds;
  }
  void SelectRunTable(int key);

  // GetChar where the block is empty or a backslash comes next.
  bool GetCharAfterBlock(char* out);
  unsigned char NextRawByte();
  void Refill();
  void GiveBackReadAhead();

  RunTable fRunTables[kRunTableCache];
  int fRunTableCount = 0;
  int fRunKey = -1;
  const unsigned char* fRunKinds = nullptr;
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
