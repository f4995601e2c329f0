#include "streamer/ochar_stream.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

OCharStream::OCharStream(const CMOXPositionableStreamRef& source)
    : CharStream(source),
      fTableCount(0),
      fSpecialFor(nullptr),
      fSpecial(nullptr),
      fDecimalPlain(false) {
  cursor = bufferData;
  // isprint follows the locale: bytes above 0x7F are octal in the "C" locale
  // and raw where the locale calls them printable. Both read back the same.
  for (unsigned byte = 0; byte < 256; ++byte) {
    fOctal[byte] = byte == 0x7F || (!std::isprint(static_cast<int>(byte)) && !IsStreamSpace(byte));
  }
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

void OCharStream::SelectSpecial() {
  SpecialBytes* table = nullptr;
  for (int i = 0; i < fTableCount && table == nullptr; ++i) {
    if (fTables[i].escapes == params.escapes) table = &fTables[i];
  }
  if (table == nullptr) {
    // A stream given more tables than the cache holds starts it over, and
    // the table kept at hand may be the one that goes.
    if (fTableCount == kTableCache) fTableCount = 0;
    table = &fTables[fTableCount++];
    if (fPrevious == table) fPrevious = nullptr;
    table->escapes = params.escapes;
    std::memcpy(table->special, fOctal, sizeof fOctal);
    // Every raw half counts, even one that an earlier pair already escapes:
    // PutEscaped applies the table's own order.
    for (const char* pair = params.escapes; pair[0] != 0; pair += 2) {
      table->special[static_cast<unsigned char>(pair[0])] = true;
      if (pair[1] == 0) break;
    }
    table->decimalPlain = true;
    for (const char* c = "0123456789+-.e"; *c != 0; ++c) {
      if (table->special[static_cast<unsigned char>(*c)]) table->decimalPlain = false;
    }
  }
  fCurrent = table;
  fSpecialFor = params.escapes;
  fSpecial = table->special;
  fDecimalPlain = table->decimalPlain;
}

void OCharStream::PutDecimal(const char* text, size_t length) {
  if (!DecimalPlain()) {
    PutText(text, length);
    return;
  }
  while (length != 0) {
    if (count == kCharStreamBlockSize) Flush();
    const size_t n = std::min<size_t>(kCharStreamBlockSize - count, length);
    std::memcpy(bufferData + count, text, n);
    count += n;
    text += n;
    length -= n;
  }
}

void OCharStream::PutEscaped(unsigned char byte) {
  if (fOctal[byte]) {
    // Four bytes that fit in the block go in at once; Store would not flush
    // for them either.
    if (count + 4 <= kCharStreamBlockSize) {
      unsigned char* const dest = bufferData + count;
      dest[0] = '\\';
      dest[1] = static_cast<unsigned char>('0' + (byte >> 6));
      dest[2] = static_cast<unsigned char>('0' + ((byte >> 3) & 7));
      dest[3] = static_cast<unsigned char>('0' + (byte & 7));
      count += 4;
      return;
    }
    Store('\\');
    Store(static_cast<char>('0' + (byte >> 6)));
    Store(static_cast<char>('0' + ((byte >> 3) & 7)));
    Store(static_cast<char>('0' + (byte & 7)));
    return;
  }
  const char c = static_cast<char>(byte);
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

void OCharStream::PutText(const char* text, size_t length) {
  const bool* const special = Special();
  const char* const end = text + length;
  while (text != end) {
    if (count == kCharStreamBlockSize) Flush();
    const size_t room = std::min<size_t>(kCharStreamBlockSize - count, end - text);
    // Checked and copied eight bytes at a time, without a branch per byte,
    // then byte by byte: most texts are short, and a call to memcpy would
    // cost more than the copy.
    unsigned char* const dest = bufferData + count;
    const unsigned char* const source = reinterpret_cast<const unsigned char*>(text);
    size_t plain = 0;
    while (plain + 8 <= room) {
      const unsigned char* const group = source + plain;
      if (special[group[0]] | special[group[1]] | special[group[2]] | special[group[3]] |
          special[group[4]] | special[group[5]] | special[group[6]] | special[group[7]]) {
        break;
      }
      std::memcpy(dest + plain, group, 8);
      plain += 8;
    }
    while (plain < room) {
      const unsigned char byte = static_cast<unsigned char>(text[plain]);
      if (special[byte]) break;
      dest[plain++] = byte;
    }
    count += plain;
    text += plain;
    if (plain < room) PutEscaped(static_cast<unsigned char>(*text++));
  }
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
