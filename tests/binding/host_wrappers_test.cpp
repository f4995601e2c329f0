// The wrappers of the runtime's shared buffer, cache, progress and filter
// interfaces: what each does with a missing table, and who owns what.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/host_wrappers.h"
#include "library_fixture.h"
#include "moxhost/runtime.h"

namespace {

// Makes every later load of `interfaceName` fail until the faults are cleared.
void HideInterface(const char* interfaceName) {
  RT().HideInterface(interfaceName);
  RT().RaiseUnregisterCounter();
}

class HostWrappers : public StartedLibrary {};

// ---- Shared buffers ----------------------------------------------------------------

std::vector<void*> gReleasedBlocks;
void RecordAndFree(void* block) {
  gReleasedBlocks.push_back(block);
  std::free(block);
}

TEST_F(HostWrappers, SharedBufferCopiesOrTakesOverItsBytes) {
  gReleasedBlocks.clear();
  MOXSharedBuff copied = MOXNewSharedBuffer(5, const_cast<char*>("hello"), nullptr, 0, 0);
  EXPECT_EQ(MOXSharedBuffProcs::GetSize(copied), 5u);
  EXPECT_EQ(std::memcmp(MOXSharedBuffProcs::GetBuffer(copied), "hello", 5), 0);
  void* block = std::malloc(3);
  MOXSharedBuff owner = MOXNewSharedBuffer(3, block, &RecordAndFree, 0, 0);
  EXPECT_EQ(MOXSharedBuffProcs::GetBuffer(owner), block) << "a handed-over block is not copied";
  MOXSharedBuffProcs::AddRef(owner);
  MOXSharedBuffProcs::Release(owner);
  EXPECT_TRUE(gReleasedBlocks.empty());
  MOXSharedBuffProcs::Release(owner);
  MOXSharedBuffProcs::Release(copied);
  EXPECT_EQ(gReleasedBlocks, std::vector<void*>{block});
}

MOXSharedBuff ThrowingNewBuffer(uint64_t, void*, MOXReleaseProc, uintptr_t, uintptr_t) {
  throw std::runtime_error("runtime exploded");
}

// However making the buffer fails, a handed-over block is released once and
// bytes to copy, never handed over, are left alone.
TEST_F(HostWrappers, FailedBufferReleasesAHandedOverBlockOnce) {
  const std::function<void(void*, MOXReleaseProc)> failures[] = {
      // The runtime refuses non-zero trailing words with a null buffer.
      [](void* data, MOXReleaseProc release) {
        EXPECT_THROW(MOXNewSharedBuffer(4, data, release, 1, 0), std::bad_alloc);
      },
      [](void* data, MOXReleaseProc release) {
        MOXRequireSharedBuffTable();
        gMOXSharedBuffTable.SetProc<MOXSharedBuffSlots::NewBuffer>(&ThrowingNewBuffer);
        EXPECT_THROW(MOXNewSharedBuffer(4, data, release, 0, 0), std::runtime_error);
        gMOXSharedBuffTable.Clear();
      },
      [](void* data, MOXReleaseProc release) {
        HideInterface("MOXSharedBuffInterface");
        EXPECT_THROW(MOXNewSharedBuffer(4, data, release, 0, 0), CMOXError);
        RT().ClearFaults();
      },
      [](void* data, MOXReleaseProc release) {
        HideInterface("MOXSharedBuffInterface");
        QuietLookups quiet;
        try {
          MOXNewSharedBuffer(4, data, release, 0, 0);
          ADD_FAILURE() << "made a buffer without the interface";
        } catch (const CMOXError& e) {
          EXPECT_EQ(Describe(e.Error()), "MOX 0: Missing Interface");
        }
        RT().ClearFaults();
      }};
  char bytes[4] = {1, 2, 3, 4};
  for (const auto& fail : failures) {
    gReleasedBlocks.clear();
    fail(bytes, nullptr);
    EXPECT_TRUE(gReleasedBlocks.empty());
    void* block = std::malloc(4);
    fail(block, &RecordAndFree);
    EXPECT_EQ(gReleasedBlocks, std::vector<void*>{block});
  }
  MOXSharedBuff buffer = MOXNewSharedBuffer(1, nullptr, nullptr, 0, 0);
  EXPECT_NE(buffer, nullptr) << "the table loads again once the interface is back";
  MOXSharedBuffProcs::Release(buffer);
}

// ---- Caches --------------------------------------------------------------------------

// The no-purge level of `id`, read by raising and lowering it once.
uintptr_t NoPurgeLevel(MOXCacheID id) {
  uintptr_t level = 0, ignored = 0;
  MOXCacheProcs::MarkNoPurge(id, &level, 1);
  MOXCacheProcs::MarkNoPurge(id, &ignored, 0);
  return level;
}

TEST_F(HostWrappers, CacheIdentifiersAndEntriesHoldTheirOwnReferences) {
  const int64_t ids = RT().Counts().cacheIDs;
  {
    auto id = std::make_unique<CMOXCacheID>();
    ASSERT_NE(id->ID(), nullptr);
    CMOXCacheID copy(*id);
    CMOXCacheEntry plain(id->ID(), 7);
    EXPECT_EQ(NoPurgeLevel(id->ID()), 0u) << "the plain entry doesn't mark";
    {
      CMOXPinnedCacheEntry pinned(id->ID(), 42);
      CMOXPinnedCacheEntry pinnedCopy(pinned);
      EXPECT_EQ(NoPurgeLevel(id->ID()), 2u);
    }
    EXPECT_EQ(NoPurgeLevel(id->ID()), 0u) << "pinned entries unmark when they go";
    id.reset();
    EXPECT_EQ(RT().Counts().cacheIDs, ids + 1) << "the entry and the copy keep it alive";
  }
  EXPECT_EQ(RT().Counts().cacheIDs, ids);
}

MOXCacheID NoCacheID() {
  return nullptr;
}

TEST_F(HostWrappers, RuntimeWithoutIdentifiersFailsCacheIDConstruction) {
  MOXRequireCacheTable();
  gMOXCacheTable.SetProc<MOXCacheSlots::NewCacheID>(&NoCacheID);
  try {
    CMOXCacheID id;
    ADD_FAILURE() << "made an identifier from nothing";
  } catch (const CMOXError& e) {
    EXPECT_EQ(Describe(e.Error()), " 0: couldn't create cacheID");
  }
  gMOXCacheTable.Clear();
}

TEST_F(HostWrappers, OneMissingMethodFailsTheWholeCacheTable) {
  const int64_t ids = RT().Counts().cacheIDs;
  CMOXCacheID id;
  // MarkPurge is never called by the library, yet without it nothing loads.
  RT().HideMethod("MOXCacheInterface", "MarkPurge");
  RT().RaiseUnregisterCounter();
  EXPECT_THROW(CMOXCacheID(), CMOXError);
  EXPECT_THROW(CMOXCacheEntry(id.ID(), 1), CMOXError) << "even when only AddRef is needed";
  {
    QuietLookups quiet;
    EXPECT_THROW(CMOXCacheID(), CMOXError);
    CMOXPinnedCacheEntry entry(id.ID(), 1);
    EXPECT_EQ(entry.ID(), nullptr) << "no reference taken, so none to give back";
  }
  EXPECT_EQ(RT().Counts().cacheIDs, ids + 1);
  RT().ClearFaults();
  CMOXCacheID again;
  EXPECT_EQ(RT().Counts().cacheIDs, ids + 2);
}

// ---- Progress ---------------------------------------------------------------------------

class RecordingProgress : public MOX_T_MT::MOXClientProgress {
 public:
  explicit RecordingProgress(int* destroyed) : destroyed_(destroyed) {}
  ~RecordingProgress() override { ++*destroyed_; }
  uint32_t Update(double fraction) override {
    lastFraction = fraction;
    if (throwNext) throw MOX_T_MT::POSException("progress broke");
    return result;
  }

  double lastFraction = -1;
  uint32_t result = 1;
  bool throwNext = false;

 private:
  int* destroyed_;
};

TEST_F(HostWrappers, ClientProgressAnswersThroughTheRuntime) {
  int destroyed = 0;
  {
    auto* client = new RecordingProgress(&destroyed);
    CMOXProgress progress = CMOXProgress::Adopt(MOXNewClientProgress(client));
    EXPECT_TRUE(progress.Update(0.25));
    EXPECT_EQ(client->lastFraction, 0.25);
    client->result = 0x100;
    EXPECT_FALSE(progress.Update(0.5)) << "only the low eight bits count";
    client->result = 0x102;
    EXPECT_TRUE(progress.Update(0.5));
    client->throwNext = true;
    EXPECT_FALSE(progress.Update(0.75)) << "an exception asks the caller to stop";

    CMOXProgress shared = CMOXProgress::Retain(progress.Progress());
    CMOXProgress copy(shared);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST_F(HostWrappers, CMOXProgressNeedsAnObjectAndTheTable) {
  ASSERT_NE(gMOXProgressTable.Get(), nullptr);
  MOXProgress null = gMOXProgressTable.Proc<MOXProgressSlots::NewNullProgress>()();
  HideInterface("MOXProgressInterface");
  int destroyed = 0;
  auto* client = new RecordingProgress(&destroyed);
  {
    QuietLookups quiet;
    EXPECT_EQ(MOXNewClientProgress(client), nullptr);
    for (MOXProgress progress : {null, static_cast<MOXProgress>(nullptr)}) {
      try {
        CMOXProgress handle = CMOXProgress::Retain(progress);
        ADD_FAILURE() << "held a progress without the table or a null one";
      } catch (const CMOXError& e) {
        EXPECT_EQ(Describe(e.Error()), " 0: couldn't construct CMOXProgress");
      }
      RT().ClearFaults();
    }
  }
  EXPECT_EQ(destroyed, 0) << "without the table the client stays the caller's";
  delete client;
  CMOXProgress adopted = CMOXProgress::Adopt(null);
  EXPECT_TRUE(adopted.Update(1.0));
}

// ---- Filters -----------------------------------------------------------------------------

MOXErrorRef FilterWrite(MOXFilter filter, const void* data, uint64_t size) {
  return gMOXFilterTable.Proc<MOXFilterSlots::Write>()(filter, data, size);
}
void FilterRelease(MOXFilter filter) {
  gMOXFilterTable.Proc<MOXFilterSlots::Release>()(filter);
}

// Collects what reaches it; with a target it passes the bytes on, upper-cased.
class RecordingFilter : public MOX_T_MT::MOXClientFilter {
 public:
  explicit RecordingFilter(int* destroyed) : destroyed_(destroyed) {}
  ~RecordingFilter() override { ++*destroyed_; }

  void Write(MOXFilter target, const void* data, uint64_t size) override {
    if (fail) throw MOX_T_MT::POSException("sink full");
    std::string text(static_cast<const char*>(data), size);
    if (target == nullptr) {
      received += text;
      return;
    }
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    MOXCheck(FilterWrite(target, text.data(), text.size()));
  }
  int32_t Close(MOXFilter) override {
    if (fail) throw std::runtime_error("close broke");
    return 1;
  }
  uint32_t GetChainState() override { return 17; }
  int32_t SetImageParameters(uint32_t width, int16_t components) override {
    imageWidth = width;
    imageComponents = components;
    return 3;
  }
  int32_t SetCompressionParameters(int32_t quality) override {
    if (fail) throw std::runtime_error("parameters broke");
    return quality + 1;
  }

  std::string received;
  bool fail = false;  // every operation throws
  uint32_t imageWidth = 0;
  int16_t imageComponents = 0;

 private:
  int* destroyed_;
};

TEST_F(HostWrappers, ClientSinkAndFilterCarryWritesThroughTheRuntime) {
  int destroyed = 0;
  auto* sinkClient = new RecordingFilter(&destroyed);
  auto* stageClient = new RecordingFilter(&destroyed);
  MOXFilter sink = MOXNewClientDataSink(sinkClient);
  ASSERT_NE(sink, nullptr);
  MOXFilter stage = MOXNewClientFilter(sink, stageClient);
  ASSERT_NE(stage, nullptr);
  EXPECT_EQ(FilterWrite(stage, "abc", 3), nullptr);
  EXPECT_EQ(sinkClient->received, "ABC");
  EXPECT_EQ(gMOXFilterTable.Proc<MOXFilterSlots::GetChainState>()(stage), 17u);

  sinkClient->fail = true;
  MOXErrorRef error = FilterWrite(stage, "d", 1);
  EXPECT_EQ(Describe(error), "TOV 0: sink full") << "the sink's failure travels back up the chain";
  MOXErrorProcs::Release(error);
  stageClient->fail = true;
  error = gMOXFilterTable.Proc<MOXFilterSlots::Close>()(stage);
  EXPECT_NE(error, nullptr) << "a throwing close counts as a failed one";
  MOXErrorProcs::Release(error);

  FilterRelease(stage);
  EXPECT_EQ(destroyed, 1);
  FilterRelease(sink);
  EXPECT_EQ(destroyed, 2);
}

TEST_F(HostWrappers, FilterFactoryErrorLeavesTheClientToTheRuntime) {
  int destroyed = 0;
  MOXFilter sink = MOXNewClientDataSink(new RecordingFilter(&destroyed));
  // This runtime has no JPEG filter: it refuses, and it releases the client.
  EXPECT_THROW(MOXNewFilterJPEG(sink, new RecordingFilter(&destroyed)), CMOXError);
  EXPECT_EQ(destroyed, 1) << "released by the runtime alone";
  EXPECT_THROW(MOXNewClientFilter(nullptr, new RecordingFilter(&destroyed)), CMOXError)
      << "a filter needs a target";
  EXPECT_EQ(destroyed, 2);
  FilterRelease(sink);
  EXPECT_EQ(destroyed, 3);
}

TEST_F(HostWrappers, MissingFilterTableOwnershipIsAsymmetric) {
  int destroyed = 0;
  HideInterface("MOXFilterInterface");
  auto* sinkClient = new RecordingFilter(&destroyed);
  {
    QuietLookups quiet;
    EXPECT_EQ(MOXNewClientDataSink(sinkClient), nullptr);
    EXPECT_EQ(destroyed, 0) << "the data sink wrapper leaves its client alone";
    EXPECT_EQ(MOXNewClientFilter(nullptr, new RecordingFilter(&destroyed)), nullptr);
    EXPECT_EQ(MOXNewFilterJPEG(nullptr, new RecordingFilter(&destroyed)), nullptr);
    EXPECT_EQ(destroyed, 2);
  }
  // Once bound, the failed load throws; the filter wrappers still delete.
  EXPECT_THROW(MOXNewClientDataSink(sinkClient), CMOXError);
  EXPECT_EQ(destroyed, 2);
  EXPECT_THROW(MOXNewClientFilter(nullptr, new RecordingFilter(&destroyed)), CMOXError);
  EXPECT_EQ(destroyed, 3);
  delete sinkClient;
}

// A stand-in JPEG factory that keeps the adapters it is given.
struct CapturedJPEG {
  void* client;
  MOXFilterWriteAdapterProc write;
  MOXFilterCloseAdapterProc close;
  MOXFilterChainStateAdapterProc chainState;
  MOXFilterImageParamsAdapterProc imageParams;
  MOXFilterCompressionParamsAdapterProc compressionParams;
  MOXReleaseProc release;
} gCaptured;
MOXErrorRef CapturingJPEG(MOXFilter* out, MOXFilter, void* client, MOXFilterWriteAdapterProc write,
                          MOXFilterCloseAdapterProc close,
                          MOXFilterChainStateAdapterProc chainState,
                          MOXFilterImageParamsAdapterProc imageParams,
                          MOXFilterCompressionParamsAdapterProc compressionParams,
                          MOXReleaseProc release) {
  gCaptured = {client, write, close, chainState, imageParams, compressionParams, release};
  *out = reinterpret_cast<MOXFilter>(&gCaptured);
  return nullptr;
}

TEST_F(HostWrappers, FilterAdaptersPassArgumentsAndSwallowFailures) {
  ASSERT_NE(gMOXFilterTable.Get(), nullptr);
  gMOXFilterTable.SetProc<MOXFilterSlots::NewFilterJPEG>(&CapturingJPEG);
  int destroyed = 0;
  auto* client = new RecordingFilter(&destroyed);
  EXPECT_EQ(MOXNewFilterJPEG(nullptr, client), reinterpret_cast<MOXFilter>(&gCaptured));
  gMOXFilterTable.Clear();
  ASSERT_EQ(gCaptured.client, client);
  void* self = gCaptured.client;

  EXPECT_EQ(gCaptured.imageParams(self, 640, -3), 3);
  EXPECT_EQ(client->imageWidth, 640u);
  EXPECT_EQ(client->imageComponents, -3) << "the signed 16-bit value arrives intact";
  EXPECT_EQ(gCaptured.compressionParams(self, 74), 75);
  EXPECT_EQ(gCaptured.chainState(self), 17u);
  EXPECT_EQ(gCaptured.close(self, nullptr), 1);
  EXPECT_EQ(gCaptured.write(self, nullptr, "xy", 2), nullptr);
  EXPECT_EQ(client->received, "xy");
  client->fail = true;
  EXPECT_EQ(gCaptured.close(self, nullptr), 0);
  EXPECT_EQ(gCaptured.compressionParams(self, 74), 0);
  MOXErrorRef error = gCaptured.write(self, nullptr, "z", 1);
  EXPECT_EQ(Describe(error), "TOV 0: sink full");
  MOXErrorProcs::Release(error);

  gCaptured.release(nullptr);
  EXPECT_EQ(destroyed, 0);
  gCaptured.release(self);
  EXPECT_EQ(destroyed, 1);
}

TEST_F(HostWrappers, ProcessFilterHandlesReleaseWhatTheyHold) {
  ASSERT_NE(gMOXFilterTable.Get(), nullptr);
  CMOXFilterRef& handle = gMOXProcessFilters[0];
  ASSERT_EQ(handle.Filter(), nullptr) << "empty from the start";
  MOXFilter sink = nullptr;
  ASSERT_EQ(gMOXFilterTable.Proc<MOXFilterSlots::NewNullDataSink>()(&sink), nullptr);
  handle.Adopt(sink);
  ASSERT_EQ(handle.Filter(), sink);
  handle.Reset();
  EXPECT_EQ(handle.Filter(), nullptr);  // the fixture checks that the filter is gone
}

// ---- Counted release record ---------------------------------------------------------------

int gCallbacks = 0;
void* gCallbackContext = nullptr;
void* gCallbackData = nullptr;
void RecordRelease(void* context, void* data) {
  ++gCallbacks;
  gCallbackContext = context;
  gCallbackData = data;
}

TEST_F(HostWrappers, CountedReleaseRunsItsCallbackOnceAtTheLastCount) {
  const int64_t blocks = RT().Counts().memoryBlocks;
  int data = 0, context = 0;
  MOXCountedReleaseDescriptor descriptor{};
  MOXNewCountedRelease(&descriptor, &data, &context, &RecordRelease, 9);
  EXPECT_EQ(descriptor.word, 9u);
  EXPECT_EQ(RT().Counts().memoryBlocks, blocks + 1) << "the record lives in the runtime's memory";

  // Holders on several threads come and go; the creator's count stays.
  std::vector<std::thread> holders;
  for (int t = 0; t < 4; ++t) {
    holders.emplace_back([&descriptor] {
      for (int i = 0; i < 2000; ++i) {
        descriptor.count(descriptor.record, true);
        descriptor.count(descriptor.record, false);
      }
    });
  }
  for (std::thread& holder : holders) holder.join();
  descriptor.count(descriptor.record, true);
  descriptor.count(descriptor.record, false);
  EXPECT_EQ(gCallbacks, 0);
  descriptor.count(descriptor.record, false);
  EXPECT_EQ(gCallbacks, 1);
  EXPECT_EQ(gCallbackContext, &context);
  EXPECT_EQ(gCallbackData, &data);
  EXPECT_EQ(RT().Counts().memoryBlocks, blocks);
}

}  // namespace
