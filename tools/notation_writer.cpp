#include "notation_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include "address.h"
#include "diagnostics.h"

namespace posctl {
namespace {

// The limits of the library's token buffers.
constexpr size_t kLongestString = 100;   // as written, backslashes counted
constexpr size_t kLongestUnicode = 100;  // units
constexpr size_t kLongestNumber = 100;

// An array of scalars whose members take no more than this stays on one line.
constexpr size_t kInlineArrayWidth = 60;

bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool IsNameChar(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9');
}

// The letters of a name are ASCII here: the library's parser takes what
// isalpha takes, which in posctl's "C" locale is the same.
bool IsName(const std::string& text) {
  if (text.empty() || !IsNameStart(text[0])) return false;
  for (char c : text) {
    if (!IsNameChar(c)) return false;
  }
  return true;
}

// The shortest digits that read back to the same double, written out as a
// decimal fraction without an exponent: 1e-7 is 0.0000001, 6.02214076e23
// is 602214076000000000000000.
std::string DecimalDigits(double value) {
  char scientific[64];
  const std::to_chars_result result = std::to_chars(scientific, scientific + sizeof scientific,
                                                    value, std::chars_format::scientific);
  const std::string_view text(scientific, static_cast<size_t>(result.ptr - scientific));
  const size_t e = text.find('e');
  const bool negative = text[0] == '-';
  std::string digits;
  for (char c : text.substr(negative ? 1 : 0, e - (negative ? 1 : 0))) {
    if (c != '.') digits += c;
  }
  const int exponent = std::stoi(std::string(text.substr(e + 1)));
  std::string out = negative ? "-" : "";
  if (exponent < 0) {
    out += "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
  } else {
    const size_t whole = static_cast<size_t>(exponent) + 1;
    if (digits.size() <= whole) {
      out += digits + std::string(whole - digits.size(), '0');
    } else {
      out += digits.substr(0, whole) + "." + digits.substr(whole);
    }
  }
  return out;
}

class NotationWriter {
 public:
  // With no `out` nothing is written: the walk only looks for values that
  // the notation can't hold.
  NotationWriter(const Procs& procs, const TextSink* out, const std::string& where)
      : procs_(procs), out_(out), where_(where) {}

  void Write(MOXContainer object) {
    Value(object, 0);
    Emit("\n");
    Flush();
  }

 private:
  void Emit(std::string_view text) { out_.Emit(text); }
  void Flush() { out_.Flush(); }
  void NewLine(size_t depth) {
    Emit("\n");
    Emit(std::string(depth, '\t'));
  }

  [[noreturn]] void Refuse(const std::string& what, const std::string& why = "") {
    FailInput("posctl: error: " + where_ + ": " + what + " at " + path_.Describe() +
              " has no text notation form" + (why.empty() ? "" : " (" + why + ")"));
  }

  std::string StringToken(const std::string& text, const char* what) {
    if (IsName(text) && text.size() <= kLongestString) return text;
    std::string token = "(";
    for (char c : text) {
      if (c == '\\' || c == ')') token += '\\';
      token += c;
    }
    if (token.size() - 1 > kLongestString) {
      Refuse(std::string(what) + " of " + std::to_string(text.size()) + " bytes",
             "it would take " + std::to_string(token.size() - 1) + " characters; at most " +
                 std::to_string(kLongestString) + " fit");
    }
    return token + ")";
  }

  std::string UnicodeToken(const uint16_t* units) {
    std::string token = "`";
    size_t count = 0;
    for (; units[count] != 0; ++count) {
      char group[8];
      std::snprintf(group, sizeof group, "%04X", units[count]);
      token += group;
    }
    if (count > kLongestUnicode) {
      Refuse("a Unicode string of " + std::to_string(count) + " units",
             "at most " + std::to_string(kLongestUnicode) + " fit");
    }
    return token + "`";
  }

  std::string NumberToken(double value) {
    if (std::isnan(value)) Refuse("NaN");
    if (std::isinf(value)) Refuse(value > 0 ? "infinity" : "minus infinity");
    std::string token = DecimalDigits(value);
    if (token.size() > kLongestNumber) {
      char shortest[64];
      const std::to_chars_result general =
          std::to_chars(shortest, shortest + sizeof shortest, value);
      Refuse("the number " + std::string(shortest, general.ptr),
             "without an exponent it takes " + std::to_string(token.size()) +
                 " characters; at most " + std::to_string(kLongestNumber) + " fit");
    }
    return token;
  }

  bool IsScalar(MOXContainer object) {
    return procs_.posNumber.IsPOSNumber(object) || procs_.posString.IsPOSString(object) ||
           procs_.posUnicodeString.IsPOSUnicodeString(object);
  }

  std::string ScalarToken(MOXContainer object) {
    if (procs_.posNumber.IsPOSNumber(object)) return NumberToken(procs_.posNumber.Get(object));
    if (procs_.posString.IsPOSString(object))
      return StringToken(procs_.posString.Get(object), "a string");
    return UnicodeToken(procs_.posUnicodeString.Get(object));
  }

  void Value(MOXContainer object, size_t depth) {
    if (IsScalar(object)) return Emit(ScalarToken(object));
    if (procs_.posArray.IsPOSArray(object)) return Array(object, depth);
    if (procs_.posDict.IsPOSDict(object)) return Dict(object, depth);
    if (procs_.posBinData.IsPOSBinData(object)) Refuse("binary data");
    if (procs_.posRawPointer.IsPOSRawPointer(object)) Refuse("a raw pointer");
    Refuse("an object of no known class");
  }

  void Array(MOXContainer array, size_t depth) {
    const uint32_t count = procs_.posArray.Count(array);
    if (count == 0) return Emit("[]");
    path_.PushIndex();
    auto member = [&](uint32_t i) {
      path_.SetIndex(i);
      MOXContainer value = procs_.posArray.GetAt(array, i);
      if (value == nullptr) Refuse("a hole");
      return value;
    };
    // A few scalars read best on one line.
    std::vector<std::string> tokens;
    size_t width = 0;
    for (uint32_t i = 0; i < count && width <= kInlineArrayWidth; ++i) {
      MOXContainer value = member(i);
      if (!IsScalar(value)) break;
      tokens.push_back(ScalarToken(value));
      width += tokens.back().size() + 1;
    }
    if (tokens.size() == count && width <= kInlineArrayWidth) {
      Emit("[");
      for (uint32_t i = 0; i < count; ++i) {
        if (i > 0) Emit(" ");
        Emit(tokens[i]);
      }
      Emit("]");
    } else {
      Emit("[");
      for (uint32_t i = 0; i < count; ++i) {
        NewLine(depth + 1);
        Value(member(i), depth + 1);
      }
      NewLine(depth);
      Emit("]");
    }
    path_.Pop();
  }

  void Dict(MOXContainer dict, size_t depth) {
    Ref iterator(procs_, procs_.posDictIterator.NewPOSDictIterator(dict));
    if (!iterator) Refuse("a dictionary the library can't iterate");
    procs_.posDictIterator.Begin(iterator.get());
    if (procs_.posDictIterator.IsDone(iterator.get())) return Emit("<>");
    Emit("<");
    path_.PushKey();
    for (; !procs_.posDictIterator.IsDone(iterator.get());
         procs_.posDictIterator.Next(iterator.get())) {
      const char* key = procs_.posDictIterator.CurKey(iterator.get());
      path_.SetKey(key);
      NewLine(depth + 1);
      Emit(StringToken(key, "a key"));
      Emit(" ");
      Atom keyAtom(procs_, key);
      MOXContainer value = procs_.posDict.Get(dict, keyAtom.get());
      if (value == nullptr) Refuse("a key without a value");
      Value(value, depth + 1);
    }
    path_.Pop();
    NewLine(depth);
    Emit(">");
  }

  const Procs& procs_;
  BufferedSink out_;
  const std::string& where_;
  ValuePath path_;
};

}  // namespace

void WriteNotation(const Procs& procs, MOXContainer object, const TextSink& out,
                   const std::string& where) {
  NotationWriter(procs, nullptr, where).Write(object);
  NotationWriter(procs, &out, where).Write(object);
}

}  // namespace posctl
