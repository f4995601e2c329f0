// Failures that end a command, and the "file:line:column" form with the
// offending line and a caret under the position, shared by every input format.
#ifndef POSCTL_DIAGNOSTICS_H_
#define POSCTL_DIAGNOSTICS_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

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
// The same for a file, read only as far as the end of the line in question.
SourceExcerpt ExcerptFromFile(const std::string& path, size_t offset);

// "name:line:column: error: message", then the line, then a caret under the
// column. Tabs of the line are kept in the caret line so that it lines up.
std::string FormatCaretDiagnostic(const std::string& name, const SourceExcerpt& excerpt,
                                  const std::string& message);

// A byte as a reader wants to see it in a message: 'x' or 0xNN.
std::string DescribeByte(unsigned char byte);

}  // namespace posctl

#endif  // POSCTL_DIAGNOSTICS_H_
