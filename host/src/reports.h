// The log behind MOXReportError. Components report errors that have no other
// way out; the runtime adds its own complaints about misuse of its interfaces
// (prefixed "moxhost: "), so that a test that expects a clean log catches both.
#ifndef MOXHOST_REPORTS_H_
#define MOXHOST_REPORTS_H_

#include <cstdio>
#include <string>
#include <vector>

namespace moxhost {

// MOXReportError itself.
void ReportErrorProc(const char* message);

// A misuse noticed by the runtime in a procedure that has no error result.
void ReportMisuse(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::vector<std::string> CopyReports();
void ClearAllReports();
void SetReportEcho(FILE* stream);

}  // namespace moxhost

#endif  // MOXHOST_REPORTS_H_
