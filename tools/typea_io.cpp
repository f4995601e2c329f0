#include "typea_io.h"

#include "diagnostics.h"
#include "typea_depth_scan.h"

namespace posctl {
namespace {

// The library's character reader gives back its read-ahead with 32-bit
// position arithmetic, which breaks past 2 GiB.
constexpr uint64_t kLargestReadableInput = (uint64_t{1} << 31) - 1;

std::string JoinReports(const std::vector<std::string>& reports, const char* fallback) {
  if (reports.empty()) return fallback;
  std::string text;
  for (const std::string& report : reports) text += (text.empty() ? "" : "; ") + report;
  return text;
}

Ref NewStreamer(LibrarySession& session) {
  const Procs& procs = session.procs();
  Ref streamer(procs, procs.posStreamer.NewPOSStreamer());
  if (!streamer) FailInput("posctl: error: the library made no streamer");
  return streamer;
}

// Refuses what the library can't read safely before it sees a byte of it.
RuntimeStream OpenCheckedInput(LibrarySession& session, const InputSource& input, size_t maxDepth) {
  if (input.size() > kLargestReadableInput) {
    FailInput(input.name() +
              ": error: TypeA input of 2 GiB or more can't be read: the streamer keeps its "
              "stream positions in 32 bits");
  }
  TypeADepthScan scan = ScanTypeADepth(input.path(), maxDepth);
  if (scan.tooDeep) {
    FailInput(input.name() + ": error at byte " + std::to_string(scan.tooDeepOffset) +
              ": nesting deeper than " + std::to_string(maxDepth) + " levels (see --max-depth)");
  }
  return RuntimeStream::OpenFile(session, input.path(), "rb");
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
    const std::string message =
        JoinReports(session_.CollectedReports(), "the streamer read nothing");
    FailInput(input_.name() + ": error at byte " + std::to_string(stream_.Position()) + ": " +
              message);
  }
  return object;
}

Ref ReadSingleTypeA(LibrarySession& session, const InputSource& input, size_t maxDepth) {
  TypeAReader reader(session, input, maxDepth);
  Ref object = reader.Next();
  if (!object) FailInput(input.name() + ": error: no TypeA stream in the input");
  const int64_t end = reader.Position();
  if (reader.Next()) {
    FailInput(input.name() + ": error at byte " + std::to_string(end) +
              ": another TypeA stream follows the first (use 'posctl cat' to read them all)");
  }
  return object;
}

void WriteTypeA(LibrarySession& session, RuntimeStream& out, MOXContainer object) {
  const Procs& procs = session.procs();
  Ref streamer = NewStreamer(session);
  session.StartCollectingReports();
  if (!procs.posStreamer.Serialize(streamer.get(), out.handle(), object, nullptr)) {
    FailInput("posctl: error: writing TypeA failed: " +
              JoinReports(session.CollectedReports(), "the streamer gave no reason"));
  }
}

}  // namespace posctl
