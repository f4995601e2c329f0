// Positionable streams over memory. Independent copies share the bytes,
// behind a mutex, so that threads can each read and write through their own
// copy.
//
// The bytes lie in a chain of segments that never move: 4 KiB, 4 KiB, 8 KiB,
// 16 KiB, 32 KiB, then 64 KiB each. A small stream stays small, a growing
// stream never copies what it holds, and every segment stays below the size
// at which the C library maps fresh pages from the system. The 64 KiB
// segments of streams that died are kept, up to a bound, for the next
// streams, so that a stream written again and again reuses memory the
// process has already touched.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
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

constexpr uint64_t kFirstSegmentBytes = 4096;
constexpr uint64_t kLargeSegmentBytes = 65536;
// Segments 0 to 4 grow from 4 KiB to 32 KiB and together hold 64 KiB; from
// segment 5 on, each holds 64 KiB.
constexpr size_t kFirstLargeSegment = 5;

uint64_t SegmentStart(size_t index) {
  if (index == 0) return 0;
  if (index <= kFirstLargeSegment) return kFirstSegmentBytes << (index - 1);
  return kLargeSegmentBytes * (index - (kFirstLargeSegment - 1));
}

uint64_t SegmentBytes(size_t index) {
  if (index == 0) return kFirstSegmentBytes;
  if (index < kFirstLargeSegment) return kFirstSegmentBytes << (index - 1);
  return kLargeSegmentBytes;
}

// The segment that holds the byte at `position`.
size_t SegmentOf(uint64_t position) {
  if (position < kFirstSegmentBytes) return 0;
  if (position < kLargeSegmentBytes) {
    return static_cast<size_t>(64 - __builtin_clzll(position / kFirstSegmentBytes));
  }
  return static_cast<size_t>(position / kLargeSegmentBytes + (kFirstLargeSegment - 1));
}

// The 64 KiB segments given back by dead streams: 8 MiB at most, kept for
// the life of the process.
class SegmentPool {
 public:
  static SegmentPool& Get() {
    // Never destroyed: a stream may die during the process's exit.
    static SegmentPool* pool = new SegmentPool;
    return *pool;
  }

  // A segment of 64 KiB, its bytes undefined; null without memory.
  uint8_t* Take() {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (!free_.empty()) {
        uint8_t* segment = free_.back();
        free_.pop_back();
        return segment;
      }
    }
    return new (std::nothrow) uint8_t[kLargeSegmentBytes];
  }

  void Give(uint8_t* segment) {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (free_.size() < kKept) {
        free_.push_back(segment);
        return;
      }
    }
    delete[] segment;
  }

 private:
  static constexpr size_t kKept = 128;

  SegmentPool() { free_.reserve(kKept); }

  std::mutex mu_;
  std::vector<uint8_t*> free_;
};

struct MemoryBytes {
  MemoryBytes() = default;
  MemoryBytes(const MemoryBytes&) = delete;
  MemoryBytes& operator=(const MemoryBytes&) = delete;
  ~MemoryBytes() {
    for (size_t index = 0; index < segments.size(); ++index) {
      if (index >= kFirstLargeSegment) {
        SegmentPool::Get().Give(segments[index]);
      } else {
        delete[] segments[index];
      }
    }
  }

  // Makes the segments hold at least `end` bytes; false without memory, the
  // bytes unchanged either way. What lies beyond `size` is undefined.
  bool Reserve(uint64_t end) {
    const uint64_t held = SegmentStart(segments.size());
    if (end <= held) return true;
    // One block of the whole growth, asked for and given back at once, fails
    // where growing a single block to `end` would: a stream is not filled
    // segment by segment up to a size the process can never have.
    if (end - held > kProbeAbove) {
      void* probe = std::malloc(end - held);
      if (probe == nullptr) return false;
      std::free(probe);
    }
    try {
      segments.reserve(SegmentOf(end - 1) + 1);
    } catch (const std::exception&) {
      return false;
    }
    while (SegmentStart(segments.size()) < end) {
      const size_t index = segments.size();
      uint8_t* segment = index >= kFirstLargeSegment ? SegmentPool::Get().Take()
                                                     : new (std::nothrow)
                                                           uint8_t[SegmentBytes(index)];
      if (segment == nullptr) return false;
      segments.push_back(segment);  // room reserved above
    }
    return true;
  }

  // Copies `count` bytes from `source` to the stream's bytes at `position`,
  // all within the segments; or zeros when `source` is null.
  void Put(uint64_t position, const uint8_t* source, uint64_t count) {
    size_t index = SegmentOf(position);
    while (count != 0) {
      const uint64_t offset = position - SegmentStart(index);
      const uint64_t n = std::min(count, SegmentBytes(index) - offset);
      if (source != nullptr) {
        std::memcpy(segments[index] + offset, source, n);
        source += n;
      } else {
        std::memset(segments[index] + offset, 0, n);
      }
      position += n;
      count -= n;
      ++index;
    }
  }

  // Copies `count` bytes of the stream at `position` to `dest`.
  void Get(uint64_t position, uint8_t* dest, uint64_t count) const {
    size_t index = SegmentOf(position);
    while (count != 0) {
      const uint64_t offset = position - SegmentStart(index);
      const uint64_t n = std::min(count, SegmentBytes(index) - offset);
      std::memcpy(dest, segments[index] + offset, n);
      dest += n;
      position += n;
      count -= n;
      ++index;
    }
  }

  // Growth beyond this is tried as one block first.
  static constexpr uint64_t kProbeAbove = uint64_t{16} << 20;

  std::mutex mu;
  std::vector<uint8_t*> segments;
  uint64_t size = 0;
};

class MemoryStream : public PositionedStream {
 public:
  explicit MemoryStream(std::shared_ptr<MemoryBytes> data) : data_(std::move(data)) {}

  MOXErrorRef Read(uint64_t* count, void* buffer, uint64_t size) override {
    std::lock_guard<std::mutex> lock(data_->mu);
    const uint64_t position = static_cast<uint64_t>(position_);
    const uint64_t available = position < data_->size ? data_->size - position : 0;
    const uint64_t n = std::min(size, available);
    if (n != 0) data_->Get(position, static_cast<uint8_t*>(buffer), n);
    position_ += static_cast<int64_t>(n);
    *count = n;
    return nullptr;
  }

  // Writing past the end fills the gap with zeros, as a file does.
  MOXErrorRef Write(const void* buffer, uint64_t size) override {
    if (size > static_cast<uint64_t>(std::numeric_limits<int64_t>::max() - position_)) {
      return MakeError(kOutOfRange, "Write: the stream would grow past the largest position");
    }
    const uint64_t position = static_cast<uint64_t>(position_);
    const uint64_t end = position + size;
    std::lock_guard<std::mutex> lock(data_->mu);
    MemoryBytes& bytes = *data_;
    if (!bytes.Reserve(end)) return OutOfMemoryError();
    if (position > bytes.size) bytes.Put(bytes.size, nullptr, position - bytes.size);
    bytes.Put(position, static_cast<const uint8_t*>(buffer), size);
    bytes.size = std::max(bytes.size, end);
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
    *size = static_cast<int64_t>(data_->size);
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
