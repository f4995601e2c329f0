// The places of the values and keys of a JSON input, which the JSON
// library's event parser doesn't give: a pass over the text of an input that
// has already been read as JSON, so well formed.
#ifndef POSCTL_JSON_LOCATIONS_H_
#define POSCTL_JSON_LOCATIONS_H_

#include "input_source.h"
#include "source_tree.h"

namespace posctl {

// Records the one top-level value of `input` in `places`, with keys as
// posctl reads them into POS: their characters in UTF-8.
void LocateJsonValues(const InputSource& input, SourceTreeBuilder* places);

}  // namespace posctl

#endif  // POSCTL_JSON_LOCATIONS_H_
