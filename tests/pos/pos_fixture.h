// A started library for the tests of the object model's internals. Each test
// must give back everything it took: the runtime's live counts and the
// library's live-object count are checked at the end, after the method
// tables that the first use fills have been taken into the baseline.
#ifndef MOXUTILS_TESTS_POS_POS_FIXTURE_H_
#define MOXUTILS_TESTS_POS_POS_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MOXUtils.h"
#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"
#include "pos/base_object.h"
#include "pos/pos_client.h"
#include "support/live_counts.h"

namespace moxtest {

class POSFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    moxhost::Runtime::Get().ClearFaults();
    before_ = moxhost::Runtime::Get().Counts();
    ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
    ASSERT_TRUE(p.Load(moxhost::Runtime::LookupProc()));
    liveObjects_ = NPOSObjectImpl::BaseObject::LiveObjectCount();
    {
      // Fills the method-table entry of the POS object signature.
      MOX_T_MT::CPOSDict warm = MOX_T_MT::CPOSDict::New();
      warm.Put("k", MOX_T_MT::CPOSNumber::New(1));
    }
    moxhost::Runtime::Get().ClearReports();
    started_ = moxhost::Runtime::Get().Counts();
  }

  void TearDown() override {
    moxhost::Runtime::Get().ClearFaults();
    EXPECT_EQ(CountsDiff(started_, moxhost::Runtime::Get().Counts()), "");
    EXPECT_EQ(NPOSObjectImpl::BaseObject::LiveObjectCount(), liveObjects_);
    MOXUtilsTerminate();
    EXPECT_EQ(CountsDiff(before_, moxhost::Runtime::Get().Counts()), "");
  }

  // The reports since the last call, oldest first.
  std::vector<std::string> TakeReports() {
    std::vector<std::string> reports = moxhost::Runtime::Get().Reports();
    moxhost::Runtime::Get().ClearReports();
    return reports;
  }
  using Reports = std::vector<std::string>;

  POSProcs p;
  moxhost::LiveCounts before_;
  moxhost::LiveCounts started_;
  int32_t liveObjects_ = 0;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_POS_POS_FIXTURE_H_
