#include "typea_depth_scan.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "block_reader.h"

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

}  // namespace

class TypeAScanner::Impl {
 public:
  Impl(const InputSource& input, size_t maxDepth) : in_(input), maxDepth_(maxDepth) {}

  bool NextStream(SourceTreeBuilder* places) {
    places_ = places;
    return ReadStreamHeader() && ReadTopObject();
  }
  const TypeADepthScan& result() const { return result_; }

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
    size_t inBinData = 0;  // what binary data holds is no value of the tree
    for (;;) {
      Frame& frame = stack.back();
      if (frame.form == Form::kBinData && frame.items == 2) {
        // The hexadecimal bytes: nothing in them opens an object.
        Char c;
        do {
          if (!GetChar(frame.escapes, &c)) return false;
        } while (c.escaped || c.value != '}');
        stack.pop_back();
        --inBinData;
        if (!ObjectDone(stack)) return true;
        continue;
      }
      const Location at = in_.here();
      const uint64_t start = at.offset;
      Char c;
      if (!GetChar(frame.escapes, &c)) return false;
      if (!c.escaped && c.value == frame.close) {
        // A closing byte where an object should start: an array or a
        // dictionary ends here; anywhere else the library refuses it.
        if (frame.form != Form::kArray && frame.form != Form::kDict) return false;
        stack.pop_back();
        if (Recording(inBinData)) places_->Close();
        if (!ObjectDone(stack)) return true;
        continue;
      }
      const bool record = Recording(inBinData);
      switch (c.value) {
        case ' ':
          continue;
        case '#':
          if (!SkipNumber()) return false;
          if (record) places_->Scalar(at);
          break;
        case '"': {
          const bool key = record && places_->ExpectsKey();
          std::string text;
          if (!SkipQuoted('"', kStringEscapes, key ? &text : nullptr)) return false;
          if (key) {
            // A string ends at its first zero byte.
            places_->Key(text.substr(0, text.find('\0')), at);
          } else if (record) {
            places_->Scalar(at);
          }
          break;
        }
        case '`':
          if (!SkipQuoted('`', kUnicodeEscapes, nullptr)) return false;
          if (record) places_->Scalar(at);
          break;
        case '[':
        case '<':
        case '{': {
          Frame opened = c.value == '['   ? Frame{Form::kArray, ']', kArrayEscapes}
                         : c.value == '<' ? Frame{Form::kDict, '>', kDictEscapes}
                                          : Frame{Form::kBinData, '}', kBinDataEscapes};
          if (record && opened.form == Form::kBinData) places_->Scalar(at);
          if (record && opened.form != Form::kBinData) {
            places_->Open(
                opened.form == Form::kArray ? SourceNode::Kind::kArray : SourceNode::Kind::kDict,
                at);
          }
          if (opened.form == Form::kBinData) ++inBinData;
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

  // Passes over a string up to its closing byte; with `text`, collects its
  // bytes as the library reads them.
  bool SkipQuoted(unsigned char close, const char* escapes, std::string* text) {
    for (;;) {
      Char c;
      if (!GetChar(escapes, &c)) return false;
      if (!c.escaped && c.value == close) return true;
      if (text != nullptr) *text += static_cast<char>(c.value);
    }
  }

  bool Recording(size_t inBinData) const { return places_ != nullptr && inBinData == 0; }

  BlockReader in_;
  size_t maxDepth_;
  SourceTreeBuilder* places_ = nullptr;
  TypeADepthScan result_;
};

TypeAScanner::TypeAScanner(const InputSource& input, size_t maxDepth)
    : impl_(std::make_unique<Impl>(input, maxDepth)) {}

TypeAScanner::~TypeAScanner() = default;

bool TypeAScanner::NextStream(SourceTreeBuilder* places) {
  return impl_->NextStream(places);
}

const TypeADepthScan& TypeAScanner::result() const {
  return impl_->result();
}

TypeADepthScan ScanTypeADepth(const InputSource& input, size_t maxDepth) {
  TypeAScanner scanner(input, maxDepth);
  while (scanner.NextStream(nullptr)) {
  }
  return scanner.result();
}

}  // namespace posctl
