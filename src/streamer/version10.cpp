#include "streamer/version10.h"

#include "pos/pos_client.h"
#include "streamer/version10_routines.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

using namespace MOX_T_MT;

const StreamingParams kNumberForm = {'#', ' ', kNumberEscapes, true};
const StreamingParams kStringForm = {'"', '"', kStringEscapes, true};
const StreamingParams kUnicodeStringForm = {'`', '`', kUnicodeStringEscapes, true};
const StreamingParams kBinDataForm = {'{', '}', kBinDataEscapes, true};
const StreamingParams kRawPointerForm = {'$', ' ', kNumberEscapes, true};
const StreamingParams kArrayForm = {'[', ']', kArrayEscapes, true};
const StreamingParams kDictForm = {'<', '>', kDictEscapes, true};

namespace {

struct ReadEntry {
  const StreamingParams* form;
  ReadRoutine routine;
};

const ReadEntry kReadEntries[] = {
    {&kNumberForm, &ReadNumber},
    {&kStringForm, &ReadString},
    {&kUnicodeStringForm, &ReadUnicodeString},
    {&kBinDataForm, &ReadBinData},
    {&kRawPointerForm, &ReadRawPointer},
    {&kArrayForm, &ReadArray},
    {&kDictForm, &ReadDict},
};

struct WriteEntry {
  bool (*is)(const CPOSObject&);
  const StreamingParams* form;
  WriteRoutine routine;
};

// The classes are disjoint, so the order decides nothing but the cost: the
// classes that trees are mostly made of are asked first.
const WriteEntry kWriteEntries[] = {
    {&CPOSNumber::Is, &kNumberForm, &WriteNumber},
    {&CPOSString::Is, &kStringForm, &WriteString},
    {&CPOSDict::Is, &kDictForm, &WriteDict},
    {&CPOSArray::Is, &kArrayForm, &WriteArray},
    {&CPOSUnicodeString::Is, &kUnicodeStringForm, &WriteUnicodeString},
    {&CPOSBinData::Is, &kBinDataForm, &WriteBinData},
    {&CPOSRawPointer::Is, &kRawPointerForm, &WriteRawPointer},
};

}  // namespace

const StreamingParams* Version10::LookupReadParams(char openChar, ReadRoutine* routine) const {
  for (const ReadEntry& entry : kReadEntries) {
    if (entry.form->openChar == openChar) {
      *routine = entry.routine;
      return entry.form;
    }
  }
  *routine = nullptr;
  return nullptr;
}

const StreamingParams* Version10::LookupWriteParams(const CPOSObject& object,
                                                    WriteRoutine* routine) const {
  for (const WriteEntry& entry : kWriteEntries) {
    if (entry.is(object)) {
      *routine = entry.routine;
      return entry.form;
    }
  }
  *routine = nullptr;
  return nullptr;
}

StreamerBase* NewVersion10() {
  return new Version10;
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
