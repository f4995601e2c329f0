#include "runtime_streams.h"

#include <cerrno>
#include <cstring>

#include "diagnostics.h"

namespace posctl {
namespace {

// The client objects behind the two kinds of stream. Their procedures run
// inside the library's calls, so they report failures as runtime errors and
// never throw.
struct InputClient {
  const Procs* procs;
  const InputSource* input;
  int64_t position = 0;
};

struct OutputClient {
  const Procs* procs;
  OutputFile* out;
  int64_t written = 0;
};

template <typename Client>
MOXErrorRef ClientError(void* client, const char* text) {
  return static_cast<Client*>(client)->procs->error.NewError(text, "posctl", 0, 0, 0);
}

MOXErrorRef InputRead(void* client, uint64_t* count, void* buffer, uint64_t size) {
  auto* in = static_cast<InputClient*>(client);
  *count = 0;
  const ssize_t n = in->input->ReadSome(static_cast<uint64_t>(in->position), buffer, size);
  if (n < 0) return ClientError<InputClient>(client, std::strerror(errno));
  *count = static_cast<uint64_t>(n);
  in->position += n;
  return nullptr;
}

MOXErrorRef InputWrite(void* client, const void*, uint64_t) {
  return ClientError<InputClient>(client, "an input can't be written");
}

MOXErrorRef InputCopy(void* client, MOXContainer* out) {
  *out = nullptr;
  return ClientError<InputClient>(client, "an input can't be copied");
}

MOXErrorRef InputRewind(void* client) {
  static_cast<InputClient*>(client)->position = 0;
  return nullptr;
}

MOXErrorRef InputMark(void* client, int64_t* position) {
  *position = static_cast<InputClient*>(client)->position;
  return nullptr;
}

MOXErrorRef InputSeek(void* client, int64_t position, int32_t mode) {
  auto* in = static_cast<InputClient*>(client);
  int64_t base = 0;
  if (mode == 1) base = in->position;
  if (mode == 2) base = static_cast<int64_t>(in->input->size());
  if (mode < 0 || mode > 2 || base + position < 0) {
    return ClientError<InputClient>(client, "a position before the start of the input");
  }
  in->position = base + position;
  return nullptr;
}

void InputRelease(void* client) {
  delete static_cast<InputClient*>(client);
}

MOXErrorRef OutputRead(void* client, uint64_t* count, void*, uint64_t) {
  *count = 0;
  return ClientError<OutputClient>(client, "an output can't be read");
}

MOXErrorRef OutputWrite(void* client, const void* data, uint64_t size) {
  auto* sink = static_cast<OutputClient*>(client);
  if (!sink->out->TryWrite(data, size)) return ClientError<OutputClient>(client, "write failed");
  sink->written += static_cast<int64_t>(size);
  return nullptr;
}

MOXErrorRef OutputCopy(void* client, MOXContainer* out) {
  *out = nullptr;
  return ClientError<OutputClient>(client, "an output can't be copied");
}

MOXErrorRef OutputRewind(void* client) {
  return ClientError<OutputClient>(client, "an output can't be rewound");
}

MOXErrorRef OutputMark(void* client, int64_t* position) {
  *position = static_cast<OutputClient*>(client)->written;
  return nullptr;
}

// Seeking where the stream already stands is harmless; anything else would
// need bytes back that went out already.
MOXErrorRef OutputSeek(void* client, int64_t position, int32_t mode) {
  auto* sink = static_cast<OutputClient*>(client);
  if ((mode == 0 && position == sink->written) || (mode == 1 && position == 0)) return nullptr;
  return ClientError<OutputClient>(client, "an output can't be repositioned");
}

void OutputRelease(void* client) {
  delete static_cast<OutputClient*>(client);
}

}  // namespace

RuntimeStream::RuntimeStream(LibrarySession& session, MOXContainer stream, std::string name)
    : session_(&session), stream_(session.procs(), stream), name_(std::move(name)) {
  read_ = reinterpret_cast<MOXSimpleStreamReadProc>(Method("Read", "MOXSimpleStreamReadProc"));
  mark_ = reinterpret_cast<MOXPositionableStreamMarkProc>(
      Method("Mark", "MOXPositionableStreamMarkProc"));
  seek_ = reinterpret_cast<MOXPositionableStreamSeekProc>(
      Method("Seek", "MOXPositionableStreamSeekProc"));
}

void* RuntimeStream::Method(const char* method, const char* procType) {
  const Procs& procs = session_->procs();
  Atom methodName(procs, method);
  Atom procTypeName(procs, procType);
  void* proc = nullptr;
  Check(
      procs.container.GetMethod(&proc, stream_.get(), methodName.get(), procTypeName.get(), true));
  return proc;
}

RuntimeStream RuntimeStream::Adopt(LibrarySession& session, MOXContainer stream, std::string name) {
  return RuntimeStream(session, stream, std::move(name));
}

RuntimeStream RuntimeStream::FromInput(LibrarySession& session, const InputSource& input) {
  const Procs& procs = session.procs();
  auto* client = new InputClient{&procs, &input};
  MOXContainer stream = nullptr;
  // The runtime owns the client from here on, also when the call fails.
  MOXErrorRef error = procs.streamFactory.NewClientPositionableStream(
      &stream, client, InputRead, InputWrite, InputCopy, InputRewind, InputCopy, InputMark,
      InputSeek, InputRelease);
  if (error != nullptr) {
    FailInput("posctl: error: the runtime made no stream for " + input.name() + ": " +
              session.TakeErrorText(error));
  }
  return RuntimeStream(session, stream, input.name());
}

RuntimeStream RuntimeStream::ToOutput(LibrarySession& session, OutputFile& out) {
  const Procs& procs = session.procs();
  auto* client = new OutputClient{&procs, &out};
  MOXContainer stream = nullptr;
  MOXErrorRef error = procs.streamFactory.NewClientPositionableStream(
      &stream, client, OutputRead, OutputWrite, OutputCopy, OutputRewind, OutputCopy, OutputMark,
      OutputSeek, OutputRelease);
  if (error != nullptr) {
    FailInput("posctl: error: the runtime made no stream for " + out.name() + ": " +
              session.TakeErrorText(error));
  }
  return RuntimeStream(session, stream, out.name());
}

void RuntimeStream::Check(MOXErrorRef error) {
  if (error != nullptr) {
    FailInput("posctl: error: " + name_ + ": " + session_->TakeErrorText(error));
  }
}

uint64_t RuntimeStream::Read(void* buffer, uint64_t size) {
  uint64_t count = 0;
  Check(read_(stream_.get(), &count, buffer, size));
  return count;
}

int64_t RuntimeStream::Position() {
  int64_t position = 0;
  Check(mark_(stream_.get(), &position));
  return position;
}

void RuntimeStream::SeekTo(int64_t position) {
  Check(seek_(stream_.get(), position, 0));
}

void RuntimeStream::Write(const void* buffer, uint64_t size) {
  auto write =
      reinterpret_cast<MOXSimpleStreamWriteProc>(Method("Write", "MOXSimpleStreamWriteProc"));
  Check(write(stream_.get(), buffer, size));
}

RuntimeStream RuntimeStream::Copy() {
  auto copy = reinterpret_cast<MOXPositionableStreamCreateIndependentlyPositionableStreamProc>(
      Method("CreateIndependentlyPositionableStream",
             "MOXPositionableStreamCreateIndependentlyPositionableStreamProc"));
  MOXContainer other = nullptr;
  Check(copy(stream_.get(), &other));
  return RuntimeStream(*session_, other, name_);
}

}  // namespace posctl
