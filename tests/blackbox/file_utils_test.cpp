// The file utilities as a foreign component sees them: libMOXUtils.so loaded
// with dlopen, its interfaces fetched by name, and a stream used through
// nothing but the methods that GetMethod of the runtime hands out for it.
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "blackbox/foreign_library.h"
#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"
#include "support/live_counts.h"
#include "support/scratch_dir.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

// "component id: message" of `error`, which is released; "" for none.
std::string Outcome(const POSProcs& p, MOXErrorRef error) {
  if (error == nullptr) return "";
  std::string text = std::string(p.string.GetCString(p.error.GetComponent(error))) + " " +
                     std::to_string(p.error.GetID(error)) + ": " +
                     p.string.GetCString(p.error.GetErrorMessage(error));
  p.error.Release(error);
  return text;
}

// The stream methods of one container, fetched as a component fetches them.
struct StreamMethods {
#define MOXTEST_STREAM_SLOT(Method, ProcType) ProcType Method = nullptr;
  MOX_SIMPLE_STREAM_METHODS(MOXTEST_STREAM_SLOT)
  MOX_POSITIONABLE_STREAM_METHODS(MOXTEST_STREAM_SLOT)
#undef MOXTEST_STREAM_SLOT

  StreamMethods(const POSProcs& p, MOXContainer stream) {
#define MOXTEST_FETCH_SLOT(Method, ProcType) \
  Method = Fetch<ProcType>(p, stream, #Method, #ProcType);
    MOX_SIMPLE_STREAM_METHODS(MOXTEST_FETCH_SLOT)
    MOX_POSITIONABLE_STREAM_METHODS(MOXTEST_FETCH_SLOT)
#undef MOXTEST_FETCH_SLOT
  }

  template <typename Proc>
  static Proc Fetch(const POSProcs& p, MOXContainer stream, const char* method,
                    const char* procType) {
    void* procedure = nullptr;
    const std::string outcome =
        Outcome(p, p.container.GetMethod(
                       &procedure, stream, POSProcs::Atom{p, p.string.NewStringAtom(method)}.atom,
                       POSProcs::Atom{p, p.string.NewStringAtom(procType)}.atom, true));
    EXPECT_EQ(outcome, "") << method;
    return reinterpret_cast<Proc>(procedure);
  }
};

class ForeignFileUtils : public ForeignLibrary {
 protected:
  void SetUp() override {
    scratch_ = std::make_unique<ScratchDir>();
    ForeignLibrary::SetUp();
    if (HasFatalFailure()) return;
    // The library keeps one method table per stream signature from the first
    // use on: a stream, a copy and their ends fill them.
    MOXContainer warm = nullptr;
    ASSERT_EQ(Outcome(p, p.tempFileStreamFactory.NewTempFileStream(&warm, "warm", "", "w+b")), "");
    p.Keep(warm);
    MOXContainer copy = nullptr;
    ASSERT_EQ(Outcome(p, StreamMethods(p, warm).CreateIndependentlyPositionableStream(warm, &copy)),
              "");
    p.Drop(copy);
    p.container.Release(warm);
    started_ = Runtime::Get().Counts();
  }
  void TearDown() override {
    ForeignLibrary::TearDown();
    EXPECT_EQ(Runtime::Get().Reports(), Names{});
    EXPECT_EQ(scratch_->Entries(), Names{}) << "left behind in " << scratch_->Path();
    scratch_.reset();
  }

  std::string Read(const StreamMethods& m, MOXContainer stream) {
    std::string bytes;
    char block[64];
    uint64_t count = 0;
    do {
      EXPECT_EQ(Outcome(p, m.Read(stream, &count, block, sizeof block)), "");
      bytes.append(block, count);
    } while (count != 0);
    return bytes;
  }

  std::unique_ptr<ScratchDir> scratch_;
};

TEST_F(ForeignFileUtils, AFactoryStreamIsWrittenAndReadBackThroughACopyThatOutlivesIt) {
  MOXContainer first = nullptr;
  ASSERT_EQ(Outcome(p, p.tempFileStreamFactory.NewTempFileStream(&first, "bb", "x", "w+b")), "");
  EXPECT_EQ(p.RefCount(first), 0u) << "unowned";
  p.Keep(first);
  const Names files = scratch_->Entries();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_TRUE(std::regex_match(files[0], std::regex("bb\\.[A-Za-z0-9]{6}"))) << files[0];

  const StreamMethods m(p, first);
  EXPECT_EQ(Outcome(p, m.Write(first, "payload", 7)), "");
  MOXContainer copy = nullptr;
  ASSERT_EQ(Outcome(p, m.CreateIndependentlyPositionableStream(first, &copy)), "");
  EXPECT_EQ(p.RefCount(copy), 0u) << "a copy is unowned too";
  p.Keep(copy);
  int64_t position = -1;
  EXPECT_EQ(Outcome(p, m.Mark(first, &position)), "");
  EXPECT_EQ(position, 0) << "the first copy puts the first stream back at the start";
  EXPECT_EQ(Outcome(p, m.Write(first, "more", 4)), "MOX 6: Write: the file stream is read-only");

  const StreamMethods c(p, copy);
  EXPECT_EQ(Read(c, copy), "payload");
  p.container.Release(first);
  EXPECT_EQ(scratch_->Entries(), Names{}) << "the first stream took the name with it";
  EXPECT_EQ(Outcome(p, c.Seek(copy, 0, 0)), "");
  EXPECT_EQ(Read(c, copy), "payload");
  p.container.Release(copy);
}

// Directory and validator handles carry the same names, deliberately; each
// kind's methods refuse the other's handles.
TEST_F(ForeignFileUtils, DirectoriesAndValidatorsRefuseEachOthersHandles) {
  {
    const POSProcs::Atom type{p, p.string.NewStringAtom("A")};
    MOXContainer schema = p.Keep(p.posStatics.CreateFromText("< A < category string > >", nullptr));
    MOXContainer validator = p.Keep(p.posStructValidator.NewPOSStructValidator(schema));
    ASSERT_NE(validator, nullptr);
    MOXContainer dir = nullptr;
    ASSERT_EQ(Outcome(p, p.utilsDir.GetTempDir(&dir)), "");
    p.Keep(dir);
    uint8_t exists = 2;
    EXPECT_EQ(Outcome(p, p.utilsDir.FileExists(&exists, validator, type.atom)),
              " 0: invalid container");
    EXPECT_EQ(exists, 0);
    EXPECT_FALSE(p.posValidator.Validate(dir, schema, type.atom, nullptr));
    EXPECT_EQ(Runtime::Get().Reports(), Names{"invalid container"});
    Runtime::Get().ClearReports();
    for (MOXContainer object : {dir, validator, schema}) p.container.Release(object);
  }
  // The object model's method tables stay from their first use on; the stop
  // gives them back with everything else, which the fixture checks.
  started_ = Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
