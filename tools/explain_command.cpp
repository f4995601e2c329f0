// explain: what a value at an address must be under a type of a schema.
#include <cstdio>

#include "commands.h"
#include "diagnostics.h"
#include "schema_explain.h"
#include "schema_source.h"

namespace posctl {

int RunExplain(const ExplainOptions& options) {
  const Address address = ParseAddress(options.at.address, options.at.pointer);
  LibrarySession session;
  const SchemaSource schema = LoadSchema(session, options.schema, options.maxDepth, kExitUsage);
  CheckTypeName(schema, options.type);
  const Explanation explanation = ExplainAddress(schema.model, options.type, address);
  for (const std::string& line : explanation.lines) std::printf("%s\n", line.c_str());
  if (explanation.allowed) return kExitOk;
  FailInput("posctl: error: type " + Printable(options.type) + " allows no value at " +
            address.DescribePrefix(address.steps.size()));
}

}  // namespace posctl
