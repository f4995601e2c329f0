// Streams of the runtime, which is where the streamer reads and writes: file
// streams for named files, and a client stream that passes what the streamer
// writes on to standard output as it comes.
#ifndef POSCTL_RUNTIME_STREAMS_H_
#define POSCTL_RUNTIME_STREAMS_H_

#include <cstdint>
#include <cstdio>
#include <string>

#include "library_session.h"

namespace posctl {

class RuntimeStream {
 public:
  // A positionable file stream of the runtime; `mode` is an fopen mode.
  static RuntimeStream OpenFile(LibrarySession& session, const std::string& path, const char* mode);
  // A stream whose writes go to `out`, which stays open. Positions count the
  // bytes written; it can't be read or moved.
  static RuntimeStream ToFile(LibrarySession& session, FILE* out);

  MOXContainer handle() const { return stream_.get(); }

  // Each throws ToolError with the runtime's text on failure.
  uint64_t Read(void* buffer, uint64_t size);
  void Write(const void* data, uint64_t size);
  int64_t Position();
  void SeekTo(int64_t position);

 private:
  RuntimeStream(LibrarySession& session, MOXContainer stream);
  void Check(MOXErrorRef error, const char* what);

  LibrarySession* session_;
  Ref stream_;
  MOXSimpleStreamReadProc read_ = nullptr;
  MOXSimpleStreamWriteProc write_ = nullptr;
  MOXPositionableStreamMarkProc mark_ = nullptr;
  MOXPositionableStreamSeekProc seek_ = nullptr;
};

}  // namespace posctl

#endif  // POSCTL_RUNTIME_STREAMS_H_
