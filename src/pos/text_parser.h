// The POS text notation: compact literals for POS objects, such as
// "< category string oneof [int] >". Nothing in the library writes it; it is
// read by CreateFromText, slot 3 of "POSObjectStatics".
//
//   <key value ...>  Dict       [value ...]   Array
//   name             String     (any text)    String, `\` quotes the next char
//   `0041`           UnicodeString, big-endian hexadecimal units
//   -1.5             Number, digits and points after an optional sign
//
// The parser builds the library's own objects directly, each given its
// container at once and held in a CPOSObject, so a failed parse leaves no
// object behind. A dictionary key becomes an atom only, never a String.
//
// Nesting is by recursion, a frame or two of a few hundred bytes for each
// level. A text nested deeper than the calling thread's stack allows is
// refused with the report "nesting too deep for the stack"
// (binding/stack_guard.h).
#ifndef MOXUTILS_POS_TEXT_PARSER_H_
#define MOXUTILS_POS_TEXT_PARSER_H_

#include "MOXTypes.h"
#include "POSProcs.h"

namespace NPOSObjectImpl {

namespace POSObjectStaticsEntries {
// The entry of CreateFromText (POSObjectCreateFromTextProc). Returns the
// object, unowned, or null when the text is not well formed. When `position`
// is not null it is cleared first; on a syntax error it receives the place in
// `text` where parsing stopped, and stays null otherwise. Syntax errors are
// not reported; any other failure (out of memory, a missing interface, a text
// nested too deep for the stack) is reported through MOXReportError and gives
// null, with `position` left null.
MOXContainer CreateFromText(const char* text, const char** position);
}  // namespace POSObjectStaticsEntries

// The same parse, also telling which syntax error stopped it: `message`
// receives the error's text, or null when there was none. The entry drops the
// text; this is for tests and diagnostics inside the library.
MOXContainer CreateFromTextWithMessage(const char* text, const char** position,
                                       const char** message);

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_TEXT_PARSER_H_
