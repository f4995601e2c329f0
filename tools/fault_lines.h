// The lines of a validation. The validator's error procedure takes no
// argument of the caller's own, so each thread has a list of its own: while
// a FaultLines lives, the lines given to FaultLines::Collect on its thread
// go to it.
#ifndef POSCTL_FAULT_LINES_H_
#define POSCTL_FAULT_LINES_H_

#include <string>
#include <vector>

namespace posctl {

class FaultLines {
 public:
  FaultLines();
  ~FaultLines();
  FaultLines(const FaultLines&) = delete;
  FaultLines& operator=(const FaultLines&) = delete;

  // A POSValidatorErrorProc.
  static void Collect(const char* line);

  std::vector<std::string> lines;

 private:
  FaultLines* previous_;
};

}  // namespace posctl

#endif  // POSCTL_FAULT_LINES_H_
