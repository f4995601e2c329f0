// A started library for the streamer's tests, with helpers to write objects
// into runtime streams and read them back through the streamer's methods.
// Every test must give back what it took: the runtime's live counts are
// checked after the tables that a first use fills are in the baseline.
#ifndef MOXUTILS_TESTS_STREAMER_STREAMER_FIXTURE_H_
#define MOXUTILS_TESTS_STREAMER_STREAMER_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MOXUtils.h"
#include "binding/client_streams.h"
#include "moxhost/runtime.h"
#include "pos/pos_client.h"
#include "streamer/streamer_interface.h"
#include "support/live_counts.h"

namespace moxtest {

using namespace MOX_T_MT;

// A stream over `bytes`, positioned at its start.
inline CMOXPositionableStreamRef MemoryStream(const std::string& bytes = "") {
  CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
  stream.Write(bytes.data(), bytes.size());
  stream.Seek(0, 0);
  return stream;
}

// Everything in `stream`, whatever its position, which stays as it was.
inline std::string Contents(const CMOXPositionableStreamRef& stream) {
  const int64_t position = stream.Mark();
  stream.Seek(0, 0);
  std::string bytes;
  char block[4096];
  while (uint64_t n = stream.Read(block, sizeof block)) bytes.append(block, n);
  stream.Seek(position, 0);
  return bytes;
}

const std::string kHeader = "POSStreamerTypeA_Version1.0 ";

class StreamerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    moxhost::Runtime::Get().ClearFaults();
    before_ = moxhost::Runtime::Get().Counts();
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
    streamer_ = CMOXContainerRef(NPOSStreamerImpl::POSStreamerEntries::NewPOSStreamer());
    // One round trip of every form fills the method tables for good.
    {
      CPOSArray warm = CPOSArray::New();
      warm.Append(CPOSDict::New());
      Read(Write(warm));
    }
    moxhost::Runtime::Get().ClearReports();
    started_ = moxhost::Runtime::Get().Counts();
  }

  void TearDown() override {
    moxhost::Runtime::Get().ClearFaults();
    EXPECT_EQ(CountsDiff(started_, moxhost::Runtime::Get().Counts()), "");
    streamer_ = CMOXContainerRef();
    MOXUtilsTerminate();
    EXPECT_EQ(CountsDiff(before_, moxhost::Runtime::Get().Counts()), "");
  }

  bool Serialize(const CMOXPositionableStreamRef& stream, const CPOSObject& object,
                 const char* version = nullptr) {
    return NPOSStreamerImpl::POSStreamerEntries::Serialize(
        streamer_.Container(), stream.Container(), object.Container(), version);
  }
  // The object read from `stream`, or an empty one when the read failed.
  CPOSObject Deserialize(const CMOXPositionableStreamRef& stream) {
    MOXContainer object = NPOSStreamerImpl::POSStreamerEntries::Deserialize(streamer_.Container(),
                                                                            stream.Container());
    return object != nullptr ? CPOSObject(object) : CPOSObject();
  }
  // The bytes that Serialize gives for `object`.
  std::string Write(const CPOSObject& object) {
    CMOXPositionableStreamRef stream = MemoryStream();
    EXPECT_TRUE(Serialize(stream, object)) << Reports();
    return Contents(stream);
  }
  CPOSObject Read(const std::string& bytes) { return Deserialize(MemoryStream(bytes)); }

  // The reports since the last call, joined by "|".
  static std::string Reports() {
    std::string joined;
    for (const std::string& report : moxhost::Runtime::Get().Reports()) {
      joined += (joined.empty() ? "" : "|") + report;
    }
    moxhost::Runtime::Get().ClearReports();
    return joined;
  }

  CMOXContainerRef streamer_;
  moxhost::LiveCounts before_;
  moxhost::LiveCounts started_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_STREAMER_STREAMER_FIXTURE_H_
