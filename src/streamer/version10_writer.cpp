// The write routines of Version10.
#include <cstdio>
#include <cstring>

#include "binding/stack_guard.h"
#include "pos/pos_client.h"
#include "streamer/number_text.h"
#include "streamer/version10.h"
#include "streamer/version10_routines.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

using namespace MOX_T_MT;

namespace {

// Bytes of binary data per line: 80 hexadecimal digits.
constexpr unsigned kBinDataBytesPerLine = 40;

void PutText(OCharStream& out, const char* text) {
  out.PutText(text, std::strlen(text));
}

// The String form around `text`, as WriteObject writes a String object of
// it: the stack check, the opening byte under the enclosing form, the text
// under the String form, the closing byte raw. Dictionary keys go out this
// way without a String object made for each.
void WriteStringForm(OCharStream& out, const char* text) {
  CheckStackReserve();
  out.PutChar(kStringForm.openChar);
  ScopedParams scope(out, kStringForm);
  PutText(out, text);
  out.Store(kStringForm.closeChar);
}

}  // namespace

size_t TrimNumberText(char* text, size_t length) {
  // One pass for both questions: only "+-0123456789.,", and a separator.
  bool separator = false;
  for (size_t i = 0; i < length; ++i) {
    const char c = text[i];
    if (c == '.' || c == ',') {
      separator = true;
    } else if (!((c >= '0' && c <= '9') || c == '+' || c == '-')) {
      return length;
    }
  }
  if (!separator) return length;
  while (length > 1 && text[length - 1] == '0') --length;
  if (length > 1 && (text[length - 1] == '.' || text[length - 1] == ',')) --length;
  text[length] = 0;
  return length;
}

// Numbers and strings, the leaves of most trees, are read through the slots
// of their client table, which the lookup has just refreshed and asked: a
// typed handle would only ask the class a second time.
void WriteNumber(TypeAStreamer&, OCharStream& out, const CPOSObject& object) {
  const double value = gPOSNumberClient.Proc<POSNumberSlots::Get>()(object.Container());
  // 32 significant digits are more than a double needs, so every finite
  // value reads back exactly. The separator is the locale's.
  char text[kNumberTextSize];
  bool decimal = false;
  size_t length = FormatNumberText(value, text, &decimal);
  // Only a text that ends in '0' or a separator can lose anything.
  const char last = text[length - 1];
  if (last == '0' || last == '.' || last == ',') length = TrimNumberText(text, length);
  if (decimal) {
    out.PutDecimal(text, length);
  } else {
    out.PutText(text, length);
  }
}

void WriteString(TypeAStreamer&, OCharStream& out, const CPOSObject& object) {
  PutText(out, gPOSStringClient.Proc<POSStringSlots::Get>()(object.Container()));
}

void WriteUnicodeString(TypeAStreamer&, OCharStream& out, const CPOSObject& object) {
  CPOSUnicodeString string(object);
  for (const uint16_t* unit = string.Get(); *unit != 0; ++unit) {
    // High byte in capitals, low byte in lower case: "00e9", "ABcd". Readers
    // have always relied on this look, so it stays.
    static const char kHigh[] = "0123456789ABCDEF";
    static const char kLow[] = "0123456789abcdef";
    const char group[4] = {kHigh[*unit >> 12], kHigh[(*unit >> 8) & 0xF], kLow[(*unit >> 4) & 0xF],
                           kLow[*unit & 0xF]};
    out.PutText(group, sizeof group);
  }
}

void WriteBinData(TypeAStreamer& streamer, OCharStream& out, const CPOSObject& object) {
  CPOSBinData data(object);
  const char* typeName = data.GetTypeName();
  streamer.WriteObject(out, CPOSString::New(typeName != nullptr ? typeName : ""));
  out.PutChar(' ');
  const uint64_t size = data.GetSize();
  // Sizes travel as numbers, so above 2^53 they lose their low bits.
  streamer.WriteObject(out, CPOSNumber::New(static_cast<double>(size)));
  out.PutChar(' ');
  ++streamer.indentDepth;
  static const char kDigits[] = "0123456789ABCDEF";
  const unsigned char* bytes = static_cast<const unsigned char*>(data.GetBinData());
  unsigned column = 0;
  for (uint64_t index = 0; index < size; ++index) {
    if (column == 0) streamer.PutLineBreak(out);
    out.PutChar(kDigits[bytes[index] >> 4]);
    out.PutChar(kDigits[bytes[index] & 0xF]);
    if (++column == kBinDataBytesPerLine) column = 0;
  }
  --streamer.indentDepth;
  streamer.PutLineBreak(out);
}

void WriteRawPointer(TypeAStreamer&, OCharStream& out, const CPOSObject& object) {
  CPOSRawPointer pointer(object);
  // For debugging only: no reader takes it back.
  char text[64];
  std::snprintf(text, sizeof text, "%p", pointer.GetRawPointer());
  PutText(out, text);
}

void WriteArray(TypeAStreamer& streamer, OCharStream& out, const CPOSObject& object) {
  CPOSArray array(object);
  ++streamer.indentDepth;
  // Count is asked before each member, so the loop follows the array as it is.
  for (uint32_t index = 0; index < array.Count(); ++index) {
    streamer.PutLineBreak(out);
    streamer.WriteObject(out, array.GetAt(index));
  }
  --streamer.indentDepth;
  streamer.PutLineBreak(out);
}

void WriteDict(TypeAStreamer& streamer, OCharStream& out, const CPOSObject& object) {
  CPOSDict dict(object);
  ++streamer.indentDepth;
  // The iterator's order, ascending by key; nothing is sorted here. A new
  // iterator stands on the first key already.
  CPOSDictIterator iterator(dict);
  for (; !iterator.IsDone(); iterator.Next()) {
    const char* key = iterator.CurKey();
    streamer.PutLineBreak(out);
    WriteStringForm(out, key);
    out.PutChar(' ');
    streamer.WriteObject(out, dict.Get(out.atoms.Find(key)));
  }
  --streamer.indentDepth;
  streamer.PutLineBreak(out);
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
