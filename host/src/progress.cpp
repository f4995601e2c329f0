#include "progress.h"

#include <atomic>
#include <new>

#include "MOXRuntimeProcs.h"
#include "reports.h"
#include "stats.h"

struct MOXProgressOpaque {
  std::atomic<int64_t> refs{1};
  void* client = nullptr;
  MOXProgressUpdateAdapterProc update = nullptr;  // null: never asks to stop
  MOXReleaseProc release = nullptr;
};

namespace moxhost {
namespace {

MOXProgress NewNullProgress() {
  MOXProgress progress = new (std::nothrow) MOXProgressOpaque;
  if (progress != nullptr) Count(Counter::kProgress, 1);
  return progress;
}

// The client is the runtime's from the call on: released also on failure.
MOXProgress NewClientProgress(void* client, MOXProgressUpdateAdapterProc update,
                              MOXReleaseProc release) {
  MOXProgress progress = NewNullProgress();
  if (progress == nullptr) {
    if (release != nullptr) release(client);
    return nullptr;
  }
  progress->client = client;
  progress->update = update;
  progress->release = release;
  return progress;
}

void AddRef(MOXProgress progress) {
  if (progress != nullptr) progress->refs.fetch_add(1, std::memory_order_relaxed);
}

void Release(MOXProgress progress) {
  if (progress == nullptr || progress->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (progress->release != nullptr) progress->release(progress->client);
  delete progress;
  Count(Counter::kProgress, -1);
}

bool Update(MOXProgress progress, double fraction) {
  if (progress == nullptr) {
    ReportMisuse("Update: null progress");
    return true;
  }
  return progress->update == nullptr || progress->update(progress->client, fraction);
}

}  // namespace

InterfaceRows ProgressInterface() {
  static const MethodRow rows[] = {
      {"NewNullProgress", "MOXProgressNewNullProgressProc",
       ProcAddress<MOXProgressNewNullProgressProc>(NewNullProgress)},
      {"NewClientProgress", "MOXProgressNewClientProgressProc",
       ProcAddress<MOXProgressNewClientProgressProc>(NewClientProgress)},
      {"AddRef", "MOXProgressAddRefProc", ProcAddress<MOXProgressAddRefProc>(AddRef)},
      {"Release", "MOXProgressReleaseProc", ProcAddress<MOXProgressReleaseProc>(Release)},
      {"Update", "MOXProgressUpdateProc", ProcAddress<MOXProgressUpdateProc>(Update)},
  };
  return {"MOXProgressInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
