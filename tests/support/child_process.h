// Runs a scenario in a forked child that reports one line back, for tests of
// what happens as a process exits or a library unloads. The child's leftovers
// are deliberate and not counted as leaks.
#ifndef MOXUTILS_TESTS_SUPPORT_CHILD_PROCESS_H_
#define MOXUTILS_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <string>

namespace moxtest {

struct ChildResult {
  bool exited = false;  // ended by exit rather than a signal
  int status = -1;      // its exit status
  std::string report;   // what it wrote to the report descriptor
};

// Forks; the child runs `body` with the descriptor to write its report to and
// must end the process itself (exit or _exit). The parent waits for it.
ChildResult RunInChild(void (*body)(int reportFd));

// Writes `value` as decimal text to `fd`; ends the process with status 3 if
// that fails.
void ReportNumber(int fd, int value);

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_SUPPORT_CHILD_PROCESS_H_
