// What check-schema --strict warns of: definitions that the meta-schema
// accepts but that can't mean what they say when a value is validated.
//
//  - the category "objref", which the validator refuses;
//  - a type named like a built-in type, which the validator never consults;
//  - "min" above "max", or "minlen" above "maxlen": no value passes both;
//  - a union with an empty or missing "set", which fails every value
//    without a line;
//  - "valuetype" without "keytype": every member that "required" and
//    "optional" don't name is still unknown;
//  - a length that is no whole number, which acts as the next whole number
//    while messages show it cut short.
#ifndef POSCTL_SCHEMA_WARNINGS_H_
#define POSCTL_SCHEMA_WARNINGS_H_

#include <string>
#include <vector>

#include "schema_model.h"
#include "source_tree.h"

namespace posctl {

struct SchemaWarning {
  Location at;  // the key or value the warning is about
  std::string message;
};

// In the order of the schema's keys. `root` is where the schema was read.
std::vector<SchemaWarning> FindSchemaWarnings(const SchemaModel& schema, const SourceNode& root);

// A number as the notation writes it: the shortest digits that read back the
// same.
std::string ShortNumber(double value);

}  // namespace posctl

#endif  // POSCTL_SCHEMA_WARNINGS_H_
