// Streams implemented by a client: the runtime's stream methods call the
// client's adapters with the client object, and the client's release
// procedure runs once, when the stream's container dies. The factory
// procedures are also in this file.
#include <new>

#include "errors.h"
#include "MOXRuntimeProcs.h"
#include "streams.h"

namespace moxhost {
namespace {

struct ClientAdapters {
  MOXClientStreamReadAdapterProc read = nullptr;
  MOXClientStreamWriteAdapterProc write = nullptr;
  MOXClientStreamCreateRewindableAdapterProc createRewindable = nullptr;
  MOXClientStreamRewindAdapterProc rewind = nullptr;
  MOXClientStreamCreatePositionableAdapterProc createPositionable = nullptr;
  MOXClientStreamMarkAdapterProc mark = nullptr;
  MOXClientStreamSeekAdapterProc seek = nullptr;
};

MOXErrorRef MissingAdapter(const char* method) {
  return MakeError(kNotSupported, "%s: the client stream has no adapter for it", method);
}

class ClientStream : public HostStream {
 public:
  ClientStream(void* client, const ClientAdapters& adapters, MOXReleaseProc release)
      : client_(client), adapters_(adapters), release_(release) {}
  ~ClientStream() override {
    if (release_ != nullptr) release_(client_);
  }

  MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) override {
    if (adapters_.read == nullptr) return MissingAdapter("Read");
    return adapters_.read(client_, count, buffer, size);
  }
  MOXErrorRef Write(const void* buffer, uint64_t size) override {
    if (adapters_.write == nullptr) return MissingAdapter("Write");
    return adapters_.write(client_, buffer, size);
  }
  MOXErrorRef CreateIndependentlyRewindable(MOXContainer* out) override {
    if (adapters_.createRewindable == nullptr) {
      return MissingAdapter("CreateIndependentlyRewindableStream");
    }
    return adapters_.createRewindable(client_, out);
  }
  MOXErrorRef Rewind() override {
    if (adapters_.rewind == nullptr) return MissingAdapter("Rewind");
    return adapters_.rewind(client_);
  }
  MOXErrorRef CreateIndependentlyPositionable(MOXContainer* out) override {
    if (adapters_.createPositionable == nullptr) {
      return MissingAdapter("CreateIndependentlyPositionableStream");
    }
    return adapters_.createPositionable(client_, out);
  }
  MOXErrorRef Mark(int64_t* position) override {
    if (adapters_.mark == nullptr) return MissingAdapter("Mark");
    return adapters_.mark(client_, position);
  }
  MOXErrorRef Seek(int64_t position, int32_t mode) override {
    if (adapters_.seek == nullptr) return MissingAdapter("Seek");
    return adapters_.seek(client_, position, mode);
  }

 private:
  void* client_;
  ClientAdapters adapters_;
  MOXReleaseProc release_;
};

// The client is the runtime's from the call on: every failure releases it.
MOXErrorRef NewClientStream(MOXContainer* out, void* client, const ClientAdapters& adapters,
                            MOXReleaseProc release, StreamLevel level) {
  MOXErrorRef error = nullptr;
  ClientStream* stream = nullptr;
  if (out == nullptr) {
    error = MakeError(kInvalidArgument, "client stream factory: null out-parameter");
  } else if ((stream = new (std::nothrow) ClientStream(client, adapters, release)) == nullptr) {
    error = OutOfMemoryError();
  }
  if (error != nullptr) {
    if (release != nullptr) release(client);
    return error;
  }
  return WrapStream(out, stream, level);
}

MOXErrorRef NewClientSimpleStream(MOXContainer* out, void* client,
                                  MOXClientStreamReadAdapterProc read,
                                  MOXClientStreamWriteAdapterProc write, MOXReleaseProc release) {
  ClientAdapters adapters;
  adapters.read = read;
  adapters.write = write;
  return NewClientStream(out, client, adapters, release, StreamLevel::kSimple);
}

MOXErrorRef NewClientRewindableStream(MOXContainer* out, void* client,
                                      MOXClientStreamReadAdapterProc read,
                                      MOXClientStreamWriteAdapterProc write,
                                      MOXClientStreamCreateRewindableAdapterProc createRewindable,
                                      MOXClientStreamRewindAdapterProc rewind,
                                      MOXReleaseProc release) {
  ClientAdapters adapters;
  adapters.read = read;
  adapters.write = write;
  adapters.createRewindable = createRewindable;
  adapters.rewind = rewind;
  return NewClientStream(out, client, adapters, release, StreamLevel::kRewindable);
}

MOXErrorRef NewClientPositionableStream(
    MOXContainer* out, void* client, MOXClientStreamReadAdapterProc read,
    MOXClientStreamWriteAdapterProc write,
    MOXClientStreamCreateRewindableAdapterProc createRewindable,
    MOXClientStreamRewindAdapterProc rewind,
    MOXClientStreamCreatePositionableAdapterProc createPositionable,
    MOXClientStreamMarkAdapterProc mark, MOXClientStreamSeekAdapterProc seek,
    MOXReleaseProc release) {
  const ClientAdapters adapters{read, write, createRewindable, rewind, createPositionable,
                                mark, seek};
  return NewClientStream(out, client, adapters, release, StreamLevel::kPositionable);
}

}  // namespace

InterfaceRows StreamFactoryInterface() {
  static const MethodRow rows[] = {
      {"NewPositionableMemoryStream", "MOXNewPositionableMemoryStreamProc",
       ProcAddress<MOXNewPositionableMemoryStreamProc>(NewMemoryStream)},
      {"NewPositionableBufferStream", "MOXNewPositionableBufferStreamProc",
       ProcAddress<MOXNewPositionableBufferStreamProc>(NewBufferStream)},
      {"NewPositionableFileStream", "MOXNewPositionableFileStreamProc",
       ProcAddress<MOXNewPositionableFileStreamProc>(NewFileStream)},
      {"NewClientSimpleStream", "MOXNewClientSimpleStreamProc",
       ProcAddress<MOXNewClientSimpleStreamProc>(NewClientSimpleStream)},
      {"NewClientRewindableStream", "MOXNewClientRewindableStreamProc",
       ProcAddress<MOXNewClientRewindableStreamProc>(NewClientRewindableStream)},
      {"NewClientPositionableStream", "MOXNewClientPositionableStreamProc",
       ProcAddress<MOXNewClientPositionableStreamProc>(NewClientPositionableStream)},
  };
  return {"MOXStreamFactoryInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
