// Filters and data sinks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxtest::TakeMessage;

struct FilterProcs {
#define FILTER_PROC(Type, name) Type name = MOX_PROC(Type, "MOXFilterInterface", #name)
  FILTER_PROC(MOXFilterNewNullDataSinkV2Proc, NewNullDataSink);
  FILTER_PROC(MOXFilterNewClientDataSinkV2Proc, NewClientDataSink);
  FILTER_PROC(MOXFilterNewIdentityFilterV2Proc, NewIdentityFilter);
  FILTER_PROC(MOXFilterNewClientFilterV2Proc, NewClientFilter);
  FILTER_PROC(MOXFilterNewFilterJPEGV2Proc, NewFilterJPEG);
  FILTER_PROC(MOXFilterReleaseProc, Release);
  FILTER_PROC(MOXFilterWriteV2Proc, Write);
  FILTER_PROC(MOXFilterIsFilterProc, IsFilter);
  FILTER_PROC(MOXFilterCloseProc, Close);
  FILTER_PROC(MOXFilterSetDataSinkV2Proc, SetDataSink);
  FILTER_PROC(MOXFilterPeekTargetProc, PeekTarget);
  FILTER_PROC(MOXFilterGetChainStateV2Proc, GetChainState);
  FILTER_PROC(MOXFilterResetChainStateProc, ResetChainState);
#undef FILTER_PROC
};

// A sink that collects bytes, and an upper-casing filter in front of it.
struct Client {
  std::string received;
  std::vector<std::string> calls;
  int releases = 0;
  int32_t closeResult = 1;
};
Client* Self(void* client) {
  return static_cast<Client*>(client);
}

MOXErrorRef SinkWrite(void* client, MOXFilter target, const void* data, uint64_t size) {
  EXPECT_EQ(target, nullptr);
  Self(client)->received.append(static_cast<const char*>(data), size);
  return nullptr;
}
MOXErrorRef UpperWrite(void* client, MOXFilter target, const void* data, uint64_t size) {
  std::string upper(static_cast<const char*>(data), size);
  for (char& c : upper) c = static_cast<char>(toupper(c));
  Self(client)->calls.push_back("write");
  return FilterProcs().Write(target, upper.data(), upper.size());
}
int32_t UpperClose(void* client, MOXFilter target) {
  Self(client)->calls.push_back(target != nullptr ? "close with target" : "close");
  return Self(client)->closeResult;
}
void Release(void* client) {
  ++Self(client)->releases;
}

TEST(FiltersTest, ChainPassesBytesThroughToTheSink) {
  moxtest::ScopedCountsCheck counts;
  FilterProcs procs;
  Client sinkClient, upperClient;
  MOXFilter sink = nullptr, upper = nullptr, identity = nullptr;
  ASSERT_EQ(procs.NewClientDataSink(&sink, &sinkClient, SinkWrite, Release), nullptr);
  ASSERT_EQ(
      procs.NewClientFilter(&upper, sink, &upperClient, UpperWrite, UpperClose, nullptr, Release),
      nullptr);
  ASSERT_EQ(procs.NewIdentityFilter(&identity, upper), nullptr);
  procs.Release(sink);  // each filter holds its target
  procs.Release(upper);

  EXPECT_TRUE(procs.IsFilter(identity));
  EXPECT_FALSE(procs.IsFilter(sink));
  EXPECT_EQ(procs.PeekTarget(identity, false), upper);
  EXPECT_EQ(procs.PeekTarget(upper, false), sink);
  EXPECT_EQ(procs.PeekTarget(sink, false), nullptr);

  EXPECT_EQ(procs.Write(identity, "abc", 3), nullptr);
  EXPECT_EQ(procs.Write(identity, "de", 2), nullptr);
  EXPECT_EQ(sinkClient.received, "ABCDE");
  EXPECT_EQ(procs.GetChainState(identity), 5u);
  procs.ResetChainState(identity);
  EXPECT_EQ(procs.GetChainState(sink), 0u);

  EXPECT_EQ(procs.Close(identity), nullptr);
  EXPECT_EQ(upperClient.calls, (std::vector<std::string>{"write", "write", "close with target"}));
  EXPECT_NE(TakeMessage(procs.Write(sink, "x", 1)), "") << "Close ends the whole chain";
  EXPECT_NE(TakeMessage(procs.Close(identity)), "");

  procs.Release(identity);
  EXPECT_EQ(sinkClient.releases, 1);
  EXPECT_EQ(upperClient.releases, 1);
}

TEST(FiltersTest, FailedCloseIsReportedAndTheRestStillCloses) {
  moxtest::ScopedCountsCheck counts;
  FilterProcs procs;
  Client upperClient;
  upperClient.closeResult = 0;
  MOXFilter sink = nullptr, upper = nullptr;
  ASSERT_EQ(procs.NewNullDataSink(&sink), nullptr);
  ASSERT_EQ(
      procs.NewClientFilter(&upper, sink, &upperClient, UpperWrite, UpperClose, nullptr, Release),
      nullptr);
  EXPECT_NE(TakeMessage(procs.Close(upper)), "");
  EXPECT_NE(TakeMessage(procs.Write(sink, "x", 1)), "");
  procs.Release(upper);
  procs.Release(sink);
}

TEST(FiltersTest, PeekTargetWithAddRefAndSetDataSink) {
  moxtest::ScopedCountsCheck counts;
  FilterProcs procs;
  MOXFilter first = nullptr, second = nullptr, identity = nullptr;
  ASSERT_EQ(procs.NewNullDataSink(&first), nullptr);
  ASSERT_EQ(procs.NewNullDataSink(&second), nullptr);
  ASSERT_EQ(procs.NewIdentityFilter(&identity, first), nullptr);
  MOXFilter peeked = procs.PeekTarget(identity, true);
  EXPECT_EQ(peeked, first);
  procs.Release(first);  // the peeked reference and the identity's keep it alive
  EXPECT_EQ(procs.SetDataSink(identity, second), nullptr);
  EXPECT_EQ(procs.PeekTarget(identity, false), second);
  EXPECT_EQ(procs.Write(peeked, "still alive", 11), nullptr);
  procs.Release(peeked);

  EXPECT_NE(TakeMessage(procs.SetDataSink(second, identity)), "") << "a sink has no target";
  MOXFilter outer = nullptr;
  ASSERT_EQ(procs.NewIdentityFilter(&outer, identity), nullptr);
  EXPECT_NE(TakeMessage(procs.SetDataSink(identity, outer)), "") << "a loop is refused";
  procs.Release(outer);
  procs.Release(identity);
  procs.Release(second);
}

TEST(FiltersTest, UnsupportedFiltersSayItAndReleaseTheClient) {
  moxtest::ScopedCountsCheck counts;
  FilterProcs procs;
  Client client;
  MOXFilter sink = nullptr;
  ASSERT_EQ(procs.NewNullDataSink(&sink), nullptr);
  MOXFilter out = sink;
  std::string error = TakeMessage(procs.NewFilterJPEG(&out, sink, &client, UpperWrite, UpperClose,
                                                      nullptr, nullptr, nullptr, Release));
  EXPECT_NE(error.find("not supported"), std::string::npos) << error;
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(client.releases, 1);

  EXPECT_NE(TakeMessage(procs.NewClientFilter(&out, nullptr, &client, UpperWrite, UpperClose,
                                              nullptr, Release)),
            "")
      << "a filter needs a target";
  EXPECT_EQ(client.releases, 2);
  procs.Release(sink);
}

}  // namespace
