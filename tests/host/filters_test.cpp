// Filters and data sinks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host_test_util.h"

namespace {

using moxtest::TakeMessage;

struct FilterProcs {
#define FILTER_PROC(Type, name) Type name = MOX_PROC(Type, "MOXFilterInterface", #name)
  FILTER_PROC(MOXFilterNewNullDataSinkV2Proc, NewNullDataSink);
  FILTER_PROC(MOXFilterNewClientDataSinkV2Proc, NewClientDataSink);
  FILTER_PROC(MOXFilterNewIdentityFilterV2Proc, NewIdentityFilter);
  FILTER_PROC(MOXFilterNewClientFilterV2Proc, NewClientFilter);
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

class FiltersTest : public ::testing::Test {
 protected:
  moxtest::ScopedCountsCheck counts_;
  FilterProcs procs_;
};

TEST_F(FiltersTest, ChainPassesBytesThroughAndCloseEndsItEvenWhenAStageFails) {
  Client sinkClient, upperClient;
  MOXFilter sink = nullptr, upper = nullptr, identity = nullptr;
  ASSERT_EQ(procs_.NewClientDataSink(&sink, &sinkClient, SinkWrite, Release), nullptr);
  ASSERT_EQ(
      procs_.NewClientFilter(&upper, sink, &upperClient, UpperWrite, UpperClose, nullptr, Release),
      nullptr);
  ASSERT_EQ(procs_.NewIdentityFilter(&identity, upper), nullptr);
  procs_.Release(sink);  // each filter holds its target
  procs_.Release(upper);
  EXPECT_TRUE(procs_.IsFilter(identity));
  EXPECT_FALSE(procs_.IsFilter(sink));

  EXPECT_EQ(procs_.Write(identity, "abc", 3), nullptr);
  EXPECT_EQ(procs_.Write(identity, "de", 2), nullptr);
  EXPECT_EQ(sinkClient.received, "ABCDE");
  EXPECT_EQ(procs_.GetChainState(identity), 5u);
  procs_.ResetChainState(identity);
  EXPECT_EQ(procs_.GetChainState(sink), 0u) << "the reset runs down the chain";

  upperClient.closeResult = 0;
  EXPECT_NE(TakeMessage(procs_.Close(identity)), "") << "the failed stage is reported";
  EXPECT_EQ(upperClient.calls, (std::vector<std::string>{"write", "write", "close with target"}));
  EXPECT_NE(TakeMessage(procs_.Write(sink, "x", 1)), "") << "the rest of the chain is closed";
  EXPECT_NE(TakeMessage(procs_.Close(identity)), "");

  procs_.Release(identity);
  EXPECT_EQ(sinkClient.releases, 1);
  EXPECT_EQ(upperClient.releases, 1);
}

TEST_F(FiltersTest, PeekTargetWithAddRefAndSetDataSinkKeepTheCounts) {
  MOXFilter first = nullptr, second = nullptr, identity = nullptr, outer = nullptr;
  ASSERT_EQ(procs_.NewNullDataSink(&first), nullptr);
  ASSERT_EQ(procs_.NewNullDataSink(&second), nullptr);
  ASSERT_EQ(procs_.NewIdentityFilter(&identity, first), nullptr);
  MOXFilter peeked = procs_.PeekTarget(identity, true);
  EXPECT_EQ(peeked, first);
  procs_.Release(first);  // the peeked reference and the identity's keep it alive
  EXPECT_EQ(procs_.SetDataSink(identity, second), nullptr);
  EXPECT_EQ(procs_.PeekTarget(identity, false), second);
  EXPECT_EQ(procs_.Write(peeked, "still alive", 11), nullptr);
  procs_.Release(peeked);

  EXPECT_NE(TakeMessage(procs_.SetDataSink(second, identity)), "") << "a sink has no target";
  ASSERT_EQ(procs_.NewIdentityFilter(&outer, identity), nullptr);
  EXPECT_NE(TakeMessage(procs_.SetDataSink(identity, outer)), "") << "a loop is refused";
  procs_.Release(outer);
  procs_.Release(identity);
  procs_.Release(second);
}

}  // namespace
