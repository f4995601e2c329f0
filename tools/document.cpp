#include "document.h"

#include <algorithm>

#include "diagnostics.h"
#include "json_to_pos.h"
#include "notation_io.h"
#include "notation_writer.h"
#include "pos_to_json.h"
#include "typea_io.h"

namespace posctl {
namespace {

void CopyRange(const InputSource& input, uint64_t from, uint64_t to, OutputFile& out) {
  constexpr uint64_t kBlock = 1 << 20;
  for (uint64_t at = from; at < to; at += kBlock) {
    out.Write(input.ReadRange(at, std::min(to, at + kBlock)));
  }
}

}  // namespace

Document LoadDocument(LibrarySession& session, const InputSource& input,
                      const InputOptions& options, Purpose purpose) {
  Document document;
  document.format = input.Resolve(options.from);
  if (options.object && document.format != Format::kTypeA) {
    throw ToolError(kExitUsage, "posctl: error: " + input.name() +
                                    ": --object picks one of several TypeA streams, and this "
                                    "input is " +
                                    DisplayFormatName(document.format));
  }
  switch (document.format) {
    case Format::kNotation:
      document.object = ReadNotation(session, input, options.maxDepth);
      break;
    case Format::kTypeA: {
      TypeAObject read = ReadTypeAObject(session, input, options.maxDepth, options.object);
      document.object = read.object;
      document.streamStart = read.start;
      document.streamEnd = read.end;
      break;
    }
    case Format::kJson: {
      JsonInOptions json{options.maxDepth, options.nullAs, nullptr, true};
      if (purpose == Purpose::kEdit) {
        json.forms = &document.jsonForms;
        json.warnChangedIntegers = false;  // their text is kept
      }
      if (purpose == Purpose::kCheck && !options.nullAs) json.forms = &document.jsonForms;
      document.object = ReadJson(session, input, json);
      break;
    }
  }
  return document;
}

void WriteObject(LibrarySession& session, MOXContainer object, Format format, OutputFile& out,
                 bool compact, const JsonSourceForms* forms, const std::string& where) {
  const TextSink sink = [&out](std::string_view text) { out.Write(text); };
  switch (format) {
    case Format::kTypeA:
      return WriteTypeA(session, out, object);
    case Format::kJson:
      return WriteJson(session, object, sink, JsonOutOptions{compact, forms}, where);
    case Format::kNotation:
      return WriteNotation(session.procs(), object, sink, where);
  }
}

void SaveDocument(LibrarySession& session, const Document& document, const InputSource& input,
                  OutputFile& out) {
  if (document.format != Format::kTypeA) {
    WriteObject(session, document.object.get(), document.format, out, false, &document.jsonForms,
                input.name());
    return;
  }
  CopyRange(input, 0, document.streamStart, out);
  WriteTypeA(session, out, document.object.get());
  CopyRange(input, document.streamEnd, input.size(), out);
}

}  // namespace posctl
