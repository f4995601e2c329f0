// The cache, shared buffers and progress objects.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxhost::Runtime;

struct CacheProcs {
#define CACHE_PROC(Type, name) Type name = MOX_PROC(Type, "MOXCacheInterface", #name)
  CACHE_PROC(MOXCacheNewCacheIDProc, NewCacheID);
  CACHE_PROC(MOXCacheReleaseProc, Release);
  CACHE_PROC(MOXCacheAttachProcV2, Attach);
  CACHE_PROC(MOXCacheAddProc, Add);
  CACHE_PROC(MOXCacheUpdateCostProc, UpdateCost);
  CACHE_PROC(MOXCacheReturnCostProc, ReturnCost);
  CACHE_PROC(MOXCacheMarkNoPurgeProcV2, MarkNoPurge);
  CACHE_PROC(MOXCacheMarkPurgeProc, MarkPurge);
  CACHE_PROC(MOXCacheGetCacheTimeProc, GetCacheTime);
  CACHE_PROC(MOXCurrentCacheSizeProc, CurrentCacheSize);
  CACHE_PROC(MOXCacheNewCachePurgeProc, NewCachePurge);
  CACHE_PROC(MOXCachePurgeNextBlockProc, PurgeNextBlock);
  CACHE_PROC(MOXCacheDeleteCachePurgeProc, DeleteCachePurge);
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

TEST(CacheTest, PurgesDropTheLeastRecentPurgeableEntriesFirst) {
  moxtest::ScopedCountsCheck counts;
  CacheProcs cache;
  gPurged.clear();
  const char* names[] = {"a", "b", "c"};
  MOXCacheID ids[3];
  for (int i = 0; i < 3; ++i) {
    ids[i] = cache.NewCacheID();
    ASSERT_EQ(cache.Attach(ids[i], const_cast<char*>(names[i]), PurgeItem), nullptr);
    ASSERT_EQ(cache.Add(ids[i], 10 * (i + 1)), nullptr);
  }
  EXPECT_EQ(cache.CurrentCacheSize(), 60u);
  EXPECT_LT(cache.GetCacheTime(ids[0]), cache.GetCacheTime(ids[1]));
  ASSERT_EQ(cache.UpdateCost(ids[0], 5), nullptr);  // "a" is now the most recent
  EXPECT_EQ(cache.ReturnCost(ids[0]), 5u);
  EXPECT_EQ(cache.CurrentCacheSize(), 55u);
  cache.MarkNoPurge(ids[1], nullptr, 1);  // "b" stays

  MOXCachePurge purge = cache.NewCachePurge();
  EXPECT_TRUE(cache.PurgeNextBlock(purge));
  EXPECT_EQ(gPurged, std::vector<std::string>{"c"});
  EXPECT_TRUE(cache.PurgeNextBlock(purge));
  EXPECT_FALSE(cache.PurgeNextBlock(purge)) << "only no-purge entries are left";
  cache.DeleteCachePurge(purge);
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

TEST(CacheTest, MarkPurgeAndTheLastReleaseDropData) {
  moxtest::ScopedCountsCheck counts;
  CacheProcs cache;
  gPurged.clear();
  MOXCacheID id = cache.NewCacheID();
  cache.Attach(id, const_cast<char*>("first"), PurgeItem);
  cache.Attach(id, const_cast<char*>("second"), PurgeItem);
  EXPECT_EQ(gPurged, std::vector<std::string>{"first"}) << "replaced data is dropped";
  cache.MarkNoPurge(id, nullptr, 1);
  cache.MarkPurge(id);
  EXPECT_EQ(gPurged.size(), 1u);
  cache.MarkNoPurge(id, nullptr, 0);
  cache.MarkPurge(id);
  EXPECT_EQ(gPurged, (std::vector<std::string>{"first", "second"}));

  cache.Attach(id, const_cast<char*>("third"), PurgeItem);
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
  EXPECT_EQ(gClientPurges, 1);
  cache.RemoveClientPurge(ClientPurge, 1);
  cache.PurgeAllStaticCaches();
  EXPECT_EQ(gClientPurges, 1);
  cache.RemoveClientPurge(ClientPurge, 1);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u) << "removing twice is reported";
}

TEST(CacheTest, SetsFindOrMakeIdentifiersByKey) {
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

TEST(SharedBuffTest, CopiesTakesOverOrZeroes) {
  moxtest::ScopedCountsCheck counts;
  auto newBuffer = MOX_PROC(MOXSharedBuffNewBufferV3Proc, "MOXSharedBuffInterface", "NewBuffer");
  auto addRef = MOX_PROC(MOXSharedBuffAddRefProc, "MOXSharedBuffInterface", "AddRef");
  auto release = MOX_PROC(MOXSharedBuffReleaseProc, "MOXSharedBuffInterface", "Release");
  auto deleteUnowned =
      MOX_PROC(MOXSharedBuffDelUnownedProc, "MOXSharedBuffInterface", "DeleteUnowned");
  auto getBuffer = MOX_PROC(MOXSharedBuffGetBufferProc, "MOXSharedBuffInterface", "GetBuffer");
  auto getSize = MOX_PROC(MOXSharedBuffGetSizeProc, "MOXSharedBuffInterface", "GetSize");

  char text[] = "abc";
  MOXSharedBuff copied = newBuffer(3, text, nullptr, 0, 0);
  text[0] = 'x';
  EXPECT_EQ(std::memcmp(getBuffer(copied), "abc", 3), 0);
  EXPECT_EQ(getSize(copied), 3u);

  static int released = 0;
  static char block[4] = "blk";
  MOXSharedBuff taken = newBuffer(
      4, block,
      [](void* data) {
        EXPECT_EQ(data, block);
        ++released;
      },
      0, 0);
  EXPECT_EQ(getBuffer(taken), block);
  addRef(taken);
  deleteUnowned(taken);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u) << "held twice: refused";
  release(taken);
  EXPECT_EQ(released, 0);
  deleteUnowned(taken);
  EXPECT_EQ(released, 1);

  MOXSharedBuff zeroed = newBuffer(5, nullptr, nullptr, 0, 0);
  EXPECT_EQ(std::memcmp(getBuffer(zeroed), "\0\0\0\0\0", 5), 0);
  release(zeroed);
  release(copied);
  release(nullptr);
}

TEST(ProgressTest, ClientProgressCallsUpdateAndReleasesOnce) {
  moxtest::ScopedCountsCheck counts;
  auto newNull =
      MOX_PROC(MOXProgressNewNullProgressProc, "MOXProgressInterface", "NewNullProgress");
  auto newClient =
      MOX_PROC(MOXProgressNewClientProgressProc, "MOXProgressInterface", "NewClientProgress");
  auto addRef = MOX_PROC(MOXProgressAddRefProc, "MOXProgressInterface", "AddRef");
  auto release = MOX_PROC(MOXProgressReleaseProc, "MOXProgressInterface", "Release");
  auto update = MOX_PROC(MOXProgressUpdateProc, "MOXProgressInterface", "Update");

  MOXProgress null = newNull();
  EXPECT_TRUE(update(null, 0.5));
  release(null);

  struct Client {
    std::vector<double> seen;
    int releases = 0;
  } client;
  MOXProgress progress = newClient(
      &client,
      [](void* self, double fraction) {
        static_cast<Client*>(self)->seen.push_back(fraction);
        return fraction < 0.75;  // asks to stop past three quarters
      },
      [](void* self) { ++static_cast<Client*>(self)->releases; });
  EXPECT_TRUE(update(progress, 0.25));
  EXPECT_FALSE(update(progress, 0.8));
  EXPECT_EQ(client.seen, (std::vector<double>{0.25, 0.8}));
  addRef(progress);
  release(progress);
  EXPECT_EQ(client.releases, 0);
  release(progress);
  EXPECT_EQ(client.releases, 1);
}

}  // namespace
