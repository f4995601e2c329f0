// Temporary-file streams through the runtime's stream methods: the plain
// pass-through, read copies and the end of writing, what each stream leaves
// and removes, and the streamer writing into one.
#include <cerrno>
#include <regex>

#include "fileutils/utils_dir.h"
#include "fileutils_fixture.h"
#include "streamer/streamer_interface.h"
#include "streamer/tree_maker.h"

namespace moxtest {
namespace {

const std::regex kUniqueName("st\\.[A-Za-z0-9]{6}");
const std::string kReadOnly = "MOX 6: Write: the file stream is read-only";
const std::string kCannotOpen = "MOX 5: NewPositionableFileStream: cannot open";

// The outcome of a stream operation that is meant to fail.
template <typename Operation>
std::string Failure(Operation operation) {
  try {
    operation();
  } catch (const CMOXError& error) {
    return Outcome(MOXErrorProcs::AddRef(error.Error()));
  }
  return "";
}

TEST_F(FileUtilsTest, AStreamWritesAndReadsItsOwnFileInTheTempDirAndRemovesIt) {
  CMOXPositionableStreamRef stream = NewStream("st", "w+b");
  ASSERT_FALSE(stream.IsEmpty());
  const Names files = scratch_->Entries();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_TRUE(std::regex_match(files[0], kUniqueName)) << files[0] << ": the second name is unused";
  stream.Write("hello world", 11);
  EXPECT_EQ(stream.Mark(), 11);
  EXPECT_EQ(scratch_->ReadFile(files[0]), "hello world") << "no buffer of its own";
  stream.Seek(6, 0);
  EXPECT_EQ(ReadAll(stream), "world");
  stream.Rewind();
  EXPECT_EQ(stream.Mark(), 0);
  EXPECT_EQ(ReadAll(stream), "hello world");
  stream = CMOXPositionableStreamRef();
  EXPECT_EQ(scratch_->Entries(), Names{});
  EXPECT_EQ(scratch_->CloseDescriptors(), 1) << "the unique file's descriptor stays open";
}

// A read-only mode is taken as it comes: the stream can never be written.
TEST_F(FileUtilsTest, AReadOnlyModeGivesAStreamThatCanNeverBeWritten) {
  CMOXPositionableStreamRef stream = NewStream("st", "rb");
  ASSERT_FALSE(stream.IsEmpty());
  EXPECT_EQ(Failure([&] { stream.Write("x", 1); }), kReadOnly);
  EXPECT_EQ(ReadAll(stream), "");
}

TEST_F(FileUtilsTest, TheFirstCopyEndsWritingAndPutsTheStreamBackAtTheStart) {
  CMOXPositionableStreamRef first = NewStream();
  ASSERT_FALSE(first.IsEmpty());
  first.Write("abcdef", 6);
  CMOXPositionableStreamRef copy(first.CreateIndependentlyPositionableStream());
  EXPECT_EQ(first.Mark(), 0) << "the position is not kept";
  EXPECT_EQ(Failure([&] { first.Write("g", 1); }), kReadOnly);
  EXPECT_EQ(ReadAll(copy), "abcdef");
  EXPECT_EQ(ReadAll(first), "abcdef");
  // A rewindable copy is a positionable one.
  CMOXPositionableStreamRef rewindable(first.CreateIndependentlyRewindableStream());
  EXPECT_EQ(ReadAll(rewindable), "abcdef");
  EXPECT_EQ(first.Mark(), 6) << "only the first copy reopens the stream";
  EXPECT_EQ(scratch_->Entries().size(), 1u) << "copies share the one file";
}

TEST_F(FileUtilsTest, CopiesReadAtPositionsOfTheirOwnAndACopyOfACopyStartsAgain) {
  CMOXPositionableStreamRef first = NewStream();
  first.Write("0123456789", 10);
  CMOXPositionableStreamRef one(first.CreateIndependentlyPositionableStream());
  CMOXPositionableStreamRef two(first.CreateIndependentlyPositionableStream());
  char block[4];
  ASSERT_EQ(one.Read(block, 2), 2u);
  ASSERT_EQ(two.Read(block, 4), 4u);
  EXPECT_EQ(one.Mark(), 2);
  EXPECT_EQ(two.Mark(), 4);
  EXPECT_EQ(ReadAll(one), "23456789");
  two.Seek(-3, 2);
  EXPECT_EQ(ReadAll(two), "789");

  CMOXPositionableStreamRef three(two.CreateIndependentlyPositionableStream());
  EXPECT_EQ(two.Mark(), 0) << "the copy's own stream was opened anew";
  EXPECT_EQ(ReadAll(three), "0123456789");
  EXPECT_EQ(ReadAll(two), "0123456789");
}

TEST_F(FileUtilsTest, OnlyTheFirstStreamRemovesTheFileAndACopyReadsOnWithoutIt) {
  CMOXPositionableStreamRef first = NewStream();
  first.Write("kept", 4);
  { CMOXPositionableStreamRef dropped(first.CreateIndependentlyPositionableStream()); }
  EXPECT_EQ(scratch_->Entries().size(), 1u) << "a copy removes nothing";
  CMOXPositionableStreamRef copy(first.CreateIndependentlyPositionableStream());
  first = CMOXPositionableStreamRef();
  EXPECT_EQ(scratch_->Entries(), Names{}) << "the name goes with the first stream";
  EXPECT_EQ(ReadAll(copy), "kept");
  // A copy request reopens the file by its name, which is gone.
  const std::string refused = Failure(
      [&] { CMOXPositionableStreamRef made(copy.CreateIndependentlyPositionableStream()); });
  EXPECT_EQ(refused.rfind(kCannotOpen, 0), 0u) << refused;
  copy.Seek(0, 0);
  EXPECT_EQ(ReadAll(copy), "kept") << "the failed request changed nothing";
}

// The unique file is made in the subdirectory, but the stream opens the bare
// name in the temporary directory itself: a write mode makes a second file
// there, which the stream removes; a read mode finds nothing to open. The
// unique file stays either way.
TEST_F(FileUtilsTest, AStemWithASlashMakesTheFileInTheSubdirectoryButOpensAnother) {
  scratch_->MakeDir("sub");
  {
    CMOXPositionableStreamRef stream = NewStream("sub/st", "w+b");
    ASSERT_FALSE(stream.IsEmpty());
    stream.Write("x", 1);
    const Names made = scratch_->Entries("sub");
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(scratch_->Entries(), (Names{made[0], "sub"}));
    EXPECT_EQ(scratch_->ReadFile(made[0]), "x");
    EXPECT_EQ(scratch_->ReadFile("sub/" + made[0]), "");
  }
  Names left = scratch_->Entries("sub");
  EXPECT_EQ(scratch_->Entries(), Names{"sub"});
  ASSERT_EQ(left.size(), 1u);
  scratch_->Remove("sub/" + left[0]);

  MOXContainer stream = reinterpret_cast<MOXContainer>(1);
  const std::string outcome =
      Outcome(p.tempFileStreamFactory.NewTempFileStream(&stream, "sub/st", "x", "rb"));
  EXPECT_EQ(outcome.rfind(kCannotOpen, 0), 0u) << outcome;
  EXPECT_EQ(stream, nullptr);
  left = scratch_->Entries("sub");
  ASSERT_EQ(left.size(), 1u);
  scratch_->Remove("sub/" + left[0]);
  scratch_->Remove("sub");
}

TEST_F(FileUtilsTest, NoUniqueFileGivesTheErrorOfTheDirectoryInterface) {
  setenv("TMPDIR", scratch_->At("missing").c_str(), 1);
  MOXContainer stream = reinterpret_cast<MOXContainer>(1);
  EXPECT_EQ(Outcome(p.tempFileStreamFactory.NewTempFileStream(&stream, "st", "x", "w+b")),
            FileError(ENOENT, kMOXUtilsDirCreateFailed));
  EXPECT_EQ(stream, nullptr);
}

// Destruction swallows what fails: here the removal runs out of memory, and
// the file stays.
TEST_F(FileUtilsTest, ARemovalThatFailsAtDestructionLeavesTheFileSilently) {
  CMOXPositionableStreamRef stream = NewStream();
  stream.Write("x", 1);
  const Names files = scratch_->Entries();
  rt_.FailNthAllocation(1);
  stream = CMOXPositionableStreamRef();
  rt_.ClearFaults();
  EXPECT_EQ(scratch_->Entries(), files);
  EXPECT_EQ(scratch_->ReadFile(files[0]), "x") << "closed with everything written";
  scratch_->Remove(files[0]);
}

TEST_F(FileUtilsTest, TheStreamerWritesATreeAndReadsItBackThroughACopy) {
  namespace S = NPOSStreamerImpl::POSStreamerEntries;
  {
    CMOXContainerRef streamer(S::NewPOSStreamer());
    TreeMaker maker(7);
    const CPOSObject tree = maker.Make(4);
    CMOXPositionableStreamRef first = NewStream();
    ASSERT_TRUE(S::Serialize(streamer.Container(), first.Container(), tree.Container(), nullptr));
    ASSERT_TRUE(S::Serialize(streamer.Container(), first.Container(), tree.Container(), nullptr));
    CMOXPositionableStreamRef copy(first.CreateIndependentlyPositionableStream());
    for (int i = 0; i < 2; ++i) {
      MOXContainer back = S::Deserialize(streamer.Container(), copy.Container());
      ASSERT_NE(back, nullptr) << i;
      const CPOSObject read(back);
      EXPECT_TRUE(read.IsEqual(tree) && tree.IsEqual(read)) << i;
    }
    EXPECT_EQ(ReadAll(copy), "") << "the reader stops just behind the second object";
  }
  // The object model's method tables stay from their first use on; the stop
  // gives them back with everything else, which the fixture checks.
  started_ = rt_.Counts();
}

}  // namespace
}  // namespace moxtest
