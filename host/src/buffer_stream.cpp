// Positionable streams over the fixed bytes of a shared buffer. The stream
// and each of its copies hold a reference to the buffer; reads end at its
// size and a write that would pass it fails whole.
#include <algorithm>
#include <cstring>
#include <new>

#include "errors.h"
#include "shared_buffers.h"
#include "streams.h"

namespace moxhost {
namespace {

class BufferStream : public PositionedStream {
 public:
  explicit BufferStream(MOXSharedBuff buffer) : buffer_(buffer) { RetainSharedBuffer(buffer_); }
  ~BufferStream() override { ReleaseSharedBuffer(buffer_); }

  MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) override {
    const uint64_t position = static_cast<uint64_t>(position_);
    const uint64_t n = position < buffer_->size ? std::min(size, buffer_->size - position) : 0;
    if (n != 0) std::memcpy(buffer, static_cast<const char*>(buffer_->data) + position, n);
    position_ += static_cast<int64_t>(n);
    *count = n;
    return nullptr;
  }

  MOXErrorRef Write(const void* buffer, uint64_t size) override {
    const uint64_t position = static_cast<uint64_t>(position_);
    if (position > buffer_->size || size > buffer_->size - position) {
      return MakeError(kOutOfRange, "Write: %llu bytes at %llu pass the buffer's end (%llu)",
                       static_cast<unsigned long long>(size),
                       static_cast<unsigned long long>(position),
                       static_cast<unsigned long long>(buffer_->size));
    }
    if (size != 0) std::memcpy(static_cast<char*>(buffer_->data) + position, buffer, size);
    position_ += static_cast<int64_t>(size);
    return nullptr;
  }

  MOXErrorRef CreateIndependentlyPositionable(MOXContainer* out) override {
    *out = nullptr;
    auto* copy = new (std::nothrow) BufferStream(buffer_);
    if (copy == nullptr) return OutOfMemoryError();
    return WrapStream(out, copy, StreamLevel::kPositionable);
  }

 protected:
  MOXErrorRef Size(int64_t* size) override {
    *size = static_cast<int64_t>(buffer_->size);
    return nullptr;
  }

 private:
  MOXSharedBuff buffer_;
};

}  // namespace

MOXErrorRef NewBufferStream(MOXContainer* out, MOXSharedBuff buffer) {
  if (out == nullptr) {
    return MakeError(kInvalidArgument, "NewPositionableBufferStream: null out-parameter");
  }
  *out = nullptr;
  if (buffer == nullptr)
    return MakeError(kInvalidArgument, "NewPositionableBufferStream: null buffer");
  auto* stream = new (std::nothrow) BufferStream(buffer);
  if (stream == nullptr) return OutOfMemoryError();
  return WrapStream(out, stream, StreamLevel::kPositionable);
}

}  // namespace moxhost
