// The cache and shared buffers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;

struct CacheProcs {
#define CACHE_PROC(Type, name) Type name = MOX_PROC(Type, "MOXCacheInterface", #name)
  CACHE_PROC(MOXCacheNewCacheIDProc, NewCacheID);
  CACHE_PROC(MOXCacheReleaseProc, Release);
  CACHE_PROC(MOXCacheAttachProcV2, Attach);
  CACHE_PROC(MOXCacheAddProc, Add);
  CACHE_PROC(MOXCacheUpdateCostProc, UpdateCost);
  CACHE_PROC(MOXCacheMarkNoPurgeProcV2, MarkNoPurge);
  CACHE_PROC(MOXCacheMarkPurgeProc, MarkPurge);
  CACHE_PROC(MOXCurrentCacheSizeProc, CurrentCacheSize);
  CACHE_PROC(MOXCachePurgeNextBlockProc, PurgeNextBlock);
  CACHE_PROC(MOXCachePurgeAllProc, PurgeAll);
  CACHE_PROC(MOXCachePurgeAllStaticCachesProc, PurgeAllStaticCaches);
  CACHE_PROC(MOXCacheAddRemoveClientPurgeProcV2, AddClientPurge);
  CACHE_PROC(MOXCacheAddRemoveClientPurgeProcV2, RemoveClientPurge);
  CACHE_PROC(MOXCacheNewCacheSetProc, NewCacheSet);
  CACHE_PROC(MOXCacheDeleteCacheSetProc, DeleteCacheSet);
  CACHE_PROC(MOXCacheSearchForIDProc, SearchForID);
  CACHE_PROC(MOXCacheRemoveIDProc, RemoveID);
#undef CACHE_PROC
};

std::vector<std::string> gPurged;
void PurgeItem(MOXCacheID, void* data) {
  gPurged.push_back(static_cast<const char*>(data));
}
char* Data(const char* text) {
  return const_cast<char*>(text);
}

TEST(CacheTest, PurgesDropTheLeastRecentPurgeableEntriesFirst) {
  moxtest::ScopedCountsCheck counts;
  CacheProcs cache;
  gPurged.clear();
  const char* names[] = {"a", "b", "c"};
  MOXCacheID ids[3];
  for (int i = 0; i < 3; ++i) {
    ids[i] = cache.NewCacheID();
    ASSERT_EQ(cache.Attach(ids[i], Data(names[i]), PurgeItem), nullptr);
    ASSERT_EQ(cache.Add(ids[i], 10 * (i + 1)), nullptr);
  }
  EXPECT_EQ(cache.CurrentCacheSize(), 60u);
  ASSERT_EQ(cache.UpdateCost(ids[0], 5), nullptr);  // "a" is now the most recent
  EXPECT_EQ(cache.CurrentCacheSize(), 55u);
  cache.MarkNoPurge(ids[1], nullptr, 1);  // "b" stays

  EXPECT_TRUE(cache.PurgeNextBlock(nullptr));
  EXPECT_EQ(gPurged, std::vector<std::string>{"c"});
  EXPECT_TRUE(cache.PurgeNextBlock(nullptr));
  EXPECT_FALSE(cache.PurgeNextBlock(nullptr)) << "only no-purge entries are left";
  EXPECT_EQ(gPurged, (std::vector<std::string>{"c", "a"}));
  EXPECT_EQ(cache.CurrentCacheSize(), 20u);
  EXPECT_NE(moxtest::TakeMessage(cache.UpdateCost(ids[2], 1)), "") << "purged: not in the cache";

  uintptr_t previous = 0;
  cache.MarkNoPurge(ids[1], &previous, 0);
  EXPECT_EQ(previous, 1u);
  cache.PurgeAll();
  EXPECT_EQ(gPurged, (std::vector<std::string>{"c", "a", "b"}));
  EXPECT_EQ(cache.CurrentCacheSize(), 0u);
  for (MOXCacheID id : ids) cache.Release(id);
  EXPECT_EQ(gPurged.size(), 3u) << "purged data is not dropped twice";
}

TEST(CacheTest, ReplacedDataMarkPurgeAndTheLastReleaseDropData) {
  moxtest::ScopedCountsCheck counts;
  CacheProcs cache;
  gPurged.clear();
  MOXCacheID id = cache.NewCacheID();
  cache.Attach(id, Data("first"), PurgeItem);
  cache.Attach(id, Data("second"), PurgeItem);
  EXPECT_EQ(gPurged, std::vector<std::string>{"first"});
  cache.MarkNoPurge(id, nullptr, 1);
  cache.MarkPurge(id);
  EXPECT_EQ(gPurged.size(), 1u);
  cache.MarkNoPurge(id, nullptr, 0);
  cache.MarkPurge(id);
  EXPECT_EQ(gPurged, (std::vector<std::string>{"first", "second"}));

  cache.Attach(id, Data("third"), PurgeItem);
  cache.Add(id, 7);
  cache.Release(id);
  EXPECT_EQ(gPurged.back(), "third");
  EXPECT_EQ(cache.CurrentCacheSize(), 0u);
}

int gClientPurges = 0;
void ClientPurge() {
  ++gClientPurges;
}

TEST(CacheTest, ClientPurgesRunUntilRemoved) {
  CacheProcs cache;
  cache.AddClientPurge(ClientPurge, 1);
  cache.PurgeAllStaticCaches();
  cache.RemoveClientPurge(ClientPurge, 1);
  cache.PurgeAllStaticCaches();
  EXPECT_EQ(gClientPurges, 1);
  cache.RemoveClientPurge(ClientPurge, 1);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u) << "removing twice is reported";
}

TEST(CacheTest, SetsFindOrMakeIdentifiersByKeyAndHoldThem) {
  moxtest::ScopedCountsCheck counts;
  CacheProcs cache;
  MOXCacheSet set = cache.NewCacheSet();
  EXPECT_EQ(cache.SearchForID(set, 42, false), nullptr);
  MOXCacheID made = cache.SearchForID(set, 42, true);
  ASSERT_NE(made, nullptr);
  MOXCacheID found = cache.SearchForID(set, 42, false);
  EXPECT_EQ(found, made);
  cache.Release(found);
  cache.Release(made);
  EXPECT_EQ(Runtime::Get().Counts().cacheIDs, counts.before().cacheIDs + 1) << "the set holds it";
  cache.RemoveID(set, made);
  EXPECT_EQ(Runtime::Get().Counts().cacheIDs, counts.before().cacheIDs);
  cache.Release(cache.SearchForID(set, 7, true));
  cache.DeleteCacheSet(set);
}

TEST(SharedBuffTest, ZeroesOrTakesOverAndDeleteUnownedRefusesAHeldBuffer) {
  moxtest::ScopedCountsCheck counts;
  auto newBuffer = MOX_PROC(MOXSharedBuffNewBufferV3Proc, "MOXSharedBuffInterface", "NewBuffer");
  auto addRef = MOX_PROC(MOXSharedBuffAddRefProc, "MOXSharedBuffInterface", "AddRef");
  auto release = MOX_PROC(MOXSharedBuffReleaseProc, "MOXSharedBuffInterface", "Release");
  auto deleteUnowned =
      MOX_PROC(MOXSharedBuffDelUnownedProc, "MOXSharedBuffInterface", "DeleteUnowned");
  auto getBuffer = MOX_PROC(MOXSharedBuffGetBufferProc, "MOXSharedBuffInterface", "GetBuffer");
  MOXSharedBuff zeroed = newBuffer(5, nullptr, nullptr, 0, 0);
  EXPECT_EQ(std::memcmp(getBuffer(zeroed), "\0\0\0\0\0", 5), 0);
  release(zeroed);

  static int released = 0;
  static char block[4] = "blk";
  MOXSharedBuff taken = newBuffer(
      4, block, [](void*) { ++released; }, 0, 0);
  EXPECT_EQ(getBuffer(taken), block);
  addRef(taken);
  deleteUnowned(taken);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u) << "held twice: refused";
  release(taken);
  EXPECT_EQ(released, 0);
  deleteUnowned(taken);
  EXPECT_EQ(released, 1);
}

}  // namespace
