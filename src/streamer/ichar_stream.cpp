#include "streamer/ichar_stream.h"

#include "binding/errors.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

using MOX_T_MT::POSException;

ICharStream::ICharStream(const CMOXPositionableStreamRef& source) : CharStream(source) {}

ICharStream::~ICharStream() noexcept(false) {
  if (!Unwinding()) {
    GiveBackReadAhead();
    return;
  }
  // The stream still goes back to just behind the last byte consumed, so that
  // a caller can see where the failed read stopped.
  try {
    GiveBackReadAhead();
  } catch (...) {
  }
}

void ICharStream::GiveBackReadAhead() {
  const int64_t position = stream.Mark();
  // Positions are reckoned in 32 bits, as the format always has: a stream
  // longer than 2 GiB is not given back to the right place.
  const uint32_t back = static_cast<uint32_t>(position) - static_cast<uint32_t>(count);
  stream.Seek(static_cast<int64_t>(static_cast<int32_t>(back)), 0);
}

void ICharStream::SelectRunTable(int key) {
  RunTable* table = nullptr;
  for (int i = 0; i < fRunTableCount && table == nullptr; ++i) {
    if (fRunTables[i].key == key) table = &fRunTables[i];
  }
  if (table == nullptr) {
    // A stream given more forms than the cache holds starts it over.
    if (fRunTableCount == kRunTableCache) fRunTableCount = 0;
    table = &fRunTables[fRunTableCount++];
    table->key = key;
    const unsigned char close = static_cast<unsigned char>(key & 0xFF);
    const bool normalize = (key & 256) != 0;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const unsigned char given = normalize && IsStreamSpace(byte) ? ' ' : byte;
      table->kinds[byte] = given == '\\' || given == close ? kRunStop
                           : given != byte                 ? kRunSpace
                                                           : kRunPlain;
    }
  }
  fRunKey = key;
  fRunKinds = table->kinds;
}

bool ICharStream::GetCharAfterBlock(char* out) {
  // An octal escape whole in the block, the common escape of text that is
  // not ASCII: the same bytes and value as the way through NextRawByte.
  if (count >= 4 && cursor[0] == '\\' && cursor[1] >= '0' && cursor[1] <= '9') {
    const unsigned value = (cursor[1] - '0') * 64u + (cursor[2] - '0') * 8u + (cursor[3] - '0');
    cursor += 4;
    count -= 4;
    *out = static_cast<char>(static_cast<unsigned char>(value));
    return true;
  }
  const unsigned char byte = NextRawByte();
  *out = static_cast<char>(byte);
  if (byte != '\\') {
    if (params.normalizeSpace && IsStreamSpace(byte)) *out = ' ';
    return params.closeChar != *out;
  }
  const unsigned char first = NextRawByte();
  if (first >= '0' && first <= '9') {
    // Three digits, only the first one tested, and that one as a decimal
    // digit: "\8" and "\0zz" are taken, each digit as its byte minus '0'.
    const unsigned second = NextRawByte();
    const unsigned third = NextRawByte();
    const unsigned value = (first - '0') * 64u + (second - '0') * 8u + (third - '0');
    *out = static_cast<char>(static_cast<unsigned char>(value));
    return true;
  }
  for (const char* pair = params.escapes; pair[0] != 0; pair += 2) {
    if (static_cast<unsigned char>(pair[1]) == first) {
      *out = pair[0];
      return true;
    }
  }
  *out = 0;
  throw POSException("Unexpected escape sequence");
}

unsigned char ICharStream::NextRawByte() {
  if (count == 0) Refill();
  --count;
  return *cursor++;
}

void ICharStream::Refill() {
  cursor = bufferData;
  count = stream.Read(bufferData, kCharStreamBlockSize);
  if (count == 0) throw POSException("unexpected EOF");
}

uint64_t GetChars(ICharStream& in, char* dest, uint64_t wanted, bool mustFill, bool skipSpace) {
  uint64_t stored = 0;
  while (stored < wanted) {
    // Ordinary bytes in bulk; spaces count unless they are skipped.
    if (!skipSpace) stored += in.TakeRun(dest + stored, wanted - stored);
    if (stored == wanted) break;
    if (!in.GetChar(dest + stored)) break;
    if (skipSpace && IsStreamSpace(static_cast<unsigned char>(dest[stored]))) continue;
    ++stored;
  }
  if (mustFill && stored != wanted) throw POSException("GetChars ran out of input");
  return stored;
}

int getNextChar(const CMOXPositionableStreamRef& stream) {
  char byte = 0;
  if (stream.Read(&byte, 1) != 1) throw POSException("getNextChar unexpected EOF");
  return byte;
}

int getNextNonSpaceChar(const CMOXPositionableStreamRef& stream) {
  int byte;
  do {
    byte = getNextChar(stream);
  } while (byte == ' ');
  return byte;
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
