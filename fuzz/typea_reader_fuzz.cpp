// Reads arbitrary bytes, however deep, as a TypeA stream from a runtime
// memory stream. Every input must end in an object or in a report, leave the
// stream inside the input, and give back every runtime object once its
// result is dropped. An object that was read must write again, read back
// equal, and write the same bytes a second time.
//
// A binary data size is allocated before its bytes are read, so run with the
// fuzzer's memory limits off and let the runtime refuse sizes it can't serve
// (scripts/fuzz does):
//
//   ASAN_OPTIONS=allocator_may_return_null=1 build-fuzz/fuzz/typea_reader_fuzz \
//       -rss_limit_mb=0 -dict=fuzz/typea_reader.dict build-fuzz/corpus/typea_reader \
//       fuzz/corpus/typea_reader
#include "binding/client_streams.h"
#include "fuzz_session.h"
#include "pos/pos_client.h"
#include "streamer/streamer_interface.h"

using namespace moxfuzz;
using namespace MOX_T_MT;
using namespace NPOSStreamerImpl;

namespace {

CMOXPositionableStreamRef StreamOf(const std::string& bytes) {
  CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
  stream.Write(bytes.data(), bytes.size());
  stream.Seek(0, 0);
  return stream;
}

std::string Contents(const CMOXPositionableStreamRef& stream) {
  stream.Seek(0, 0);
  std::string bytes;
  char block[4096];
  for (uint64_t count; (count = stream.Read(block, sizeof block)) != 0;) bytes.append(block, count);
  return bytes;
}

// Writes `object`, fills `bytes` with what was written, and reads it back;
// empty when the read was refused.
CPOSObject WrittenAndRead(const CMOXContainerRef& streamer, const CPOSObject& object,
                          std::string* bytes, const std::string& input) {
  CMOXPositionableStreamRef copy(MOXNewPositionableMemoryStream());
  if (!POSStreamerEntries::Serialize(streamer.Container(), copy.Container(), object.Container(),
                                     nullptr)) {
    Fail("write refused", input);
  }
  *bytes = Contents(copy);
  copy.Seek(0, 0);
  MOXContainer again = POSStreamerEntries::Deserialize(streamer.Container(), copy.Container());
  return again != nullptr ? CPOSObject(again) : CPOSObject();
}

// Every form once: the method tables live until the stop.
void Warm(const Procs&) {
  const std::string warm =
      "POSStreamerTypeA_Version1.0 <\"a\" [#1 \"s\" `0041` {\"t\" #1 00} <>] >";
  CMOXContainerRef streamer(POSStreamerEntries::NewPOSStreamer());
  MOXContainer object =
      POSStreamerEntries::Deserialize(streamer.Container(), StreamOf(warm).Container());
  if (object == nullptr) Fail("the warm-up stream was refused", warm);
  std::string bytes;
  WrittenAndRead(streamer, CPOSObject(object), &bytes, warm);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Start("typea_reader_fuzz", &Warm);
  const std::string input = Text(data, size);
  {
    CMOXContainerRef streamer(POSStreamerEntries::NewPOSStreamer());
    CMOXPositionableStreamRef stream = StreamOf(input);
    MOXContainer read = POSStreamerEntries::Deserialize(streamer.Container(), stream.Container());
    const int64_t position = stream.Mark();
    if (position < 0 || static_cast<uint64_t>(position) > size) Fail("stream left outside", input);
    if (read == nullptr) {
      if (TakeReports().empty()) Fail("a refusal without a report", input);
    } else {
      CPOSObject object(read);
      TakeReports();
      std::string first, second;
      CPOSObject again = WrittenAndRead(streamer, object, &first, input);
      if (again.IsEmpty()) {
        // Only a number too large for a double, which reads as infinity and
        // is written as "inf", can't come back.
        if (TakeReports() != Strings{"malformed number"}) Fail("no way back", input);
      } else if (!again.IsEqual(object) || !object.IsEqual(again)) {
        Fail("read back unequal", input);
      } else {
        WrittenAndRead(streamer, again, &second, input);
        if (second != first) Fail("what read back writes other bytes", input);
      }
    }
  }
  TakeReports();
  CheckCounts(input);
  return 0;
}
