// validate: files checked against a type of a schema by the library's
// validator, each fault shown at the place in the source that its path
// names. Files are validated on --jobs threads with one validator shared by
// all, which the library allows, and reported in the order given.
#include <algorithm>
#include <optional>

#include "commands.h"
#include "diagnostics.h"
#include "document_places.h"
#include "fault_lines.h"
#include "fault_locator.h"
#include "fault_report.h"
#include "library_session.h"
#include "ordered_jobs.h"
#include "progress_bar.h"
#include "schema_source.h"
#include "stdin_stream.h"
#include "typea_depth_scan.h"
#include "typea_io.h"

namespace posctl {
namespace {

// From this many files on, a terminal on standard error gets a progress bar.
constexpr size_t kFilesForProgress = 10;

struct Verdict {
  bool valid = true;
  std::vector<std::string> lines;
  std::vector<std::string> reports;  // why the walk stopped, when it gave no line
};

class Validation {
 public:
  Validation(LibrarySession& session, const ValidateOptions& options, const SchemaSource& schema)
      : session_(session),
        procs_(session.procs()),
        options_(options),
        schema_(schema),
        validator_(procs_,
                   procs_.posStructValidator.NewPOSStructValidator(schema.document.object.get())),
        type_(procs_, options.type.c_str()) {
    if (!validator_) FailInput("posctl: error: the library made no validator");
  }

  // Item `index`: the lines of one file, as ordered output.
  JobResult Run(size_t index, bool alone) {
    JobResult result;
    const size_t reportsBefore = LibrarySession::ReportCount();
    {
      CapturedMessages captured(&result.err);
      try {
        File(options_.files[index], &result);
      } catch (const ToolError& error) {
        if (error.status() == kExitLibrary) throw;
        std::string text = error.what();
        if (text.empty() || text.back() != '\n') text += '\n';
        result.err += text;
        result.status = kExitBadInput;
      }
    }
    const size_t reportsAfter = LibrarySession::ReportCount();
    if (reportsAfter != reportsBefore) {
      // The runtime's one log of reports can't say whose they are while
      // other files are at work beside this one.
      if (!alone) return JobResult{"", "", 0, true};
      if (LibrarySession::IsVerbose()) {
        std::string shown;
        for (const std::string& report : LibrarySession::ReportsFrom(reportsBefore)) {
          shown += "posctl: libMOXUtils: " + report + "\n";
        }
        result.err = shown + result.err;
      }
    }
    return result;
  }

 private:
  void File(const std::string& file, JobResult* result) {
    InputSource input = file == "-" ? ReadStandardInputThroughLibrary(session_) : InputSource(file);
    const Format format = input.Resolve(options_.input.from);
    if (format == Format::kTypeA) return TypeAFile(input, result);
    InputOptions forFile = options_.input;
    forFile.from = format;
    const Document document = LoadDocument(session_, input, forFile, Purpose::kRead);
    const Verdict verdict = Judge(document.object.get());
    if (verdict.valid) {
      result->out += input.name() + ": valid\n";
      return;
    }
    result->status = kExitBadInput;
    const SourceNode places = verdict.lines.empty()
                                  ? SourceNode()
                                  : LocateDocumentValues(input, format, options_.input.maxDepth);
    Report(input, verdict, places, "", result);
  }

  // Object by object; the scanner follows the library's reader, stream by
  // stream, to find the values of the objects that have faults.
  void TypeAFile(const InputSource& input, JobResult* result) {
    TypeAReader reader(session_, input, options_.input.maxDepth);
    TypeAScanner scanner(input, options_.input.maxDepth);
    size_t count = 0;
    bool several = false;
    bool allValid = true;
    while (Ref object = reader.Next()) {
      if (++count == 1) several = !reader.AtEnd();
      const Verdict verdict = Judge(object.get());
      SourceTreeBuilder places;
      scanner.NextStream(verdict.lines.empty() ? nullptr : &places);
      if (verdict.valid) continue;
      allValid = false;
      result->status = kExitBadInput;
      Report(input, verdict, places.Take(),
             several ? "object " + std::to_string(count) + ": " : std::string(), result);
    }
    if (count == 0) FailInput("posctl: error: " + input.name() + ": no TypeA stream in the input");
    if (allValid) {
      result->out += input.name() + ": valid" +
                     (several ? ", " + std::to_string(count) + " objects" : std::string()) + "\n";
    }
  }

  Verdict Judge(MOXContainer value) {
    Verdict verdict;
    FaultLines collected;
    session_.StartCollectingReports();
    verdict.valid =
        procs_.posValidator.Validate(validator_.get(), value, type_.get(), FaultLines::Collect);
    verdict.lines = std::move(collected.lines);
    if (!verdict.valid && verdict.lines.empty()) verdict.reports = session_.CollectedReports();
    return verdict;
  }

  void Report(const InputSource& input, const Verdict& verdict, const SourceNode& places,
              const std::string& object, JobResult* result) {
    const std::string where = "posctl: error: " + input.name() + ": " + object;
    if (!verdict.reports.empty()) {
      result->err += where + "the library stopped validating: " + verdict.reports.back() + "\n";
      return;
    }
    if (verdict.lines.empty()) {
      result->err += where + "not valid as '" + Printable(options_.type) +
                     "', and the library gives no line to say why (a union whose \"set\" is "
                     "empty or missing fails every value so)\n";
      return;
    }
    for (const std::string& line : verdict.lines) {
      const FaultPlace place = LocateFault(line, schema_.model, options_.type, places);
      result->err += FormatFault(input, place, object + Printable(line));
    }
  }

  LibrarySession& session_;
  const Procs& procs_;
  const ValidateOptions& options_;
  const SchemaSource& schema_;
  Ref validator_;
  Atom type_;
};

}  // namespace

int RunValidate(const ValidateOptions& options) {
  if (std::count(options.files.begin(), options.files.end(), "-") > 1) {
    throw ToolError(kExitUsage,
                    "posctl: error: '-' is given more than once; standard input "
                    "can be read only once");
  }
  LibrarySession session;
  // Bad usage and a schema that can't be read are found before any file is.
  const SchemaSource schema =
      LoadSchema(session, options.schema, options.input.maxDepth, kExitUsage);
  CheckTypeName(schema, options.type);
  Validation validation(session, options, schema);
  std::optional<ProgressBar> progress;
  if (options.files.size() >= kFilesForProgress) {
    progress.emplace(session.procs(), options.files.size());
  }
  int status = kExitOk;
  RunOrdered(
      options.files.size(), options.jobs,
      [&](size_t index, bool alone) { return validation.Run(index, alone); },
      [&](size_t index, JobResult& result) {
        if (progress) progress->Hide();
        std::fwrite(result.out.data(), 1, result.out.size(), stdout);
        std::fflush(stdout);
        std::fwrite(result.err.data(), 1, result.err.size(), stderr);
        std::fflush(stderr);
        status = std::max(status, result.status);
        if (progress) progress->Update(index + 1);
      });
  session.MarkReportsShown();
  return status;
}

}  // namespace posctl
