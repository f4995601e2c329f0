#include "json_locations.h"

#include <string>

#include "block_reader.h"
#include "text_encoding.h"

namespace posctl {
namespace {

int HexValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

class JsonLocator {
 public:
  JsonLocator(const InputSource& input, SourceTreeBuilder* places) : in_(input), places_(places) {}

  void Run() {
    size_t open = 0;
    for (;;) {
      unsigned char c;
      const Location at = in_.here();
      if (!in_.Next(&c)) return;
      switch (c) {
        case ' ':
        case '\t':
        case '\n':
        case '\r':
        case ',':
        case ':':
          continue;
        case '{':
        case '[':
          places_->Open(c == '{' ? SourceNode::Kind::kDict : SourceNode::Kind::kArray, at);
          ++open;
          break;
        case '}':
        case ']':
          places_->Close();
          --open;
          break;
        case '"': {
          const bool key = places_->ExpectsKey();
          std::string text = ReadString(key);
          if (key) {
            places_->Key(std::move(text), at);
            continue;  // its value follows
          }
          places_->Scalar(at);
          break;
        }
        default:
          SkipLiteral();
          places_->Scalar(at);
          break;
      }
      if (open == 0) return;  // the top-level value is complete
    }
  }

 private:
  // A number, true, false or null: up to the next byte that ends a token.
  void SkipLiteral() {
    unsigned char c;
    while (in_.Peek(&c) && c != ',' && c != ']' && c != '}' && c != ' ' && c != '\t' && c != '\n' &&
           c != '\r') {
      in_.Next(&c);
    }
  }

  unsigned ReadHex4() {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
      unsigned char c = 0;
      in_.Next(&c);
      const int digit = HexValue(c);
      value = value * 16 + static_cast<unsigned>(digit < 0 ? 0 : digit);
    }
    return value;
  }

  // The rest of a string after its opening quotation mark; decoded to
  // UTF-8 only when `decode`, for keys.
  std::string ReadString(bool decode) {
    std::string text;
    unsigned char c;
    while (in_.Next(&c) && c != '"') {
      if (c != '\\') {
        if (decode) text += static_cast<char>(c);
        continue;
      }
      if (!in_.Next(&c)) break;
      if (!decode) {
        if (c == 'u') ReadHex4();
        continue;
      }
      switch (c) {
        case 'b':
          text += '\b';
          break;
        case 'f':
          text += '\f';
          break;
        case 'n':
          text += '\n';
          break;
        case 'r':
          text += '\r';
          break;
        case 't':
          text += '\t';
          break;
        case 'u': {
          char32_t code = ReadHex4();
          // A high surrogate is followed by \u and its low one: the parser
          // has refused anything else already.
          if (code >= 0xD800 && code < 0xDC00) {
            unsigned char slash = 0, u = 0;
            in_.Next(&slash);
            in_.Next(&u);
            code = 0x10000 + ((code - 0xD800) << 10) + (ReadHex4() - 0xDC00);
          }
          AppendUtf8(code, &text);
          break;
        }
        default:  // " \ /
          text += static_cast<char>(c);
          break;
      }
    }
    return text;
  }

  BlockReader in_;
  SourceTreeBuilder* places_;
};

}  // namespace

void LocateJsonValues(const InputSource& input, SourceTreeBuilder* places) {
  JsonLocator(input, places).Run();
}

}  // namespace posctl
