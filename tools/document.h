// One object read from an input, and the way back to a file in the format
// it came in.
#ifndef POSCTL_DOCUMENT_H_
#define POSCTL_DOCUMENT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "input_source.h"
#include "json_forms.h"
#include "library_session.h"
#include "output_file.h"

namespace posctl {

// Deep enough for any real settings tree, and well inside the default 8 MiB
// stack for the library's recursive reader, writer and parser.
constexpr size_t kDefaultMaxDepth = 512;

struct InputOptions {
  std::string file = "-";
  std::optional<Format> from;
  size_t maxDepth = kDefaultMaxDepth;
  std::optional<std::string> nullAs;
  // Which TypeA stream of the input, from 0; without it there must be one.
  std::optional<size_t> object;
};

struct Document {
  Format format = Format::kNotation;
  Ref object;
  // TypeA: the bytes of the object's stream; those around it are kept.
  uint64_t streamStart = 0;
  uint64_t streamEnd = 0;
  // JSON read for an edit (see json_forms.h).
  JsonSourceForms jsonForms;
};

enum class Purpose {
  kRead,
  kEdit,   // JSON keeps its true, false, null and long integers as they were
  kCheck,  // JSON null is accepted, and counted in jsonForms
};

// Reads `input` as one object. Throws ToolError.
Document LoadDocument(LibrarySession& session, const InputSource& input,
                      const InputOptions& options, Purpose purpose);

// Writes `object` to `out` in `format`. What the format can't hold is refused
// before anything is written, naming `where`. `forms` may be null.
void WriteObject(LibrarySession& session, MOXContainer object, Format format, OutputFile& out,
                 bool compact, const JsonSourceForms* forms, const std::string& where);

// Writes the document, edited, to `out` in its own format; the other
// streams of a TypeA input go with it as they were.
void SaveDocument(LibrarySession& session, const Document& document, const InputSource& input,
                  OutputFile& out);

}  // namespace posctl

#endif  // POSCTL_DOCUMENT_H_
