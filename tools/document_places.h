// The places of the values of a document, found again in the input that
// LoadDocument read it from, by the scanner of its format.
#ifndef POSCTL_DOCUMENT_PLACES_H_
#define POSCTL_DOCUMENT_PLACES_H_

#include <cstddef>

#include "input_source.h"
#include "source_tree.h"

namespace posctl {

// For TypeA, the stream at `object` (from 0).
SourceNode LocateDocumentValues(const InputSource& input, Format format, size_t maxDepth,
                                size_t object = 0);

}  // namespace posctl

#endif  // POSCTL_DOCUMENT_PLACES_H_
