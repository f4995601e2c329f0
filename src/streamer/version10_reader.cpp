// The read routines of Version10. Each is entered just after the opening byte
// of its form, with the form installed in the character stream, and leaves
// after the closing byte.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/stack_guard.h"
#include "binding/string_holder.h"
#include "pos/pos_client.h"
#include "streamer/number_text.h"
#include "streamer/version10.h"
#include "streamer/version10_routines.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

using namespace MOX_T_MT;

namespace {

// A block of the runtime's memory that grows by doubling and is freed on
// every way out.
class GrowingBlock {
 public:
  explicit GrowingBlock(uint64_t bytes) : fData(MOXMemory::AllocOrThrow(bytes)), fBytes(bytes) {}
  GrowingBlock(const GrowingBlock&) = delete;
  GrowingBlock& operator=(const GrowingBlock&) = delete;
  ~GrowingBlock() { MOXMemory::Free(fData); }

  void Double() {
    fData = MOXMemory::ReallocOrThrow(fData, fBytes * 2);
    fBytes *= 2;
  }
  void* Data() const { return fData; }
  uint64_t Bytes() const { return fBytes; }

 private:
  void* fData;
  uint64_t fBytes;
};

// The text of a String form as it is read: most texts are short and stay on
// the stack; a longer one moves to the runtime's memory and grows there by
// doubling, freed on every way out.
class TextBuffer {
 public:
  TextBuffer() : fData(fLocal), fBytes(sizeof fLocal) {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer() {
    if (fData != fLocal) MOXMemory::Free(fData);
  }

  void Double() {
    if (fData == fLocal) {
      char* moved = static_cast<char*>(MOXMemory::AllocOrThrow(fBytes * 2));
      std::memcpy(moved, fLocal, fBytes);
      fData = moved;
    } else {
      fData = static_cast<char*>(MOXMemory::ReallocOrThrow(fData, fBytes * 2));
    }
    fBytes *= 2;
  }
  char* Data() const { return fData; }
  uint64_t Bytes() const { return fBytes; }

 private:
  char fLocal[256];
  char* fData;
  uint64_t fBytes;
};

// Reads the content of a String form, up to and including its closing byte,
// into `text`, terminated. A zero byte from "\000" ends the text there.
void ReadStringText(ICharStream& in, TextBuffer& text) {
  uint64_t length = 0;
  for (;;) {
    length += in.TakeRun(text.Data() + length, text.Bytes() - length);
    if (length == text.Bytes()) {
      text.Double();
      continue;
    }
    char c;
    if (!in.GetChar(&c)) break;
    text.Data()[length++] = c;
    if (length == text.Bytes()) text.Double();
  }
  // The doubling above always leaves room for the terminator.
  text.Data()[length] = 0;
}

// The key of the next entry of a dictionary, as its atom; false where the
// dictionary closes. A key in the String form is read straight into its
// atom, with no String object made for it, under the same stack check as
// ReadObject. Any other object is read as ReadObject reads it and then
// refused, as the conversion to a String refuses it.
bool ReadKey(TypeAStreamer& streamer, ICharStream& in, CMOXStringHolder* key) {
  CheckStackReserve();
  char openChar;
  if (!in.GetNonSpaceChar(&openChar)) return false;
  if (openChar == kStringForm.openChar) {
    ScopedParams scope(in, kStringForm);
    TextBuffer text;
    ReadStringText(in, text);
    *key = in.atoms.Get(text.Data(), std::strlen(text.Data()));
    return true;
  }
  CPOSString keyObject(streamer.ReadForm(in, openChar));
  *key = CMOXStringHolder(keyObject.Get());
  return true;
}

// Room for 63 bytes of number text and a terminator.
constexpr uint64_t kNumberTextLimit = 63;
// Unicode strings start with room for 32 units.
constexpr uint64_t kInitialUnits = 32;

// The byte count of a binary data object from its size number. The value is
// cut towards zero; a negative one wraps to a huge count, as an unsigned
// conversion would, and one past the largest count saturates: either way the
// allocation that follows refuses it.
uint64_t SizeFromNumber(double value) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (!(value < 2 * kTwoTo63)) return UINT64_MAX;  // +inf too
  if (value >= kTwoTo63) return static_cast<uint64_t>(value);
  if (value > -kTwoTo63) return static_cast<uint64_t>(static_cast<int64_t>(value));
  return static_cast<uint64_t>(1) << 63;  // -inf and below
}

}  // namespace

void ReadNumber(CPOSObject* result, TypeAStreamer&, ICharStream& in) {
  char text[kNumberTextLimit + 1];
  const uint64_t length = GetChars(in, text, kNumberTextLimit, false, false);
  text[length] = 0;
  // Only the characters of a plain or exponent decimal; a zero byte from an
  // escape ends the check early and so fails it too.
  if (length == 0 || length == kNumberTextLimit || std::strspn(text, "+-0123456789.Ee") != length) {
    throw POSException("malformed number");
  }
  // Whatever follows the numeric prefix is ignored: "1-2" reads as 1.
  *result = CPOSNumber::New(ParseNumberText(text, length));
}

void ReadString(CPOSObject* result, TypeAStreamer&, ICharStream& in) {
  TextBuffer text;
  ReadStringText(in, text);
  *result = CPOSString::New(text.Data());
}

void ReadUnicodeString(CPOSObject* result, TypeAStreamer&, ICharStream& in) {
  GrowingBlock block(kInitialUnits * sizeof(uint16_t));
  uint64_t units = 0;
  // A group that does not scan keeps the bytes of the group before it; the
  // first group of a string starts from zeros.
  unsigned high = 0;
  unsigned low = 0;
  for (;;) {
    char group[5];
    const uint64_t got = GetChars(in, group, 4, false, false);
    if (got == 0) break;
    if (got != 4) throw POSException("malformed Unicode string");
    group[4] = 0;
    std::sscanf(group, "%02X%02x", &high, &low);
    static_cast<uint16_t*>(block.Data())[units++] = static_cast<uint16_t>((high << 8) | low);
    if (units * sizeof(uint16_t) == block.Bytes()) block.Double();
  }
  static_cast<uint16_t*>(block.Data())[units] = 0;
  *result = CPOSUnicodeString::New(static_cast<const uint16_t*>(block.Data()));
}

void ReadBinData(CPOSObject* result, TypeAStreamer& streamer, ICharStream& in) {
  CPOSString typeName(streamer.ReadObject(in));
  CPOSNumber sizeNumber(streamer.ReadObject(in));
  const uint64_t size = SizeFromNumber(sizeNumber.Get());
  // One block of exactly the size; none at all for an empty object.
  void* data = nullptr;
  if (size != 0) {
    data = MOXMemory::Alloc(size);
    if (data == nullptr) throw std::bad_alloc();
  }
  struct FreeOnExit {
    void* block;
    ~FreeOnExit() {
      if (block != nullptr) MOXMemory::Free(block);
    }
  } owner{data};
  unsigned char* bytes = static_cast<unsigned char*>(data);
  // Like a failed group of a Unicode string, a pair that does not scan keeps
  // the value of the pair before it.
  unsigned value = 0;
  for (uint64_t index = 0; index < size; ++index) {
    char pair[3];
    GetChars(in, pair, 2, true, true);
    pair[2] = 0;
    std::sscanf(pair, "%x", &value);
    bytes[index] = static_cast<unsigned char>(value);
  }
  char c;
  while (in.GetChar(&c)) {
    if (!IsStreamSpace(static_cast<unsigned char>(c))) {
      throw POSException("Unexpected chars after binary data");
    }
  }
  *result = CPOSBinData::New(typeName.Get(), data, size);
}

void ReadRawPointer(CPOSObject*, TypeAStreamer&, ICharStream&) {
  throw POSException("Cannot meaningfully read in a raw pointer (write is for debugging only)");
}

void ReadArray(CPOSObject* result, TypeAStreamer& streamer, ICharStream& in) {
  CPOSArray array = CPOSArray::New();
  // The array is new and no one else sees it: it holds what was appended.
  uint32_t count = 0;
  for (;;) {
    CPOSObject member = streamer.ReadObject(in);
    if (member.IsEmpty()) break;
    array.Append(member);
    // Append reports its own failure and returns; the only one a valid member
    // can meet is exhausted memory, and a tree with a hole in it must not
    // pass for the one in the stream.
    if (array.Count() == count) throw std::bad_alloc();
    ++count;
  }
  *result = array;
}

void ReadDict(CPOSObject* result, TypeAStreamer& streamer, ICharStream& in) {
  CPOSDict dict = CPOSDict::New();
  for (;;) {
    CMOXStringHolder key;
    if (!ReadKey(streamer, in, &key)) break;
    CPOSObject value = streamer.ReadObject(in);
    if (value.IsEmpty()) throw POSException("missing dictionary value");
    // A repeated key replaces the earlier value.
    dict.Put(key, value);
    // As for arrays: Put reports a failure and returns, and then the key does
    // not hold the value just read. The value is only looked at, so the
    // Get slot is asked directly, without a reference of its own.
    if (gPOSDictClient.Proc<POSDictSlots::Get>()(dict.Container(), key.Atom()) !=
        value.Container()) {
      throw std::bad_alloc();
    }
  }
  *result = dict;
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
