// Directory objects: the path join, the temporary and working directories,
// the file operations and their errors, unique files, and handles that are
// no directory.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <regex>

#include "binding/utils_names.h"
#include "fileutils/utils_dir.h"
#include "fileutils_fixture.h"

namespace moxtest {
namespace {

TEST_F(FileUtilsTest, JoinAddsOneSlashUnlessThePathEndsInOneAndNormalisesNothing) {
  struct Case {
    const char* path;
    const char* name;
    const char* joined;
  };
  const Case cases[] = {
      {"/a", "b", "/a/b"},
      {"/a/", "b", "/a/b"},
      {"", "b", "/b"},  // an empty path has no last byte to be "/"
      {"rel", "b/c", "rel/b/c"},
      {"/a//", "b", "/a//b"},
      {"/a/./x/..", "../b", "/a/./x/../../b"},
      {"/a", "/b", "/a//b"},  // an absolute name is appended like any other
      {"/a", "", "/a/"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " + " + c.name);
    CMOXContainerRef dir = Dir(c.path);
    EXPECT_EQ(PathOf(dir), c.path) << "kept as it came";
    MOXStringAtom joined = nullptr;
    EXPECT_EQ(Outcome(p.utilsDir.GetFilePathSpec(&joined, dir.Container(), Atom(c.name))), "");
    EXPECT_EQ(Take(joined), c.joined);
  }
}

TEST_F(FileUtilsTest, TempDirIsTMPDIRReadAtEveryCallEvenEmptyAndTmpWhenUnset) {
  auto tempDir = [&] {
    MOXContainer dir = nullptr;
    EXPECT_EQ(Outcome(p.utilsDir.GetTempDir(&dir)), "");
    EXPECT_EQ(p.RefCount(dir), 0u) << "unowned";
    return PathOf(CMOXContainerRef(dir));
  };
  EXPECT_EQ(tempDir(), scratch_->Path());
  setenv("TMPDIR", "/x/", 1);
  EXPECT_EQ(tempDir(), "/x/");
  setenv("TMPDIR", "", 1);
  EXPECT_EQ(tempDir(), "");
  unsetenv("TMPDIR");
  EXPECT_EQ(tempDir(), "/tmp");
}

TEST_F(FileUtilsTest, CurrentIsTheWorkingDirectoryAndTooLongAPathRunsOutOfMemory) {
  auto current = [&](std::string* path) {
    MOXContainer dir = nullptr;
    const std::string outcome = Outcome(p.utilsDir.GetCurrent(&dir));
    if (dir != nullptr) *path = PathOf(CMOXContainerRef(dir));
    return outcome;
  };
  ASSERT_EQ(chdir(scratch_->Path().c_str()), 0);
  std::string path = "none";
  EXPECT_EQ(current(&path), "");
  EXPECT_EQ(path, scratch_->Path());

  // Down a chain of directories until the path needs more than 1024 bytes.
  const std::string step(200, 'd');
  Names made;
  std::string relative;
  while (scratch_->Path().size() + relative.size() < 1024) {
    relative += (relative.empty() ? "" : "/") + step;
    scratch_->MakeDir(relative);
    made.push_back(relative);
  }
  ASSERT_EQ(chdir(scratch_->At(relative).c_str()), 0);
  path = "none";
  EXPECT_EQ(current(&path), kOutOfMemory);
  EXPECT_EQ(path, "none") << "no directory comes back";
  ASSERT_EQ(chdir(scratch_->Path().c_str()), 0);
  for (auto it = made.rbegin(); it != made.rend(); ++it) scratch_->Remove(*it);
}

TEST_F(FileUtilsTest, FileOperationsGoToTheJoinedPathAndFailWithTheUntranslatedErrno) {
  CMOXContainerRef dir = Dir(scratch_->Path() + "/");
  scratch_->MakeDir("sub");
  scratch_->WriteFile("sub/f", "f");
  scratch_->MakeDir("full");
  scratch_->WriteFile("full/g", "g");
  scratch_->MakeDir("empty");
  scratch_->WriteFile("from", "new");
  scratch_->WriteFile("to", "old");
  ASSERT_EQ(symlink("nowhere", scratch_->At("dangling").c_str()), 0);

  auto exists = [&](const char* name) {
    uint8_t found = 2;
    EXPECT_EQ(Outcome(p.utilsDir.FileExists(&found, dir.Container(), Atom(name))), "") << name;
    return static_cast<int>(found);
  };
  EXPECT_EQ(exists("sub/f"), 1);
  EXPECT_EQ(exists("sub"), 1) << "a directory counts";
  EXPECT_EQ(exists("missing"), 0);
  EXPECT_EQ(exists("dangling"), 0) << "stat follows the link";

  auto remove = [&](const char* name) {
    return Outcome(p.utilsDir.Delete(dir.Container(), Atom(name)));
  };
  EXPECT_EQ(remove("missing"), FileError(ENOENT, kMOXUtilsDirDeleteFailed));
  EXPECT_EQ(remove("full"), FileError(ENOTEMPTY, kMOXUtilsDirDeleteFailed));
  EXPECT_EQ(remove("empty"), "");
  EXPECT_EQ(remove("sub/f"), "");
  EXPECT_EQ(remove("dangling"), "") << "the link itself goes";

  auto rename = [&](const char* from, const char* to) {
    return Outcome(p.utilsDir.Rename(dir.Container(), Atom(from), Atom(to)));
  };
  EXPECT_EQ(rename("from", "to"), "");
  EXPECT_EQ(scratch_->ReadFile("to"), "new") << "an existing target is replaced";
  EXPECT_EQ(rename("from", "again"), FileError(ENOENT, kMOXUtilsDirRenameFailed));
  EXPECT_EQ(rename("to", "sub/moved"), "") << "names of several components";
  EXPECT_EQ(scratch_->Entries(), (Names{"full", "sub"}));
  EXPECT_EQ(scratch_->Entries("sub"), Names{"moved"});

  for (const char* name : {"sub/moved", "sub", "full/g", "full"}) scratch_->Remove(name);
}

TEST_F(FileUtilsTest, UniqueFilesAreTheStemAPointAndSixCharactersAndTheSecondAtomIsIgnored) {
  MOXContainer temp = nullptr;
  ASSERT_EQ(Outcome(p.utilsDir.GetTempDir(&temp)), "");
  CMOXContainerRef dir(temp);
  scratch_->MakeDir("sub");
  const std::regex shape("st\\.[A-Za-z0-9]{6}");
  auto unique = [&](const char* stem, MOXStringAtom second, std::string* name) {
    MOXStringAtom made = reinterpret_cast<MOXStringAtom>(1);
    const std::string outcome =
        Outcome(p.utilsDir.CreateUniqueFilename(&made, dir.Container(), Atom(stem), second));
    *name = Take(made);
    return outcome;
  };
  std::string first, second, nested;
  EXPECT_EQ(unique("st", Atom("x"), &first), "");
  EXPECT_EQ(unique("st", nullptr, &second), "") << "the second atom may even be null";
  EXPECT_EQ(unique("sub/st", Atom("x"), &nested), "");
  for (const std::string& name : {first, second, nested}) {
    EXPECT_TRUE(std::regex_match(name, shape)) << name << ": nothing of the second atom";
  }
  EXPECT_NE(first, second);
  Names expected{first, second, "sub"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(scratch_->Entries(), expected);
  EXPECT_EQ(scratch_->Entries("sub"), Names{nested}) << "only the tail comes back";
  struct stat info;
  ASSERT_EQ(stat(scratch_->At(first).c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u) << "as mkstemp makes it";

  // A directory that does not exist: the error of mkstemp, and no name.
  CMOXContainerRef missing = Dir(scratch_->At("missing"));
  MOXStringAtom none = reinterpret_cast<MOXStringAtom>(1);
  EXPECT_EQ(
      Outcome(p.utilsDir.CreateUniqueFilename(&none, missing.Container(), Atom("st"), Atom("x"))),
      FileError(ENOENT, kMOXUtilsDirCreateFailed));
  EXPECT_EQ(none, nullptr);
  for (const std::string& name : {first, second, "sub/" + nested, std::string("sub")}) {
    scratch_->Remove(name);
  }
}

// Each unique file keeps a descriptor open until the process ends, also once
// the file is gone: those of the directory interface and those of the
// streams alike.
TEST_F(FileUtilsTest, EveryUniqueFileLeavesItsDescriptorOpen) {
  scratch_->CloseDescriptors();
  CMOXContainerRef dir = Dir(scratch_->Path());
  for (int i = 0; i < 3; ++i) {
    MOXStringAtom name = nullptr;
    ASSERT_EQ(Outcome(p.utilsDir.CreateUniqueFilename(&name, dir.Container(), Atom("st"), nullptr)),
              "");
    EXPECT_EQ(Outcome(p.utilsDir.Delete(dir.Container(), name)), "");
    Take(name);
  }
  for (int i = 0; i < 2; ++i) {
    CMOXPositionableStreamRef stream = NewStream();
    stream.Write("abc", 3);
  }
  EXPECT_EQ(scratch_->Entries(), Names{});
  EXPECT_EQ(scratch_->OpenDescriptors(), 5);
  EXPECT_EQ(scratch_->CloseDescriptors(), 5);
}

// A member that no method calls: the joined path decides whether the file is
// there, but the file is made under the bare name, in the working directory.
TEST_F(FileUtilsTest, CreateNewFileTestsTheJoinedPathAndMakesTheBareName) {
  scratch_->MakeDir("dir");
  scratch_->MakeDir("cwd");
  ASSERT_EQ(chdir(scratch_->At("cwd").c_str()), 0);
  const MOXUtilsDirImpl directory{CMOXStringHolder(scratch_->At("dir").c_str())};
  EXPECT_TRUE(directory.createNewFile("made"));
  EXPECT_EQ(scratch_->Entries("cwd"), Names{"made"});
  EXPECT_EQ(scratch_->Entries("dir"), Names{});
  scratch_->WriteFile("dir/there", "");
  EXPECT_FALSE(directory.createNewFile("there"));
  EXPECT_EQ(scratch_->Entries("cwd"), Names{"made"});
  try {
    directory.createNewFile("missing/made");
    ADD_FAILURE() << "made a file in a missing directory";
  } catch (const CMOXError& error) {
    EXPECT_EQ(Outcome(MOXErrorProcs::AddRef(error.Error())),
              FileError(ENOENT, kMOXUtilsDirCreateFailed));
  }
  for (const char* name : {"cwd/made", "dir/there", "cwd", "dir"}) scratch_->Remove(name);
}

// A stand-in for a validator: made and found under the validator's names,
// with the tag as its second word, as every validator instance has it.
struct TaggedInstance {
  void* first = nullptr;
  uintptr_t tag = kMOXValidatorInstanceTag;
};

TEST_F(FileUtilsTest, MethodsRefuseAValidatorAnotherObjectAndNullArguments) {
  CMOXContainerRef validator(MOXNewFullContainer(
      new TaggedInstance, gMOXUtilsNames->fValidatorImpl,
      [](void* instance) { delete static_cast<TaggedInstance*>(instance); },
      gMOXUtilsNames->fValidatorInterface));
  CMOXContainerRef number(p.posNumber.NewPOSNumber(1));
  CMOXContainerRef dir = Dir(scratch_->Path());
  scratch_->WriteFile("f", "f");

  using Call = std::function<MOXErrorRef(MOXContainer)>;
  uint8_t exists;
  MOXStringAtom atom;
  const Call calls[] = {
      [&](MOXContainer d) { return p.utilsDir.FileExists(&exists, d, Atom("f")); },
      [&](MOXContainer d) { return p.utilsDir.Delete(d, Atom("f")); },
      [&](MOXContainer d) { return p.utilsDir.Rename(d, Atom("f"), Atom("g")); },
      [&](MOXContainer d) { return p.utilsDir.GetFilePathSpec(&atom, d, Atom("f")); },
      [&](MOXContainer d) {
        return p.utilsDir.CreateUniqueFilename(&atom, d, Atom("st"), nullptr);
      },
  };
  for (size_t i = 0; i < sizeof calls / sizeof calls[0]; ++i) {
    SCOPED_TRACE("method " + std::to_string(i));
    EXPECT_EQ(Outcome(calls[i](validator.Container())), kInvalidContainer);
    EXPECT_EQ(Outcome(calls[i](number.Container())), kInvalidContainer);
  }
  EXPECT_EQ(scratch_->Entries(), Names{"f"}) << "nothing was done to the file";

  // Null out-parameters and atoms are refused before any work.
  MOXContainer out = nullptr;
  const MOXErrorRef refusals[] = {
      p.utilsDir.GetTempDir(nullptr),
      p.utilsDir.GetCurrent(nullptr),
      p.utilsDir.NewMOXUtilsDir(&out, nullptr),
      p.utilsDir.FileExists(nullptr, dir.Container(), Atom("f")),
      p.utilsDir.FileExists(&exists, dir.Container(), nullptr),
      p.utilsDir.Delete(dir.Container(), nullptr),
      p.utilsDir.Rename(dir.Container(), Atom("f"), nullptr),
      p.utilsDir.GetFilePathSpec(nullptr, dir.Container(), Atom("f")),
      p.utilsDir.CreateUniqueFilename(&atom, dir.Container(), nullptr, nullptr),
      p.tempFileStreamFactory.NewTempFileStream(&out, "st", nullptr, "w+b"),
  };
  for (MOXErrorRef refusal : refusals) EXPECT_EQ(Outcome(refusal), kNullArgument);
  EXPECT_EQ(out, nullptr);
  scratch_->Remove("f");
}

}  // namespace
}  // namespace moxtest
