#include "typea_io.h"

#include "diagnostics.h"
#include "typea_depth_scan.h"
#include "typea_errors.h"

namespace posctl {
namespace {

// The library's character reader gives back its read-ahead with 32-bit
// position arithmetic, which breaks past 2 GiB.
constexpr uint64_t kLargestReadableInput = (uint64_t{1} << 31) - 1;

Ref NewStreamer(LibrarySession& session) {
  const Procs& procs = session.procs();
  Ref streamer(procs, procs.posStreamer.NewPOSStreamer());
  if (!streamer) FailInput("posctl: error: the library made no streamer");
  return streamer;
}

void FailAt(const InputSource& input, uint64_t offset, const std::string& message) {
  FailInput(FormatCaretDiagnostic(input.name(), ExcerptFromInput(input, offset), message));
}

// Refuses what the library can't read safely before it sees a byte of it.
RuntimeStream OpenCheckedInput(LibrarySession& session, const InputSource& input, size_t maxDepth) {
  if (input.size() > kLargestReadableInput) {
    FailInput("posctl: error: " + input.name() +
              ": TypeA input of 2 GiB or more can't be read: the streamer keeps its stream "
              "positions in 32 bits");
  }
  TypeADepthScan scan = ScanTypeADepth(input, maxDepth);
  if (scan.tooDeep) {
    FailAt(input, scan.tooDeepOffset,
           "nesting deeper than " + std::to_string(maxDepth) + " levels (see --max-depth)");
  }
  return RuntimeStream::FromInput(session, input);
}

std::string Objects(size_t count) {
  return std::to_string(count) + (count == 1 ? " TypeA object" : " TypeA objects");
}

}  // namespace

TypeAReader::TypeAReader(LibrarySession& session, const InputSource& input, size_t maxDepth)
    : session_(session),
      input_(input),
      stream_(OpenCheckedInput(session, input, maxDepth)),
      streamer_(NewStreamer(session)) {}

bool TypeAReader::SkipWhitespace() {
  for (;;) {
    const int64_t at = stream_.Position();
    char block[256];
    const uint64_t count = stream_.Read(block, sizeof block);
    for (uint64_t i = 0; i < count; ++i) {
      char c = block[i];
      if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
        stream_.SeekTo(at + static_cast<int64_t>(i));
        return true;
      }
    }
    if (count == 0) return false;
  }
}

Ref TypeAReader::Next() {
  if (!SkipWhitespace()) return Ref();
  lastStart_ = stream_.Position();
  session_.StartCollectingReports();
  const Procs& procs = session_.procs();
  Ref object(procs, procs.posStreamer.Deserialize(streamer_.get(), stream_.handle()));
  if (!object) {
    const TypeAFailure failure =
        ExplainTypeAFailure(session_.CollectedReports(), input_, static_cast<uint64_t>(lastStart_),
                            static_cast<uint64_t>(stream_.Position()));
    FailAt(input_, failure.offset, failure.message);
  }
  return object;
}

TypeAObject ReadTypeAObject(LibrarySession& session, const InputSource& input, size_t maxDepth,
                            std::optional<size_t> which) {
  TypeAReader reader(session, input, maxDepth);
  TypeAObject chosen;
  size_t count = 0;
  // A chosen object is read up to itself: what comes after it is not
  // looked at. Without a choice the whole input is, to count its objects.
  while (Ref object = reader.Next()) {
    if (count++ == which.value_or(0)) {
      chosen.object = object;
      chosen.start = static_cast<uint64_t>(reader.lastStart());
      chosen.end = static_cast<uint64_t>(reader.Position());
      if (which) return chosen;
    }
  }
  if (count == 0) FailInput("posctl: error: " + input.name() + ": no TypeA stream in the input");
  if (!which && count > 1) {
    FailInput("posctl: error: " + input.name() + ": holds " + Objects(count) +
              "; name one with --object 0.." + std::to_string(count - 1) +
              " (or read them all with 'posctl cat')");
  }
  if (which && *which >= count) {
    FailInput("posctl: error: " + input.name() + ": holds " + Objects(count) + ", so --object " +
              std::to_string(*which) + " names none of them");
  }
  return chosen;
}

void WriteTypeA(LibrarySession& session, OutputFile& out, MOXContainer object) {
  const Procs& procs = session.procs();
  Ref streamer = NewStreamer(session);
  RuntimeStream stream = RuntimeStream::ToOutput(session, out);
  session.StartCollectingReports();
  if (!procs.posStreamer.Serialize(streamer.get(), stream.handle(), object, nullptr)) {
    if (out.failed()) out.ThrowFailure();
    const std::vector<std::string> reports = session.CollectedReports();
    FailInput("posctl: error: " + out.name() + ": the library could not write TypeA" +
              (reports.empty() ? std::string() : " (" + reports.back() + ")"));
  }
}

}  // namespace posctl
