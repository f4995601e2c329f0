// check-schema: the library's check of a schema against the schema
// language, each fault shown where it is in the schema's source, and with
// --strict what the language accepts but can't mean what it says.
#include <cstdio>
#include <exception>

#include "POSValidatorProcs.h"

#include "commands.h"
#include "diagnostics.h"
#include "document_places.h"
#include "fault_lines.h"
#include "fault_report.h"
#include "schema_check_view.h"
#include "schema_source.h"
#include "schema_warnings.h"

namespace posctl {

namespace {

SchemaModel ReadMetaSchema(LibrarySession& session) {
  const Procs& procs = session.procs();
  const char* stop = nullptr;
  Ref meta(procs, procs.posStatics.CreateFromText(POS_STRUCT_VALIDATOR_META_SCHEMA_TEXT, &stop));
  if (!meta || !procs.posDict.IsPOSDict(meta.get())) {
    FailInput("posctl: error: the library can't read the schema language's own schema");
  }
  return SchemaModel::Read(procs, meta.get());
}

}  // namespace

int RunCheckSchema(const CheckSchemaOptions& options) {
  LibrarySession session;
  const Procs& procs = session.procs();
  const SchemaSource schema = LoadSchema(session, options.schema, options.maxDepth, kExitBadInput);
  FaultLines collected;
  bool valid = false;
  try {
    valid =
        procs.posStructValidator.ValidateSchema(schema.document.object.get(), FaultLines::Collect);
  } catch (const std::exception& error) {
    // The check lets the library's own failures through, where Validate
    // would have reported them.
    FailInput("posctl: error: " + schema.input.name() +
              ": the library stopped checking: " + error.what());
  }
  const SourceNode places =
      LocateDocumentValues(schema.input, schema.document.format, options.maxDepth);
  if (!valid) {
    const SchemaModel meta = ReadMetaSchema(session);
    for (const SchemaFault& fault :
         ViewSchemaCheck(collected.lines, schema.model, meta, places, options.raw)) {
      std::fputs(FormatFault(schema.input, fault.place, Printable(fault.message)).c_str(), stderr);
    }
  }
  size_t warnings = 0;
  if (options.strict) {
    for (const SchemaWarning& warning : FindSchemaWarnings(schema.model, places)) {
      std::fputs(FormatAt(schema.input, warning.at, Printable(warning.message), "warning").c_str(),
                 stderr);
      ++warnings;
    }
  }
  if (valid && warnings == 0) {
    std::printf("%s: valid schema\n", schema.input.name().c_str());
    return kExitOk;
  }
  return kExitBadInput;
}

}  // namespace posctl
