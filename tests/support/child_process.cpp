#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern "C" void __lsan_disable() __attribute__((weak));

namespace moxtest {

ChildResult RunInChild(void (*body)(int reportFd)) {
  ChildResult result;
  int fds[2];
  if (pipe(fds) != 0) return result;
  pid_t child = fork();
  if (child < 0) return result;
  if (child == 0) {
    if (&__lsan_disable != nullptr) __lsan_disable();
    close(fds[0]);
    body(fds[1]);
    _exit(126);  // the body must end the process itself
  }
  close(fds[1]);
  char buffer[256];
  ssize_t length;
  while ((length = read(fds[0], buffer, sizeof buffer)) > 0) result.report.append(buffer, length);
  close(fds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  result.exited = WIFEXITED(status);
  result.status = result.exited ? WEXITSTATUS(status) : -1;
  return result;
}

void ReportNumber(int fd, int value) {
  char text[32];
  int length = std::snprintf(text, sizeof text, "%d", value);
  if (write(fd, text, length) != length) _exit(3);
}

}  // namespace moxtest
