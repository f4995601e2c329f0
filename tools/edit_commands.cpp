// set and delete: a file changed at one address and written back whole, in
// its own format, through the output's safe replace.
#include "commands.h"
#include "diagnostics.h"
#include "json_to_pos.h"
#include "library_session.h"
#include "notation_io.h"
#include "output_file.h"
#include "tree_access.h"

namespace posctl {
namespace {

// An edit rewrites FILE itself unless -o names another output; an edit of
// standard input goes to standard output.
OutputFile OpenEditOutput(const InputOptions& input, const std::optional<std::string>& output) {
  if (output) return OutputFile(*output, OutputFile::Kind::kAny);
  return OutputFile(input.file, OutputFile::Kind::kEditedInPlace);
}

// VALUE of set, read in the notation or as JSON. A JSON value that goes
// into a JSON file keeps its true, false and null.
Ref ReadValue(LibrarySession& session, const SetOptions& options, Document& document) {
  const InputSource value = InputSource::FromText("<value>", options.value);
  if (!options.valueIsJson) return ReadNotation(session, value, options.input.maxDepth);
  JsonInOptions json{options.input.maxDepth, options.input.nullAs, nullptr, true};
  if (document.format == Format::kJson) json.forms = &document.jsonForms;
  return ReadJson(session, value, json);
}

}  // namespace

int RunSet(const SetOptions& options) {
  LibrarySession session;
  const Address address = ParseAddress(options.at.address, options.at.pointer);
  OutputFile out = OpenEditOutput(options.input, options.output);
  InputSource input(options.input.file);
  Document document = LoadDocument(session, input, options.input, Purpose::kEdit);
  const Ref value = ReadValue(session, options, document);
  document.object =
      SetAt(session.procs(), document.object, address, value, options.parents, input.name());
  SaveDocument(session, document, input, out);
  out.Commit();
  return kExitOk;
}

int RunDelete(const DeleteOptions& options) {
  LibrarySession session;
  const Address address = ParseAddress(options.at.address, options.at.pointer);
  OutputFile out = OpenEditOutput(options.input, options.output);
  InputSource input(options.input.file);
  Document document = LoadDocument(session, input, options.input, Purpose::kEdit);
  DeleteAt(session.procs(), document.object.get(), address, input.name());
  SaveDocument(session, document, input, out);
  out.Commit();
  return kExitOk;
}

}  // namespace posctl
