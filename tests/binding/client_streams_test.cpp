// Streams across the runtime boundary: runtime streams used through
// CMOXPositionableStreamRef, and the library's own client streams used by the
// runtime.
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "binding/client_streams.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "library_fixture.h"
#include "moxhost/Runtime.h"

namespace {

using MOX_T_MT::MOXClientPositionableStream;
using MOX_T_MT::MOXClientRewindableStream;
using MOX_T_MT::MOXClientSimpleStream;

moxhost::Runtime& RT() {
  return moxhost::Runtime::Get();
}

struct ErrorText {
  std::string message;
  std::string component;
  int64_t id;
};

ErrorText Describe(MOXErrorRef error) {
  return {MOXString::GetCString(MOXErrorProcs::GetErrorMessage(error)),
          MOXString::GetCString(MOXErrorProcs::GetComponent(error)), MOXErrorProcs::GetID(error)};
}

// What a client stream leaves behind for the test to read after it is gone.
struct StreamProbe {
  enum class Failure { kNone, kPOSException, kBadAlloc, kHostError, kUnknown };

  int destroyed = 0;
  int seeks = 0;
  int64_t lastSeekPosition = -1;
  int32_t lastSeekMode = -1;
  int rewinds = 0;
  int independentRequests = 0;
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

// Bytes in memory with a position; copies share the bytes.
class ByteStream : public MOXClientPositionableStream {
 public:
  explicit ByteStream(StreamProbe* probe,
                      std::shared_ptr<std::string> bytes = std::make_shared<std::string>())
      : probe_(probe), bytes_(std::move(bytes)) {}
  ~ByteStream() override { ++probe_->destroyed; }

  uint64_t Read(void* buffer, uint64_t size) override {
    probe_->MaybeFail();
    uint64_t available = position_ < Size() ? static_cast<uint64_t>(Size() - position_) : 0;
    uint64_t n = size < available ? size : available;
    if (n != 0) std::memcpy(buffer, bytes_->data() + position_, n);
    position_ += static_cast<int64_t>(n);
    return n;
  }
  void Write(const void* buffer, uint64_t size) override {
    probe_->MaybeFail();
    if (static_cast<uint64_t>(position_) + size > bytes_->size()) {
      bytes_->resize(position_ + size);
    }
    std::memcpy(&(*bytes_)[position_], buffer, size);
    position_ += static_cast<int64_t>(size);
  }
  void Seek(int64_t position, int32_t mode) override {
    probe_->MaybeFail();
    ++probe_->seeks;
    probe_->lastSeekPosition = position;
    probe_->lastSeekMode = mode;
    const int64_t base = mode == 0 ? 0 : mode == 1 ? position_ : Size();
    position_ = base + position;
  }
  int64_t Mark() override {
    probe_->MaybeFail();
    return position_;
  }

 protected:
  int64_t Size() const { return static_cast<int64_t>(bytes_->size()); }

  StreamProbe* probe_;
  std::shared_ptr<std::string> bytes_;
  int64_t position_ = 0;
};

// A ByteStream that can make independent copies, each a client stream again.
class CopyableByteStream : public ByteStream {
 public:
  using ByteStream::ByteStream;
  MOXContainer CreateIndependentlyPositionableStream() override {
    ++probe_->independentRequests;
    probe_->MaybeFail();
    return MOXNewClientPositionableStream(new CopyableByteStream(probe_, bytes_));
  }
};

class CountingSimpleStream : public MOXClientSimpleStream {
 public:
  explicit CountingSimpleStream(StreamProbe* probe) : probe_(probe) {}
  ~CountingSimpleStream() override { ++probe_->destroyed; }
  uint64_t Read(void*, uint64_t) override { return 0; }
  void Write(const void*, uint64_t) override {}

 private:
  StreamProbe* probe_;
};

class CountingRewindableStream : public MOXClientRewindableStream {
 public:
  explicit CountingRewindableStream(StreamProbe* probe) : probe_(probe) {}
  ~CountingRewindableStream() override { ++probe_->destroyed; }
  uint64_t Read(void*, uint64_t) override { return 0; }
  void Write(const void*, uint64_t) override {}
  MOXContainer CreateIndependentlyRewindableStream() override { return nullptr; }
  void Rewind() override { ++probe_->rewinds; }

 private:
  StreamProbe* probe_;
};

std::string ReadAll(const CMOXPositionableStreamRef& stream) {
  std::string text;
  char chunk[4];
  for (uint64_t n; (n = stream.Read(chunk, sizeof chunk)) != 0;) text.append(chunk, n);
  return text;
}

// Makes failed interface lookups quiet, as they are while the library binds,
// so that a wrapper sees a table that can't be loaded rather than a throw.
class QuietLookups {
 public:
  QuietLookups() { gBindingComplete = false; }
  ~QuietLookups() { gBindingComplete = true; }
};

// The runtime names its streams with atoms that it makes at its first stream
// and keeps for good. One stream made before the baseline is taken keeps
// those atoms out of the comparison.
void WarmUpRuntimeStreams() {
  static bool done = false;
  if (done) return;
  done = true;
  MOXLookupProc lookup = moxhost::Runtime::LookupProc();
  auto newStream = reinterpret_cast<MOXNewPositionableMemoryStreamProc>(
      lookup("MOXStreamFactoryInterface", "NewPositionableMemoryStream",
             "MOXNewPositionableMemoryStreamProc"));
  auto deleteUnowned = reinterpret_cast<MOXDeleteUnownedContainerProc>(
      lookup("MOXContainerInterface", "DeleteUnownedContainer", "MOXDeleteUnownedContainerProc"));
  MOXContainer stream = nullptr;
  ASSERT_EQ(newStream(&stream), nullptr);
  deleteUnowned(stream);
}

class ClientStreams : public StartedLibrary {
 protected:
  void SetUp() override {
    WarmUpRuntimeStreams();
    StartedLibrary::SetUp();
  }
};

// ---- Runtime streams through the handle ------------------------------------------

TEST_F(ClientStreams, MemoryStreamRoundTripThroughTheHandle) {
  const int64_t containers = RT().Counts().containers;
  {
    CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
    stream.Write("hello, world", 12);
    EXPECT_EQ(stream.Mark(), 12);
    stream.Seek(0, 0);
    char buffer[5];
    ASSERT_EQ(stream.Read(buffer, sizeof buffer), 5u);
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(stream.Mark(), 5);
    stream.Seek(-5, 2);
    EXPECT_EQ(ReadAll(stream), "world");
    EXPECT_EQ(stream.Read(buffer, sizeof buffer), 0u) << "at the end";
    stream.Rewind();
    EXPECT_EQ(stream.Mark(), 0);
    EXPECT_EQ(ReadAll(stream), "hello, world");

    // An independent copy sees the same bytes from its own position.
    stream.Seek(7, 0);
    CMOXPositionableStreamRef copy(stream.CreateIndependentlyPositionableStream());
    EXPECT_EQ(copy.Mark(), 0);
    EXPECT_EQ(ReadAll(copy), "hello, world");
    EXPECT_EQ(stream.Mark(), 7) << "the original keeps its position";
    EXPECT_EQ(RT().Counts().containers, containers + 2);
  }
  EXPECT_EQ(RT().Counts().containers, containers) << "the handles held the only references";
}

TEST_F(ClientStreams, FileStreamWritesAndReadsBack) {
  std::string path = ::testing::TempDir() + "client_streams_XXXXXX";
  int fd = mkstemp(&path[0]);
  ASSERT_GE(fd, 0);
  close(fd);
  const std::string text = "line one\nline two\n";
  {
    CMOXPositionableStreamRef writer(MOXNewPositionableFileStream(path.c_str(), "wb"));
    writer.Write(text.data(), text.size());
    EXPECT_EQ(writer.Mark(), static_cast<int64_t>(text.size()));
  }
  {
    CMOXPositionableStreamRef reader(MOXNewPositionableFileStream(path.c_str(), "rb"));
    EXPECT_EQ(ReadAll(reader), text);
    EXPECT_THROW(reader.Write("x", 1), CMOXError) << "a read-only stream refuses writes";
  }
  unlink(path.c_str());
  try {
    MOXNewPositionableFileStream(path.c_str(), "rb");
    ADD_FAILURE() << "opening a missing file succeeded";
  } catch (const CMOXError& e) {
    EXPECT_NE(std::string(e.what()).find("cannot open"), std::string::npos) << e.what();
  }
}

TEST_F(ClientStreams, HandlesOfOneSignatureShareTablesAndSurviveACounterChange) {
  CMOXPositionableStreamRef a(MOXNewPositionableMemoryStream());
  CMOXPositionableStreamRef b(MOXNewPositionableMemoryStream());
  EXPECT_EQ(a.fPositionableProcs, b.fPositionableProcs);
  EXPECT_NE(a.fSimpleProcs, a.fPositionableProcs) << "one table per level";

  const int64_t containers = RT().Counts().containers;
  {
    CMOXPositionableStreamRef copy(a);
    EXPECT_EQ(copy.fContainer, a.fContainer);
    EXPECT_EQ(copy.fPositionableProcs, a.fPositionableProcs);
    copy.Write("xy", 2);
    EXPECT_EQ(a.Mark(), 2) << "a copy of the handle is the same stream";
  }
  EXPECT_EQ(RT().Counts().containers, containers);

  // After an unregistration both the factory and the stream tables are
  // fetched again, in place: old handles keep working.
  RT().RaiseUnregisterCounter();
  CMOXPositionableStreamRef c(MOXNewPositionableMemoryStream());
  EXPECT_EQ(c.fSimpleProcs, a.fSimpleProcs);
  c.Write("z", 1);
  a.Write("z", 1);
  EXPECT_EQ(a.Mark(), 3);
}

TEST_F(ClientStreams, HandleRefusesContainersThatAreNotPositionableStreams) {
  const int64_t containers = RT().Counts().containers;
  try {
    CMOXPositionableStreamRef stream(nullptr);
    ADD_FAILURE() << "a null stream was accepted";
  } catch (const CMOXError& e) {
    EXPECT_STREQ(e.what(), "invalid container");
  }

  MOXContainer bare = nullptr;
  ASSERT_EQ(MOXContainerProcs::NewContainer(&bare, 0, 0, 0, 0, 0), nullptr);
  try {
    CMOXPositionableStreamRef stream(bare);
    ADD_FAILURE() << "a container without signature was accepted";
  } catch (const CMOXError& e) {
    EXPECT_STREQ(e.what(), "couldn't get signature");
  }
  EXPECT_EQ(RT().Counts().containers, containers) << "the failed handle dropped its reference";

  // A simple client stream lacks the rewindable methods; the failed handle's
  // reference was the only one, so the object goes with it.
  StreamProbe probe;
  MOXContainer simple = MOXNewClientSimpleStream(new CountingSimpleStream(&probe));
  ASSERT_NE(simple, nullptr);
  try {
    CMOXPositionableStreamRef stream(simple);
    ADD_FAILURE() << "a simple stream was accepted as positionable";
  } catch (const CMOXError& e) {
    EXPECT_STREQ(e.what(), "invalid container");
  }
  EXPECT_EQ(probe.destroyed, 1);
  EXPECT_EQ(RT().Counts().containers, containers);
}

// ---- Client streams used by the runtime --------------------------------------------

TEST_F(ClientStreams, RuntimeDrivesAClientPositionableStream) {
  StreamProbe probe;
  const int64_t containers = RT().Counts().containers;
  {
    MOXContainer container = MOXNewClientPositionableStream(new CopyableByteStream(&probe));
    ASSERT_NE(container, nullptr);
    CMOXPositionableStreamRef stream(container);
    stream.Write("abcdef", 6);
    EXPECT_EQ(stream.Mark(), 6);

    stream.Rewind();
    EXPECT_EQ(probe.seeks, 1) << "Rewind reaches the object's Seek";
    EXPECT_EQ(probe.lastSeekPosition, 0);
    EXPECT_EQ(probe.lastSeekMode, 0);
    EXPECT_EQ(ReadAll(stream), "abcdef");

    stream.Seek(-2, 2);
    EXPECT_EQ(probe.lastSeekMode, 2) << "the mode passes through";
    EXPECT_EQ(ReadAll(stream), "ef");

    CMOXPositionableStreamRef copy(stream.CreateIndependentlyRewindableStream());
    EXPECT_EQ(probe.independentRequests, 1)
        << "an independent rewindable stream is an independent positionable one";
    EXPECT_EQ(ReadAll(copy), "abcdef");
    EXPECT_EQ(probe.destroyed, 0);
  }
  EXPECT_EQ(probe.destroyed, 2) << "the stream and its copy, each once";
  EXPECT_EQ(RT().Counts().containers, containers);
}

TEST_F(ClientStreams, RuntimeDrivesSimpleAndRewindableClientStreams) {
  StreamProbe probe;
  {
    CMOXContainerRef rewindable(MOXNewClientRewindableStream(new CountingRewindableStream(&probe)),
                                false);
    void** procs = MOX_T_MT::MOXLookupRewindableStreamProcs(rewindable.fContainer);
    auto rewind =
        reinterpret_cast<MOXRewindableStreamRewindProc>(procs[MOX_T_MT::kMOXStreamRewind]);
    EXPECT_EQ(rewind(rewindable.fContainer), nullptr);
    EXPECT_EQ(probe.rewinds, 1);
    EXPECT_THROW(MOX_T_MT::MOXLookupPositionableStreamProcs(rewindable.fContainer), CMOXError);

    CMOXContainerRef simple(MOXNewClientSimpleStream(new CountingSimpleStream(&probe)), false);
    EXPECT_NE(MOX_T_MT::MOXLookupSimpleStreamProcs(simple.fContainer), nullptr);
    EXPECT_THROW(MOX_T_MT::MOXLookupRewindableStreamProcs(simple.fContainer), CMOXError);
  }
  EXPECT_EQ(probe.destroyed, 2);

  // A fresh client stream is unowned: nobody's release is needed to end it.
  MOXContainer unowned = MOXNewClientPositionableStream(new ByteStream(&probe));
  ASSERT_NE(unowned, nullptr);
  MOXContainerProcs::DeleteUnownedContainer(unowned);
  EXPECT_EQ(probe.destroyed, 3);
}

TEST_F(ClientStreams, FailuresOfAClientStreamReachTheCallerAsErrors) {
  using Failure = StreamProbe::Failure;
  StreamProbe probe;
  CMOXPositionableStreamRef stream(MOXNewClientPositionableStream(new ByteStream(&probe)));
  stream.Write("data", 4);
  stream.Rewind();
  char buffer[4];

  // A foreign exception becomes an error of component "TOV", id 0, with its
  // text; the count read stays 0.
  probe.failNext = Failure::kPOSException;
  uint64_t count = 77;
  MOXErrorRef error = stream.SimpleProc<MOXSimpleStreamReadProc>(MOX_T_MT::kMOXStreamRead)(
      stream.fContainer, &count, buffer, sizeof buffer);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(count, 0u);
  ErrorText text = Describe(error);
  EXPECT_EQ(text.message, "stream refused");
  EXPECT_EQ(text.component, "TOV");
  EXPECT_EQ(text.id, 0);
  MOXErrorProcs::Release(error);

  probe.failNext = Failure::kBadAlloc;
  EXPECT_THROW(stream.Write("x", 1), std::bad_alloc) << "out of memory comes back as bad_alloc";

  probe.failNext = Failure::kHostError;
  try {
    stream.Mark();
    ADD_FAILURE() << "Mark did not fail";
  } catch (const CMOXError& e) {
    text = Describe(e.fError);
    EXPECT_EQ(text.message, "disk gone");
    EXPECT_EQ(text.component, "test");
    EXPECT_EQ(text.id, 5);
  }

  probe.failNext = Failure::kUnknown;
  try {
    stream.Seek(1, 0);
    ADD_FAILURE() << "Seek did not fail";
  } catch (const CMOXError& e) {
    EXPECT_EQ(e.fError, gUnknownError.fError) << "an unknown exception is the process-wide error";
  }

  EXPECT_EQ(ReadAll(stream), "data") << "the stream works on after failures";
}

TEST_F(ClientStreams, DefaultIndependentStreamFailsWithCoreErrorZero) {
  StreamProbe probe;
  CMOXPositionableStreamRef stream(MOXNewClientPositionableStream(new ByteStream(&probe)));
  const ErrorText unknown = Describe(gUnknownError.fError);
  for (int rewindable = 0; rewindable < 2; ++rewindable) {
    try {
      MOXContainer copy = rewindable ? stream.CreateIndependentlyRewindableStream()
                                     : stream.CreateIndependentlyPositionableStream();
      ADD_FAILURE() << "made a copy: " << copy;
    } catch (const CMOXError& e) {
      ErrorText text = Describe(e.fError);
      EXPECT_EQ(text.message, unknown.message);
      EXPECT_EQ(text.component, unknown.component);
      EXPECT_EQ(text.id, unknown.id);
    }
  }
}

TEST_F(ClientStreams, AdaptersClearOnlyTheCountAndThePosition) {
  using Failure = StreamProbe::Failure;
  namespace A = MOXClientStreamAdapters;
  StreamProbe probe;
  MOXClientSimpleStream* object = new CopyableByteStream(&probe);
  void* client = object;
  char buffer[2];

  probe.failNext = Failure::kPOSException;
  uint64_t count = 99;
  MOXErrorRef error = A::Read(client, &count, buffer, sizeof buffer);
  EXPECT_NE(error, nullptr);
  EXPECT_EQ(count, 0u);
  MOXErrorProcs::Release(error);

  probe.failNext = Failure::kPOSException;
  int64_t position = 99;
  error = A::Mark(client, &position);
  EXPECT_NE(error, nullptr);
  EXPECT_EQ(position, 0);
  MOXErrorProcs::Release(error);

  // The two copy operations leave their out-parameter as it was.
  MOXContainer sentinel = reinterpret_cast<MOXContainer>(&probe);
  MOXContainer out = sentinel;
  probe.failNext = Failure::kPOSException;
  error = A::CreateIndependentlyPositionableStream(client, &out);
  EXPECT_NE(error, nullptr);
  EXPECT_EQ(out, sentinel);
  MOXErrorProcs::Release(error);
  probe.failNext = Failure::kPOSException;
  error = A::CreateIndependentlyRewindableStream(client, &out);
  EXPECT_NE(error, nullptr);
  EXPECT_EQ(out, sentinel);
  MOXErrorProcs::Release(error);
  EXPECT_EQ(probe.independentRequests, 2);

  EXPECT_EQ(A::Seek(client, 0, 0), nullptr);
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
  EXPECT_EQ(probe.destroyed, 1);
  EXPECT_THROW(MOXNewClientSimpleStream(new CountingSimpleStream(&probe)), CMOXError);
  EXPECT_EQ(probe.destroyed, 2);

  {
    QuietLookups quiet;
    EXPECT_EQ(MOXNewClientPositionableStream(new ByteStream(&probe)), nullptr);
    EXPECT_EQ(probe.destroyed, 3);
    EXPECT_EQ(MOXNewClientRewindableStream(new CountingRewindableStream(&probe)), nullptr);
    EXPECT_EQ(probe.destroyed, 4);
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
  gMOXStreamFactoryTable.SetSlot(kMOXNewClientPositionableStream,
                                 reinterpret_cast<void*>(&RefusingFactory));
  StreamProbe probe;
  ByteStream* object = new ByteStream(&probe);
  try {
    MOXNewClientPositionableStream(object);
    ADD_FAILURE() << "the factory's error was lost";
  } catch (const CMOXError& e) {
    ErrorText text = Describe(e.fError);
    EXPECT_EQ(text.message, "factory refused");
    EXPECT_EQ(text.id, 7);
  }
  gMOXStreamFactoryTable.Clear();
  EXPECT_EQ(probe.destroyed, 0) << "the wrapper must not delete what the runtime owns";
  ASSERT_EQ(gRefusedClient, static_cast<MOXClientSimpleStream*>(object));
  // This stand-in runtime kept the object; its release procedure ends it.
  gRefusedRelease(gRefusedClient);
  EXPECT_EQ(probe.destroyed, 1);
}

TEST_F(ClientStreams, TerminateEmptiesTheStreamMethodLists) {
  MOX_T_MT::MOXVTabListGeneric* lists[] = {MOX_T_MT::MOXSimpleStreamVTabList(),
                                           MOX_T_MT::MOXRewindableStreamVTabList(),
                                           MOX_T_MT::MOXPositionableStreamVTabList()};
  for (int round = 0; round < 2; ++round) {
    StreamProbe probe;
    {
      CMOXPositionableStreamRef memory(MOXNewPositionableMemoryStream());
      CMOXPositionableStreamRef client(MOXNewClientPositionableStream(new ByteStream(&probe)));
      client.Write("x", 1);
    }
    for (auto* list : lists) EXPECT_GE(list->fCount, 1u) << "round " << round;
    MOXUtilsTerminate();
    for (auto* list : lists) {
      EXPECT_EQ(list->fCount, 0u) << "round " << round;
      EXPECT_EQ(list->fHead, nullptr) << "round " << round;
    }
    EXPECT_EQ(RT().Counts().ToString(), before_.ToString()) << "round " << round;
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  }
}

}  // namespace
