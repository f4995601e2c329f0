// Checks that a scenario gives back everything it took from the runtime.
//
//   TEST(Dict, PutAndRemove) {
//     ScopedCountsCheck counts;
//     ... make and drop objects ...
//   }  // fails, naming each count that moved, if anything leaked
#ifndef MOXUTILS_TESTS_SUPPORT_LIVE_COUNTS_H_
#define MOXUTILS_TESTS_SUPPORT_LIVE_COUNTS_H_

#include <string>

#include "moxhost/runtime.h"

namespace moxtest {

// "containers 3 -> 4, atoms 10 -> 12"; empty when equal.
std::string CountsDiff(const moxhost::LiveCounts& before, const moxhost::LiveCounts& after);

class ScopedCountsCheck {
 public:
  ScopedCountsCheck() : before_(moxhost::Runtime::Get().Counts()) {}
  ~ScopedCountsCheck();
  ScopedCountsCheck(const ScopedCountsCheck&) = delete;
  ScopedCountsCheck& operator=(const ScopedCountsCheck&) = delete;

  const moxhost::LiveCounts& before() const { return before_; }

 private:
  moxhost::LiveCounts before_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_SUPPORT_LIVE_COUNTS_H_
