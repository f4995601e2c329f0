// convert, cat and check: whole inputs.
#include "commands.h"

#include <algorithm>
#include <cstdio>

#include "diagnostics.h"
#include "library_session.h"
#include "output_file.h"
#include "typea_io.h"

namespace posctl {
namespace {

// TypeA ends right after its object. A terminal gets a line feed after it
// all the same, so that the prompt doesn't stick to it; files and pipes get
// the exact bytes.
void EndTerminalLine(OutputFile& out) {
  if (out.IsTerminal()) out.Write("\n");
}

void CheckOne(LibrarySession& session, const std::string& file, const InputOptions& options) {
  InputSource input(file);
  const Format format = input.Resolve(options.from);
  std::string detail;
  if (format == Format::kTypeA) {
    TypeAReader reader(session, input, options.maxDepth);
    size_t count = 0;
    while (reader.Next()) ++count;
    if (count == 0) FailInput("posctl: error: " + input.name() + ": no TypeA stream in the input");
    detail = count == 1 ? ", 1 object" : ", " + std::to_string(count) + " objects";
  }
  InputOptions forFile = options;
  forFile.from = format;
  Document document;
  if (format != Format::kTypeA) document = LoadDocument(session, input, forFile, Purpose::kCheck);
  if (!IsQuiet()) {
    std::printf("%s: well formed %s%s\n", input.name().c_str(), DisplayFormatName(format),
                detail.c_str());
    std::fflush(stdout);
  }
  const JsonSourceForms& forms = document.jsonForms;
  if (forms.nulls > 0) {
    Note(input.name() + ": " +
         (forms.nulls == 1 ? "its null, at " + forms.firstNullAddress + ", becomes a POS value"
                           : "its " + std::to_string(forms.nulls) + " nulls, the first at " +
                                 forms.firstNullAddress + ", become POS values") +
         " only with --null-as STRING");
  }
}

}  // namespace

int RunConvert(const ConvertOptions& options) {
  LibrarySession session;
  // The output first: a target that can't be written is refused before a
  // long input is read.
  OutputFile out(options.output, OutputFile::Kind::kAny);
  InputSource input(options.input.file);
  Document document = LoadDocument(session, input, options.input, Purpose::kRead);
  WriteObject(session, document.object.get(), options.to, out, options.compact, nullptr,
              input.name());
  if (options.to == Format::kTypeA) EndTerminalLine(out);
  out.Commit();
  return kExitOk;
}

int RunCat(const CatOptions& options) {
  LibrarySession session;
  OutputFile out("-", OutputFile::Kind::kAny);
  InputSource input(options.input.file);
  TypeAReader reader(session, input, options.input.maxDepth);
  // One object per stream, each followed by a line feed; posctl's reader
  // skips that line feed when the output is read back.
  while (Ref object = reader.Next()) {
    WriteObject(session, object.get(), options.json ? Format::kJson : Format::kTypeA, out,
                options.compact, nullptr, input.name());
    if (!options.json) out.Write("\n");
  }
  out.Commit();
  return kExitOk;
}

int RunCheck(const CheckOptions& options) {
  LibrarySession session;
  int status = kExitOk;
  for (const std::string& file : options.files) {
    try {
      CheckOne(session, file, options.input);
    } catch (const ToolError& error) {
      if (error.status() == kExitLibrary) throw;
      session.ShowReports();
      PrintError(error);
      status = std::max(status, error.status());
    }
  }
  return status;
}

}  // namespace posctl
