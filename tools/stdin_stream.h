// Standard input as validate reads it: copied into one of the library's
// self-deleting temporary-file streams ("MOXUtilsTempFileStreamFactory"),
// and read back at any offset through an independent copy of that stream.
//
// The library's file has a name from the moment it is made. posctl gives
// the file up as soon as standard input is copied: it reads through a copy,
// and lets the stream that made the file go, which removes the name. Until
// then posctl's signal handlers remove it; only SIGKILL while standard input
// is still coming can leave it.
#ifndef POSCTL_STDIN_STREAM_H_
#define POSCTL_STDIN_STREAM_H_

#include "input_source.h"
#include "library_session.h"

namespace posctl {

// Reads all of standard input. The result, named "<stdin>", must not
// outlive `session`. Throws ToolError.
InputSource ReadStandardInputThroughLibrary(LibrarySession& session);

}  // namespace posctl

#endif  // POSCTL_STDIN_STREAM_H_
