// The runtime's own streams: memory, shared-buffer and file streams.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxhost::Runtime;
using moxhost::StreamOp;
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
  std::string Write(const std::string& bytes) {
    return TakeMessage(write(owned, bytes.data(), bytes.size()));
  }
  std::string Seek(int64_t position, int32_t mode) {
    return TakeMessage(seek(owned, position, mode));
  }
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
  auto factory = MOX_PROC(MOXNewPositionableMemoryStreamProc, "MOXStreamFactoryInterface",
                          "NewPositionableMemoryStream");
  MOXContainer stream = nullptr;
  EXPECT_EQ(factory(&stream), nullptr);
  return stream;
}

MOXContainer NewFileStream(const std::string& path, const char* mode, std::string* error) {
  auto factory = MOX_PROC(MOXNewPositionableFileStreamProc, "MOXStreamFactoryInterface",
                          "NewPositionableFileStream");
  MOXContainer stream = nullptr;
  *error = TakeMessage(factory(&stream, path.c_str(), mode));
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

class TempPath {
 public:
  TempPath() {
    char pattern[] = "/tmp/moxhost-stream-XXXXXX";
    int fd = mkstemp(pattern);
    EXPECT_GE(fd, 0);
    close(fd);
    path_ = pattern;
  }
  ~TempPath() { std::remove(path_.c_str()); }
  const std::string& get() const { return path_; }

 private:
  std::string path_;
};

TEST(MemoryStreamTest, ReadWriteAndTheThreeSeekModes) {
  moxtest::ScopedCountsCheck counts;
  MOXContainer container = NewMemoryStream();
  EXPECT_EQ(
      *MOX_PROC(MOXGetRefCountAddrProc, "MOXContainerInterface", "DebugGetRefCountAddr")(container),
      0u)
      << "streams come back unowned";
  Stream stream(container);
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
  EXPECT_EQ(TakeMessage(stream.rewind(stream.owned)), "");
  EXPECT_EQ(stream.Read(100), std::string("hello world\0\0!", 14));
}

TEST(MemoryStreamTest, IndependentCopiesShareDataNotPosition) {
  moxtest::ScopedCountsCheck counts;
  Stream original(NewMemoryStream());
  EXPECT_EQ(original.Write("abcdef"), "");
  Stream copy(original.Copy());
  EXPECT_EQ(copy.Mark(), 0) << "a copy starts at the beginning";
  EXPECT_EQ(copy.Read(2), "ab");
  EXPECT_EQ(original.Mark(), 6);
  EXPECT_EQ(original.Write("gh"), "");
  EXPECT_EQ(copy.Read(100), "cdefgh");

  // The rewindable form gives an independent stream too.
  auto rewindable = MOX_METHOD(MOXRewindableStreamCreateIndependentlyRewindableStreamProc,
                               original.owned, "CreateIndependentlyRewindableStream");
  MOXContainer other = nullptr;
  ASSERT_EQ(rewindable(original.owned, &other), nullptr);
  Stream third(other);
  EXPECT_EQ(third.Read(3), "abc");
}

TEST(MemoryStreamTest, InjectedFaultsHitTheNthCallOfAnOperation) {
  moxtest::ScopedCountsCheck counts;
  Stream stream(NewMemoryStream());
  Runtime::Get().FailNthStreamCall(StreamOp::kWrite, 2);
  EXPECT_EQ(stream.Write("a"), "");
  EXPECT_NE(stream.Write("b"), "");
  EXPECT_EQ(stream.Write("c"), "");

  Runtime::Get().FailNthStreamCall(StreamOp::kSeek, 1);
  EXPECT_NE(stream.Seek(0, 0), "");
  Runtime::Get().FailNthStreamCall(StreamOp::kMark, 1);
  int64_t position = 77;
  EXPECT_NE(TakeMessage(stream.mark(stream.owned, &position)), "");
  EXPECT_EQ(position, 0);
  Runtime::Get().FailNthStreamCall(StreamOp::kRead, 1);
  EXPECT_EQ(stream.Seek(0, 0), "");
  uint64_t count = 5;
  char byte;
  EXPECT_NE(TakeMessage(stream.read(stream.owned, &count, &byte, 1)), "");
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream.Read(10), "ac") << "the failed write wrote nothing";
}

TEST(BufferStreamTest, ReadsStopAndWritesFailAtTheBufferEnd) {
  moxtest::ScopedCountsCheck counts;
  auto newBuffer = MOX_PROC(MOXSharedBuffNewBufferV3Proc, "MOXSharedBuffInterface", "NewBuffer");
  auto release = MOX_PROC(MOXSharedBuffReleaseProc, "MOXSharedBuffInterface", "Release");
  auto factory = MOX_PROC(MOXNewPositionableBufferStreamProc, "MOXStreamFactoryInterface",
                          "NewPositionableBufferStream");
  char bytes[] = "0123456789";
  MOXSharedBuff buffer = newBuffer(10, bytes, nullptr, 0, 0);
  MOXContainer container = nullptr;
  ASSERT_EQ(factory(&container, buffer), nullptr);
  release(buffer);  // the stream holds its own reference
  Stream stream(container);
  EXPECT_EQ(stream.Seek(-3, 2), "");
  EXPECT_EQ(stream.Read(10), "789");
  EXPECT_EQ(stream.Seek(8, 0), "");
  EXPECT_NE(stream.Write("abc"), "") << "would pass the end";
  EXPECT_EQ(stream.Write("ab"), "");
  Stream copy(stream.Copy());
  EXPECT_EQ(copy.Read(100), "01234567ab");
}

TEST(FileStreamTest, ModesAreHonoured) {
  moxtest::ScopedCountsCheck counts;
  TempPath path;
  std::string error;
  {
    Stream stream(NewFileStream(path.get(), "wb", &error));
    EXPECT_EQ(stream.Write("hello"), "");
    uint64_t count = 9;
    char byte;
    EXPECT_NE(TakeMessage(stream.read(stream.owned, &count, &byte, 1)), "") << "write-only";
    EXPECT_EQ(FileContents(path.get()), "hello") << "nothing waits in a buffer";
  }
  {
    Stream stream(NewFileStream(path.get(), "rb", &error));
    EXPECT_NE(stream.Write("x"), "") << "a read-only stream refuses writes";
    EXPECT_EQ(stream.Read(100), "hello");
  }
  {
    Stream stream(NewFileStream(path.get(), "ab", &error));
    EXPECT_EQ(stream.Seek(0, 0), "");
    EXPECT_EQ(stream.Write(" world"), "") << "appends wherever the stream stands";
    EXPECT_EQ(stream.Mark(), 11);
  }
  {
    Stream stream(NewFileStream(path.get(), "r+b", &error));
    EXPECT_EQ(stream.Seek(-5, 2), "");
    EXPECT_EQ(stream.Write("WORLD"), "");
    EXPECT_EQ(TakeMessage(stream.rewind(stream.owned)), "");
    EXPECT_EQ(stream.Read(5), "hello");
  }
  EXPECT_EQ(FileContents(path.get()), "hello WORLD");
  {
    Stream stream(NewFileStream(path.get(), "wb", &error));
    EXPECT_EQ(FileContents(path.get()), "") << "\"w\" truncates";
  }
}

TEST(FileStreamTest, CopiesHaveTheirOwnPositionOverTheSameFile) {
  moxtest::ScopedCountsCheck counts;
  TempPath path;
  std::string error;
  Stream writer(NewFileStream(path.get(), "w+b", &error));
  EXPECT_EQ(writer.Write("0123456789"), "");
  Stream reader(writer.Copy());
  EXPECT_EQ(reader.Read(4), "0123");
  EXPECT_EQ(writer.Mark(), 10);
  EXPECT_EQ(writer.Write("ab"), "");
  EXPECT_EQ(reader.Read(100), "456789ab");
  EXPECT_NE(reader.Seek(-1, 0), "");
}

TEST(FileStreamTest, OpenFailuresAreErrors) {
  moxtest::ScopedCountsCheck counts;
  std::string error;
  EXPECT_EQ(NewFileStream("/nonexistent-dir/file", "rb", &error), nullptr);
  EXPECT_NE(error.find("/nonexistent-dir/file"), std::string::npos) << error;
  EXPECT_EQ(NewFileStream("/tmp", "rb", &error), nullptr) << "a directory is no stream";
  EXPECT_NE(error, "");
  EXPECT_EQ(NewFileStream("/tmp/x", "q", &error), nullptr);
  EXPECT_NE(error, "");
}

TEST(StreamMethodsTest, ForeignContainersAreRefused) {
  moxtest::ScopedCountsCheck counts;
  Stream stream(NewMemoryStream());
  auto newContainer = MOX_PROC(MOXNewContainerV2Proc, "MOXContainerInterface", "NewContainer");
  MOXContainer bare = nullptr;
  ASSERT_EQ(newContainer(&bare, 0, 0, 0, 0, 0), nullptr);
  Owned owned(bare);
  EXPECT_NE(TakeMessage(stream.write(owned, "x", 1)), "");
  EXPECT_NE(TakeMessage(stream.seek(nullptr, 0, 0)), "");
}

}  // namespace
