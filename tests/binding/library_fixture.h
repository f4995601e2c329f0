// A fixture that starts the library (linked from its layers) on the
// reference runtime and checks that a scenario leaves no object behind.
#ifndef MOXUTILS_TESTS_BINDING_LIBRARY_FIXTURE_H_
#define MOXUTILS_TESTS_BINDING_LIBRARY_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "MOXUtils.h"
#include "binding/host_tables.h"
#include "moxhost/runtime.h"

inline moxhost::Runtime& RT() {
  return moxhost::Runtime::Get();
}

// "component id: message" of `error`, which stays the caller's.
inline std::string Describe(MOXErrorRef error) {
  return std::string(MOXString::GetCString(MOXErrorProcs::GetComponent(error))) + " " +
         std::to_string(MOXErrorProcs::GetID(error)) + ": " +
         MOXString::GetCString(MOXErrorProcs::GetErrorMessage(error));
}

// Makes failed interface lookups quiet, as they are while the library binds,
// so that a wrapper sees a table that can't be loaded rather than a throw.
class QuietLookups {
 public:
  QuietLookups() { gBindingComplete = false; }
  ~QuietLookups() { gBindingComplete = true; }
};

class StartedLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    moxhost::Runtime::Get().ClearFaults();
    moxhost::Runtime::Get().ClearReports();
    before_ = moxhost::Runtime::Get().Counts();
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  }
  void TearDown() override {
    MOXUtilsTerminate();
    moxhost::Runtime::Get().ClearFaults();
    EXPECT_EQ(moxhost::Runtime::Get().Counts().ToString(), before_.ToString());
  }

  static std::vector<std::string> Reports() { return moxhost::Runtime::Get().Reports(); }

  moxhost::LiveCounts before_;
};

#endif  // MOXUTILS_TESTS_BINDING_LIBRARY_FIXTURE_H_
