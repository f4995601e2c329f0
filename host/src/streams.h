// Streams served by the runtime: its own memory, buffer and file streams, and
// the wrappers around client streams.
//
// A stream is a container whose instance is a HostStream and whose signature
// names one of three runtime interfaces, one per level (simple, rewindable,
// positionable), holding the stream methods under their standard proc types.
// So GetMethod finds exactly the methods of the stream's level, and every
// method first checks that the container is one of these streams.
#ifndef MOXHOST_STREAMS_H_
#define MOXHOST_STREAMS_H_

#include <cstdint>
#include <vector>

#include "MOXTypes.h"
#include "registry.h"

namespace moxhost {

class HostStream {
 public:
  virtual ~HostStream() = default;

  // `count` and `position` are cleared by the caller, and null buffers with a
  // non-zero size refused, before these are called.
  virtual MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) = 0;
  virtual MOXErrorRef Write(const void* buffer, uint64_t size) = 0;
  virtual MOXErrorRef CreateIndependentlyRewindable(MOXContainer* out) = 0;
  virtual MOXErrorRef Rewind() = 0;
  virtual MOXErrorRef CreateIndependentlyPositionable(MOXContainer* out) = 0;
  virtual MOXErrorRef Mark(int64_t* position) = 0;
  virtual MOXErrorRef Seek(int64_t position, int32_t mode) = 0;
};

// A runtime stream with a position of its own over data it may share with
// its independent copies. Copies start at position 0.
class PositionedStream : public HostStream {
 public:
  MOXErrorRef CreateIndependentlyRewindable(MOXContainer* out) override {
    return CreateIndependentlyPositionable(out);
  }
  MOXErrorRef Rewind() override {
    position_ = 0;
    return nullptr;
  }
  MOXErrorRef Mark(int64_t* position) override {
    *position = position_;
    return nullptr;
  }
  // Modes 0, 1, 2: from the start, the current position, the end. A result
  // before the start is refused; one past the end is allowed.
  MOXErrorRef Seek(int64_t position, int32_t mode) override;

 protected:
  virtual MOXErrorRef Size(int64_t* size) = 0;
  int64_t position_ = 0;
};

enum class StreamLevel { kSimple, kRewindable, kPositionable };

// Puts `stream` into a new container at count zero. On failure the stream
// has been deleted.
MOXErrorRef WrapStream(MOXContainer* out, HostStream* stream, StreamLevel level);

// The runtime streams, each wrapped at the positionable level.
MOXErrorRef NewMemoryStream(MOXContainer* out);
MOXErrorRef NewBufferStream(MOXContainer* out, MOXSharedBuff buffer);
MOXErrorRef NewFileStream(MOXContainer* out, const char* path, const char* mode);

// The three interfaces of stream methods, one per level.
std::vector<InterfaceRows> StreamMethodInterfaces();
InterfaceRows StreamFactoryInterface();

}  // namespace moxhost

#endif  // MOXHOST_STREAMS_H_
