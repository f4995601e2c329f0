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
  const char* const cases[][3] = {
      {"/a", "b", "/a/b"},       {"/a/", "b", "/a/b"},   {"", "b", "/b"},
      {"rel", "b/c", "rel/b/c"}, {"/a//", "b", "/a//b"}, {"/a/x/..", "../b", "/a/x/../../b"},
      {"/a", "/b", "/a//b"},     {"/a", "", "/a/"},
  };
  for (const auto& c : cases) {
    CMOXContainerRef dir = Dir(c[0]);
    EXPECT_EQ(PathOf(dir), c[0]) << "kept as it came";
    MOXStringAtom joined = nullptr;
    EXPECT_EQ(Outcome(p.utilsDir.GetFilePathSpec(&joined, dir.Container(), Atom(c[1]))), "");
    EXPECT_EQ(Take(joined), c[2]) << c[0] << " + " << c[1];
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
  auto current = [&] {
    MOXContainer dir = nullptr;
    const std::string outcome = Outcome(p.utilsDir.GetCurrent(&dir));
    return dir != nullptr ? PathOf(CMOXContainerRef(dir)) : outcome;
  };
  ASSERT_EQ(chdir(scratch_->Path().c_str()), 0);
  EXPECT_EQ(current(), scratch_->Path());
  // Down a chain of directories until the path needs more than 1024 bytes.
  Names chain;
  for (std::string path = std::string(200, 'd'); scratch_->Path().size() + path.size() < 1224;
       path += "/" + std::string(200, 'd')) {
    scratch_->MakeDir(path);
    chain.insert(chain.begin(), path);
  }
  ASSERT_EQ(chdir(scratch_->At(chain.front()).c_str()), 0);
  EXPECT_EQ(current(), kOutOfMemory);
  for (const std::string& path : chain) scratch_->Remove(path);
}

TEST_F(FileUtilsTest, FileOperationsGoToTheJoinedPathAndFailWithTheUntranslatedErrno) {
  CMOXContainerRef dir = Dir(scratch_->Path() + "/");
  for (const char* sub : {"sub", "full", "empty"}) scratch_->MakeDir(sub);
  for (const char* file : {"sub/f", "full/g", "from"}) scratch_->WriteFile(file, file);
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
  EXPECT_EQ(scratch_->ReadFile("to"), "from") << "an existing target is replaced";
  EXPECT_EQ(rename("from", "again"), FileError(ENOENT, kMOXUtilsDirRenameFailed));
  EXPECT_EQ(rename("to", "sub/moved"), "");
  EXPECT_EQ(scratch_->Entries(), (Names{"full", "sub"}));
  EXPECT_EQ(scratch_->Entries("sub"), Names{"moved"});
  for (const char* name : {"sub/moved", "sub", "full/g", "full"}) scratch_->Remove(name);
}

// The name has no part of the second atom; each file keeps its descriptor
// open until the process ends, also once it is gone.
TEST_F(FileUtilsTest, UniqueFilesAreTheStemAPointAndSixCharactersAndLeaveADescriptorOpen) {
  MOXContainer temp = nullptr;
  ASSERT_EQ(Outcome(p.utilsDir.GetTempDir(&temp)), "");
  CMOXContainerRef dir(temp);
  scratch_->MakeDir("sub");
  auto unique = [&](CMOXContainerRef& in, const char* stem, MOXStringAtom second) {
    MOXStringAtom made = reinterpret_cast<MOXStringAtom>(1);
    const std::string outcome =
        Outcome(p.utilsDir.CreateUniqueFilename(&made, in.Container(), Atom(stem), second));
    return outcome.empty() ? Take(made) : outcome + (made == nullptr ? "" : ", and a name");
  };
  const std::string first = unique(dir, "st", Atom("x"));
  const std::string second = unique(dir, "st", nullptr);
  const std::string nested = unique(dir, "sub/st", Atom("x"));
  for (const std::string& name : {first, second, nested}) {
    EXPECT_TRUE(std::regex_match(name, std::regex("st\\.[A-Za-z0-9]{6}"))) << name;
  }
  Names expected{first, second, "sub"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(scratch_->Entries(), expected);
  EXPECT_EQ(scratch_->Entries("sub"), Names{nested}) << "only the tail comes back";
  struct stat info;
  ASSERT_EQ(stat(scratch_->At(first).c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u) << "as mkstemp makes it";

  CMOXContainerRef missing = Dir(scratch_->At("missing"));
  EXPECT_EQ(unique(missing, "st", nullptr), FileError(ENOENT, kMOXUtilsDirCreateFailed));
  for (const std::string& name : {first, second, "sub/" + nested, std::string("sub")}) {
    scratch_->Remove(name);
  }
  EXPECT_EQ(scratch_->CloseDescriptors(), 3);
}

// A member that no method calls: the joined path decides whether the file is
// there, but the file is made under the bare name, in the working directory.
TEST_F(FileUtilsTest, CreateNewFileTestsTheJoinedPathAndMakesTheBareName) {
  scratch_->MakeDir("dir");
  scratch_->MakeDir("cwd");
  ASSERT_EQ(chdir(scratch_->At("cwd").c_str()), 0);
  const MOXUtilsDirImpl directory{CMOXStringHolder(scratch_->At("dir").c_str())};
  EXPECT_TRUE(directory.createNewFile("made"));
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

// A stand-in for a validator: made under the validator's names, with the tag
// as its second word, as every validator instance has it.
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
  uint8_t exists;
  MOXStringAtom atom;
  const std::function<MOXErrorRef(MOXContainer)> calls[] = {
      [&](MOXContainer d) { return p.utilsDir.FileExists(&exists, d, Atom("f")); },
      [&](MOXContainer d) { return p.utilsDir.Delete(d, Atom("f")); },
      [&](MOXContainer d) { return p.utilsDir.Rename(d, Atom("f"), Atom("g")); },
      [&](MOXContainer d) { return p.utilsDir.GetFilePathSpec(&atom, d, Atom("f")); },
      [&](MOXContainer d) {
        return p.utilsDir.CreateUniqueFilename(&atom, d, Atom("st"), nullptr);
      },
  };
  for (const auto& call : calls) {
    for (MOXContainer notADirectory : {validator.Container(), number.Container(), MOXContainer()}) {
      EXPECT_EQ(Outcome(call(notADirectory)), kInvalidContainer);
    }
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
