#include "schema_source.h"

#include "diagnostics.h"
#include "nearest_name.h"
#include "tree_access.h"

namespace posctl {

SchemaSource LoadSchema(LibrarySession& session, const std::string& file, size_t maxDepth,
                        int failStatus) {
  try {
    InputSource input(file);
    InputOptions options;
    options.maxDepth = maxDepth;
    Document document = LoadDocument(session, input, options, Purpose::kRead);
    const Procs& procs = session.procs();
    MOXContainer schema = document.object.get();
    if (!procs.posDict.IsPOSDict(schema)) {
      FailInput("posctl: error: " + input.name() +
                ": a schema is a dictionary of named types, and this is " +
                DescribeObject(procs, schema));
    }
    SchemaModel model = SchemaModel::Read(procs, schema);
    return SchemaSource{std::move(input), std::move(document), std::move(model)};
  } catch (const ToolError& error) {
    if (error.status() != kExitBadInput) throw;
    throw ToolError(failStatus, error.what());
  }
}

void CheckTypeName(const SchemaSource& schema, const std::string& type) {
  if (SchemaModel::IsBuiltin(type) || schema.model.HasKey(type)) return;
  std::vector<std::string> names = schema.model.keys();
  const std::vector<std::string>& builtins = SchemaModel::BuiltinNames();
  names.insert(names.end(), builtins.begin(), builtins.end());
  const std::string nearest = NearestName(type, names);
  throw ToolError(kExitUsage, "posctl: error: '" + Printable(type) + "' is no type of " +
                                  schema.input.name() + " and no built-in type" +
                                  (nearest.empty() ? "" : "; did you mean '" + nearest + "'?"));
}

}  // namespace posctl
