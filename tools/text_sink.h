// Where the writers of posctl's text formats send their text, in pieces.
#ifndef POSCTL_TEXT_SINK_H_
#define POSCTL_TEXT_SINK_H_

#include <functional>
#include <string>
#include <string_view>

namespace posctl {

using TextSink = std::function<void(std::string_view)>;

// Gathers a writer's small pieces and hands them to a sink in large ones.
// Without a sink it drops everything, for a walk that only checks.
class BufferedSink {
 public:
  explicit BufferedSink(const TextSink* out) : out_(out) {}

  // False when there is no sink: a writer may skip making text at all.
  bool IsWriting() const { return out_ != nullptr; }

  void Emit(std::string_view text) {
    if (out_ == nullptr) return;
    buffer_.append(text);
    if (buffer_.size() >= kFlushAt) Flush();
  }

  // Hands on what is gathered; the writer calls it once at the end.
  void Flush() {
    if (out_ == nullptr || buffer_.empty()) return;
    (*out_)(buffer_);
    buffer_.clear();
  }

 private:
  static constexpr size_t kFlushAt = 1 << 16;

  const TextSink* out_;
  std::string buffer_;
};

}  // namespace posctl

#endif  // POSCTL_TEXT_SINK_H_
