#include "reports.h"

#include <cstdarg>
#include <mutex>

namespace moxhost {
namespace {

struct ReportLog {
  std::mutex mu;
  std::vector<std::string> entries;
  FILE* echo = nullptr;
};

ReportLog& Log() {
  static ReportLog* log = new ReportLog;
  return *log;
}

void Append(std::string text) {
  ReportLog& log = Log();
  std::lock_guard<std::mutex> lock(log.mu);
  if (log.echo != nullptr) {
    std::fprintf(log.echo, "libMOXUtils: %s\n", text.c_str());
    std::fflush(log.echo);
  }
  log.entries.push_back(std::move(text));
}

}  // namespace

void ReportErrorProc(const char* message) {
  Append(message != nullptr ? message : "(null message)");
}

void ReportMisuse(const char* format, ...) {
  char buffer[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  Append(std::string("moxhost: ") + buffer);
}

std::vector<std::string> CopyReports() {
  ReportLog& log = Log();
  std::lock_guard<std::mutex> lock(log.mu);
  return log.entries;
}

void ClearAllReports() {
  ReportLog& log = Log();
  std::lock_guard<std::mutex> lock(log.mu);
  log.entries.clear();
}

void SetReportEcho(FILE* stream) {
  ReportLog& log = Log();
  std::lock_guard<std::mutex> lock(log.mu);
  log.echo = stream;
}

}  // namespace moxhost
