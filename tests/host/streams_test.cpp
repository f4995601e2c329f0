// The runtime's own streams (memory, shared-buffer and file streams), and
// streams implemented by a client and served through the runtime.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;
using moxtest::Owned;
using moxtest::TakeMessage;

// A stream's methods, fetched with GetMethod as a component fetches them.
struct Stream {
  explicit Stream(MOXContainer container) : owned(container) {}
  Owned owned;
  MOXSimpleStreamReadProc read = MOX_METHOD(MOXSimpleStreamReadProc, owned, "Read");
  MOXSimpleStreamWriteProc write = MOX_METHOD(MOXSimpleStreamWriteProc, owned, "Write");
  MOXRewindableStreamRewindProc rewind = MOX_METHOD(MOXRewindableStreamRewindProc, owned, "Rewind");
  MOXPositionableStreamMarkProc mark = MOX_METHOD(MOXPositionableStreamMarkProc, owned, "Mark");
  MOXPositionableStreamSeekProc seek = MOX_METHOD(MOXPositionableStreamSeekProc, owned, "Seek");
  MOXPositionableStreamCreateIndependentlyPositionableStreamProc copy =
      MOX_METHOD(MOXPositionableStreamCreateIndependentlyPositionableStreamProc, owned,
                 "CreateIndependentlyPositionableStream");

  std::string Read(uint64_t size) {
    std::string bytes(size, '\0');
    uint64_t count = 99;
    EXPECT_EQ(TakeMessage(read(owned, &count, bytes.data(), size)), "");
    bytes.resize(count);
    return bytes;
  }
  // The message of the failure, "" on success.
  std::string ReadFailure() {
    uint64_t count = 9;
    char byte;
    std::string error = TakeMessage(read(owned, &count, &byte, 1));
    EXPECT_EQ(count, 0u);
    return error;
  }
  std::string Write(const std::string& bytes) {
    return TakeMessage(write(owned, bytes.data(), bytes.size()));
  }
  std::string Seek(int64_t position, int32_t mode) {
    return TakeMessage(seek(owned, position, mode));
  }
  std::string Rewind() { return TakeMessage(rewind(owned)); }
  int64_t Mark() {
    int64_t position = -1;
    EXPECT_EQ(mark(owned, &position), nullptr);
    return position;
  }
  MOXContainer Copy() {
    MOXContainer out = nullptr;
    EXPECT_EQ(TakeMessage(copy(owned, &out)), "");
    return out;
  }
};

MOXContainer NewMemoryStream() {
  MOXContainer stream = nullptr;
  EXPECT_EQ(MOX_PROC(MOXNewPositionableMemoryStreamProc, "MOXStreamFactoryInterface",
                     "NewPositionableMemoryStream")(&stream),
            nullptr);
  return stream;
}

MOXContainer NewFileStream(const std::string& path, const char* mode, std::string* error) {
  MOXContainer stream = nullptr;
  *error = TakeMessage(MOX_PROC(MOXNewPositionableFileStreamProc, "MOXStreamFactoryInterface",
                                "NewPositionableFileStream")(&stream, path.c_str(), mode));
  return stream;
}

std::string FileContents(const std::string& path) {
  std::string contents;
  FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return "<missing>";
  for (int c; (c = std::fgetc(file)) != EOF;) contents += static_cast<char>(c);
  std::fclose(file);
  return contents;
}

TEST(MemoryStreamTest, ReadWriteAndTheThreeSeekModes) {
  moxtest::ScopedCountsCheck counts;
  Stream stream(NewMemoryStream());
  EXPECT_EQ(stream.Write("hello world"), "");
  EXPECT_EQ(stream.Mark(), 11);
  EXPECT_EQ(stream.Read(4), "") << "at the end";
  EXPECT_EQ(stream.Seek(6, 0), "");
  EXPECT_EQ(stream.Read(3), "wor");
  EXPECT_EQ(stream.Seek(-5, 1), "");
  EXPECT_EQ(stream.Mark(), 4);
  EXPECT_EQ(stream.Seek(-2, 2), "");
  EXPECT_EQ(stream.Read(100), "ld");

  // Positions before the start are refused and leave the position alone.
  EXPECT_NE(stream.Seek(-1, 0), "");
  EXPECT_NE(stream.Seek(-12, 2), "");
  EXPECT_NE(stream.Seek(0, 3), "") << "unknown mode";
  EXPECT_EQ(stream.Mark(), 11);

  // Writing past the end fills the gap with zeros.
  EXPECT_EQ(stream.Seek(2, 2), "");
  EXPECT_EQ(stream.Write("!"), "");
  EXPECT_EQ(stream.Rewind(), "");
  EXPECT_EQ(stream.Read(100), std::string("hello world\0\0!", 14));
}

// Writes, seeks past the end and reads that start, end and cross the places
// where the memory of a stream grows (4, 8, 16, 32 and 64 KiB, then every
// 64 KiB), against a string that does the same; a copy reads the same bytes.
TEST(MemoryStreamTest, BytesAcrossEveryPlaceWhereTheStreamGrows) {
  moxtest::ScopedCountsCheck counts;
  // A stream that dies first leaves memory full of bytes that are not zeros,
  // which the next streams may be given.
  EXPECT_EQ(Stream(NewMemoryStream()).Write(std::string(1 << 20, 'x')), "");
  Stream stream(NewMemoryStream());
  std::string model;
  const auto write = [&](int64_t at, size_t size, char fill) {
    SCOPED_TRACE(at);
    EXPECT_EQ(stream.Seek(at, 0), "");
    std::string bytes(size, fill);
    for (size_t i = 0; i < size; i += 7) bytes[i] = static_cast<char>(i / 7);
    EXPECT_EQ(stream.Write(bytes), "");
    if (model.size() < at + size) model.resize(at + size, '\0');
    model.replace(static_cast<size_t>(at), size, bytes);
    EXPECT_EQ(stream.Mark(), static_cast<int64_t>(at + size));
  };
  const struct {
    int64_t at;
    size_t size;
  } kWrites[] = {
      {0, 4095},       {4095, 2},   {4097, 10000},   {20000, 0},  // a gap, no bytes
      {30000, 40000},  {65535, 1},  {70000, 200000}, {131071, 2},
      {300000, 65536}, {365600, 3}, {100, 300000},   {500000, 1},  // a gap over segments
  };
  char fill = 'a';
  for (const auto& w : kWrites) write(w.at, w.size, fill++);
  ASSERT_EQ(model.size(), 500001u);
  EXPECT_EQ(stream.Seek(0, 2), "");
  EXPECT_EQ(stream.Mark(), 500001);
  for (int64_t at : {0, 4090, 8191, 65530, 131072, 499990}) {
    EXPECT_EQ(stream.Seek(at, 0), "");
    EXPECT_EQ(stream.Read(70000), model.substr(static_cast<size_t>(at), 70000)) << at;
  }
  Stream copy(stream.Copy());
  EXPECT_EQ(copy.Read(1000000), model);
  EXPECT_EQ(copy.Read(1), "") << "at the end";
}

TEST(BufferStreamTest, ReadsStopAndWritesFailAtTheBufferEnd) {
  moxtest::ScopedCountsCheck counts;
  char bytes[] = "0123456789";
  MOXSharedBuff buffer = MOX_PROC(MOXSharedBuffNewBufferV3Proc, "MOXSharedBuffInterface",
                                  "NewBuffer")(10, bytes, nullptr, 0, 0);
  MOXContainer container = nullptr;
  ASSERT_EQ(MOX_PROC(MOXNewPositionableBufferStreamProc, "MOXStreamFactoryInterface",
                     "NewPositionableBufferStream")(&container, buffer),
            nullptr);
  // The stream holds its own reference.
  MOX_PROC(MOXSharedBuffReleaseProc, "MOXSharedBuffInterface", "Release")(buffer);
  Stream stream(container);
  EXPECT_EQ(stream.Seek(-3, 2), "");
  EXPECT_EQ(stream.Read(10), "789");
  EXPECT_EQ(stream.Seek(8, 0), "");
  EXPECT_NE(stream.Write("abc"), "") << "would pass the end";
  EXPECT_EQ(stream.Write("ab"), "");
  EXPECT_EQ(Stream(stream.Copy()).Read(100), "01234567ab");
}

TEST(FileStreamTest, ModesAreHonouredAndCopiesKeepTheirOwnPosition) {
  moxtest::ScopedCountsCheck counts;
  char pattern[] = "/tmp/moxhost-stream-XXXXXX";
  ASSERT_GE(close(mkstemp(pattern)), 0);
  const std::string path = pattern;
  std::string error;
  {
    Stream stream(NewFileStream(path, "wb", &error));
    EXPECT_EQ(stream.Write("hello"), "");
    EXPECT_NE(stream.ReadFailure(), "") << "write-only";
    EXPECT_EQ(FileContents(path), "hello") << "nothing waits in a buffer";
  }
  {
    Stream stream(NewFileStream(path, "rb", &error));
    EXPECT_NE(stream.Write("x"), "") << "a read-only stream refuses writes";
    EXPECT_EQ(stream.Read(100), "hello");
  }
  {
    Stream stream(NewFileStream(path, "ab", &error));
    EXPECT_EQ(stream.Seek(0, 0), "");
    EXPECT_EQ(stream.Write(" world"), "") << "appends wherever the stream stands";
    EXPECT_EQ(stream.Mark(), 11);
  }
  {
    Stream stream(NewFileStream(path, "r+b", &error));
    EXPECT_EQ(stream.Seek(-5, 2), "");
    EXPECT_EQ(stream.Write("WORLD"), "");
    Stream reader(stream.Copy());
    EXPECT_EQ(reader.Read(6), "hello ");
    EXPECT_EQ(stream.Write("!"), "");
    EXPECT_EQ(reader.Read(100), "WORLD!");
  }
  EXPECT_EQ(FileContents(path), "hello WORLD!");
  std::remove(path.c_str());
}

TEST(FileStreamTest, OpenFailuresAreErrors) {
  moxtest::ScopedCountsCheck counts;
  std::string error;
  for (auto [path, mode] : {std::pair<const char*, const char*>{"/nonexistent-dir/file", "rb"},
                            {"/tmp", "rb"},  // a directory is no stream
                            {"/tmp/x", "q"}}) {
    EXPECT_EQ(NewFileStream(path, mode, &error), nullptr) << path;
    EXPECT_NE(error.find(mode[0] == 'q' ? "invalid mode" : path), std::string::npos) << error;
  }
}

TEST(StreamMethodsTest, ForeignContainersAreRefused) {
  moxtest::ScopedCountsCheck counts;
  Stream stream(NewMemoryStream());
  MOXContainer bare = nullptr;
  ASSERT_EQ(moxtest::ContainerProcs().NewContainer(&bare, 0, 0, 0, 0, 0), nullptr);
  Owned owned(bare);
  EXPECT_NE(TakeMessage(stream.write(owned, "x", 1)), "");
  EXPECT_NE(TakeMessage(stream.seek(nullptr, 0, 0)), "");
}

// A client stream that logs which adapter each method reached; its writes fail.
struct Client {
  std::vector<std::string> calls;
  int releases = 0;
};
MOXErrorRef Log(void* client, const std::string& call) {
  static_cast<Client*>(client)->calls.push_back(call);
  return nullptr;
}
void ReleaseClient(void* client) {
  ++static_cast<Client*>(client)->releases;
}

TEST(ClientStreamsTest, MethodsReachTheirAdaptersErrorsPassAndReleaseRunsOnce) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  MOXContainer container = nullptr;
  ASSERT_EQ(MOX_PROC(MOXNewClientPositionableStreamProc, "MOXStreamFactoryInterface",
                     "NewClientPositionableStream")(
                &container, &client,
                [](void* c, uint64_t* count, void* buffer, uint64_t size) {
                  *static_cast<char*>(buffer) = 'r';
                  *count = 1;
                  return Log(c, "read " + std::to_string(size));
                },
                [](void* c, const void*, uint64_t size) {
                  Log(c, "write " + std::to_string(size));
                  return moxtest::ErrorProcs().NewError("disk on fire", "", 0, 0, 0);
                },
                [](void* c, MOXContainer*) { return Log(c, "createRewindable"); },
                [](void* c) { return Log(c, "rewind"); },
                [](void* c, MOXContainer*) { return Log(c, "createPositionable"); },
                [](void* c, int64_t* position) {
                  *position = 42;
                  return Log(c, "mark");
                },
                [](void* c, int64_t position, int32_t mode) {
                  return Log(c, "seek " + std::to_string(position) + " " + std::to_string(mode));
                },
                ReleaseClient),
            nullptr);
  {
    Stream stream(container);
    EXPECT_EQ(stream.Write("abc"), "disk on fire");
    EXPECT_EQ(stream.Seek(-1, 2), "");
    EXPECT_EQ(stream.Read(8), "r");
    EXPECT_EQ(stream.Mark(), 42);
    EXPECT_EQ(stream.Rewind(), "");
    stream.Copy();
    MOXContainer copy = nullptr;
    EXPECT_EQ(MOX_METHOD(MOXRewindableStreamCreateIndependentlyRewindableStreamProc, stream.owned,
                         "CreateIndependentlyRewindableStream")(stream.owned, &copy),
              nullptr);
    EXPECT_EQ(client.calls,
              (std::vector<std::string>{"write 3", "seek -1 2", "read 8", "mark", "rewind",
                                        "createPositionable", "createRewindable"}));
    EXPECT_EQ(client.releases, 0);
  }
  EXPECT_EQ(client.releases, 1);
}

TEST(ClientStreamsTest, SimpleLevelMissingAdaptersAndFailedFactoryCalls) {
  moxtest::ScopedCountsCheck counts;
  Client client;
  auto newSimple =
      MOX_PROC(MOXNewClientSimpleStreamProc, "MOXStreamFactoryInterface", "NewClientSimpleStream");
  MOXContainer simple = nullptr;
  ASSERT_EQ(newSimple(&simple, &client, nullptr, nullptr, ReleaseClient), nullptr);
  {
    Stream stream(simple);
    EXPECT_NE(stream.read, nullptr);
    EXPECT_EQ(stream.rewind, nullptr) << "a simple stream has only the simple methods";
    EXPECT_EQ(stream.seek, nullptr);
    EXPECT_NE(stream.Write("x"), "") << "a missing adapter is an error, not a crash";
  }
  EXPECT_EQ(client.releases, 1);
  EXPECT_NE(TakeMessage(newSimple(nullptr, &client, nullptr, nullptr, ReleaseClient)), "");
  EXPECT_EQ(client.releases, 2) << "the runtime owns the client from the call on";
}

}  // namespace
