#include "notation_io.h"

#include "diagnostics.h"
#include "notation_scan.h"

namespace posctl {

Ref ReadNotation(LibrarySession& session, const InputSource& input, size_t maxDepth) {
  const std::string text = input.ReadAll();
  auto fail = [&](size_t offset, const std::string& message) {
    FailInput(FormatCaretDiagnostic(input.name(), ExcerptFromText(text, offset), message));
  };
  // The library reads up to the first NUL byte; what follows would be lost
  // without a word.
  const size_t nul = text.find('\0');
  if (nul != std::string::npos) fail(nul, "a NUL byte in the text");

  const NotationScan scan = ScanNotation(text, maxDepth);
  if (scan.tooDeep) {
    fail(scan.tooDeepOffset,
         "nesting deeper than " + std::to_string(maxDepth) + " levels (see --max-depth)");
  }

  const Procs& procs = session.procs();
  session.StartCollectingReports();
  const char* stop = nullptr;
  Ref object(procs, procs.posStatics.CreateFromText(text.c_str(), &stop));
  if (object) return object;
  if (stop == nullptr) {
    // No syntax error: the library failed for another reason.
    const std::vector<std::string> reports = session.CollectedReports();
    FailInput("posctl: error: " + input.name() + ": the library could not build the object" +
              (reports.empty() ? std::string() : " (" + reports.back() + ")"));
  }
  const size_t offset = static_cast<size_t>(stop - text.c_str());
  fail(offset, scan.hasError && scan.errorOffset == offset ? scan.errorMessage : "syntax error");
  return Ref();
}

}  // namespace posctl
