// Where a command writes its result, with the promise that goes with it: a
// regular file is only ever replaced by a complete new copy, so that no
// failure, refusal or signal loses what it held.
#ifndef POSCTL_OUTPUT_FILE_H_
#define POSCTL_OUTPUT_FILE_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "temp_file.h"
#include "unique_fd.h"

namespace posctl {

class OutputFile {
 public:
  enum class Kind {
    kAny,            // whatever the user names with -o
    kEditedInPlace,  // the file a command edits: it must be a regular file
  };

  // "-" is standard output. A regular file, or a name that doesn't exist
  // yet, gets a new copy in its directory that replaces it on Commit and
  // keeps its permission bits (and its owner, where the system allows). A
  // symbolic link is followed: the file it names is replaced, the link
  // stays. A file the user may not write is refused here, before anything
  // is read or written. Anything else, a device or a FIFO, is opened and
  // written directly, and never removed. Throws ToolError.
  OutputFile(const std::string& argument, Kind kind);
  // Without Commit a new copy is discarded: the target stays as it was.
  // What was written to standard output or a device goes out all the same.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The name in messages: the argument, or "standard output".
  const std::string& name() const { return name_; }
  bool IsTerminal() const;

  // Buffered. A failure throws ToolError naming the output.
  void Write(std::string_view bytes);
  // For callers that must not throw, such as the library's stream
  // callbacks: false once a write has failed; ThrowFailure then says why.
  bool TryWrite(const void* data, size_t size);
  bool failed() const { return error_ != 0; }
  [[noreturn]] void ThrowFailure() const;

  // Writes out the buffer and, for a new copy, puts it in the target's
  // place. Throws ToolError; the target is then untouched.
  void Commit();

 private:
  bool Flush();

  std::string name_;
  std::string target_;  // the file a new copy replaces; empty when written directly
  UniqueFd direct_;     // a device, a FIFO, or standard output
  int fd_ = -1;
  PendingFile pending_;
  std::string buffer_;
  int error_ = 0;
};

}  // namespace posctl

#endif  // POSCTL_OUTPUT_FILE_H_
