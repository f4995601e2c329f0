#include "typea_depth_scan.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "diagnostics.h"

namespace posctl {
namespace {

constexpr char kMagic[] = "POSStreamerTypeA_Version1.0";
constexpr size_t kMaxVersionName = 64;
constexpr size_t kMaxNumberText = 62;

// Escape pairs (raw byte, letter) of each form, as the writer uses them.
constexpr char kOutsideEscapes[] = "\\\\";
constexpr char kNumberEscapes[] = "\\\\  ";
constexpr char kStringEscapes[] = "\\\\\"\"\nn\rr\tt";
constexpr char kUnicodeEscapes[] = "\\\\``";
constexpr char kBinDataEscapes[] = "\\\\}}";
constexpr char kArrayEscapes[] = "\\\\]]";
constexpr char kDictEscapes[] = "\\\\>>";

class BlockReader {
 public:
  explicit BlockReader(const InputSource& input) : input_(input) {}

  bool Next(unsigned char* byte) {
    if (at_ == size_) {
      const ssize_t n = input_.ReadSome(offset_, block_, sizeof block_);
      if (n < 0) FailInput("posctl: error: " + input_.name() + ": " + std::strerror(errno));
      size_ = static_cast<size_t>(n);
      at_ = 0;
      if (size_ == 0) return false;
    }
    *byte = static_cast<unsigned char>(block_[at_++]);
    ++offset_;
    return true;
  }
  // Offset of the next byte.
  uint64_t offset() const { return offset_; }

 private:
  const InputSource& input_;
  char block_[1 << 16];
  size_t size_ = 0;
  size_t at_ = 0;
  uint64_t offset_ = 0;
};

// One decoded character, the way the library's character reader gives it.
struct Char {
  unsigned char value = 0;
  bool escaped = false;
};

enum class Form { kOutside, kArray, kDict, kBinData };

struct Frame {
  Form form;
  unsigned char close;
  const char* escapes;
  int items = 0;  // objects read so far, for binary data's name and size
};

class Scanner {
 public:
  Scanner(const InputSource& input, size_t maxDepth) : in_(input), maxDepth_(maxDepth) {}

  TypeADepthScan Run() {
    while (ReadStreamHeader() && ReadTopObject()) {
    }
    return result_;
  }

 private:
  // False at the end of the input or where the library would refuse it.
  bool GetChar(const char* escapes, Char* out) {
    unsigned char raw;
    if (!in_.Next(&raw)) return false;
    if (raw != '\\') {
      out->value = (raw == '\t' || raw == '\n' || raw == '\r') ? ' ' : raw;
      out->escaped = false;
      return true;
    }
    unsigned char letter;
    if (!in_.Next(&letter)) return false;
    out->escaped = true;
    if (letter >= '0' && letter <= '9') {
      unsigned char second, third;
      if (!in_.Next(&second) || !in_.Next(&third)) return false;
      out->value =
          static_cast<unsigned char>((letter - '0') * 64 + (second - '0') * 8 + (third - '0'));
      return true;
    }
    for (const char* pair = escapes; pair[0] != '\0'; pair += 2) {
      if (static_cast<unsigned char>(pair[1]) == letter) {
        out->value = static_cast<unsigned char>(pair[0]);
        return true;
      }
    }
    return false;  // an escape this form doesn't know
  }

  bool ReadStreamHeader() {
    unsigned char byte;
    do {
      if (!in_.Next(&byte)) return false;
    } while (byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r');
    std::string name(1, static_cast<char>(byte));
    for (;;) {
      if (!in_.Next(&byte)) return false;
      if (byte == ' ') break;
      name += static_cast<char>(byte);
      if (name.size() >= kMaxVersionName) return false;
    }
    return name == kMagic;
  }

  // Reads one top-level object; false where the library would stop.
  bool ReadTopObject() {
    std::vector<Frame> stack;
    stack.push_back({Form::kOutside, 0, kOutsideEscapes});
    for (;;) {
      Frame& frame = stack.back();
      if (frame.form == Form::kBinData && frame.items == 2) {
        // The hexadecimal bytes: nothing in them opens an object.
        Char c;
        do {
          if (!GetChar(frame.escapes, &c)) return false;
        } while (c.escaped || c.value != '}');
        stack.pop_back();
        if (!ObjectDone(stack)) return true;
        continue;
      }
      const uint64_t start = in_.offset();
      Char c;
      if (!GetChar(frame.escapes, &c)) return false;
      if (!c.escaped && c.value == frame.close) {
        // A closing byte where an object should start: an array or a
        // dictionary ends here; anywhere else the library refuses it.
        if (frame.form != Form::kArray && frame.form != Form::kDict) return false;
        stack.pop_back();
        if (!ObjectDone(stack)) return true;
        continue;
      }
      switch (c.value) {
        case ' ':
          continue;
        case '#':
          if (!SkipNumber()) return false;
          break;
        case '"':
          if (!SkipQuoted('"', kStringEscapes)) return false;
          break;
        case '`':
          if (!SkipQuoted('`', kUnicodeEscapes)) return false;
          break;
        case '[':
        case '<':
        case '{': {
          Frame opened = c.value == '['   ? Frame{Form::kArray, ']', kArrayEscapes}
                         : c.value == '<' ? Frame{Form::kDict, '>', kDictEscapes}
                                          : Frame{Form::kBinData, '}', kBinDataEscapes};
          stack.push_back(opened);
          const size_t depth = stack.size() - 1;
          if (depth > result_.depth) result_.depth = depth;
          if (depth > maxDepth_) {
            result_.tooDeep = true;
            result_.tooDeepOffset = start;
            return false;
          }
          continue;
        }
        default:
          return false;  // a raw pointer, or a byte that starts nothing
      }
      if (!ObjectDone(stack)) return true;
    }
  }

  // Counts a finished object in the frame that holds it. False when it was
  // the top-level object.
  static bool ObjectDone(std::vector<Frame>& stack) {
    if (stack.size() == 1) return false;
    ++stack.back().items;
    return true;
  }

  bool SkipNumber() {
    size_t length = 0;
    Char c;
    for (;;) {
      if (!GetChar(kNumberEscapes, &c)) return false;
      if (!c.escaped && c.value == ' ') break;
      if (std::strchr("+-0123456789.Ee", c.value) == nullptr || c.value == '\0') return false;
      if (++length > kMaxNumberText) return false;
    }
    return length > 0;
  }

  bool SkipQuoted(unsigned char close, const char* escapes) {
    Char c;
    do {
      if (!GetChar(escapes, &c)) return false;
    } while (c.escaped || c.value != close);
    return true;
  }

  BlockReader in_;
  size_t maxDepth_;
  TypeADepthScan result_;
};

}  // namespace

TypeADepthScan ScanTypeADepth(const InputSource& input, size_t maxDepth) {
  return Scanner(input, maxDepth).Run();
}

}  // namespace posctl
