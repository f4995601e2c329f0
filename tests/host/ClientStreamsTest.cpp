// Streams implemented by a client and served through the runtime.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxtest::ErrorProcs;
using moxtest::Owned;
using moxtest::TakeMessage;

// A client stream over a string that logs every adapter call.
struct Client {
  std::string data;
  int64_t position = 0;
  std::vector<std::string> calls;
  int releases = 0;
};

Client* Self(void* client) {
  return static_cast<Client*>(client);
}

MOXErrorRef ReadAdapter(void* client, uint64_t* count, void* buffer, uint64_t size) {
  Client* self = Self(client);
  self->calls.push_back("read");
  const uint64_t n = std::min<uint64_t>(size, self->data.size() - self->position);
  std::memcpy(buffer, self->data.data() + self->position, n);
  self->position += n;
  *count = n;
  return nullptr;
}
MOXErrorRef WriteAdapter(void* client, const void* buffer, uint64_t size) {
  Self(client)->calls.push_back("write");
  Self(client)->data.append(static_cast<const char*>(buffer), size);
  return nullptr;
}
MOXErrorRef FailingWriteAdapter(void* client, const void*, uint64_t) {
  Self(client)->calls.push_back("write");
  return ErrorProcs().NewError("disk on fire", "", 0, 0, 0);
}
MOXErrorRef CreateRewindableAdapter(void* client, MOXContainer* out) {
  Self(client)->calls.push_back("createRewindable");
  *out = nullptr;
  return nullptr;
}
MOXErrorRef RewindAdapter(void* client) {
  Self(client)->calls.push_back("rewind");
  Self(client)->position = 0;
  return nullptr;
}
MOXErrorRef CreatePositionableAdapter(void* client, MOXContainer* out) {
  Self(client)->calls.push_back("createPositionable");
  *out = nullptr;
  return nullptr;
}
MOXErrorRef MarkAdapter(void* client, int64_t* position) {
  Self(client)->calls.push_back("mark");
  *position = Self(client)->position;
  return nullptr;
}
MOXErrorRef SeekAdapter(void* client, int64_t position, int32_t mode) {
  Self(client)->calls.push_back("seek " + std::to_string(position) + " " + std::to_string(mode));
  Self(client)->position = position;
  return nullptr;
}
void ReleaseClient(void* client) {
  ++Self(client)->releases;
}

MOXContainer NewPositionable(Client* client, MOXClientStreamWriteAdapterProc write = WriteAdapter) {
  auto factory = MOX_PROC(MOXNewClientPositionableStreamProc, "MOXStreamFactoryInterface",
                          "NewClientPositionableStream");
  MOXContainer stream = nullptr;
  EXPECT_EQ(factory(&stream, client, ReadAdapter, write, CreateRewindableAdapter, RewindAdapter,
                    CreatePositionableAdapter, MarkAdapter, SeekAdapter, ReleaseClient),
            nullptr);
  return stream;
}

TEST(ClientStreamsTest, MethodsCallTheAdaptersAndReleaseRunsOnce) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  {
    Owned stream(NewPositionable(&client));
    uint64_t count = 0;
    char buffer[8] = {};
    int64_t position = -1;
    MOXContainer copy = reinterpret_cast<MOXContainer>(&client);
    EXPECT_EQ(MOX_METHOD(MOXSimpleStreamWriteProc, stream, "Write")(stream, "abc", 3), nullptr);
    EXPECT_EQ(MOX_METHOD(MOXPositionableStreamSeekProc, stream, "Seek")(stream, 1, 0), nullptr);
    EXPECT_EQ(MOX_METHOD(MOXSimpleStreamReadProc, stream, "Read")(stream, &count, buffer, 8),
              nullptr);
    EXPECT_EQ(MOX_METHOD(MOXPositionableStreamMarkProc, stream, "Mark")(stream, &position),
              nullptr);
    EXPECT_EQ(MOX_METHOD(MOXRewindableStreamRewindProc, stream, "Rewind")(stream), nullptr);
    EXPECT_EQ(MOX_METHOD(MOXRewindableStreamCreateIndependentlyRewindableStreamProc, stream,
                         "CreateIndependentlyRewindableStream")(stream, &copy),
              nullptr);
    EXPECT_EQ(MOX_METHOD(MOXPositionableStreamCreateIndependentlyPositionableStreamProc, stream,
                         "CreateIndependentlyPositionableStream")(stream, &copy),
              nullptr);
    EXPECT_EQ(std::string(buffer, count), "bc");
    EXPECT_EQ(position, 3);
    EXPECT_EQ(client.calls, (std::vector<std::string>{"write", "seek 1 0", "read", "mark", "rewind",
                                                      "createRewindable", "createPositionable"}));
    EXPECT_EQ(client.releases, 0);
  }
  EXPECT_EQ(client.releases, 1);
}

TEST(ClientStreamsTest, AdapterErrorsReachTheCaller) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  Owned stream(NewPositionable(&client, FailingWriteAdapter));
  EXPECT_EQ(TakeMessage(MOX_METHOD(MOXSimpleStreamWriteProc, stream, "Write")(stream, "abc", 3)),
            "disk on fire");
}

TEST(ClientStreamsTest, EachLevelOffersOnlyItsOwnMethods) {
  moxtest::ScopedCountsCheck counts;
  Client simpleClient, rewindableClient;
  auto newSimple =
      MOX_PROC(MOXNewClientSimpleStreamProc, "MOXStreamFactoryInterface", "NewClientSimpleStream");
  auto newRewindable = MOX_PROC(MOXNewClientRewindableStreamProc, "MOXStreamFactoryInterface",
                                "NewClientRewindableStream");
  MOXContainer simple = nullptr, rewindable = nullptr;
  ASSERT_EQ(newSimple(&simple, &simpleClient, ReadAdapter, WriteAdapter, ReleaseClient), nullptr);
  ASSERT_EQ(newRewindable(&rewindable, &rewindableClient, ReadAdapter, WriteAdapter,
                          CreateRewindableAdapter, RewindAdapter, ReleaseClient),
            nullptr);
  {
    Owned simpleStream(simple), rewindableStream(rewindable);
    EXPECT_NE(MOX_METHOD(MOXSimpleStreamReadProc, simpleStream, "Read"), nullptr);
    EXPECT_EQ(MOX_METHOD(MOXRewindableStreamRewindProc, simpleStream, "Rewind"), nullptr);
    EXPECT_NE(MOX_METHOD(MOXRewindableStreamRewindProc, rewindableStream, "Rewind"), nullptr);
    EXPECT_EQ(MOX_METHOD(MOXPositionableStreamSeekProc, rewindableStream, "Seek"), nullptr);
  }
  EXPECT_EQ(simpleClient.releases, 1);
  EXPECT_EQ(rewindableClient.releases, 1);
}

TEST(ClientStreamsTest, FailedFactoryCallReleasesTheClient) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  auto newSimple =
      MOX_PROC(MOXNewClientSimpleStreamProc, "MOXStreamFactoryInterface", "NewClientSimpleStream");
  EXPECT_NE(TakeMessage(newSimple(nullptr, &client, ReadAdapter, WriteAdapter, ReleaseClient)), "");
  EXPECT_EQ(client.releases, 1);
}

TEST(ClientStreamsTest, MissingAdapterIsAnErrorNotACrash) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  auto newSimple =
      MOX_PROC(MOXNewClientSimpleStreamProc, "MOXStreamFactoryInterface", "NewClientSimpleStream");
  MOXContainer stream = nullptr;
  ASSERT_EQ(newSimple(&stream, &client, ReadAdapter, nullptr, ReleaseClient), nullptr);
  Owned owned(stream);
  EXPECT_NE(TakeMessage(MOX_METHOD(MOXSimpleStreamWriteProc, owned, "Write")(owned, "x", 1)), "");
}

}  // namespace
