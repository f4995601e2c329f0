// Work on many items at once, output in the order of the items: a command
// that takes --jobs N works on N items at a time and prints each item's
// output, whole, as soon as every item before it is printed, so that what it
// prints is the same, byte for byte, whatever N is.
#ifndef POSCTL_ORDERED_JOBS_H_
#define POSCTL_ORDERED_JOBS_H_

#include <cstddef>
#include <exception>
#include <functional>
#include <string>

namespace posctl {

struct JobResult {
  std::string out;  // for standard output
  std::string err;  // for standard error
  int status = 0;
  // Asks for the item to be worked on again with nothing else at work (the
  // library's reports, for one, can only be told apart then); this result
  // is dropped.
  bool redoAlone = false;
};

// `work(i, alone)` makes the result of item i; `alone` is true when no other
// item is being worked on at the same time. `deliver(i, result)` runs on the
// calling thread, for i = 0, 1, ... in order. With `jobs` 1 everything runs
// on the calling thread. Besides the items being worked on, at most a few
// per job wait for their turn, so that a slow item early on doesn't make the
// others pile up. The first exception of `work` or `deliver` ends the run
// and is thrown from here, once every thread has stopped.
void RunOrdered(size_t count, size_t jobs, const std::function<JobResult(size_t, bool)>& work,
                const std::function<void(size_t, JobResult&)>& deliver);

}  // namespace posctl

#endif  // POSCTL_ORDERED_JOBS_H_
