// A progress bar on standard error while many files are worked on, drawn
// through the runtime's progress interface ("MOXProgressInterface") as any
// component reports progress: posctl makes a client progress object whose
// update draws the bar, and reports each step with the runtime's Update.
// Nothing is drawn unless standard error is a terminal.
#ifndef POSCTL_PROGRESS_BAR_H_
#define POSCTL_PROGRESS_BAR_H_

#include <cstddef>

#include "library_session.h"

namespace posctl {

struct ProgressDrawing;

class ProgressBar {
 public:
  // A bar for `total` steps, when standard error is a terminal.
  ProgressBar(const Procs& procs, size_t total);
  ~ProgressBar();  // erases the bar
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // `done` of the steps are done: the bar is drawn again.
  void Update(size_t done);
  // Erases the bar, for other output to take its line; the next Update
  // draws it again.
  void Hide();

 private:
  const Procs& procs_;
  MOXProgress progress_ = nullptr;
  ProgressDrawing* drawing_ = nullptr;  // owned by the progress object
  size_t total_;
};

}  // namespace posctl

#endif  // POSCTL_PROGRESS_BAR_H_
