// One validator serving many threads at once, each with its own values and
// error procedure: every thread gets exactly the lines that one thread gets.
#include <atomic>
#include <cstdio>
#include <thread>

#include "binding/host_wrappers.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

std::atomic<int> gNameChecks{0};

// Rejects the name "zz", as a client check would.
uint32_t RejectZZ(MOXContainer value, MOXStringAtom, MOXSharedBuff buffer, void*) {
  gNameChecks.fetch_add(1, std::memory_order_relaxed);
  if (std::string(CPOSString(CPOSObject(value)).Get()) != "zz") return 1;
  std::snprintf(static_cast<char*>(MOXSharedBuffProcs::GetBuffer(buffer)),
                MOXSharedBuffProcs::GetSize(buffer), "zz is taken");
  return 0;
}

TEST_F(ValidatorTest, ManyThreadsOnOneValidatorGetTheLinesOfOne) {
  CMOXContainerRef validator = NewValidator(kDocSchema);
  StructEntries::RegisterCallbackProc(validator.Container(), CMOXStringHolder("Name").Atom(),
                                      &RejectZZ, nullptr);
  const std::vector<CPOSObject> values = {
      Parse("< list [ 5 a zz ] point < x 1 y 12 z 3 > >"),
      Parse("< list [ 1 2 bc ] >"),
      Parse("< list [ 1 2 3 4 x ] point < y 2.5 > >"),
      Parse("< point < x 1 > >"),
  };
  std::vector<Lines> expected(values.size());
  for (size_t i = 0; i < values.size(); ++i) Validate(validator, "Doc", values[i], &expected[i]);
  ASSERT_EQ(expected[1], Lines{});
  ASSERT_EQ(expected[0].size(), 6u) << ::testing::PrintToString(expected[0]);
  gNameChecks = 0;

  constexpr int kThreads = 6;
  constexpr int kRounds = 40;
  std::vector<int> same(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        const size_t i = static_cast<size_t>(t + round) % values.size();
        Lines lines;
        const bool valid = Validate(validator, "Doc", values[i], &lines);
        if (valid == expected[i].empty() && lines == expected[i]) ++same[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(same, std::vector<int>(kThreads, kRounds));
  // "zz" and "bc" pass Name's structure in a quarter of the walks each.
  EXPECT_EQ(gNameChecks.load(), kThreads * kRounds / 4 * 2);
  EXPECT_EQ(TakeReports(), Lines{});
}

}  // namespace
}  // namespace moxtest
