#include "pos_to_json.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "address.h"
#include "diagnostics.h"
#include "text_encoding.h"

namespace posctl {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

class JsonWriter {
 public:
  // With no `out` nothing is written: the walk only looks for values that
  // have no JSON form.
  JsonWriter(const Procs& procs, const TextSink* out, const JsonOutOptions& options,
             const std::string& where)
      : procs_(procs), out_(out), options_(options), where_(where) {}

  void Write(MOXContainer object) {
    Value(object, 0);
    Emit("\n");
    Flush();
  }

 private:
  void Emit(std::string_view text) { out_.Emit(text); }
  void Flush() { out_.Flush(); }

  void NewLine(size_t depth) {
    if (options_.compact) return;
    Emit("\n");
    Emit(std::string(depth * 2, ' '));
  }

  // JSON's own string escapes come from the JSON library.
  void EmitString(const std::string& utf8) {
    if (!out_.IsWriting()) return;
    Emit(nlohmann::json(utf8).dump());
  }

  [[noreturn]] void Refuse(const std::string& what) {
    FailInput("posctl: error: " + where_ + ": " + what + " at " + path_.Describe() +
              " has no JSON form");
  }

  void Value(MOXContainer object, size_t depth) {
    if (options_.forms != nullptr) {
      if (const std::string* text = options_.forms->Find(object)) return Emit(*text);
    }
    if (procs_.posNumber.IsPOSNumber(object)) return Number(procs_.posNumber.Get(object));
    if (procs_.posString.IsPOSString(object))
      return EmitString(Latin1ToUtf8(procs_.posString.Get(object)));
    if (procs_.posUnicodeString.IsPOSUnicodeString(object)) {
      std::string utf8;
      size_t badUnit = 0;
      if (!Utf16ToUtf8(procs_.posUnicodeString.Get(object), &utf8, &badUnit)) {
        Refuse("an unpaired surrogate (unit " + std::to_string(badUnit) + ") of a Unicode string");
      }
      return EmitString(utf8);
    }
    if (procs_.posBinData.IsPOSBinData(object)) return BinData(object, depth);
    if (procs_.posArray.IsPOSArray(object)) return Array(object, depth);
    if (procs_.posDict.IsPOSDict(object)) return Dict(object, depth);
    if (procs_.posRawPointer.IsPOSRawPointer(object)) Refuse("a raw pointer");
    Refuse("an object of no known class");
  }

  void Number(double value) {
    if (std::isnan(value)) Refuse("NaN");
    if (std::isinf(value)) Refuse(value > 0 ? "infinity" : "minus infinity");
    if (value == 0 && std::signbit(value)) return Emit("-0");
    // Whole numbers read best without a fraction; below 2^63 the conversion
    // is exact.
    if (std::trunc(value) == value && std::fabs(value) < kTwoTo63) {
      return Emit(std::to_string(static_cast<int64_t>(value)));
    }
    if (out_.IsWriting()) Emit(nlohmann::json(value).dump());
  }

  void BinData(MOXContainer object, size_t depth) {
    static const char kDigits[] = "0123456789ABCDEF";
    const char* type = procs_.posBinData.GetTypeName(object);
    const uint64_t size = procs_.posBinData.GetSize(object);
    const auto* bytes = static_cast<const unsigned char*>(procs_.posBinData.GetBinData(object));
    if (!out_.IsWriting()) return;
    Emit("{");
    NewLine(depth + 1);
    EmitString("$bindata");
    Emit(options_.compact ? ":" : ": ");
    EmitString(BytesToUtf8(type != nullptr ? type : ""));
    Emit(",");
    NewLine(depth + 1);
    EmitString("hex");
    Emit(options_.compact ? ":\"" : ": \"");
    // Two digits a byte, handed on in pieces of a bounded size.
    constexpr size_t kHexPiece = 1 << 16;
    std::string hex;
    for (uint64_t i = 0; i < size; ++i) {
      hex.push_back(kDigits[bytes[i] >> 4]);
      hex.push_back(kDigits[bytes[i] & 0xF]);
      if (hex.size() >= kHexPiece) {
        Emit(hex);
        hex.clear();
      }
    }
    Emit(hex);
    Emit("\"");
    NewLine(depth);
    Emit("}");
  }

  void Array(MOXContainer array, size_t depth) {
    const uint32_t count = procs_.posArray.Count(array);
    if (count == 0) return Emit("[]");
    Emit("[");
    path_.PushIndex();
    for (uint32_t i = 0; i < count; ++i) {
      path_.SetIndex(i);
      if (i > 0) Emit(",");
      NewLine(depth + 1);
      MOXContainer member = procs_.posArray.GetAt(array, i);
      if (member == nullptr) Refuse("a hole");
      Value(member, depth + 1);
    }
    path_.Pop();
    NewLine(depth);
    Emit("]");
  }

  void Dict(MOXContainer dict, size_t depth) {
    Ref iterator(procs_, procs_.posDictIterator.NewPOSDictIterator(dict));
    if (!iterator) Refuse("a dictionary the library can't iterate");
    procs_.posDictIterator.Begin(iterator.get());
    if (procs_.posDictIterator.IsDone(iterator.get())) return Emit("{}");
    Emit("{");
    path_.PushKey();
    bool first = true;
    for (; !procs_.posDictIterator.IsDone(iterator.get());
         procs_.posDictIterator.Next(iterator.get())) {
      const char* key = procs_.posDictIterator.CurKey(iterator.get());
      path_.SetKey(key);
      if (!first) Emit(",");
      first = false;
      NewLine(depth + 1);
      EmitString(BytesToUtf8(key));
      Emit(options_.compact ? ":" : ": ");
      Atom keyAtom(procs_, key);
      MOXContainer value = procs_.posDict.Get(dict, keyAtom.get());
      if (value == nullptr) Refuse("a key without a value");
      Value(value, depth + 1);
    }
    path_.Pop();
    NewLine(depth);
    Emit("}");
  }

  const Procs& procs_;
  BufferedSink out_;
  const JsonOutOptions& options_;
  const std::string& where_;
  ValuePath path_;
};

}  // namespace

void WriteJson(LibrarySession& session, MOXContainer object, const TextSink& out,
               const JsonOutOptions& options, const std::string& where) {
  JsonWriter(session.procs(), nullptr, options, where).Write(object);
  JsonWriter(session.procs(), &out, options, where).Write(object);
}

}  // namespace posctl
