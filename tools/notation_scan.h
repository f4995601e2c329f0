// A pass over text notation before the library sees it. The library's parser
// recurses once per level and refuses a text too deep for the thread's stack,
// at a depth that depends on the stack and the build, so the nesting depth is
// measured here first, against a limit that is the same on every machine.
// The same pass follows the grammar the way the library's parser does,
// because the parser reports only where it stopped, never why: the reason
// shown to the user comes from this pass.
#ifndef POSCTL_NOTATION_SCAN_H_
#define POSCTL_NOTATION_SCAN_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "source_tree.h"

namespace posctl {

struct NotationScan {
  // Deepest nesting of arrays and dictionaries reached; the scan stops at the
  // first container that goes past the limit.
  size_t depth = 0;
  bool tooDeep = false;
  size_t tooDeepOffset = 0;  // the bracket that went past the limit

  // The first syntax error, where the library's parser stops on it.
  bool hasError = false;
  size_t errorOffset = 0;
  std::string errorMessage;
};

// `text` ends at its first NUL byte, as it does for the library. With
// `places`, the place of every value and key goes there, keys as the
// library reads them.
NotationScan ScanNotation(std::string_view text, size_t maxDepth,
                          SourceTreeBuilder* places = nullptr);

}  // namespace posctl

#endif  // POSCTL_NOTATION_SCAN_H_
