// Streams of the runtime, which is where the streamer reads and writes:
// client streams over posctl's own inputs and outputs, so that the library
// reads an input that has no name (a copy of standard input) as well as a
// file, and what it writes goes through the output's safe replace.
#ifndef POSCTL_RUNTIME_STREAMS_H_
#define POSCTL_RUNTIME_STREAMS_H_

#include <cstdint>
#include <string>

#include "input_source.h"
#include "library_session.h"
#include "output_file.h"

namespace posctl {

class RuntimeStream {
 public:
  // A positionable stream that reads `input`, which must outlive it.
  static RuntimeStream FromInput(LibrarySession& session, const InputSource& input);
  // A stream whose writes go to `out`, which must outlive it. Positions
  // count the bytes written; it can't be read or moved.
  static RuntimeStream ToOutput(LibrarySession& session, OutputFile& out);
  // A positionable stream made elsewhere, such as by the library; takes a
  // reference of its own. `name` is the stream's name in messages.
  static RuntimeStream Adopt(LibrarySession& session, MOXContainer stream, std::string name);

  MOXContainer handle() const { return stream_.get(); }

  // Each throws ToolError on failure.
  uint64_t Read(void* buffer, uint64_t size);
  int64_t Position();
  void SeekTo(int64_t position);
  void Write(const void* buffer, uint64_t size);
  // Another stream over the same bytes, with a position of its own.
  RuntimeStream Copy();

 private:
  RuntimeStream(LibrarySession& session, MOXContainer stream, std::string name);
  void Check(MOXErrorRef error);
  void* Method(const char* method, const char* procType);

  LibrarySession* session_;
  Ref stream_;
  std::string name_;
  MOXSimpleStreamReadProc read_ = nullptr;
  MOXPositionableStreamMarkProc mark_ = nullptr;
  MOXPositionableStreamSeekProc seek_ = nullptr;
};

}  // namespace posctl

#endif  // POSCTL_RUNTIME_STREAMS_H_
