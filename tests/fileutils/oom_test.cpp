// Out of memory at every allocation, and at every atom, of each operation of
// the file utilities: the runtime's core out-of-memory error, nothing in the
// out-parameter, and nothing left behind.
#include <unistd.h>

#include <functional>
#include <new>
#include <vector>

#include "fileutils_fixture.h"

namespace moxtest {
namespace {

// What one run made, released once the fault is cleared: releasing a stream
// removes its file, which must not meet the fault.
struct Made {
  std::vector<CMOXContainerRef> handles;
  std::vector<CMOXStringHolder> atoms;
  void Keep(MOXContainer handle) {
    if (handle != nullptr) handles.emplace_back(handle);
  }
  void Keep(MOXStringAtom atom) {
    if (atom != nullptr) atoms.push_back(CMOXStringHolder::Adopt(atom));
  }
};

// The outcome of a call through a stream handle, which throws.
template <typename Call>
std::string Caught(Call call) {
  try {
    call();
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  } catch (const CMOXError& error) {
    return Outcome(MOXErrorProcs::AddRef(error.Error()));
  }
  return "";
}

class OutOfMemory : public FileUtilsTest {
 protected:
  using Run = std::function<std::string(Made&)>;

  // Runs `run` with the nth allocation failing, for n = 1, 2, ... up to the
  // first run that the fault does not reach, then the same with the nth atom.
  // `prepare` runs before each run and `check` after it, with no fault. A run
  // that met the fault fails with the out-of-memory error, one that did not
  // succeeds, and each gives back all it took. What the library leaves on
  // purpose (unique files, their descriptors) goes after each run.
  void FailEachInTurn(
      const Run& run, const std::function<void()>& prepare = [] {},
      const std::function<void()>& check = [] {}) {
    for (bool atoms : {false, true}) {
      uint64_t n = 1;
      for (;; ++n) {
        SCOPED_TRACE((atoms ? "atom " : "allocation ") + std::to_string(n));
        ASSERT_LT(n, 200u);
        const moxhost::LiveCounts before = rt_.Counts();
        prepare();
        std::string outcome;
        bool reached;
        {
          Made made;
          const uint64_t calls = rt_.AllocationCalls();
          atoms ? rt_.FailNthStringAtom(n) : rt_.FailNthAllocation(n);
          outcome = run(made);
          // Atoms are not counted: a failed run tells that one failed.
          reached = atoms ? !outcome.empty() : rt_.AllocationCalls() - calls >= n;
          rt_.ClearFaults();
          check();
        }
        for (const std::string& name : scratch_->Entries()) scratch_->Remove(name);
        scratch_->CloseDescriptors();
        EXPECT_EQ(CountsDiff(before, rt_.Counts()), "");
        if (!reached) {
          EXPECT_EQ(outcome, "");
          break;
        }
        EXPECT_EQ(outcome, kOutOfMemory);
      }
      if (!atoms) {
        EXPECT_GT(n, 1u) << "every operation allocates";
      }
    }
  }
};

// Each out-parameter holds a result exactly when there is no error.
TEST_F(OutOfMemory, DirectoriesAreMadeWholeOrNotAtAll) {
  ASSERT_EQ(chdir(scratch_->Path().c_str()), 0);
  const Atom path("/a");
  using Make = std::function<MOXErrorRef(MOXContainer*)>;
  const Make makers[] = {
      [&](MOXContainer* dir) { return p.utilsDir.GetTempDir(dir); },
      [&](MOXContainer* dir) { return p.utilsDir.GetCurrent(dir); },
      [&](MOXContainer* dir) { return p.utilsDir.NewMOXUtilsDir(dir, path); },
  };
  for (const Make& make : makers) {
    FailEachInTurn([&](Made& made) {
      MOXContainer dir = nullptr;
      const std::string outcome = Outcome(make(&dir));
      EXPECT_EQ(outcome.empty(), dir != nullptr);
      made.Keep(dir);
      return outcome;
    });
  }
}

TEST_F(OutOfMemory, FileOperationsFailWholeOrNotAtAll) {
  CMOXContainerRef dir = Dir(scratch_->Path());
  // The test's own atoms are made before any fault.
  const Atom f("f"), g("g"), st("st"), x("x");
  FailEachInTurn([&](Made& made) {
    MOXStringAtom path = nullptr;
    const std::string outcome = Outcome(p.utilsDir.GetFilePathSpec(&path, dir.Container(), f));
    EXPECT_EQ(outcome.empty(), path != nullptr);
    made.Keep(path);
    return outcome;
  });
  FailEachInTurn([&](Made& made) {
    MOXStringAtom name = nullptr;
    const std::string outcome =
        Outcome(p.utilsDir.CreateUniqueFilename(&name, dir.Container(), st, x));
    EXPECT_EQ(outcome.empty(), name != nullptr);
    made.Keep(name);
    return outcome;
  });

  // The file is there before each run; what is there after it tells what the
  // run did.
  auto prepare = [&] { scratch_->WriteFile("f", "f"); };
  std::string outcome;
  FailEachInTurn(
      [&](Made&) {
        uint8_t found = 2;
        outcome = Outcome(p.utilsDir.FileExists(&found, dir.Container(), f));
        EXPECT_EQ(found, outcome.empty() ? 1 : 0);
        return outcome;
      },
      prepare);
  FailEachInTurn([&](Made&) { return outcome = Outcome(p.utilsDir.Delete(dir.Container(), f)); },
                 prepare,
                 [&] { EXPECT_EQ(scratch_->Entries(), outcome.empty() ? Names{} : Names{"f"}); });
  FailEachInTurn([&](Made&) { return outcome = Outcome(p.utilsDir.Rename(dir.Container(), f, g)); },
                 prepare,
                 [&] { EXPECT_EQ(scratch_->Entries(), Names{outcome.empty() ? "g" : "f"}); });
}

TEST_F(OutOfMemory, NewTempFileStreamFailsWholeLeavingAtMostTheUniqueFile) {
  FailEachInTurn([&](Made& made) {
    MOXContainer stream = nullptr;
    const std::string outcome =
        Outcome(p.tempFileStreamFactory.NewTempFileStream(&stream, "st", "x", "w+b"));
    EXPECT_EQ(outcome.empty(), stream != nullptr);
    made.Keep(stream);
    return outcome;
  });
}

// A copy request that fails leaves the first stream able to read what was
// written, from wherever the request left it.
TEST_F(OutOfMemory, ACopyIsMadeWholeOrNotAtAll) {
  CMOXPositionableStreamRef first;
  FailEachInTurn(
      [&](Made& made) {
        return Caught([&] { made.Keep(first.CreateIndependentlyPositionableStream()); });
      },
      [&] {
        first = NewStream();
        first.Write("abc", 3);
      },
      [&] {
        first.Seek(0, 0);
        EXPECT_EQ(ReadAll(first), "abc");
        first = CMOXPositionableStreamRef();
      });
}

}  // namespace
}  // namespace moxtest
