// A schema read from a file in any of posctl's formats, for validate,
// check-schema and explain.
#ifndef POSCTL_SCHEMA_SOURCE_H_
#define POSCTL_SCHEMA_SOURCE_H_

#include <string>

#include "document.h"
#include "input_source.h"
#include "library_session.h"
#include "schema_model.h"

namespace posctl {

struct SchemaSource {
  InputSource input;
  Document document;  // its object is the schema, a dictionary
  SchemaModel model;
};

// Reads the schema in `file`. One that can't be read, or that is no
// dictionary, throws ToolError with `failStatus`.
SchemaSource LoadSchema(LibrarySession& session, const std::string& file, size_t maxDepth,
                        int failStatus);

// Throws ToolError with exit status 2 unless `type` is a built-in name or a
// key of the schema, saying which name was perhaps meant.
void CheckTypeName(const SchemaSource& schema, const std::string& type);

}  // namespace posctl

#endif  // POSCTL_SCHEMA_SOURCE_H_
