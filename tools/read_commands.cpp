// get, keys and type: one value of a tree, found by its address.
#include <cstdio>

#include "commands.h"
#include "diagnostics.h"
#include "library_session.h"
#include "output_file.h"
#include "pos_to_json.h"
#include "text_encoding.h"
#include "tree_access.h"

namespace posctl {
namespace {

// A session's tree and the value an address reaches in it.
struct Found {
  Document document;
  Ref value;
};

Found Find(LibrarySession& session, const InputSource& input, const InputOptions& options,
           const std::optional<AddressOptions>& at) {
  const Procs& procs = session.procs();
  Found found{LoadDocument(session, input, options, Purpose::kRead), Ref()};
  if (!at) {
    found.value = found.document.object;
    return found;
  }
  const Address address = ParseAddress(at->address, at->pointer);
  std::string why;
  MOXContainer value = FindAt(procs, found.document.object.get(), address, &why);
  if (value == nullptr) {
    FailInput("posctl: error: " + input.name() + ": nothing at '" + Printable(at->address) + "' " +
              why);
  }
  found.value = Ref(procs, value);
  return found;
}

// What --raw prints: a string's text, or a number as JSON writes it.
std::string RawText(LibrarySession& session, MOXContainer value, const std::string& where,
                    const std::string& address) {
  const Procs& procs = session.procs();
  if (procs.posString.IsPOSString(value)) return Latin1ToUtf8(procs.posString.Get(value));
  if (procs.posUnicodeString.IsPOSUnicodeString(value)) {
    std::string utf8;
    size_t badUnit = 0;
    if (Utf16ToUtf8(procs.posUnicodeString.Get(value), &utf8, &badUnit)) return utf8;
    FailInput("posctl: error: " + where + ": the Unicode string at '" + Printable(address) +
              "' has an unpaired surrogate (unit " + std::to_string(badUnit) + ")");
  }
  if (procs.posNumber.IsPOSNumber(value)) {
    std::string text;
    WriteJson(
        session, value, [&text](std::string_view part) { text += part; },
        JsonOutOptions{true, nullptr}, where);
    return text.substr(0, text.size() - 1);
  }
  FailInput("posctl: error: " + where + ": --raw prints strings and numbers, and '" +
            Printable(address) + "' is " + DescribeObject(procs, value));
}

void PrintLine(const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
}

}  // namespace

int RunGet(const GetOptions& options) {
  LibrarySession session;
  OutputFile out("-", OutputFile::Kind::kAny);
  InputSource input(options.input.file);
  Found found = Find(session, input, options.input, options.at);
  if (options.raw) {
    out.Write(RawText(session, found.value.get(), input.name(), options.at.address));
    if (out.IsTerminal()) out.Write("\n");
  } else if (options.json) {
    WriteObject(session, found.value.get(), Format::kJson, out, options.compact, nullptr,
                input.name());
  } else {
    WriteObject(session, found.value.get(), Format::kTypeA, out, false, nullptr, input.name());
    if (out.IsTerminal()) out.Write("\n");
  }
  out.Commit();
  return kExitOk;
}

int RunKeys(const InspectOptions& options) {
  LibrarySession session;
  const Procs& procs = session.procs();
  InputSource input(options.input.file);
  Found found = Find(session, input, options.input, options.at);
  MOXContainer value = found.value.get();
  if (procs.posDict.IsPOSDict(value)) {
    Ref iterator(procs, procs.posDictIterator.NewPOSDictIterator(value));
    for (procs.posDictIterator.Begin(iterator.get()); !procs.posDictIterator.IsDone(iterator.get());
         procs.posDictIterator.Next(iterator.get())) {
      PrintLine(procs.posDictIterator.CurKey(iterator.get()));
    }
  } else if (procs.posArray.IsPOSArray(value)) {
    const uint32_t count = procs.posArray.Count(value);
    for (uint32_t i = 0; i < count; ++i) PrintLine(std::to_string(i));
  } else {
    FailInput("posctl: error: " + input.name() + ": " +
              (options.at ? "'" + Printable(options.at->address) + "'" : "the top level") + " is " +
              DescribeObject(procs, value) + ", which has no keys");
  }
  return kExitOk;
}

int RunType(const InspectOptions& options) {
  LibrarySession session;
  const Procs& procs = session.procs();
  InputSource input(options.input.file);
  Found found = Find(session, input, options.input, options.at);
  MOXContainer value = found.value.get();
  std::string line = DescribeObject(procs, value);
  if (procs.posString.IsPOSString(value)) {
    const size_t length = std::char_traits<char>::length(procs.posString.Get(value));
    line += " of " + std::to_string(length) + (length == 1 ? " byte" : " bytes");
  } else if (procs.posUnicodeString.IsPOSUnicodeString(value)) {
    const std::u16string_view units(
        reinterpret_cast<const char16_t*>(procs.posUnicodeString.Get(value)));
    line += " of " + std::to_string(units.size()) + (units.size() == 1 ? " unit" : " units");
  } else if (procs.posBinData.IsPOSBinData(value)) {
    const uint64_t size = procs.posBinData.GetSize(value);
    line += " of " + std::to_string(size) + (size == 1 ? " byte" : " bytes") + ", type '" +
            Printable(procs.posBinData.GetTypeName(value)) + "'";
  }
  PrintLine(line);
  return kExitOk;
}

}  // namespace posctl
