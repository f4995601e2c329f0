// TypeA in and out, through the library's streamer and the runtime's streams.
#ifndef POSCTL_TYPEA_IO_H_
#define POSCTL_TYPEA_IO_H_

#include <cstdint>

#include "input_source.h"
#include "library_session.h"
#include "runtime_streams.h"

namespace posctl {

// Reads the TypeA streams of a file one after another. Whitespace between
// streams is skipped, so that files joined with line feeds read as well.
class TypeAReader {
 public:
  // Measures the nesting of the whole input first, and refuses it when it
  // goes deeper than `maxDepth`.
  TypeAReader(LibrarySession& session, const InputSource& input, size_t maxDepth);

  // The next object, or an empty Ref at the end of the input. A stream the
  // library refuses throws ToolError with the library's report and the byte
  // offset where it stopped reading.
  Ref Next();
  // Byte offset where the object last returned began.
  int64_t lastStart() const { return lastStart_; }
  // Byte offset just behind the last object read.
  int64_t Position() { return stream_.Position(); }

 private:
  bool SkipWhitespace();

  LibrarySession& session_;
  const InputSource& input_;
  RuntimeStream stream_;
  Ref streamer_;
  int64_t lastStart_ = 0;
};

// Reads exactly one object; more streams after it are refused, naming `cat`.
Ref ReadSingleTypeA(LibrarySession& session, const InputSource& input, size_t maxDepth);

// Writes `object` as one TypeA stream: the version name, a space, the object.
void WriteTypeA(LibrarySession& session, RuntimeStream& out, MOXContainer object);

}  // namespace posctl

#endif  // POSCTL_TYPEA_IO_H_
