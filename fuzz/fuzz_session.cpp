#include "fuzz_session.h"

#include <cstdio>
#include <cstdlib>

namespace moxfuzz {

namespace {

const char* gTarget = "fuzz";
moxhost::LiveCounts gBaseline;

}  // namespace

void TakeBaseline(const char* target) {
  gTarget = target;
  TakeReports();
  gBaseline = moxhost::Runtime::Get().Counts();
}

std::string Text(const uint8_t* data, size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

Strings Pieces(const uint8_t* data, size_t size, size_t count) {
  Strings pieces;
  const std::string text = Text(data, size);
  size_t begin = 0;
  while (pieces.size() + 1 < count) {
    const size_t end = text.find('\0', begin);
    if (end == std::string::npos) break;
    pieces.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

void Fail(const char* what, const std::string& input) {
  std::fprintf(stderr, "%s: %s\n  input: \"", gTarget, what);
  for (unsigned char c : input) {
    if (c >= 0x20 && c < 0x7f && c != '\\' && c != '"') {
      std::fputc(c, stderr);
    } else {
      std::fprintf(stderr, "\\x%02x", c);
    }
  }
  std::fprintf(stderr, "\"\n");
  for (const std::string& report : moxhost::Runtime::Get().Reports()) {
    std::fprintf(stderr, "  report: %s\n", report.c_str());
  }
  std::fprintf(stderr, "  live: %s\n  baseline: %s\n",
               moxhost::Runtime::Get().Counts().ToString().c_str(), gBaseline.ToString().c_str());
  std::abort();
}

Strings TakeReports() {
  Strings reports = moxhost::Runtime::Get().Reports();
  moxhost::Runtime::Get().ClearReports();
  return reports;
}

void CheckCounts(const std::string& input) {
  if (moxhost::Runtime::Get().Counts() != gBaseline) Fail("objects left alive", input);
}

}  // namespace moxfuzz
