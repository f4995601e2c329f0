#include "fault_lines.h"

namespace posctl {
namespace {

thread_local FaultLines* tCurrent = nullptr;

}  // namespace

FaultLines::FaultLines() : previous_(tCurrent) {
  tCurrent = this;
}

FaultLines::~FaultLines() {
  tCurrent = previous_;
}

void FaultLines::Collect(const char* line) {
  if (tCurrent != nullptr && line != nullptr) tCurrent->lines.push_back(line);
}

}  // namespace posctl
