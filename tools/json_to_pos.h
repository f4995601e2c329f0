// JSON to POS objects. The JSON library's event parser drives the building,
// so no JSON document is held in memory beside the POS tree, and the
// nesting limit is enforced before a level is made.
#ifndef POSCTL_JSON_TO_POS_H_
#define POSCTL_JSON_TO_POS_H_

#include <optional>
#include <string>

#include "input_source.h"
#include "json_forms.h"
#include "library_session.h"

namespace posctl {

struct JsonInOptions {
  size_t maxDepth = 0;
  // The string that stands for null; without it null is refused, unless
  // `forms` is given.
  std::optional<std::string> nullAs;
  // When given, true, false, null and integers a double can't hold are
  // recorded here with their JSON text, and null is read as a placeholder
  // string (see json_forms.h).
  JsonSourceForms* forms = nullptr;
  // Integers beyond 2^53 change on the way in; say so, once per input.
  bool warnChangedIntegers = true;
};

// Objects become Dict, arrays Array, numbers Number, true and false the
// strings "true" and "false". A string whose characters all fit one byte
// becomes a String (Latin-1), any other a UnicodeString (UTF-16). An object
// of exactly the keys "$bindata" and "hex" becomes binary data. Anything but
// whitespace after the value is refused, a NUL byte included. Throws
// ToolError: a syntax error as "name:line:column: error: ..." with the line
// and a caret, a value with no POS form with its address.
Ref ReadJson(LibrarySession& session, const InputSource& input, const JsonInOptions& options);

}  // namespace posctl

#endif  // POSCTL_JSON_TO_POS_H_
