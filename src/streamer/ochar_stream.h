// The writing side of the character streams.
#ifndef MOXUTILS_STREAMER_OCHAR_STREAM_H_
#define MOXUTILS_STREAMER_OCHAR_STREAM_H_

#include <cstddef>
#include <cstdint>

#include "streamer/atom_cache.h"
#include "streamer/char_stream.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

class OCharStream final : public CharStream {
 public:
  // Asks isprint of the thread's locale about every byte value once, here:
  // the locale is not expected to change in the middle of one Serialize.
  explicit OCharStream(const CMOXPositionableStreamRef& source);
  // Writes what the block holds. Raises the stream's error (unless unwinding).
  ~OCharStream() noexcept(false) override;

  // Stores `c` under the current escape table: unprintable bytes and 0x7F as
  // a backslash and three octal digits, the raw half of a pair as a backslash
  // and its letter, anything else as it is.
  virtual void PutChar(char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (Special()[byte]) {
      PutEscaped(byte);
    } else {
      Store(c);
    }
  }

  // The atoms of the dictionary keys the writer looked up last, for the time
  // of one write: the dictionaries of a document share their keys.
  AtomCache atoms;

  // PutChar of each of the `length` bytes at `text`; runs of bytes that need
  // no escape are copied into the block as they are.
  void PutText(const char* text, size_t length);

  // PutText of a text made only of ASCII digits, '+', '-', '.' and 'e':
  // where none of these needs an escape under the current table, which is
  // asked once per table, the bytes are copied without a look at each.
  void PutDecimal(const char* text, size_t length);

  // Stores `c` unescaped. A full block is written only when one more byte
  // arrives, so a stream is never written early. Closing bytes go here.
  void Store(char c) {
    if (count == kCharStreamBlockSize) Flush();
    bufferData[count++] = static_cast<unsigned char>(c);
  }

 private:
  // For each byte value, whether PutChar does more than store it under one
  // escape table: the octal bytes and the raw half of every pair.
  struct SpecialBytes {
    const char* escapes;
    bool special[256];
    // No byte of a decimal text is special.
    bool decimalPlain;
  };
  // A stream meets a handful of tables, one per form; each is made once.
  static constexpr int kTableCache = 8;

  const bool* Special() {
    if (params.escapes != fSpecialFor) SwitchSpecial();
    return fSpecial;
  }
  bool DecimalPlain() {
    if (params.escapes != fSpecialFor) SwitchSpecial();
    return fDecimalPlain;
  }
  // Writing goes back and forth between two forms most of the time (a
  // container and its members): the table before the current one is kept
  // at hand.
  void SwitchSpecial() {
    const SpecialBytes* previous = fPrevious;
    fPrevious = fCurrent;
    if (previous != nullptr && previous->escapes == params.escapes) {
      fCurrent = previous;
      fSpecialFor = previous->escapes;
      fSpecial = previous->special;
      fDecimalPlain = previous->decimalPlain;
      return;
    }
    SelectSpecial();
  }
  void SelectSpecial();
  // The rules of PutChar for a byte of Special().
  void PutEscaped(unsigned char byte);
  void Flush();

  bool fOctal[256];
  SpecialBytes fTables[kTableCache];
  int fTableCount;
  const char* fSpecialFor;
  const bool* fSpecial;
  bool fDecimalPlain;
  // The tables of the current escapes and of the escapes before them.
  const SpecialBytes* fCurrent = nullptr;
  const SpecialBytes* fPrevious = nullptr;
};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_OCHAR_STREAM_H_
