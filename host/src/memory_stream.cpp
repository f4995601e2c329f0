// Positionable streams over a growable block of memory. Independent copies
// share the bytes, behind a mutex, so that threads can each read and write
// through their own copy.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "errors.h"
#include "streams.h"

namespace moxhost {
namespace {

struct MemoryBytes {
  std::mutex mu;
  std::vector<uint8_t> bytes;
};

class MemoryStream : public PositionedStream {
 public:
  explicit MemoryStream(std::shared_ptr<MemoryBytes> data) : data_(std::move(data)) {}

  MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) override {
    std::lock_guard<std::mutex> lock(data_->mu);
    const uint64_t available = static_cast<uint64_t>(position_) < data_->bytes.size()
                                   ? data_->bytes.size() - static_cast<uint64_t>(position_)
                                   : 0;
    const uint64_t n = std::min(size, available);
    if (n != 0) std::memcpy(buffer, data_->bytes.data() + position_, n);
    position_ += static_cast<int64_t>(n);
    *count = n;
    return nullptr;
  }

  // Writing past the end fills the gap with zeros, as a file does.
  MOXErrorRef Write(const void* buffer, uint64_t size) override {
    if (size > static_cast<uint64_t>(std::numeric_limits<int64_t>::max() - position_)) {
      return MakeError(kOutOfRange, "Write: the stream would grow past the largest position");
    }
    const uint64_t end = static_cast<uint64_t>(position_) + size;
    std::lock_guard<std::mutex> lock(data_->mu);
    std::vector<uint8_t>& bytes = data_->bytes;
    const auto* source = static_cast<const uint8_t*>(buffer);
    try {
      // Appending, the common case, copies the bytes once rather than
      // zeroing the new end first.
      if (static_cast<uint64_t>(position_) == bytes.size()) {
        bytes.insert(bytes.end(), source, source + size);
        position_ = static_cast<int64_t>(end);
        return nullptr;
      }
      if (end > bytes.size()) bytes.resize(end);
    } catch (const std::exception&) {
      return OutOfMemoryError();
    }
    if (size != 0) std::memcpy(bytes.data() + position_, buffer, size);
    position_ = static_cast<int64_t>(end);
    return nullptr;
  }

  MOXErrorRef CreateIndependentlyPositionable(MOXContainer* out) override {
    *out = nullptr;
    auto* copy = new (std::nothrow) MemoryStream(data_);
    if (copy == nullptr) return OutOfMemoryError();
    return WrapStream(out, copy, StreamLevel::kPositionable);
  }

 protected:
  MOXErrorRef Size(int64_t* size) override {
    std::lock_guard<std::mutex> lock(data_->mu);
    *size = static_cast<int64_t>(data_->bytes.size());
    return nullptr;
  }

 private:
  std::shared_ptr<MemoryBytes> data_;
};

}  // namespace

MOXErrorRef NewMemoryStream(MOXContainer* out) {
  if (out == nullptr) {
    return MakeError(kInvalidArgument, "NewPositionableMemoryStream: null out-parameter");
  }
  *out = nullptr;
  MemoryStream* stream = nullptr;
  try {
    stream = new MemoryStream(std::make_shared<MemoryBytes>());
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError();
  }
  return WrapStream(out, stream, StreamLevel::kPositionable);
}

}  // namespace moxhost
