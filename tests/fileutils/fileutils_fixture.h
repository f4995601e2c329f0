// A started library for the tests of the file utilities, in a scratch
// directory of the test's own that TMPDIR points at. Every test must give
// back what it took, leave no file behind (what the library keeps on purpose
// the test removes itself) and close nothing but what the fixture closes: the
// descriptors of unique files, which the library leaves open on purpose.
#ifndef MOXUTILS_TESTS_FILEUTILS_FILEUTILS_FIXTURE_H_
#define MOXUTILS_TESTS_FILEUTILS_FILEUTILS_FIXTURE_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "MOXUtils.h"
#include "MOXUtilsFileProcs.h"
#include "binding/client_streams.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/string_holder.h"
#include "blackbox/pos_procs.h"
#include "fileutils/dir_interface.h"
#include "moxhost/runtime.h"
#include "support/live_counts.h"
#include "support/scratch_dir.h"

namespace moxtest {

// "component id: message" of `error`, which is released; "" for none.
inline std::string Outcome(MOXErrorRef error) {
  if (error == nullptr) return "";
  std::string text = std::string(MOXString::GetCString(MOXErrorProcs::GetComponent(error))) + " " +
                     std::to_string(MOXErrorProcs::GetID(error)) + ": " +
                     MOXString::GetCString(MOXErrorProcs::GetErrorMessage(error));
  MOXErrorProcs::Release(error);
  return text;
}

// The outcome of a failed file operation with errno `id`.
inline std::string FileError(int id, const char* message) {
  return "MOXUtilsDir " + std::to_string(id) + ": " + message;
}
const std::string kOutOfMemory = "TOV 1: out of memory";
const std::string kInvalidContainer = " 0: invalid container";
const std::string kNullArgument = "TOV 0: null argument";

// An atom for the length of a call: `Atom("name")` as an argument lives to
// the end of the full expression.
struct Atom {
  explicit Atom(const std::string& text) : holder(text.c_str()) {}
  operator MOXStringAtom() const { return holder.Atom(); }
  CMOXStringHolder holder;
};

// The text of an atom handed to the caller, whose reference is released.
inline std::string Take(MOXStringAtom atom) {
  CMOXStringHolder taken = CMOXStringHolder::Adopt(atom);
  return taken.IsEmpty() ? "(null)" : taken.CString();
}

class FileUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rt_.ClearFaults();
    rt_.ClearReports();
    scratch_ = std::make_unique<ScratchDir>();
    before_ = rt_.Counts();
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
    ASSERT_TRUE(p.Load(moxhost::Runtime::LookupProc()));
    {
      // A stream, a copy and their ends fill the method tables for good.
      CMOXPositionableStreamRef first = NewStream("warm");
      ASSERT_FALSE(first.IsEmpty());
      CMOXPositionableStreamRef copy(first.CreateIndependentlyPositionableStream());
    }
    scratch_->CloseDescriptors();
    started_ = rt_.Counts();
  }

  void TearDown() override {
    rt_.ClearFaults();
    EXPECT_EQ(CountsDiff(started_, rt_.Counts()), "");
    MOXUtilsTerminate();
    EXPECT_EQ(CountsDiff(before_, rt_.Counts()), "");
    EXPECT_EQ(rt_.Reports(), Names{});
    EXPECT_EQ(scratch_->Entries(), Names{}) << "left behind in " << scratch_->Path();
    scratch_.reset();
  }

  // A directory object of `path`, held.
  CMOXContainerRef Dir(const std::string& path) {
    MOXContainer dir = nullptr;
    EXPECT_EQ(Outcome(p.utilsDir.NewMOXUtilsDir(&dir, Atom(path))), "");
    return CMOXContainerRef(dir);
  }
  // The path that a directory object holds.
  static std::string PathOf(const CMOXContainerRef& dir) {
    return MOXFindDirectory(dir.Container())->Path().CString();
  }

  // A new temporary-file stream, held; empty when it can't be made.
  CMOXPositionableStreamRef NewStream(const char* stem = "st", const char* mode = "w+b") {
    MOXContainer stream = nullptr;
    EXPECT_EQ(Outcome(p.tempFileStreamFactory.NewTempFileStream(&stream, stem, "x", mode)), "");
    return stream != nullptr ? CMOXPositionableStreamRef(stream) : CMOXPositionableStreamRef();
  }
  // What is left to read in `stream`.
  static std::string ReadAll(const CMOXPositionableStreamRef& stream) {
    std::string bytes;
    char block[4096];
    while (uint64_t n = stream.Read(block, sizeof block)) bytes.append(block, n);
    return bytes;
  }

  moxhost::Runtime& rt_ = moxhost::Runtime::Get();
  std::unique_ptr<ScratchDir> scratch_;
  POSProcs p;
  moxhost::LiveCounts before_;
  moxhost::LiveCounts started_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_FILEUTILS_FILEUTILS_FIXTURE_H_
