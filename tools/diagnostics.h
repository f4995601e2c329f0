// Messages of posctl. Each begins with "posctl: " or, for a place in an input,
// with "FILE:LINE:COLUMN: ", which comes with the offending line and a caret
// under the position, in the same form for every input format.
#ifndef POSCTL_DIAGNOSTICS_H_
#define POSCTL_DIAGNOSTICS_H_

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "input_source.h"
#include "source_tree.h"

namespace posctl {

// Exit statuses of posctl.
enum ExitStatus : int {
  kExitOk = 0,
  kExitBadInput = 1,  // the input is not well formed, or a file can't be read or written
  kExitUsage = 2,     // the command line is wrong
  kExitLibrary = 3,   // libMOXUtils can't be loaded or started
};

// Ends the command: `what()` is printed on standard error as it stands, and
// the process exits with `status()`.
class ToolError : public std::runtime_error {
 public:
  ToolError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

[[noreturn]] void FailInput(const std::string& text);

// "posctl: warning: TEXT" and "posctl: note: TEXT" on standard error, unless
// --quiet asked for the exit status alone.
void SetQuiet(bool quiet);
bool IsQuiet();
// The message of a failure, unless --quiet: `what()` and a final line feed.
void PrintError(const ToolError& error);
void Warn(const std::string& text);
void Note(const std::string& text);

// While it lives, what Warn and Note say on this thread goes to the end of
// `sink` instead, for output that must come out in a fixed order.
class CapturedMessages {
 public:
  explicit CapturedMessages(std::string* sink);
  ~CapturedMessages();
  CapturedMessages(const CapturedMessages&) = delete;
  CapturedMessages& operator=(const CapturedMessages&) = delete;

 private:
  std::string* previous_;
};

// The line that holds a byte offset, and where in it the offset falls.
struct SourceExcerpt {
  size_t line = 1;    // 1-based
  size_t column = 1;  // 1-based, in characters (UTF-8 sequences count once)
  std::string lineText;
  size_t byteInLine = 0;  // offset of the position inside lineText
};

// An offset at the very end, just after a final line feed, is shown at the
// end of the last line: that is where a reader looks for what is missing.
SourceExcerpt ExcerptFromText(std::string_view text, size_t offset);
// The same for an input, read only as far as the end of the line in question.
SourceExcerpt ExcerptFromInput(const InputSource& input, uint64_t offset);

// The same for a place whose line and column are known already: only the
// bytes around it are read.
SourceExcerpt ExcerptAt(const InputSource& input, uint64_t offset, uint64_t line, uint64_t column);

// FormatCaretDiagnostic at a place in `input`.
std::string FormatAt(const InputSource& input, const Location& at, const std::string& message,
                     const std::string& severity = "error");

// "name:line:column: error: message", then the line, then a caret under the
// column. Control bytes of the line, and bytes that are no UTF-8, are shown
// escaped (as Printable does), never sent to the terminal; tabs are kept, in
// the caret line too, so that it lines up. `severity` replaces "error".
std::string FormatCaretDiagnostic(const std::string& name, const SourceExcerpt& excerpt,
                                  const std::string& message,
                                  const std::string& severity = "error");

// A byte as a reader wants to see it in a message: 'x' or byte 0xNN.
std::string DescribeByte(unsigned char byte);

// Text from an input or the command line, safe to put in a message: control
// characters (TAB included), DEL, C1 controls and bytes that are no UTF-8
// become \xNN.
std::string Printable(std::string_view text);

}  // namespace posctl

#endif  // POSCTL_DIAGNOSTICS_H_
