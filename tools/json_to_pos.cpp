#include "json_to_pos.h"

#include <cmath>
#include <cstdio>
#include <istream>
#include <nlohmann/json.hpp>
#include <vector>

#include "address.h"
#include "diagnostics.h"
#include "text_encoding.h"

namespace posctl {
namespace {

// The keys of the JSON form of binary data.
constexpr char kBinDataTypeKey[] = "$bindata";
constexpr char kBinDataHexKey[] = "hex";

struct Level {
  Ref container;
  bool isDict;
  std::string path;  // the address of this container
  std::string key;   // the key whose value comes next
  size_t index = 0;  // the index of the next array member
  // What an object needs to be binary data.
  size_t keys = 0;
  std::optional<std::string> binDataType;
  std::optional<std::string> binDataHex;
};

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string IntegerText(long double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.0Lf", value);
  return text;
}

class PosBuilder : public nlohmann::json_sax<nlohmann::json> {
 public:
  PosBuilder(LibrarySession& session, const InputSource& input, const JsonInOptions& options)
      : procs_(session.procs()), input_(input), options_(options) {}

  Ref TakeRoot() { return std::move(root_); }
  const std::string& error() const { return error_; }
  bool syntaxError() const { return syntaxError_; }
  size_t syntaxErrorOffset() const { return syntaxErrorOffset_; }

  bool null() override {
    if (options_.nullAs) return AddText(*options_.nullAs);
    if (options_.forms == nullptr) {
      return Refuse("null at " + DescribeNextPath() +
                    " has no POS form (give --null-as STRING to read it as a string)");
    }
    if (options_.forms->nulls++ == 0) options_.forms->firstNullAddress = DescribeNextPath();
    return AddText("null", "null");
  }
  bool boolean(bool value) override {
    return AddText(value ? "true" : "false", value ? "true" : "false");
  }

  bool number_integer(number_integer_t value) override {
    const double stored = static_cast<double>(value);
    if (static_cast<long double>(stored) != static_cast<long double>(value)) {
      return AddChangedInteger(std::to_string(value), stored);
    }
    return AddNumber(stored);
  }
  bool number_unsigned(number_unsigned_t value) override {
    const double stored = static_cast<double>(value);
    if (static_cast<long double>(stored) != static_cast<long double>(value)) {
      return AddChangedInteger(std::to_string(value), stored);
    }
    return AddNumber(stored);
  }
  bool number_float(number_float_t value, const string_t& text) override {
    if (!std::isfinite(value)) {
      return Refuse("the number " + text + " at " + DescribeNextPath() +
                    " is beyond the range of a double");
    }
    // An integer too long for 64 bits arrives here; it changed unless the
    // double happens to hold it exactly.
    if (text.find_first_of(".eE") == string_t::npos) {
      std::string digits = text[0] == '-' ? text.substr(1) : text;
      if (IntegerText(std::fabs(static_cast<long double>(value))) != digits) {
        return AddChangedInteger(text, value);
      }
    }
    return AddNumber(value);
  }

  bool string(string_t& text) override {
    if (!levels_.empty() && levels_.back().isDict) {
      Level& level = levels_.back();
      if (level.key == kBinDataTypeKey) level.binDataType = text;
      if (level.key == kBinDataHexKey) level.binDataHex = text;
    }
    return AddText(text);
  }

  bool binary(binary_t&) override { return Refuse("binary values are not JSON"); }

  bool start_object(std::size_t) override { return Open(true); }
  bool key(string_t& key) override {
    if (key.find('\0') != string_t::npos) {
      return Refuse("a key in " + DescribePath(levels_.back().path) +
                    " holds U+0000, which no POS key can carry");
    }
    levels_.back().key = key;
    ++levels_.back().keys;
    return true;
  }
  bool end_object() override {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    if (level.keys == 2 && level.binDataType && level.binDataHex) {
      Ref binData = MakeBinData(level);
      return binData && Add(binData);
    }
    return Add(level.container);
  }
  bool start_array(std::size_t) override { return Open(false); }
  bool end_array() override {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    return Add(level.container);
  }

  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& ex) override {
    // The JSON library's text reads "[json.exception...] parse error at line
    // L, column C: reason"; posctl gives the place in its own form.
    std::string reason = ex.what();
    if (reason.rfind("[json.exception.", 0) == 0) reason = reason.substr(reason.find("] ") + 2);
    const size_t column = reason.find("column ");
    const size_t colon =
        column == std::string::npos ? std::string::npos : reason.find(": ", column);
    if (reason.rfind("parse error", 0) == 0 && colon != std::string::npos) {
      reason = reason.substr(colon + 2);
    }
    syntaxError_ = true;
    syntaxErrorOffset_ = position > 0 ? position - 1 : 0;
    error_ = reason;
    return false;
  }

 private:
  bool Refuse(const std::string& message) {
    error_ = message;
    return false;
  }

  // The address of the value that comes next, in the form `get` takes.
  std::string NextPath() const {
    if (levels_.empty()) return "";
    const Level& level = levels_.back();
    if (level.isDict) return level.path.empty() ? level.key : level.path + "." + level.key;
    return level.path + "[" + std::to_string(level.index) + "]";
  }
  std::string DescribeNextPath() const { return DescribePath(NextPath()); }

  // An edit keeps the integer's text; anything else says, once, that the
  // value changed.
  bool AddChangedInteger(const std::string& text, double stored) {
    if (options_.warnChangedIntegers && !warned_) {
      warned_ = true;
      Warn(input_.name() +
           ": integers beyond 2^53 change on the way in, since every POS number is a double; "
           "the first is at " +
           DescribeNextPath() + ": " + text + " becomes " + IntegerText(stored));
    }
    Ref number(procs_, procs_.posNumber.NewPOSNumber(stored));
    if (number && options_.forms != nullptr) options_.forms->Keep(number, text);
    return Add(number);
  }

  bool Open(bool isDict) {
    if (levels_.size() >= options_.maxDepth) {
      return Refuse("nesting deeper than " + std::to_string(options_.maxDepth) + " levels at " +
                    DescribeNextPath() + " (see --max-depth)");
    }
    Ref container(procs_, isDict ? procs_.posDict.NewPOSDict() : procs_.posArray.NewPOSArray());
    if (!container) return Refuse("the library made no container");
    Level level{std::move(container), isDict, NextPath(), {}, 0, 0, {}, {}};
    levels_.push_back(std::move(level));
    return true;
  }

  bool AddNumber(double value) {
    Ref number(procs_, procs_.posNumber.NewPOSNumber(value));
    return Add(number);
  }

  // `jsonForm` is the JSON text of a value that POS holds as a string.
  bool AddText(const std::string& utf8, const char* jsonForm = nullptr) {
    const std::u32string text = DecodeUtf8(utf8);
    for (char32_t c : text) {
      if (c == 0) {
        return Refuse("the string at " + DescribeNextPath() +
                      " holds U+0000, which ends every POS string");
      }
    }
    Ref value;
    if (FitsLatin1(text)) {
      value = Ref(procs_, procs_.posString.NewPOSString(ToLatin1(text).c_str()));
    } else {
      std::u16string units = ToUtf16(text);
      value = Ref(procs_, procs_.posUnicodeString.NewPOSUnicodeString(
                              reinterpret_cast<const uint16_t*>(units.c_str())));
    }
    if (value && jsonForm != nullptr && options_.forms != nullptr) {
      options_.forms->Keep(value, jsonForm);
    }
    return Add(value);
  }

  Ref MakeBinData(const Level& level) {
    const std::string& hex = *level.binDataHex;
    std::vector<unsigned char> bytes;
    bytes.reserve(hex.size() / 2);
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
      int high = HexDigit(hex[i]);
      int low = HexDigit(hex[i + 1]);
      if (high < 0 || low < 0) break;
      bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    if (hex.size() % 2 != 0 || bytes.size() * 2 != hex.size()) {
      Refuse("the binary data at " + DescribePath(level.path) +
             " needs pairs of hexadecimal digits in \"hex\"");
      return Ref();
    }
    if (level.binDataType->find('\0') != std::string::npos) {
      Refuse("the type name of the binary data at " + DescribePath(level.path) + " holds U+0000");
      return Ref();
    }
    Ref binData(procs_, procs_.posBinData.NewPOSBinData(level.binDataType->c_str(), bytes.data(),
                                                        bytes.size()));
    if (!binData) Refuse("the library refused the binary data at " + DescribePath(level.path));
    return binData;
  }

  bool Add(const Ref& value) {
    if (!value) return Refuse("the library refused the value at " + DescribeNextPath());
    if (levels_.empty()) {
      root_ = value;
      return true;
    }
    Level& level = levels_.back();
    if (level.isDict) {
      Atom key(procs_, level.key.c_str());
      procs_.posDict.Put(level.container.get(), key.get(), value.get());
    } else {
      procs_.posArray.Append(level.container.get(), value.get());
      ++level.index;
    }
    return true;
  }

  const Procs& procs_;
  const InputSource& input_;
  const JsonInOptions& options_;
  std::vector<Level> levels_;
  Ref root_;
  std::string error_;
  bool syntaxError_ = false;
  size_t syntaxErrorOffset_ = 0;
  bool warned_ = false;
};

}  // namespace

Ref ReadJson(LibrarySession& session, const InputSource& input, const JsonInOptions& options) {
  PosBuilder builder(session, input, options);
  InputStreamBuf buffer(input);
  std::istream stream(&buffer);
  const bool ok = nlohmann::json::sax_parse(stream, &builder);
  // The JSON library takes a NUL byte for the end of the input, and stops
  // right behind it.
  auto nulAt = [&](uint64_t offset) {
    return input.ReadRange(offset, offset + 1) == std::string(1, '\0');
  };
  auto failAt = [&](uint64_t offset, const std::string& message) {
    FailInput(FormatCaretDiagnostic(input.name(), ExcerptFromInput(input, offset), message));
  };
  if (ok) {
    const uint64_t consumed = buffer.consumed();
    if (consumed > 0 && nulAt(consumed - 1))
      failAt(consumed - 1, "a NUL byte after the JSON value");
    if (consumed < input.size()) failAt(consumed, "unexpected text after the JSON value");
    return builder.TakeRoot();
  }
  if (builder.syntaxError()) {
    const uint64_t at = builder.syntaxErrorOffset();
    failAt(at, nulAt(at) ? "a NUL byte, which JSON doesn't allow" : builder.error());
  }
  FailInput("posctl: error: " + input.name() + ": " + builder.error());
}

}  // namespace posctl
