// POS objects to text notation, the literal syntax that the library's
// CreateFromText reads: what is written here reads back to an equal object.
//
// A string is a name where it can be one, else a parenthesised string with
// a backslash before each backslash and ')'. A Unicode string is four
// hexadecimal digits per unit between grave accents. A number is the
// shortest digits that read back to the same double, written without an
// exponent, which the notation lacks. Dictionaries and arrays take a line
// per member, indented with tabs; an array of a few scalars stays on one
// line.
#ifndef POSCTL_NOTATION_WRITER_H_
#define POSCTL_NOTATION_WRITER_H_

#include <string>

#include "library_session.h"
#include "text_sink.h"

namespace posctl {

// Writes `object` and a final line feed to `out`. What the notation can't
// hold is refused before anything is written: binary data, raw pointers,
// NaN and infinities, a string or key longer than 100 characters as written
// (backslashes count), a Unicode string of more than 100 units, a number
// whose digits take more than 100 characters. Throws ToolError naming
// `where` and the address of the first such value.
void WriteNotation(const Procs& procs, MOXContainer object, const TextSink& out,
                   const std::string& where);

}  // namespace posctl

#endif  // POSCTL_NOTATION_WRITER_H_
