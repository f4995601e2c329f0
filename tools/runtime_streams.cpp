#include "runtime_streams.h"

#include <cerrno>
#include <cstring>

#include "diagnostics.h"

namespace posctl {
namespace {

// The client object behind RuntimeStream::ToFile.
struct FileSink {
  const Procs* procs;
  FILE* out;
  int64_t written = 0;
};

MOXErrorRef SinkError(FileSink* sink, const char* text) {
  return sink->procs->error.NewError(text, "posctl", 0, 0, 0);
}

MOXErrorRef SinkRead(void* client, uint64_t* count, void*, uint64_t) {
  *count = 0;
  return SinkError(static_cast<FileSink*>(client), "standard output can't be read");
}

MOXErrorRef SinkWrite(void* client, const void* data, uint64_t size) {
  auto* sink = static_cast<FileSink*>(client);
  if (std::fwrite(data, 1, size, sink->out) != size) {
    return SinkError(sink, std::strerror(errno));
  }
  sink->written += static_cast<int64_t>(size);
  return nullptr;
}

MOXErrorRef SinkCopy(void* client, MOXContainer* out) {
  *out = nullptr;
  return SinkError(static_cast<FileSink*>(client), "standard output can't be copied");
}

MOXErrorRef SinkRewind(void* client) {
  return SinkError(static_cast<FileSink*>(client), "standard output can't be rewound");
}

MOXErrorRef SinkMark(void* client, int64_t* position) {
  *position = static_cast<FileSink*>(client)->written;
  return nullptr;
}

// Seeking where the stream already stands is harmless; anything else would
// need bytes back that went out already.
MOXErrorRef SinkSeek(void* client, int64_t position, int32_t mode) {
  auto* sink = static_cast<FileSink*>(client);
  if ((mode == 0 && position == sink->written) || (mode == 1 && position == 0)) return nullptr;
  return SinkError(sink, "standard output can't be repositioned");
}

void SinkRelease(void* client) {
  delete static_cast<FileSink*>(client);
}

}  // namespace

RuntimeStream::RuntimeStream(LibrarySession& session, MOXContainer stream)
    : session_(&session), stream_(session.procs(), stream) {
  const Procs& procs = session.procs();
  auto method = [&](const char* name, const char* procType) {
    Atom methodName(procs, name);
    Atom procTypeName(procs, procType);
    void* proc = nullptr;
    Check(
        procs.container.GetMethod(&proc, stream_.get(), methodName.get(), procTypeName.get(), true),
        name);
    return proc;
  };
  read_ = reinterpret_cast<MOXSimpleStreamReadProc>(method("Read", "MOXSimpleStreamReadProc"));
  write_ = reinterpret_cast<MOXSimpleStreamWriteProc>(method("Write", "MOXSimpleStreamWriteProc"));
  mark_ = reinterpret_cast<MOXPositionableStreamMarkProc>(
      method("Mark", "MOXPositionableStreamMarkProc"));
  seek_ = reinterpret_cast<MOXPositionableStreamSeekProc>(
      method("Seek", "MOXPositionableStreamSeekProc"));
}

RuntimeStream RuntimeStream::OpenFile(LibrarySession& session, const std::string& path,
                                      const char* mode) {
  MOXContainer stream = nullptr;
  MOXErrorRef error =
      session.procs().streamFactory.NewPositionableFileStream(&stream, path.c_str(), mode);
  if (error != nullptr) FailInput("posctl: error: " + session.TakeErrorText(error));
  return RuntimeStream(session, stream);
}

RuntimeStream RuntimeStream::ToFile(LibrarySession& session, FILE* out) {
  const Procs& procs = session.procs();
  auto* sink = new FileSink{&procs, out};
  MOXContainer stream = nullptr;
  // The runtime owns the sink from here on, also when the call fails.
  MOXErrorRef error = procs.streamFactory.NewClientPositionableStream(
      &stream, sink, SinkRead, SinkWrite, SinkCopy, SinkRewind, SinkCopy, SinkMark, SinkSeek,
      SinkRelease);
  if (error != nullptr) FailInput("posctl: error: " + session.TakeErrorText(error));
  return RuntimeStream(session, stream);
}

void RuntimeStream::Check(MOXErrorRef error, const char* what) {
  if (error != nullptr) {
    FailInput(std::string("posctl: error: stream ") + what + ": " + session_->TakeErrorText(error));
  }
}

uint64_t RuntimeStream::Read(void* buffer, uint64_t size) {
  uint64_t count = 0;
  Check(read_(stream_.get(), &count, buffer, size), "Read");
  return count;
}

void RuntimeStream::Write(const void* data, uint64_t size) {
  Check(write_(stream_.get(), data, size), "Write");
}

int64_t RuntimeStream::Position() {
  int64_t position = 0;
  Check(mark_(stream_.get(), &position), "Mark");
  return position;
}

void RuntimeStream::SeekTo(int64_t position) {
  Check(seek_(stream_.get(), position, 0), "Seek");
}

}  // namespace posctl
