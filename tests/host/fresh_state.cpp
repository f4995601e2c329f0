// Each test of the runtime starts from a clean runtime even when the whole
// binary runs in one process: no fault armed, no report logged, no
// interface left registered by an earlier test.
#include <gtest/gtest.h>

#include "host_test_util.h"

namespace {

class FreshRuntimeState : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override {
    moxhost::Runtime& runtime = moxhost::Runtime::Get();
    runtime.ClearFaults();
    auto unregister = MOX_CORE(MOXUnregisterInterfaceProc, "MOXUnregisterInterface");
    for (const std::string& name : runtime.RegisteredInterfaces()) unregister(name.c_str());
    runtime.ClearReports();
  }
};

const bool kInstalled = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshRuntimeState);
  return true;
}();

}  // namespace
