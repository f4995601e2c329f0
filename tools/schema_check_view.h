// check-schema's view of the library's schema check. The check judges each
// entry of a schema as a union of ten definition forms, so one fault of an
// entry comes back once per form. The view keeps, of each entry, the lines
// of the one form that the entry's "category" selects, and says an unknown
// key in its own words, with the nearest key that form knows.
#ifndef POSCTL_SCHEMA_CHECK_VIEW_H_
#define POSCTL_SCHEMA_CHECK_VIEW_H_

#include <string>
#include <vector>

#include "fault_locator.h"
#include "schema_model.h"
#include "source_tree.h"

namespace posctl {

// One message of the view, at a place in the schema's source.
struct SchemaFault {
  FaultPlace place;
  std::string message;
};

// The ten forms of a definition, in the schema language's words, by the
// category that selects them: "int" selects IntDefn, and so on.
const std::vector<std::string>& SchemaCategories();

// `lines` are the check's lines for `schema`, read from `root`; `meta` is
// the meta-schema. With `raw`, every line as it came.
std::vector<SchemaFault> ViewSchemaCheck(const std::vector<std::string>& lines,
                                         const SchemaModel& schema, const SchemaModel& meta,
                                         const SourceNode& root, bool raw);

}  // namespace posctl

#endif  // POSCTL_SCHEMA_CHECK_VIEW_H_
