// Streams across the runtime boundary: runtime streams used through
// CMOXPositionableStreamRef, and the library's own client streams used by the
// runtime.
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "binding/client_streams.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "library_fixture.h"
#include "moxhost/runtime.h"

namespace {

using MOX_T_MT::MOXClientPositionableStream;
using MOX_T_MT::MOXClientRewindableStream;
using MOX_T_MT::MOXClientSimpleStream;

// What client streams leave behind for the test to read after they are gone.
struct StreamProbe {
  enum class Failure { kNone, kPOSException, kBadAlloc, kHostError, kUnknown };

  int destroyed = 0;
  int rewinds = 0;
  Failure failNext = Failure::kNone;  // the next operation of any stream throws

  void MaybeFail() {
    Failure failure = failNext;
    failNext = Failure::kNone;
    switch (failure) {
      case Failure::kNone:
        return;
      case Failure::kPOSException:
        throw MOX_T_MT::POSException("stream refused");
      case Failure::kBadAlloc:
        throw std::bad_alloc();
      case Failure::kHostError:
        MOXThrowNewError("disk gone", "test", 5, 0, 0);
      case Failure::kUnknown:
        throw 42;
    }
  }
};

// Bytes in memory with a position. Copies share the bytes; a stream made
// without `copyable` keeps the default CreateIndependentlyPositionableStream.
class ByteStream : public MOXClientPositionableStream {
 public:
  explicit ByteStream(StreamProbe* probe, bool copyable = false,
                      std::shared_ptr<std::string> bytes = std::make_shared<std::string>())
      : probe_(probe), copyable_(copyable), bytes_(std::move(bytes)) {}
  ~ByteStream() override { ++probe_->destroyed; }

  uint64_t Read(void* buffer, uint64_t size) override {
    probe_->MaybeFail();
    const uint64_t n = std::min<uint64_t>(size, position_ < Size() ? Size() - position_ : 0);
    if (n != 0) std::memcpy(buffer, bytes_->data() + position_, n);
    position_ += static_cast<int64_t>(n);
    return n;
  }
  void Write(const void* buffer, uint64_t size) override {
    probe_->MaybeFail();
    if (static_cast<uint64_t>(position_) + size > bytes_->size()) bytes_->resize(position_ + size);
    std::memcpy(&(*bytes_)[position_], buffer, size);
    position_ += static_cast<int64_t>(size);
  }
  void Seek(int64_t position, int32_t mode) override {
    probe_->MaybeFail();
    position_ = (mode == 0 ? 0 : mode == 1 ? position_ : Size()) + position;
  }
  int64_t Mark() override {
    probe_->MaybeFail();
    return position_;
  }
  MOXContainer CreateIndependentlyPositionableStream() override {
    probe_->MaybeFail();
    if (!copyable_) return MOXClientPositionableStream::CreateIndependentlyPositionableStream();
    return MOXNewClientPositionableStream(new ByteStream(probe_, true, bytes_));
  }

 private:
  int64_t Size() const { return static_cast<int64_t>(bytes_->size()); }

  StreamProbe* probe_;
  bool copyable_;
  std::shared_ptr<std::string> bytes_;
  int64_t position_ = 0;
};

// Empty streams of the two lower levels that count their deaths and rewinds.
template <class Base>
class Counting : public Base {
 public:
  explicit Counting(StreamProbe* probe) : probe_(probe) {}
  ~Counting() override { ++probe_->destroyed; }
  uint64_t Read(void*, uint64_t) override { return 0; }
  void Write(const void*, uint64_t) override {}

 protected:
  StreamProbe* probe_;
};
using CountingSimpleStream = Counting<MOXClientSimpleStream>;
class CountingRewindableStream : public Counting<MOXClientRewindableStream> {
 public:
  using Counting::Counting;
  MOXContainer CreateIndependentlyRewindableStream() override { return nullptr; }
  void Rewind() override { ++probe_->rewinds; }
};

std::string ReadAll(const CMOXPositionableStreamRef& stream) {
  std::string text;
  char chunk[4];
  for (uint64_t n; (n = stream.Read(chunk, sizeof chunk)) != 0;) text.append(chunk, n);
  return text;
}

class ClientStreams : public StartedLibrary {};

// ---- Runtime streams through the handle ------------------------------------------

// Reads, writes, seeks and rewinds through the handle are in the client
// stream tests below; a runtime stream adds its own independent copy.
TEST_F(ClientStreams, RuntimeStreamsThroughTheHandle) {
  const int64_t containers = RT().Counts().containers;
  {
    CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
    stream.Write("hello, world", 12);
    stream.Seek(7, 0);
    CMOXPositionableStreamRef copy(stream.CreateIndependentlyPositionableStream());
    EXPECT_EQ(ReadAll(copy), "hello, world") << "a copy starts at the beginning";
    EXPECT_EQ(stream.Mark(), 7) << "the original keeps its position";
    EXPECT_EQ(ReadAll(stream), "world");
    EXPECT_EQ(RT().Counts().containers, containers + 2);
  }
  EXPECT_EQ(RT().Counts().containers, containers) << "the handles held the only references";
}

TEST_F(ClientStreams, HandlesOfOneSignatureShareTablesAndSurviveACounterChange) {
  CMOXPositionableStreamRef a(MOXNewPositionableMemoryStream());
  CMOXPositionableStreamRef b(MOXNewPositionableMemoryStream());
  EXPECT_EQ(a.PositionableProcs(), b.PositionableProcs());
  EXPECT_NE(a.SimpleProcs(), a.PositionableProcs()) << "one table per level";
  const int64_t containers = RT().Counts().containers;
  {
    CMOXPositionableStreamRef copy(a);
    copy.Write("xy", 2);
    EXPECT_EQ(a.Mark(), 2) << "a copy of the handle is the same stream";
  }
  EXPECT_EQ(RT().Counts().containers, containers);
  // After an unregistration the tables are fetched again in place.
  RT().RaiseUnregisterCounter();
  CMOXPositionableStreamRef c(MOXNewPositionableMemoryStream());
  EXPECT_EQ(c.SimpleProcs(), a.SimpleProcs());
  a.Write("z", 1);
  EXPECT_EQ(a.Mark(), 3);
}

TEST_F(ClientStreams, HandleRefusesContainersThatAreNotPositionableStreams) {
  const int64_t containers = RT().Counts().containers;
  StreamProbe probe;
  MOXContainer bare = nullptr;
  ASSERT_EQ(MOXContainerProcs::NewContainer(&bare, 0, 0, 0, 0, 0), nullptr);
  // A simple client stream lacks the rewindable methods.
  MOXContainer simple = MOXNewClientSimpleStream(new CountingSimpleStream(&probe));
  ASSERT_NE(simple, nullptr);
  for (auto [stream, message] : {std::pair<MOXContainer, const char*>{nullptr, "invalid container"},
                                 {bare, "couldn't get signature"},
                                 {simple, "invalid container"}}) {
    try {
      CMOXPositionableStreamRef handle(stream);
      ADD_FAILURE() << "accepted: " << message;
    } catch (const CMOXError& e) {
      EXPECT_STREQ(e.what(), message);
    }
  }
  EXPECT_EQ(probe.destroyed, 1) << "the failed handle's reference was the only one";
  EXPECT_EQ(RT().Counts().containers, containers);
}

// ---- Client streams used by the runtime --------------------------------------------

TEST_F(ClientStreams, RuntimeDrivesAClientPositionableStream) {
  StreamProbe probe;
  const int64_t containers = RT().Counts().containers;
  {
    CMOXPositionableStreamRef stream(MOXNewClientPositionableStream(new ByteStream(&probe, true)));
    stream.Write("abcdef", 6);
    EXPECT_EQ(stream.Mark(), 6);
    stream.Rewind();  // the object's default: Seek(0, 0)
    EXPECT_EQ(ReadAll(stream), "abcdef");
    stream.Seek(-4, 1);
    EXPECT_EQ(ReadAll(stream), "cdef");
    stream.Seek(-2, 2);
    EXPECT_EQ(ReadAll(stream), "ef") << "the mode passes through";
    // An independent rewindable stream is an independent positionable one.
    CMOXPositionableStreamRef copy(stream.CreateIndependentlyRewindableStream());
    EXPECT_EQ(ReadAll(copy), "abcdef");
    EXPECT_EQ(probe.destroyed, 0);
  }
  EXPECT_EQ(probe.destroyed, 2) << "the stream and its copy, each once";
  EXPECT_EQ(RT().Counts().containers, containers);
}

TEST_F(ClientStreams, RuntimeDrivesARewindableClientStream) {
  StreamProbe probe;
  {
    CMOXContainerRef rewindable = CMOXContainerRef::Retain(
        MOXNewClientRewindableStream(new CountingRewindableStream(&probe)));
    void** procs = MOX_T_MT::MOXLookupRewindableStreamProcs(rewindable.Container());
    EXPECT_EQ(MOXProcAt<MOXRewindableStreamSlots::Rewind>(procs)(rewindable.Container()), nullptr);
    EXPECT_EQ(probe.rewinds, 1);
    EXPECT_THROW(MOX_T_MT::MOXLookupPositionableStreamProcs(rewindable.Container()), CMOXError);
  }
  EXPECT_EQ(probe.destroyed, 1);
  // A fresh client stream is unowned: nobody's release is needed to end it.
  MOXContainerProcs::DeleteUnownedContainer(MOXNewClientPositionableStream(new ByteStream(&probe)));
  EXPECT_EQ(probe.destroyed, 2);
}

TEST_F(ClientStreams, FailuresOfAClientStreamReachTheCallerAsErrors) {
  using Failure = StreamProbe::Failure;
  StreamProbe probe;
  CMOXPositionableStreamRef stream(MOXNewClientPositionableStream(new ByteStream(&probe)));
  stream.Write("data", 4);
  const std::string unknown = Describe(gUnknownError.Error());
  // A foreign exception becomes an error of component "TOV", id 0, with its
  // text; an unknown one is the process-wide error.
  for (auto [failure, expected] :
       {std::pair<Failure, std::string>{Failure::kPOSException, "TOV 0: stream refused"},
        {Failure::kHostError, "test 5: disk gone"},
        {Failure::kUnknown, unknown}}) {
    probe.failNext = failure;
    try {
      stream.Mark();
      ADD_FAILURE() << "Mark did not fail: " << expected;
    } catch (const CMOXError& e) {
      EXPECT_EQ(Describe(e.Error()), expected);
      EXPECT_TRUE(failure != Failure::kUnknown || e.Error() == gUnknownError.Error());
    }
  }
  probe.failNext = Failure::kBadAlloc;
  EXPECT_THROW(stream.Write("x", 1), std::bad_alloc) << "out of memory comes back as bad_alloc";

  // The default independent copy fails with core error 0, the unknown error.
  for (int rewindable = 0; rewindable < 2; ++rewindable) {
    try {
      MOXContainer copy = rewindable ? stream.CreateIndependentlyRewindableStream()
                                     : stream.CreateIndependentlyPositionableStream();
      ADD_FAILURE() << "made a copy: " << copy;
    } catch (const CMOXError& e) {
      EXPECT_EQ(Describe(e.Error()), unknown);
    }
  }
  stream.Rewind();
  EXPECT_EQ(ReadAll(stream), "data") << "the stream works on after failures";
}

TEST_F(ClientStreams, AdaptersClearOnlyTheCountAndThePosition) {
  namespace A = MOXClientStreamAdapters;
  StreamProbe probe;
  MOXClientSimpleStream* object = new ByteStream(&probe, true);
  void* client = object;
  char buffer[2];
  uint64_t count = 99;
  int64_t position = 99;
  MOXContainer sentinel = reinterpret_cast<MOXContainer>(&probe);
  MOXContainer out = sentinel;
  // Each fails; the two copy operations leave their out-parameter as it was.
  const std::function<MOXErrorRef()> calls[] = {
      [&] { return A::Read(client, &count, buffer, sizeof buffer); },
      [&] { return A::Mark(client, &position); },
      [&] { return A::CreateIndependentlyPositionableStream(client, &out); },
      [&] { return A::CreateIndependentlyRewindableStream(client, &out); }};
  for (const auto& call : calls) {
    probe.failNext = StreamProbe::Failure::kPOSException;
    MOXErrorRef error = call();
    EXPECT_NE(error, nullptr);
    MOXErrorProcs::Release(error);
  }
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(out, sentinel);

  EXPECT_EQ(A::Write(client, "ab", 2), nullptr);
  count = 99;
  EXPECT_EQ(A::Read(client, &count, buffer, sizeof buffer), nullptr);
  EXPECT_EQ(count, 0u) << "at the end after the write";
  A::Release(nullptr);
  A::Release(client);
  EXPECT_EQ(probe.destroyed, 1);
}

// ---- Ownership in the wrappers ---------------------------------------------------------

TEST_F(ClientStreams, MissingFactoryDeletesTheClientObjectOnce) {
  RT().HideInterface("MOXStreamFactoryInterface");
  RT().RaiseUnregisterCounter();
  StreamProbe probe;
  // Once bound, a failed lookup throws; the object is gone before it leaves.
  EXPECT_THROW(MOXNewClientPositionableStream(new ByteStream(&probe)), CMOXError);
  EXPECT_THROW(MOXNewClientSimpleStream(new CountingSimpleStream(&probe)), CMOXError);
  EXPECT_EQ(probe.destroyed, 2);
  {
    QuietLookups quiet;
    EXPECT_EQ(MOXNewClientPositionableStream(new ByteStream(&probe)), nullptr);
    EXPECT_EQ(MOXNewClientRewindableStream(new CountingRewindableStream(&probe)), nullptr);
    EXPECT_EQ(MOXNewClientSimpleStream(new CountingSimpleStream(&probe)), nullptr);
    EXPECT_EQ(probe.destroyed, 5);
    EXPECT_EQ(MOXNewPositionableMemoryStream(), nullptr);
    EXPECT_EQ(MOXNewPositionableFileStream("/", "rb"), nullptr);
    EXPECT_FALSE(gMOXStreamFactoryTable.HasSlot(0)) << "an absent factory reads as absent";
  }
  RT().ClearFaults();
  MOXContainer stream = MOXNewPositionableMemoryStream();
  EXPECT_NE(stream, nullptr) << "the factory is bound again once it is back";
  MOXContainerProcs::DeleteUnownedContainer(stream);
}

void* gRefusedClient = nullptr;
MOXReleaseProc gRefusedRelease = nullptr;
MOXErrorRef RefusingFactory(MOXContainer* out, void* client, MOXClientStreamReadAdapterProc,
                            MOXClientStreamWriteAdapterProc,
                            MOXClientStreamCreateRewindableAdapterProc,
                            MOXClientStreamRewindAdapterProc,
                            MOXClientStreamCreatePositionableAdapterProc,
                            MOXClientStreamMarkAdapterProc, MOXClientStreamSeekAdapterProc,
                            MOXReleaseProc release) {
  *out = nullptr;
  gRefusedClient = client;
  gRefusedRelease = release;
  return MOXErrorProcs::NewError("factory refused", "test", 7, 0, 0);
}

TEST_F(ClientStreams, FactoryErrorLeavesTheClientObjectToTheRuntime) {
  ASSERT_NE(gMOXStreamFactoryTable.Get(), nullptr);
  gMOXStreamFactoryTable.SetProc<MOXStreamFactorySlots::NewClientPositionableStream>(
      &RefusingFactory);
  StreamProbe probe;
  ByteStream* object = new ByteStream(&probe);
  try {
    MOXNewClientPositionableStream(object);
    ADD_FAILURE() << "the factory's error was lost";
  } catch (const CMOXError& e) {
    EXPECT_EQ(Describe(e.Error()), "test 7: factory refused");
  }
  gMOXStreamFactoryTable.Clear();
  EXPECT_EQ(probe.destroyed, 0) << "the wrapper must not delete what the runtime owns";
  ASSERT_EQ(gRefusedClient, static_cast<MOXClientSimpleStream*>(object));
  // This stand-in runtime kept the object; its release procedure ends it.
  gRefusedRelease(gRefusedClient);
  EXPECT_EQ(probe.destroyed, 1);
}

}  // namespace
