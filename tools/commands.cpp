#include "commands.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "diagnostics.h"
#include "json_to_pos.h"
#include "library_session.h"
#include "notation_io.h"
#include "notation_scan.h"
#include "pos_to_json.h"
#include "runtime_streams.h"
#include "typea_io.h"

namespace posctl {
namespace {

const char* DisplayName(Format format) {
  switch (format) {
    case Format::kNotation:
      return "text notation";
    case Format::kTypeA:
      return "TypeA";
    case Format::kJson:
      return "JSON";
  }
  return "?";
}

Ref ReadObject(LibrarySession& session, const InputSource& input, const InputOptions& options) {
  switch (input.Resolve(options.from)) {
    case Format::kNotation:
      return ReadNotation(session, input, options.maxDepth);
    case Format::kTypeA:
      return ReadSingleTypeA(session, input, options.maxDepth);
    case Format::kJson:
      return ReadJson(session, input, JsonInOptions{options.maxDepth, options.nullAs});
  }
  return Ref();
}

// TypeA ends right after its object. A terminal gets a line feed after it
// all the same, so that the prompt doesn't stick to it; files and pipes get
// the exact bytes.
void EndTerminalLine() {
  std::fflush(stdout);
  if (isatty(STDOUT_FILENO)) std::fputc('\n', stdout);
}

void WriteToStdout(LibrarySession& session, MOXContainer object, bool json, bool compact,
                   const std::string& where) {
  if (json) {
    WriteJson(session, object, stdout, JsonOutOptions{compact}, where);
  } else {
    RuntimeStream out = RuntimeStream::ToFile(session, stdout);
    WriteTypeA(session, out, object);
  }
  std::fflush(stdout);
}

// Removes a half-written output file unless the write went through.
class OutputFileGuard {
 public:
  explicit OutputFileGuard(std::string path) : path_(std::move(path)) {}
  ~OutputFileGuard() {
    if (!done_) std::remove(path_.c_str());
  }
  void Done() { done_ = true; }

 private:
  std::string path_;
  bool done_ = false;
};

std::string Describe(const Procs& procs, MOXContainer object) {
  if (procs.posNumber.IsPOSNumber(object)) return "a number";
  if (procs.posString.IsPOSString(object)) return "a string";
  if (procs.posUnicodeString.IsPOSUnicodeString(object)) return "a Unicode string";
  if (procs.posBinData.IsPOSBinData(object)) return "binary data";
  if (procs.posRawPointer.IsPOSRawPointer(object)) return "a raw pointer";
  if (procs.posArray.IsPOSArray(object)) {
    uint32_t count = procs.posArray.Count(object);
    return "an array of " + std::to_string(count) + (count == 1 ? " member" : " members");
  }
  if (procs.posDict.IsPOSDict(object)) {
    Ref iterator(procs, procs.posDictIterator.NewPOSDictIterator(object));
    size_t count = 0;
    for (procs.posDictIterator.Begin(iterator.get()); !procs.posDictIterator.IsDone(iterator.get());
         procs.posDictIterator.Next(iterator.get())) {
      ++count;
    }
    return "a dictionary of " + std::to_string(count) + (count == 1 ? " key" : " keys");
  }
  return "an object of no known class";
}

// Where each step of an address ends, read the way DeepGet reads it: an
// address that doesn't begin with "." begins with a key all the same.
std::vector<size_t> StepEnds(const std::string& address) {
  std::vector<size_t> ends;
  size_t at = 0;
  auto keyEnd = [&](size_t from) {
    size_t end = address.find_first_of(".[", from);
    return end == std::string::npos ? address.size() : end;
  };
  if (address.empty() || address[0] != '.') {
    at = keyEnd(0);
    ends.push_back(at);
  }
  while (at < address.size()) {
    if (address[at] == '.') {
      at = keyEnd(at + 1);
    } else if (address[at] == '[') {
      size_t close = address.find(']', at);
      at = close == std::string::npos ? address.size() : close + 1;
    } else {
      break;
    }
    ends.push_back(at);
  }
  return ends;
}

// Why an address reaches nothing: what the longest part of it that does
// reach something holds.
std::string ExplainMiss(const Procs& procs, MOXContainer root, MOXContainer top,
                        const std::string& address) {
  std::vector<size_t> ends = StepEnds(address);
  for (size_t i = ends.size(); i-- > 1;) {
    const std::string prefix = address.substr(0, ends[i - 1]);
    if (prefix.empty()) break;
    Atom prefixAtom(procs, prefix.c_str());
    MOXContainer value = procs.posDict.DeepGet(root, prefixAtom.get());
    if (value != nullptr) return " ('" + prefix + "' is " + Describe(procs, value) + ")";
  }
  return " (the top level is " + Describe(procs, top) + ")";
}

}  // namespace

int RunConvert(const ConvertOptions& options) {
  LibrarySession session;
  InputSource input(options.input.file);
  Ref object = ReadObject(session, input, options.input);
  if (options.output.empty()) {
    WriteToStdout(session, object.get(), options.to == Format::kJson, options.compact,
                  input.name());
    if (options.to == Format::kTypeA) EndTerminalLine();
    return kExitOk;
  }
  OutputFileGuard guard(options.output);
  if (options.to == Format::kJson) {
    FILE* out = std::fopen(options.output.c_str(), "wb");
    if (out == nullptr) {
      FailInput("posctl: error: " + options.output + ": " + std::strerror(errno));
    }
    try {
      WriteJson(session, object.get(), out, JsonOutOptions{options.compact}, input.name());
    } catch (...) {
      std::fclose(out);
      throw;
    }
    if (std::fclose(out) != 0) {
      FailInput("posctl: error: " + options.output + ": " + std::strerror(errno));
    }
  } else {
    RuntimeStream out = RuntimeStream::OpenFile(session, options.output, "wb");
    WriteTypeA(session, out, object.get());
  }
  guard.Done();
  return kExitOk;
}

int RunGet(const GetOptions& options) {
  LibrarySession session;
  const Procs& procs = session.procs();
  InputSource input(options.input.file);
  Ref object = ReadObject(session, input, options.input);
  // Addresses start at a dictionary. Any other top-level object is reached
  // under the empty key, which DeepGet reads for an address that starts
  // with a subscript: "[0]" is the first member of a top-level array.
  Ref root = object;
  if (!procs.posDict.IsPOSDict(object.get())) {
    root = Ref(procs, procs.posDict.NewPOSDict());
    Atom emptyKey(procs, "");
    procs.posDict.Put(root.get(), emptyKey.get(), object.get());
  }
  Atom address(procs, options.address.c_str());
  MOXContainer value = procs.posDict.DeepGet(root.get(), address.get());
  if (value == nullptr) {
    FailInput(input.name() + ": error: nothing at '" + options.address + "'" +
              ExplainMiss(procs, root.get(), object.get(), options.address));
  }
  Ref held(procs, value);
  WriteToStdout(session, held.get(), options.json, options.compact, input.name());
  if (!options.json) EndTerminalLine();
  return kExitOk;
}

int RunCat(const CatOptions& options) {
  LibrarySession session;
  InputSource input(options.input.file);
  TypeAReader reader(session, input, options.input.maxDepth);
  // One object per stream, each followed by a line feed; posctl's reader
  // skips that line feed when the output is read back.
  while (Ref object = reader.Next()) {
    WriteToStdout(session, object.get(), options.json, options.compact, input.name());
    if (!options.json) std::fputc('\n', stdout);
  }
  std::fflush(stdout);
  return kExitOk;
}

int RunCheck(const InputOptions& options) {
  LibrarySession session;
  InputSource input(options.file);
  const Format format = input.Resolve(options.from);
  std::string detail;
  if (format == Format::kTypeA) {
    TypeAReader reader(session, input, options.maxDepth);
    size_t count = 0;
    while (reader.Next()) ++count;
    if (count == 0) FailInput(input.name() + ": error: no TypeA stream in the input");
    detail = count == 1 ? ", 1 object" : ", " + std::to_string(count) + " objects";
  } else {
    ReadObject(session, input, options);
  }
  std::printf("%s: well formed %s%s\n", input.name().c_str(), DisplayName(format), detail.c_str());
  return kExitOk;
}

}  // namespace posctl
