// Text notation in, through the library's CreateFromText.
#ifndef POSCTL_NOTATION_IO_H_
#define POSCTL_NOTATION_IO_H_

#include "input_source.h"
#include "library_session.h"

namespace posctl {

// Parses the whole input as one object. A syntax error throws ToolError with
// "file:line:column: error: message", the line and a caret; the position is
// the one where the library's parser stopped.
Ref ReadNotation(LibrarySession& session, const InputSource& input, size_t maxDepth);

}  // namespace posctl

#endif  // POSCTL_NOTATION_IO_H_
