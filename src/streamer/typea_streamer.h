// TypeAStreamer writes and reads POS objects as TypeA text: every object is
// framed by an opening and a closing byte, and the opening byte alone tells
// the reader which of the seven forms follows. The forms themselves (their
// bytes, tables and routines) belong to a version, which answers the two
// lookups.
//
// WriteObject and ReadObject are the recursive drivers: each installs the
// form of the object in the character stream for the time of its routine and
// puts the enclosing form back afterwards, also when the routine raises. Both
// refuse to go deeper when the thread's stack runs short
// (binding/stack_guard.h).
#ifndef MOXUTILS_STREAMER_TYPEA_STREAMER_H_
#define MOXUTILS_STREAMER_TYPEA_STREAMER_H_

#include <cstdint>

#include "streamer/ichar_stream.h"
#include "streamer/ochar_stream.h"
#include "streamer/streamer_base.h"
#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

class TypeAStreamer;

// Reads the content of one form, after its opening byte, up to and including
// its closing byte, and stores the object made in `result`.
using ReadRoutine = void (*)(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer,
                             ICharStream& in);
// Writes the content of one form, between its opening and closing bytes.
using WriteRoutine = void (*)(TypeAStreamer& streamer, OCharStream& out,
                              const MOX_T_MT::CPOSObject& object);

class TypeAStreamer : public StreamerBase {
 public:
  TypeAStreamer() : indentDepth(0) {}

  // An OCharStream on `stream` for the time of one WriteObject.
  void WriteStream(const CMOXPositionableStreamRef& stream,
                   const MOX_T_MT::CPOSObject& object) override;
  // An ICharStream on `stream` for the time of one ReadObject; the stream is
  // left just behind the object.
  MOX_T_MT::CPOSObject ReadStream(const CMOXPositionableStreamRef& stream) override;

  // Opening byte under the enclosing form, content under the object's own
  // form, closing byte raw. "Cannot determine writing params" for an object
  // that no form takes (an empty handle, say).
  virtual void WriteObject(OCharStream& out, const MOX_T_MT::CPOSObject& object);
  // Skips spaces, selects the form by its opening byte and reads it. Empty
  // when the enclosing form closes where an object should begin; "Cannot
  // determine streaming params" for a byte that opens no form.
  virtual MOX_T_MT::CPOSObject ReadObject(ICharStream& in);
  // ReadObject after its stack check and its opening byte `openChar`.
  MOX_T_MT::CPOSObject ReadForm(ICharStream& in, char openChar);

  // The form opened by `openChar` and its read routine, or null and null.
  virtual const StreamingParams* LookupReadParams(char openChar, ReadRoutine* routine) const = 0;
  // The form that writes `object` and its write routine, or null and null.
  virtual const StreamingParams* LookupWriteParams(const MOX_T_MT::CPOSObject& object,
                                                   WriteRoutine* routine) const = 0;

  // Writes LF and one TAB per level of `indentDepth`: the layout between the
  // parts of arrays, dictionaries and binary data.
  void PutLineBreak(OCharStream& out) const;

  // Nesting of the object being written; reading never uses it.
  int32_t indentDepth;
};

// Installs a form in a character stream and puts the previous one back at the
// end of the scope.
class ScopedParams {
 public:
  ScopedParams(CharStream& stream, const StreamingParams& form)
      : fStream(stream), fSaved(stream.params) {
    fStream.params = form;
  }
  ScopedParams(const ScopedParams&) = delete;
  ScopedParams& operator=(const ScopedParams&) = delete;
  ~ScopedParams() { fStream.params = fSaved; }

 private:
  CharStream& fStream;
  StreamingParams fSaved;
};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_TYPEA_STREAMER_H_
