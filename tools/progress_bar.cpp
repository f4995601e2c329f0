#include "progress_bar.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace posctl {

// The client object behind the progress object.
struct ProgressDrawing {
  size_t total;
  bool shown = false;

  void Erase() {
    if (!shown) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    shown = false;
  }
};

namespace {

constexpr size_t kWidth = 30;

bool DrawProgress(void* client, double fraction) {
  auto* drawing = static_cast<ProgressDrawing*>(client);
  const double clamped = fraction < 0 ? 0 : fraction > 1 ? 1 : fraction;
  const size_t filled = static_cast<size_t>(std::lround(clamped * kWidth));
  const size_t done =
      static_cast<size_t>(std::lround(clamped * static_cast<double>(drawing->total)));
  const std::string line = "\rposctl: [" + std::string(filled, '#') +
                           std::string(kWidth - filled, '.') + "] " + std::to_string(done) + "/" +
                           std::to_string(drawing->total) + "\033[K";
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  drawing->shown = true;
  return true;
}

void ReleaseDrawing(void* client) {
  delete static_cast<ProgressDrawing*>(client);
}

}  // namespace

ProgressBar::ProgressBar(const Procs& procs, size_t total) : procs_(procs), total_(total) {
  if (total == 0 || isatty(STDERR_FILENO) != 1) return;
  auto* drawing = new ProgressDrawing{total};
  // The runtime owns the drawing from here on, also when the call fails.
  progress_ = procs.progress.NewClientProgress(drawing, DrawProgress, ReleaseDrawing);
  if (progress_ != nullptr) drawing_ = drawing;
}

ProgressBar::~ProgressBar() {
  Hide();
  if (progress_ != nullptr) procs_.progress.Release(progress_);
}

void ProgressBar::Update(size_t done) {
  if (progress_ == nullptr) return;
  procs_.progress.Update(progress_, static_cast<double>(done) / static_cast<double>(total_));
}

void ProgressBar::Hide() {
  if (drawing_ != nullptr) drawing_->Erase();
}

}  // namespace posctl
