// Translation of exceptions and host errors in both directions, and the
// shapes of entry points.
#include <stdexcept>
#include <string>
#include <vector>

#include "binding/errors.h"
#include "library_fixture.h"

namespace {

// Describe of an error handed to the caller, released; "" for none.
std::string Take(MOXErrorRef error) {
  if (error == nullptr) return "";
  const std::string text = Describe(error);
  MOXErrorProcs::Release(error);
  return text;
}

using Errors = StartedLibrary;
using Strings = std::vector<std::string>;

TEST_F(Errors, FormAReportsWhatEscapesAndReturnsANeutralValue) {
  EXPECT_EQ(EntryGuard<int>([]() -> int { throw MOX_T_MT::POSException("x"); }), 0);
  EXPECT_EQ(EntryGuard<double>([]() -> double { throw MOX_T_MT::POSException("y"); }), 0.0);
  EXPECT_EQ(EntryGuard<void*>([]() -> void* { throw std::bad_alloc(); }), nullptr);
  EntryGuardVoid([] { throw 42; });
  EXPECT_EQ(Reports(), (Strings{"x", "y", std::bad_alloc().what(), "unknown MOX error"}));
}

// Form B returns what escapes as an error and reports nothing.
TEST_F(Errors, FormBReturnsWhatEscapesAsAnError) {
  EXPECT_EQ(Take(MOXErrorEntry([] { throw MOX_T_MT::POSException("x"); })), "TOV 0: x");
  EXPECT_EQ(Take(MOXErrorEntry([] { throw std::bad_alloc(); })).rfind("TOV 1: ", 0), 0u);
  EXPECT_EQ(MOXErrorEntry([] { throw CMOXError(); }), nullptr) << "an empty error is success";
  MOXErrorRef unknown = MOXErrorEntry([] { throw 7; });
  EXPECT_EQ(unknown, gUnknownError.Error()) << "the general core error";
  MOXErrorProcs::Release(unknown);
  // A host error crosses as the same object, with one net reference.
  const int64_t liveBefore = RT().Counts().errors;
  MOXErrorRef made = MOXErrorProcs::NewError("disk full", "MOXUtilsDir", 28, 0, 0);
  MOXErrorRef returned = MOXErrorEntry([made] { MOXThrowFromError(made); });
  EXPECT_EQ(returned, made);
  EXPECT_EQ(Take(returned), "MOXUtilsDir 28: disk full");
  EXPECT_EQ(RT().Counts().errors, liveBefore) << "one reference too many";
  EXPECT_TRUE(Reports().empty());
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
      EXPECT_EQ(Describe(e.Error()), std::string(c.component) + " 0: " + c.message);
    }
  }
  EXPECT_THROW(MOXThrowCoreError(0), CMOXError);
  EXPECT_THROW(MOXThrowBadAlloc(), std::bad_alloc);
}

TEST_F(Errors, CopiesAndAssignmentsBalanceTheirReferences) {
  int64_t liveBefore = RT().Counts().errors;
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
    EXPECT_STREQ(empty.what(), "Invalid CMOXError");
  }
  EXPECT_EQ(RT().Counts().errors, liveBefore);
}

TEST_F(Errors, ForeignExceptionBecomesANewTOVError) {
  std::runtime_error foreign("boom");
  EXPECT_EQ(Take(MOXErrorFromException(&foreign)), "TOV 0: boom");
  CMOXError empty;
  EXPECT_EQ(MOXErrorFromException(&empty), nullptr);
}

TEST_F(Errors, FormCSwallowsEverything) {
  EXPECT_EQ(MOXSwallowEntry<int>([]() -> int { throw 1; }), 0);
  EXPECT_EQ(MOXSwallowEntry<int>([]() -> int { throw std::bad_alloc(); }), 0);
  EXPECT_TRUE(Reports().empty());
}

}  // namespace
