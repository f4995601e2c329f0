#include "filters.h"

#include <atomic>
#include <mutex>
#include <new>

#include "errors.h"
#include "MOXRuntimeProcs.h"
#include "spin_lock.h"
#include "stats.h"

namespace moxhost {
enum class FilterKind { kNullSink, kClientSink, kIdentity, kClientFilter };
}  // namespace moxhost

struct MOXFilterOpaque {
  std::atomic<int64_t> refs{1};
  moxhost::FilterKind kind = moxhost::FilterKind::kNullSink;
  moxhost::SpinLock lock;      // guards `target` and `closed`
  MOXFilter target = nullptr;  // one reference
  bool closed = false;
  std::atomic<uint64_t> written{0};  // bytes accepted since the last reset
  void* client = nullptr;
  MOXFilterWriteAdapterProc write = nullptr;
  MOXFilterCloseAdapterProc close = nullptr;
  MOXFilterChainStateAdapterProc chainState = nullptr;
  MOXReleaseProc release = nullptr;
};

namespace moxhost {
namespace {

bool IsFilterKind(FilterKind kind) {
  return kind == FilterKind::kIdentity || kind == FilterKind::kClientFilter;
}

void AddRef(MOXFilter filter) {
  if (filter != nullptr) filter->refs.fetch_add(1, std::memory_order_relaxed);
}

void Release(MOXFilter filter) {
  if (filter == nullptr || filter->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (filter->release != nullptr) filter->release(filter->client);
  Release(filter->target);
  delete filter;
  Count(Counter::kFilters, -1);
}

MOXFilter TargetOf(MOXFilter filter, bool addRef) {
  std::lock_guard<SpinLock> lock(filter->lock);
  if (addRef) AddRef(filter->target);
  return filter->target;
}

// A new filter of `kind`; on failure the client is released, as the runtime
// owns it from the call on.
MOXErrorRef NewFilter(MOXFilter* out, FilterKind kind, MOXFilter target, void* client,
                      MOXReleaseProc release, MOXFilter* made) {
  if (out != nullptr) *out = nullptr;
  MOXErrorRef error = nullptr;
  if (out == nullptr) {
    error = MakeError(kInvalidArgument, "filter factory: null out-parameter");
  } else if (IsFilterKind(kind) && target == nullptr) {
    error = MakeError(kInvalidArgument, "filter factory: a filter needs a target");
  } else if ((*made = new (std::nothrow) MOXFilterOpaque) == nullptr) {
    error = OutOfMemoryError();
  }
  if (error != nullptr) {
    if (release != nullptr) release(client);
    return error;
  }
  MOXFilter filter = *made;
  filter->kind = kind;
  filter->target = target;
  AddRef(target);
  filter->client = client;
  filter->release = release;
  Count(Counter::kFilters, 1);
  *out = filter;
  return nullptr;
}

MOXErrorRef NewNullDataSink(MOXFilter* out) {
  MOXFilter filter = nullptr;
  return NewFilter(out, FilterKind::kNullSink, nullptr, nullptr, nullptr, &filter);
}

MOXErrorRef NewClientDataSink(MOXFilter* out, void* client, MOXFilterWriteAdapterProc write,
                              MOXReleaseProc release) {
  if (write == nullptr) {
    if (out != nullptr) *out = nullptr;
    if (release != nullptr) release(client);
    return MakeError(kInvalidArgument, "NewClientDataSink: null write adapter");
  }
  MOXFilter filter = nullptr;
  MOXErrorRef error = NewFilter(out, FilterKind::kClientSink, nullptr, client, release, &filter);
  if (error == nullptr) filter->write = write;
  return error;
}

MOXErrorRef NewIdentityFilter(MOXFilter* out, MOXFilter target) {
  MOXFilter filter = nullptr;
  return NewFilter(out, FilterKind::kIdentity, target, nullptr, nullptr, &filter);
}

MOXErrorRef NewClientFilter(MOXFilter* out, MOXFilter target, void* client,
                            MOXFilterWriteAdapterProc write, MOXFilterCloseAdapterProc close,
                            MOXFilterChainStateAdapterProc chainState, MOXReleaseProc release) {
  if (write == nullptr) {
    if (out != nullptr) *out = nullptr;
    if (release != nullptr) release(client);
    return MakeError(kInvalidArgument, "NewClientFilter: null write adapter");
  }
  MOXFilter filter = nullptr;
  MOXErrorRef error = NewFilter(out, FilterKind::kClientFilter, target, client, release, &filter);
  if (error == nullptr) {
    filter->write = write;
    filter->close = close;
    filter->chainState = chainState;
  }
  return error;
}

MOXErrorRef NewFilterJPEG(MOXFilter* out, MOXFilter, void* client, MOXFilterWriteAdapterProc,
                          MOXFilterCloseAdapterProc, MOXFilterChainStateAdapterProc,
                          MOXFilterImageParamsAdapterProc, MOXFilterCompressionParamsAdapterProc,
                          MOXReleaseProc release) {
  if (out != nullptr) *out = nullptr;
  if (release != nullptr) release(client);
  return MakeError(kNotSupported, "NewFilterJPEG: JPEG filters are not supported by this runtime");
}

MOXErrorRef GetPostScriptFilter(MOXFilter* out, MOXFilter, const char* filterName) {
  if (out != nullptr) *out = nullptr;
  return MakeError(kNotSupported,
                   "GetPostScriptFilter: filter \"%s\" is not supported by this runtime",
                   filterName != nullptr ? filterName : "(null)");
}

MOXErrorRef Write(MOXFilter filter, const void* data, uint64_t size) {
  if (filter == nullptr) return MakeError(kInvalidArgument, "Write: null filter");
  if (data == nullptr && size != 0) return MakeError(kInvalidArgument, "Write: null data");
  MOXFilter target = nullptr;
  {
    std::lock_guard<SpinLock> lock(filter->lock);
    if (filter->closed) return MakeError(kClosed, "Write: the filter is closed");
    target = filter->target;
    AddRef(target);  // SetDataSink may replace it meanwhile
  }
  MOXErrorRef error = nullptr;
  switch (filter->kind) {
    case FilterKind::kNullSink:
      break;
    case FilterKind::kClientSink:
      error = filter->write(filter->client, nullptr, data, size);
      break;
    case FilterKind::kIdentity:
      error = Write(target, data, size);
      break;
    case FilterKind::kClientFilter:
      error = filter->write(filter->client, target, data, size);
      break;
  }
  Release(target);
  if (error == nullptr) filter->written.fetch_add(size, std::memory_order_relaxed);
  return error;
}

bool IsFilter(MOXFilter filter) {
  return filter != nullptr && IsFilterKind(filter->kind);
}

MOXErrorRef Close(MOXFilter filter) {
  if (filter == nullptr) return MakeError(kInvalidArgument, "Close: null filter");
  MOXFilter target = nullptr;
  {
    std::lock_guard<SpinLock> lock(filter->lock);
    if (filter->closed) return MakeError(kClosed, "Close: the filter is closed already");
    filter->closed = true;
    target = filter->target;
    AddRef(target);
  }
  MOXErrorRef error = nullptr;
  if (filter->kind == FilterKind::kClientFilter && filter->close != nullptr &&
      filter->close(filter->client, target) == 0) {
    error = MakeError(kIOError, "Close: the client filter failed to close");
  }
  // The rest of the chain is closed even when this filter failed.
  if (target != nullptr) {
    MOXErrorRef targetError = Close(target);
    if (error == nullptr) {
      error = targetError;
    } else {
      ReleaseError(targetError);
    }
  }
  Release(target);
  return error;
}

MOXErrorRef SetDataSink(MOXFilter filter, MOXFilter target) {
  if (filter == nullptr || target == nullptr) {
    return MakeError(kInvalidArgument, "SetDataSink: null %s",
                     filter == nullptr ? "filter" : "target");
  }
  if (!IsFilterKind(filter->kind)) {
    return MakeError(kInvalidArgument, "SetDataSink: a data sink has no target");
  }
  for (MOXFilter link = target; link != nullptr; link = TargetOf(link, false)) {
    if (link == filter) return MakeError(kInvalidArgument, "SetDataSink: the chain would loop");
  }
  AddRef(target);
  MOXFilter previous = nullptr;
  {
    std::lock_guard<SpinLock> lock(filter->lock);
    previous = filter->target;
    filter->target = target;
  }
  Release(previous);
  return nullptr;
}

MOXFilter PeekTarget(MOXFilter filter, bool addRef) {
  return filter != nullptr ? TargetOf(filter, addRef) : nullptr;
}

MOXErrorRef SetImageParameters(MOXFilter, uint32_t, int16_t) {
  return MakeError(kNotSupported, "SetImageParameters: not a JPEG filter");
}

MOXErrorRef SetCompressionParameters(MOXFilter, int32_t) {
  return MakeError(kNotSupported, "SetCompressionParameters: not a JPEG filter");
}

// A client filter that keeps its own state reports it; the others report the
// bytes they accepted.
uint32_t GetChainState(MOXFilter filter) {
  if (filter == nullptr) return 0;
  if (filter->chainState != nullptr) return filter->chainState(filter->client);
  return static_cast<uint32_t>(filter->written.load(std::memory_order_relaxed));
}

void ResetChainState(MOXFilter filter) {
  for (MOXFilter link = filter; link != nullptr; link = TargetOf(link, false)) {
    link->written.store(0, std::memory_order_relaxed);
  }
}

}  // namespace

InterfaceRows FilterInterface() {
  static const MethodRow rows[] = {
      {"NewNullDataSink", "MOXFilterNewNullDataSinkV2Proc",
       ProcAddress<MOXFilterNewNullDataSinkV2Proc>(NewNullDataSink)},
      {"NewClientDataSink", "MOXFilterNewClientDataSinkV2Proc",
       ProcAddress<MOXFilterNewClientDataSinkV2Proc>(NewClientDataSink)},
      {"NewIdentityFilter", "MOXFilterNewIdentityFilterV2Proc",
       ProcAddress<MOXFilterNewIdentityFilterV2Proc>(NewIdentityFilter)},
      {"NewClientFilter", "MOXFilterNewClientFilterV2Proc",
       ProcAddress<MOXFilterNewClientFilterV2Proc>(NewClientFilter)},
      {"NewFilterJPEG", "MOXFilterNewFilterJPEGV2Proc",
       ProcAddress<MOXFilterNewFilterJPEGV2Proc>(NewFilterJPEG)},
      {"AddRef", "MOXFilterAddRefV2Proc", ProcAddress<MOXFilterAddRefV2Proc>(AddRef)},
      {"Release", "MOXFilterReleaseProc", ProcAddress<MOXFilterReleaseProc>(Release)},
      {"Write", "MOXFilterWriteV2Proc", ProcAddress<MOXFilterWriteV2Proc>(Write)},
      {"IsFilter", "MOXFilterIsFilterProc", ProcAddress<MOXFilterIsFilterProc>(IsFilter)},
      {"Close", "MOXFilterCloseProc", ProcAddress<MOXFilterCloseProc>(Close)},
      {"GetPostScriptFilter", "MOXFilterGetPostScriptFilterProc",
       ProcAddress<MOXFilterGetPostScriptFilterProc>(GetPostScriptFilter)},
      {"SetDataSink", "MOXFilterSetDataSinkV2Proc",
       ProcAddress<MOXFilterSetDataSinkV2Proc>(SetDataSink)},
      {"PeekTarget", "MOXFilterPeekTargetProc", ProcAddress<MOXFilterPeekTargetProc>(PeekTarget)},
      {"SetImageParameters", "MOXFilterJPEGSetImageParametersProc",
       ProcAddress<MOXFilterJPEGSetImageParametersProc>(SetImageParameters)},
      {"SetCompressionParameters", "MOXFilterJPEGSetCompressionParametersProc",
       ProcAddress<MOXFilterJPEGSetCompressionParametersProc>(SetCompressionParameters)},
      {"GetChainState", "MOXFilterGetChainStateV2Proc",
       ProcAddress<MOXFilterGetChainStateV2Proc>(GetChainState)},
      {"ResetChainState", "MOXFilterResetChainStateProc",
       ProcAddress<MOXFilterResetChainStateProc>(ResetChainState)},
  };
  return {"MOXFilterInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
