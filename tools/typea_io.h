// TypeA in and out, through the library's streamer and the runtime's streams.
#ifndef POSCTL_TYPEA_IO_H_
#define POSCTL_TYPEA_IO_H_

#include <cstdint>
#include <optional>

#include "input_source.h"
#include "library_session.h"
#include "output_file.h"
#include "runtime_streams.h"

namespace posctl {

// Reads the TypeA streams of an input one after another. Whitespace between
// streams is skipped, so that files joined with line feeds read as well.
class TypeAReader {
 public:
  // Measures the nesting of the whole input first, and refuses it when it
  // goes deeper than `maxDepth`.
  TypeAReader(LibrarySession& session, const InputSource& input, size_t maxDepth);

  // The next object, or an empty Ref at the end of the input. A stream the
  // library refuses throws ToolError: "name:line:column: error: ..." where
  // the library stopped reading, with the line and a caret.
  Ref Next();
  // True when nothing but whitespace is left.
  bool AtEnd() { return !SkipWhitespace(); }
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

// One object of a TypeA input, and the bytes its stream takes there.
struct TypeAObject {
  Ref object;
  uint64_t start = 0;
  uint64_t end = 0;
};

// The object at index `which` (from 0) of the input's streams; without
// `which` the input must hold exactly one. Throws ToolError otherwise.
TypeAObject ReadTypeAObject(LibrarySession& session, const InputSource& input, size_t maxDepth,
                            std::optional<size_t> which);

// Writes `object` to `out` as one TypeA stream: the version name, a space,
// the object, and nothing after it.
void WriteTypeA(LibrarySession& session, OutputFile& out, MOXContainer object);

}  // namespace posctl

#endif  // POSCTL_TYPEA_IO_H_
