#include "cache.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "errors.h"
#include "MOXRuntimeProcs.h"
#include "reports.h"
#include "stats.h"

struct MOXCacheIDOpaque {
  std::atomic<int64_t> refs{1};
  // The rest is guarded by the cache's mutex.
  bool attached = false;
  void* data = nullptr;
  MOXCacheItemPurgeProc purge = nullptr;
  bool inCache = false;
  uint64_t cost = 0;
  uint64_t time = 0;
  uint32_t noPurge = 0;
  MOXCacheIDOpaque* older = nullptr;  // recency list of the entries in the cache
  MOXCacheIDOpaque* newer = nullptr;
};

struct MOXCachePurgeOpaque {
  uint64_t purged = 0;
};

struct MOXCacheSetOpaque {
  std::atomic<int64_t> refs{1};
  std::unordered_map<uint64_t, MOXCacheID> ids;  // one reference each; under the cache's mutex
};

namespace moxhost {
namespace {

// Data taken off an identifier, to be handed to its purge procedure once the
// cache's mutex is released.
struct Dropped {
  MOXCacheID id = nullptr;
  void* data = nullptr;
  MOXCacheItemPurgeProc purge = nullptr;

  void Run() const {
    if (purge != nullptr) purge(id, data);
  }
};

class Cache {
 public:
  static Cache& Get() {
    static Cache* cache = new Cache;
    return *cache;
  }

  std::mutex mu;
  uint64_t totalCost = 0;
  uint64_t tick = 0;
  MOXCacheID oldest = nullptr;
  MOXCacheID newest = nullptr;
  std::vector<MOXCacheClientPurgeProc> clientPurges;

  // Both under `mu`.
  void Unlink(MOXCacheID id) {
    if (!id->inCache) return;
    (id->older != nullptr ? id->older->newer : oldest) = id->newer;
    (id->newer != nullptr ? id->newer->older : newest) = id->older;
    id->older = id->newer = nullptr;
    id->inCache = false;
    totalCost -= id->cost;
    id->cost = 0;
  }
  void LinkNewest(MOXCacheID id) {
    id->older = newest;
    id->newer = nullptr;
    (newest != nullptr ? newest->newer : oldest) = id;
    newest = id;
    id->inCache = true;
  }

  static Dropped TakeData(MOXCacheID id) {
    Dropped dropped;
    if (id->attached) dropped = {id, id->data, id->purge};
    id->attached = false;
    id->data = nullptr;
    id->purge = nullptr;
    return dropped;
  }
};

bool TryRetain(MOXCacheID id) {
  int64_t refs = id->refs.load(std::memory_order_relaxed);
  while (refs > 0) {
    if (id->refs.compare_exchange_weak(refs, refs + 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

MOXCacheID NewCacheID() {
  MOXCacheID id = new (std::nothrow) MOXCacheIDOpaque;
  if (id != nullptr) Count(Counter::kCacheIDs, 1);
  return id;
}

void AddRefID(MOXCacheID id) {
  if (id != nullptr) id->refs.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseID(MOXCacheID id) {
  if (id == nullptr || id->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  Cache& cache = Cache::Get();
  Dropped dropped;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    cache.Unlink(id);
    dropped = Cache::TakeData(id);
  }
  dropped.Run();
  delete id;
  Count(Counter::kCacheIDs, -1);
}

// Replaces the data; data attached before is dropped through its own procedure.
MOXErrorRef Attach(MOXCacheID id, void* data, MOXCacheItemPurgeProc purge) {
  if (id == nullptr) return MakeError(kInvalidArgument, "Attach: null cache identifier");
  Cache& cache = Cache::Get();
  Dropped previous;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    previous = Cache::TakeData(id);
    id->attached = true;
    id->data = data;
    id->purge = purge;
  }
  previous.Run();
  return nullptr;
}

MOXErrorRef Add(MOXCacheID id, uint64_t cost) {
  if (id == nullptr) return MakeError(kInvalidArgument, "Add: null cache identifier");
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  cache.Unlink(id);
  cache.LinkNewest(id);
  id->cost = cost;
  cache.totalCost += cost;
  id->time = ++cache.tick;
  return nullptr;
}

MOXErrorRef UpdateCost(MOXCacheID id, uint64_t cost) {
  if (id == nullptr) return MakeError(kInvalidArgument, "UpdateCost: null cache identifier");
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  if (!id->inCache) return MakeError(kNotFound, "UpdateCost: the identifier is not in the cache");
  cache.Unlink(id);
  cache.LinkNewest(id);
  id->cost = cost;
  cache.totalCost += cost;
  id->time = ++cache.tick;
  return nullptr;
}

uint64_t ReturnCost(MOXCacheID id) {
  if (id == nullptr) return 0;
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  return id->cost;
}

void MarkNoPurge(MOXCacheID id, uintptr_t* previous, uint32_t mark) {
  if (id == nullptr) {
    ReportMisuse("MarkNoPurge: null cache identifier");
    return;
  }
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  if (previous != nullptr) *previous = id->noPurge;
  if (mark != 0) {
    ++id->noPurge;
  } else if (id->noPurge == 0) {
    ReportMisuse("MarkNoPurge: no-purge level lowered below zero");
  } else {
    --id->noPurge;
  }
}

void MarkPurge(MOXCacheID id) {
  if (id == nullptr) return;
  Cache& cache = Cache::Get();
  Dropped dropped;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    if (id->noPurge != 0) return;
    cache.Unlink(id);
    dropped = Cache::TakeData(id);
  }
  dropped.Run();
}

uint64_t GetCacheTime(MOXCacheID id) {
  if (id == nullptr) return 0;
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  return id->time;
}

uint64_t CurrentCacheSize() {
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  return cache.totalCost;
}

MOXCachePurge NewCachePurge() {
  return new (std::nothrow) MOXCachePurgeOpaque;
}

bool PurgeNextBlock(MOXCachePurge purge) {
  Cache& cache = Cache::Get();
  Dropped dropped;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    MOXCacheID id = cache.oldest;
    // An identifier whose last reference is going is left to its Release.
    while (id != nullptr && (id->noPurge != 0 || !TryRetain(id))) id = id->newer;
    if (id == nullptr) return false;
    cache.Unlink(id);
    dropped = Cache::TakeData(id);
    dropped.id = id;
  }
  dropped.Run();
  ReleaseID(dropped.id);
  if (purge != nullptr) ++purge->purged;
  return true;
}

void DeleteCachePurge(MOXCachePurge purge) {
  delete purge;
}

void PurgeAll() {
  while (PurgeNextBlock(nullptr)) {
  }
}

void PurgeAllStaticCaches() {
  Cache& cache = Cache::Get();
  std::vector<MOXCacheClientPurgeProc> procs;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    procs = cache.clientPurges;
  }
  for (MOXCacheClientPurgeProc proc : procs) proc();
}

void AddClientPurge(MOXCacheClientPurgeProc proc, uint32_t flag) {
  if (proc == nullptr || flag != 1) {
    ReportMisuse("AddClientPurge: %s", proc == nullptr ? "null procedure" : "flag must be 1");
    return;
  }
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  cache.clientPurges.push_back(proc);
}

void RemoveClientPurge(MOXCacheClientPurgeProc proc, uint32_t flag) {
  if (flag != 1) {
    ReportMisuse("RemoveClientPurge: flag must be 1");
    return;
  }
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  auto it = std::find(cache.clientPurges.begin(), cache.clientPurges.end(), proc);
  if (it == cache.clientPurges.end()) {
    ReportMisuse("RemoveClientPurge: procedure was not added");
    return;
  }
  cache.clientPurges.erase(it);
}

MOXCacheSet NewCacheSet() {
  return new (std::nothrow) MOXCacheSetOpaque;
}

void AddRefCacheSet(MOXCacheSet set) {
  if (set != nullptr) set->refs.fetch_add(1, std::memory_order_relaxed);
}

std::vector<MOXCacheID> TakeAllIDs(MOXCacheSet set) {
  Cache& cache = Cache::Get();
  std::vector<MOXCacheID> ids;
  std::lock_guard<std::mutex> lock(cache.mu);
  for (const auto& entry : set->ids) ids.push_back(entry.second);
  set->ids.clear();
  return ids;
}

void DeleteCacheSet(MOXCacheSet set) {
  if (set == nullptr || set->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  for (MOXCacheID id : TakeAllIDs(set)) ReleaseID(id);
  delete set;
}

MOXCacheID SearchForID(MOXCacheSet set, uint64_t key, bool create) {
  if (set == nullptr) {
    ReportMisuse("SearchForID: null cache set");
    return nullptr;
  }
  Cache& cache = Cache::Get();
  std::lock_guard<std::mutex> lock(cache.mu);
  auto it = set->ids.find(key);
  if (it != set->ids.end()) {
    AddRefID(it->second);
    return it->second;
  }
  if (!create) return nullptr;
  MOXCacheID id = NewCacheID();
  if (id == nullptr) return nullptr;
  try {
    set->ids.emplace(key, id);
  } catch (const std::bad_alloc&) {
    delete id;
    Count(Counter::kCacheIDs, -1);
    return nullptr;
  }
  AddRefID(id);  // the set's and the caller's
  return id;
}

void RemoveID(MOXCacheSet set, MOXCacheID id) {
  if (set == nullptr || id == nullptr) return;
  Cache& cache = Cache::Get();
  MOXCacheID removed = nullptr;
  {
    std::lock_guard<std::mutex> lock(cache.mu);
    for (auto it = set->ids.begin(); it != set->ids.end(); ++it) {
      if (it->second == id) {
        removed = id;
        set->ids.erase(it);
        break;
      }
    }
  }
  if (removed == nullptr) {
    ReportMisuse("RemoveID: identifier is not in the set");
    return;
  }
  ReleaseID(removed);
}

void RemoveIDs(MOXCacheSet set) {
  if (set == nullptr) return;
  for (MOXCacheID id : TakeAllIDs(set)) ReleaseID(id);
}

}  // namespace

InterfaceRows CacheInterface() {
  static const MethodRow rows[] = {
      {"NewCacheID", "MOXCacheNewCacheIDProc", ProcAddress<MOXCacheNewCacheIDProc>(NewCacheID)},
      {"AddRef", "MOXCacheAddRefProc", ProcAddress<MOXCacheAddRefProc>(AddRefID)},
      {"Release", "MOXCacheReleaseProc", ProcAddress<MOXCacheReleaseProc>(ReleaseID)},
      {"Attach", "MOXCacheAttachProcV2", ProcAddress<MOXCacheAttachProcV2>(Attach)},
      {"Add", "MOXCacheAddProc", ProcAddress<MOXCacheAddProc>(Add)},
      {"UpdateCost", "MOXCacheUpdateCostProc", ProcAddress<MOXCacheUpdateCostProc>(UpdateCost)},
      {"ReturnCost", "MOXCacheReturnCostProc", ProcAddress<MOXCacheReturnCostProc>(ReturnCost)},
      {"MarkNoPurge", "MOXCacheMarkNoPurgeProcV2",
       ProcAddress<MOXCacheMarkNoPurgeProcV2>(MarkNoPurge)},
      {"MarkPurge", "MOXCacheMarkPurgeProc", ProcAddress<MOXCacheMarkPurgeProc>(MarkPurge)},
      {"GetCacheTime", "MOXCacheGetCacheTimeProc",
       ProcAddress<MOXCacheGetCacheTimeProc>(GetCacheTime)},
      {"CurrentCacheSize", "MOXCurrentCacheSizeProc",
       ProcAddress<MOXCurrentCacheSizeProc>(CurrentCacheSize)},
      {"NewCachePurge", "MOXCacheNewCachePurgeProc",
       ProcAddress<MOXCacheNewCachePurgeProc>(NewCachePurge)},
      {"PurgeNextBlock", "MOXCachePurgeNextBlockProc",
       ProcAddress<MOXCachePurgeNextBlockProc>(PurgeNextBlock)},
      {"DeleteCachePurge", "MOXCacheDeleteCachePurgeProc",
       ProcAddress<MOXCacheDeleteCachePurgeProc>(DeleteCachePurge)},
      {"PurgeAll", "MOXCachePurgeAllProc", ProcAddress<MOXCachePurgeAllProc>(PurgeAll)},
      {"PurgeAllStaticCaches", "MOXCachePurgeAllStaticCachesProc",
       ProcAddress<MOXCachePurgeAllStaticCachesProc>(PurgeAllStaticCaches)},
      {"AddClientPurge", "MOXCacheAddRemoveClientPurgeProcV2",
       ProcAddress<MOXCacheAddRemoveClientPurgeProcV2>(AddClientPurge)},
      {"RemoveClientPurge", "MOXCacheAddRemoveClientPurgeProcV2",
       ProcAddress<MOXCacheAddRemoveClientPurgeProcV2>(RemoveClientPurge)},
      {"NewCacheSet", "MOXCacheNewCacheSetProc", ProcAddress<MOXCacheNewCacheSetProc>(NewCacheSet)},
      {"AddRefCacheSet", "MOXCacheAddRefCacheSetProc",
       ProcAddress<MOXCacheAddRefCacheSetProc>(AddRefCacheSet)},
      {"DeleteCacheSet", "MOXCacheDeleteCacheSetProc",
       ProcAddress<MOXCacheDeleteCacheSetProc>(DeleteCacheSet)},
      {"SearchForID", "MOXCacheSearchForIDProc", ProcAddress<MOXCacheSearchForIDProc>(SearchForID)},
      {"RemoveID", "MOXCacheRemoveIDProc", ProcAddress<MOXCacheRemoveIDProc>(RemoveID)},
      {"RemoveIDs", "MOXCacheRemoveIDsProc", ProcAddress<MOXCacheRemoveIDsProc>(RemoveIDs)},
  };
  return {"MOXCacheInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
