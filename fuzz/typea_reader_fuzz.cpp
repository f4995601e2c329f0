// Reads arbitrary bytes as a TypeA stream from a runtime memory stream. Every
// input must end in an object or in a report, leave the stream inside the
// input, and give back every runtime object once its result is dropped. An
// object that was read must write again and read back equal.
//
// A binary data size is allocated before its bytes are read, so run with the
// fuzzer's memory limits off and let the runtime refuse sizes it can't serve:
//
//   ASAN_OPTIONS=allocator_may_return_null=1 build-fuzz/fuzz/typea_reader_fuzz \
//       -rss_limit_mb=0 -dict=fuzz/typea.dict build-fuzz/corpus fuzz/corpus/typea_reader
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "MOXUtils.h"
#include "binding/client_streams.h"
#include "moxhost/runtime.h"
#include "pos/pos_client.h"
#include "streamer/streamer_interface.h"

namespace {

using namespace MOX_T_MT;
using namespace NPOSStreamerImpl;

// The live counts between two inputs, once the library is warm.
moxhost::LiveCounts gBaseline;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "typea_reader_fuzz: %s\n", what);
  for (const std::string& report : moxhost::Runtime::Get().Reports()) {
    std::fprintf(stderr, "  report: %s\n", report.c_str());
  }
  std::fprintf(stderr, "  live: %s\n  baseline: %s\n",
               moxhost::Runtime::Get().Counts().ToString().c_str(), gBaseline.ToString().c_str());
  std::abort();
}

CMOXPositionableStreamRef StreamOf(const void* data, size_t size) {
  CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
  stream.Write(data, size);
  stream.Seek(0, 0);
  return stream;
}

// Writes `object` and reads it back; empty when the read was refused.
CPOSObject WrittenAndRead(const CMOXContainerRef& streamer, const CPOSObject& object) {
  CMOXPositionableStreamRef copy(MOXNewPositionableMemoryStream());
  if (!POSStreamerEntries::Serialize(streamer.Container(), copy.Container(), object.Container(),
                                     nullptr))
    Fail("write refused");
  copy.Seek(0, 0);
  MOXContainer again = POSStreamerEntries::Deserialize(streamer.Container(), copy.Container());
  return again != nullptr ? CPOSObject(again) : CPOSObject();
}

// Started once for the whole run, as in a host.
void Start() {
  static const bool started = [] {
    if (MOXUtilsInitialize(moxhost::Runtime::LookupProc()) != 1) Fail("the library did not start");
    // Stopped at exit, as a host would, so that the leak check at exit sees
    // only what an input left behind.
    std::atexit([] { MOXUtilsTerminate(); });
    // Every form once, so that the method tables, which live until the stop,
    // are in the baseline.
    const std::string warm =
        "POSStreamerTypeA_Version1.0 <\"a\" [#1 \"s\" `0041` {\"t\" #1 00} <>] >";
    {
      CMOXContainerRef streamer(POSStreamerEntries::NewPOSStreamer());
      MOXContainer object = POSStreamerEntries::Deserialize(
          streamer.Container(), StreamOf(warm.data(), warm.size()).Container());
      if (object == nullptr) Fail("the warm-up stream was refused");
      WrittenAndRead(streamer, CPOSObject(object));
    }
    moxhost::Runtime::Get().ClearReports();
    gBaseline = moxhost::Runtime::Get().Counts();
    return true;
  }();
  (void)started;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Start();
  {
    CMOXContainerRef streamer(POSStreamerEntries::NewPOSStreamer());
    CMOXPositionableStreamRef stream = StreamOf(data, size);
    MOXContainer read = POSStreamerEntries::Deserialize(streamer.Container(), stream.Container());
    const int64_t position = stream.Mark();
    if (position < 0 || static_cast<uint64_t>(position) > size) Fail("stream left outside");
    if (read == nullptr) {
      if (moxhost::Runtime::Get().Reports().empty()) Fail("a refusal without a report");
    } else {
      CPOSObject object(read);
      moxhost::Runtime::Get().ClearReports();
      CPOSObject again = WrittenAndRead(streamer, object);
      if (again.IsEmpty()) {
        // Only a number too large for a double, which reads as infinity and
        // is written as "inf", can't come back.
        const std::vector<std::string> reports = moxhost::Runtime::Get().Reports();
        if (reports.size() != 1 || reports[0] != "malformed number") Fail("no way back");
      } else if (!again.IsEqual(object) || !object.IsEqual(again)) {
        Fail("read back unequal");
      }
    }
  }
  moxhost::Runtime::Get().ClearReports();
  if (moxhost::Runtime::Get().Counts() != gBaseline) Fail("objects left alive");
  return 0;
}
