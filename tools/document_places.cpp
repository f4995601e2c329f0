#include "document_places.h"

#include "json_locations.h"
#include "notation_scan.h"
#include "typea_depth_scan.h"

namespace posctl {

SourceNode LocateDocumentValues(const InputSource& input, Format format, size_t maxDepth,
                                size_t object) {
  SourceTreeBuilder places;
  switch (format) {
    case Format::kNotation:
      ScanNotation(input.ReadAll(), maxDepth, &places);
      break;
    case Format::kJson:
      LocateJsonValues(input, &places);
      break;
    case Format::kTypeA: {
      TypeAScanner scanner(input, maxDepth);
      for (size_t i = 0; i < object && scanner.NextStream(nullptr); ++i) {
      }
      scanner.NextStream(&places);
      break;
    }
  }
  return places.Take();
}

}  // namespace posctl
