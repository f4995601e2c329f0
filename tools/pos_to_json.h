// POS objects to JSON text, the way back of json_to_pos.
#ifndef POSCTL_POS_TO_JSON_H_
#define POSCTL_POS_TO_JSON_H_

#include <string>

#include "json_forms.h"
#include "library_session.h"
#include "text_sink.h"

namespace posctl {

struct JsonOutOptions {
  bool compact = false;  // one line, no blanks; otherwise two-space indents
  // Values read from JSON for an edit are written back in their own text.
  const JsonSourceForms* forms = nullptr;
};

// Writes `object` and a final line feed to `out`. A String's bytes are
// Latin-1 characters, a key's bytes UTF-8 (any other byte Latin-1); a
// UnicodeString is UTF-16; binary data becomes {"$bindata": TYPE, "hex":
// "..."}. NaN, infinities, raw pointers and unpaired surrogates have no JSON
// form: the whole object is checked first, and then nothing is written.
// Throws ToolError naming `where` and the address of the first such value.
void WriteJson(LibrarySession& session, MOXContainer object, const TextSink& out,
               const JsonOutOptions& options, const std::string& where);

}  // namespace posctl

#endif  // POSCTL_POS_TO_JSON_H_
