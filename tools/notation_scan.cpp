#include "notation_scan.h"

#include <cctype>
#include <vector>

#include "diagnostics.h"

namespace posctl {
namespace {

// The limits of the library's token buffers.
constexpr size_t kMaxNameOrString = 100;
constexpr size_t kMaxNumber = 100;
constexpr size_t kMaxUnicodeDigits = 401;

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
// posctl never changes the locale, so this is the library's letter test too.
bool IsLetter(char c) {
  return static_cast<signed char>(c) != -1 && std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool IsNameStart(char c) {
  return c == '_' || IsLetter(c);
}
bool IsNameChar(char c) {
  return IsNameStart(c) || IsDigit(c);
}
bool IsNumberStart(char c) {
  return IsDigit(c) || c == '-' || c == '+' || c == '.';
}

// What the parser is filling at one level.
enum class Level { kArray, kDict, kDictValue };

struct OpenLevel {
  Level level;
  size_t opened;    // offset of the bracket, or of the key for a value
  std::string key;  // for kDictValue: the key as written, made printable, for messages
};

class Scanner {
 public:
  Scanner(std::string_view text, size_t maxDepth, SourceTreeBuilder* places)
      : text_(text), maxDepth_(maxDepth), places_(places) {
    size_t nul = text_.find('\0');
    if (nul != std::string_view::npos) text_ = text_.substr(0, nul);
  }

  NotationScan Run() {
    while (!failed_ && !done_) Step();
    if (!failed_) {
      while (pos_ < text_.size() && IsSpace(text_[pos_])) ++pos_;
      if (pos_ < text_.size()) Fail(pos_, "unexpected text after the object");
    }
    return result_;
  }

 private:
  char At(size_t i) const { return i < text_.size() ? text_[i] : '\0'; }

  void Fail(size_t offset, const std::string& message) {
    failed_ = true;
    result_.hasError = true;
    result_.errorOffset = offset;
    result_.errorMessage = message;
  }

  size_t ContainerDepth() const {
    size_t depth = 0;
    for (const OpenLevel& open : stack_) {
      if (open.level != Level::kDictValue) ++depth;
    }
    return depth;
  }

  void FailAtEnd() {
    if (stack_.empty()) {
      Fail(pos_, text_.find_first_not_of(" \t\r\n") == std::string_view::npos
                     ? "the text is empty"
                     : "unexpected end of text");
      return;
    }
    const OpenLevel& open = stack_.back();
    SourceExcerpt where = ExcerptFromText(text_, open.opened);
    std::string at = std::to_string(where.line) + ":" + std::to_string(where.column);
    switch (open.level) {
      case Level::kArray:
        Fail(pos_, "unexpected end of text: the array opened at " + at + " is not closed");
        break;
      case Level::kDict:
        Fail(pos_, "unexpected end of text: the dictionary opened at " + at + " is not closed");
        break;
      case Level::kDictValue:
        Fail(pos_, "unexpected end of text: the key " + open.key + " at " + at + " has no value");
        break;
    }
  }

  void Step() {
    char c = At(pos_);
    if (c == '\0') return FailAtEnd();
    if (IsSpace(c)) {
      ++pos_;
      return;
    }
    if (c == '<' || c == '[') {
      if (places_ != nullptr) {
        places_->Open(c == '<' ? SourceNode::Kind::kDict : SourceNode::Kind::kArray, Place(pos_));
      }
      stack_.push_back({c == '<' ? Level::kDict : Level::kArray, pos_, {}});
      size_t depth = ContainerDepth();
      if (depth > result_.depth) result_.depth = depth;
      if (depth > maxDepth_) {
        result_.tooDeep = true;
        result_.tooDeepOffset = pos_;
        failed_ = true;
        return;
      }
      ++pos_;
      return;
    }
    if (c == ']' || c == '>') return Close(c);
    size_t start = pos_;
    bool isString = false;
    if (IsNameStart(c)) {
      while (IsNameChar(At(pos_))) ++pos_;
      if (pos_ - start > kMaxNameOrString) {
        return Fail(pos_, "a name is longer than 100 characters");
      }
      isString = true;
    } else if (IsNumberStart(c)) {
      ++pos_;
      while (IsDigit(At(pos_)) || At(pos_) == '.') ++pos_;
      if (pos_ - start > kMaxNumber) return Fail(pos_, "a number is longer than 100 characters");
    } else if (c == '(') {
      ++pos_;
      while (At(pos_) != ')') {
        if (At(pos_) == '\0' || (At(pos_) == '\\' && At(pos_ + 1) == '\0')) {
          pos_ = text_.size();
          return Fail(pos_, "unexpected end of text inside the string opened at " + Where(start));
        }
        pos_ += At(pos_) == '\\' ? 2 : 1;
      }
      ++pos_;
      if (pos_ - start - 2 > kMaxNameOrString) {
        return Fail(pos_,
                    "a parenthesised string is longer than 100 characters "
                    "(backslashes count)");
      }
      isString = true;
    } else if (c == '`') {
      ++pos_;
      while (At(pos_) != '`') {
        if (At(pos_) == '\0') {
          return Fail(pos_,
                      "unexpected end of text inside the Unicode string opened at " + Where(start));
        }
        ++pos_;
      }
      ++pos_;
      if (pos_ - start - 2 > kMaxUnicodeDigits) {
        return Fail(pos_, "a Unicode string is longer than 100 units (401 digits)");
      }
    } else {
      return Fail(pos_, "unexpected character " + DescribeByte(static_cast<unsigned char>(c)));
    }
    if (places_ != nullptr) Record(isString, start);
    Completed(isString, start);
  }

  const Location& Place(size_t offset) { return lines_.AdvanceTo(text_, offset); }

  // The token from `start` to the cursor, as a key or as a value.
  void Record(bool isString, size_t start) {
    if (!places_->ExpectsKey()) return places_->Scalar(Place(start));
    if (!isString) return;  // refused as a key below
    std::string key;
    if (text_[start] != '(') {
      key = std::string(text_.substr(start, pos_ - start));
    } else {
      // A backslash makes the next character literal.
      for (size_t i = start + 1; i + 1 < pos_; ++i) {
        if (text_[i] == '\\') ++i;
        key += text_[i];
      }
    }
    places_->Key(std::move(key), Place(start));
  }

  std::string Where(size_t offset) const {
    SourceExcerpt where = ExcerptFromText(text_, offset);
    return std::to_string(where.line) + ":" + std::to_string(where.column);
  }

  void Close(char c) {
    ++pos_;
    const bool bracket = c == ']';
    const char* name = bracket ? "']'" : "'>'";
    if (stack_.empty())
      return Fail(pos_, std::string("unexpected ") + name + " outside any " +
                            (bracket ? "array" : "dictionary"));
    const OpenLevel& open = stack_.back();
    if (open.level == Level::kDictValue) {
      return Fail(pos_,
                  std::string("unexpected ") + name + ": the key " + open.key + " has no value");
    }
    if ((open.level == Level::kArray) != bracket) {
      return Fail(pos_, std::string("unexpected ") + name + " inside the " +
                            (bracket ? "dictionary" : "array") + " opened at " +
                            Where(open.opened));
    }
    size_t opened = open.opened;
    stack_.pop_back();
    if (places_ != nullptr) places_->Close();
    Completed(false, opened);
  }

  // One object is complete; `start` is where it began.
  void Completed(bool isString, size_t start) {
    if (stack_.empty()) {
      done_ = true;
      return;
    }
    switch (stack_.back().level) {
      case Level::kArray:
        return;
      case Level::kDict:
        if (!isString) {
          return Fail(pos_, "a dictionary key must be a name or a parenthesised string");
        }
        stack_.push_back({Level::kDictValue, start, Printable(text_.substr(start, pos_ - start))});
        return;
      case Level::kDictValue:
        stack_.pop_back();
        return;
    }
  }

  std::string_view text_;
  size_t maxDepth_;
  SourceTreeBuilder* places_;
  LineCounter lines_;
  size_t pos_ = 0;
  bool failed_ = false;
  bool done_ = false;
  std::vector<OpenLevel> stack_;
  NotationScan result_;
};

}  // namespace

NotationScan ScanNotation(std::string_view text, size_t maxDepth, SourceTreeBuilder* places) {
  return Scanner(text, maxDepth, places).Run();
}

}  // namespace posctl
