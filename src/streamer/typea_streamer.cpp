#include "streamer/typea_streamer.h"

#include <algorithm>

#include "binding/errors.h"
#include "binding/stack_guard.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

using MOX_T_MT::CheckStackReserve;
using MOX_T_MT::CPOSObject;
using MOX_T_MT::POSException;

void TypeAStreamer::WriteStream(const CMOXPositionableStreamRef& stream, const CPOSObject& object) {
  OCharStream out(stream);
  WriteObject(out, object);
  // The destructor writes the last block.
}

CPOSObject TypeAStreamer::ReadStream(const CMOXPositionableStreamRef& stream) {
  // Declared outside the character stream's scope: when the seek back fails,
  // the object read is released on the way out.
  CPOSObject result;
  {
    ICharStream in(stream);
    result = ReadObject(in);
  }
  return result;
}

void TypeAStreamer::WriteObject(OCharStream& out, const CPOSObject& object) {
  CheckStackReserve();
  WriteRoutine routine = nullptr;
  const StreamingParams* form = LookupWriteParams(object, &routine);
  if (form == nullptr || routine == nullptr) throw POSException("Cannot determine writing params");
  out.PutChar(form->openChar);
  ScopedParams scope(out, *form);
  routine(*this, out, object);
  out.Store(form->closeChar);
}

CPOSObject TypeAStreamer::ReadObject(ICharStream& in) {
  CheckStackReserve();
  char openChar;
  if (!in.GetNonSpaceChar(&openChar)) return CPOSObject();
  return ReadForm(in, openChar);
}

CPOSObject TypeAStreamer::ReadForm(ICharStream& in, char openChar) {
  ReadRoutine routine = nullptr;
  const StreamingParams* form = LookupReadParams(openChar, &routine);
  if (form == nullptr || routine == nullptr) {
    throw POSException("Cannot determine streaming params");
  }
  ScopedParams scope(in, *form);
  CPOSObject result;
  routine(&result, *this, in);
  return result;
}

void TypeAStreamer::PutLineBreak(OCharStream& out) const {
  // The LF and the first run of TABs go in one call; deeper levels take
  // further runs of TABs.
  static const char kBreak[] = "\n\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
  constexpr int32_t kTabRun = sizeof kBreak - 2;
  const char* const tabs = kBreak + 1;
  const int32_t first = std::max(0, std::min(kTabRun, indentDepth));
  out.PutText(kBreak, static_cast<size_t>(1 + first));
  for (int32_t level = kTabRun; level < indentDepth; level += kTabRun) {
    out.PutText(tabs, static_cast<size_t>(std::min(kTabRun, indentDepth - level)));
  }
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
