// Translation of exceptions and host errors in both directions, and the
// shapes of entry points.
#include <stdexcept>
#include <string>

#include "binding/errors.h"
#include "binding/host_tables.h"
#include "library_fixture.h"

namespace {

std::string Component(MOXErrorRef error) {
  return MOXString::GetCString(MOXErrorProcs::GetComponent(error));
}
std::string Message(MOXErrorRef error) {
  return MOXString::GetCString(MOXErrorProcs::GetErrorMessage(error));
}

using Errors = StartedLibrary;

TEST_F(Errors, POSExceptionAtFormAReportsItsTextAndReturnsZero) {
  int result = EntryGuard<int>([]() -> int { throw MOX_T_MT::POSException("x"); });
  EXPECT_EQ(result, 0);
  double number = EntryGuard<double>([]() -> double { throw MOX_T_MT::POSException("y"); });
  EXPECT_EQ(number, 0.0);
  EXPECT_EQ(Reports(), (std::vector<std::string>{"x", "y"}));
}

TEST_F(Errors, UnknownExceptionAtFormAReportsUnknownMOXError) {
  EntryGuardVoid([] { throw 42; });
  EXPECT_EQ(Reports(), std::vector<std::string>{"unknown MOX error"});
}

TEST_F(Errors, BadAllocAtFormAReportsItsWhatText) {
  void* result = EntryGuard<void*>([]() -> void* { throw std::bad_alloc(); });
  EXPECT_EQ(result, nullptr);
  ASSERT_EQ(Reports().size(), 1u);
  EXPECT_EQ(Reports()[0], std::bad_alloc().what());
}

TEST_F(Errors, POSExceptionAtFormBBecomesATOVErrorWithIdZero) {
  MOXErrorRef error = MOXErrorEntry([] { throw MOX_T_MT::POSException("x"); });
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(Message(error), "x");
  EXPECT_EQ(Component(error), "TOV");
  EXPECT_EQ(MOXErrorProcs::GetID(error), 0);
  MOXErrorProcs::Release(error);
  EXPECT_TRUE(Reports().empty());
}

TEST_F(Errors, HostErrorCrossesFormBAsTheSameObjectWithOneNetReference) {
  int64_t liveBefore = moxhost::Runtime::Get().Counts().errors;
  MOXErrorRef made = MOXErrorProcs::NewError("disk full", "MOXUtilsDir", 28, 0, 0);
  MOXErrorRef returned = MOXErrorEntry([made] { MOXThrowFromError(made); });
  EXPECT_EQ(returned, made);
  EXPECT_EQ(Message(returned), "disk full");
  EXPECT_EQ(MOXErrorProcs::GetID(returned), 28);
  MOXErrorProcs::Release(returned);
  EXPECT_EQ(moxhost::Runtime::Get().Counts().errors, liveBefore) << "one reference too many";
}

TEST_F(Errors, UnknownExceptionAtFormBReturnsTheGeneralCoreError) {
  MOXErrorRef error = MOXErrorEntry([] { throw 7; });
  EXPECT_EQ(error, gUnknownError.Error());
  MOXErrorProcs::Release(error);
}

TEST_F(Errors, BadAllocAtFormBBecomesCoreErrorOne) {
  MOXErrorRef error = MOXErrorEntry([] { throw std::bad_alloc(); });
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(Component(error), "TOV");
  EXPECT_EQ(MOXErrorProcs::GetID(error), 1);
  MOXErrorProcs::Release(error);
}

TEST_F(Errors, EmptyCMOXErrorAtFormBLooksLikeSuccess) {
  MOXErrorRef error = MOXErrorEntry([] { throw CMOXError(); });
  EXPECT_EQ(error, nullptr);
}

TEST_F(Errors, OnlyTOVWithIdOneComesBackAsBadAlloc) {
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::NewError("m", "TOV", 1, 0, 0)), std::bad_alloc);
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::GetCoreError(1)), std::bad_alloc);
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::NewError("m", "TOV", 2, 0, 0)), CMOXError);
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::NewError("m", "MOX", 1, 0, 0)), CMOXError);
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::NewError("m", "TOVX", 1, 0, 0)), CMOXError);
  EXPECT_THROW(MOXThrowFromError(MOXErrorProcs::NewError("m", "TO", 1, 0, 0)), CMOXError);
}

TEST_F(Errors, ThrowingFunctionsCarryTheirTextsAndComponents) {
  struct Case {
    void (*thrower)();
    const char* message;
    const char* component;
  };
  const Case cases[] = {
      {[] { MOXThrowInvalidContainer(); }, "invalid container", ""},
      {[] { MOXThrowNoSignature(); }, "couldn't get signature", ""},
      {[] { MOXThrowMissingInterface(); }, "Missing Interface", "MOX"},
      {[] { MOXThrowNewError("couldn't create cacheID", "", 0, 0, 0); }, "couldn't create cacheID",
       ""},
  };
  for (const Case& c : cases) {
    try {
      c.thrower();
      ADD_FAILURE() << c.message << " was not thrown";
    } catch (const CMOXError& e) {
      EXPECT_STREQ(e.what(), c.message);
      EXPECT_EQ(Component(e.Error()), c.component);
      EXPECT_EQ(MOXErrorProcs::GetID(e.Error()), 0);
    }
  }
  EXPECT_THROW(MOXThrowCoreError(0), CMOXError);
  EXPECT_THROW(MOXThrowBadAlloc(), std::bad_alloc);
}

TEST_F(Errors, CopiesAndAssignmentsBalanceTheirReferences) {
  int64_t liveBefore = moxhost::Runtime::Get().Counts().errors;
  {
    CMOXError first("first", "", 0, 0, 0);
    CMOXError second("second", "", 0, 0, 0);
    CMOXError copy(first);
    EXPECT_EQ(copy.Error(), first.Error());
    copy = second;
    EXPECT_EQ(copy.Error(), second.Error());
    CMOXError& alias = copy;
    copy = alias;
    CMOXError empty;
    copy = empty;
    EXPECT_EQ(copy.Error(), nullptr);
    EXPECT_STREQ(first.what(), "first");
  }
  EXPECT_EQ(moxhost::Runtime::Get().Counts().errors, liveBefore);
}

TEST_F(Errors, EmptyErrorSaysInvalidCMOXError) {
  CMOXError empty;
  EXPECT_STREQ(empty.what(), "Invalid CMOXError");
}

TEST_F(Errors, ForeignExceptionBecomesANewTOVError) {
  std::runtime_error foreign("boom");
  MOXErrorRef error = MOXErrorFromException(&foreign);
  EXPECT_EQ(Message(error), "boom");
  EXPECT_EQ(Component(error), "TOV");
  MOXErrorProcs::Release(error);
  CMOXError empty;
  EXPECT_EQ(MOXErrorFromException(&empty), nullptr);
}

TEST_F(Errors, FormCSwallowsEverything) {
  EXPECT_EQ(MOXSwallowEntry<int>([]() -> int { throw 1; }), 0);
  EXPECT_EQ(MOXSwallowEntry<int>([]() -> int { throw std::bad_alloc(); }), 0);
  EXPECT_TRUE(Reports().empty());
}

}  // namespace
