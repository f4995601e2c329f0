// Containers: counting, destruction, the primary-instance record, instances.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "HostTestUtil.h"
#include "support/LiveCounts.h"

namespace {

using moxhost::Runtime;
using moxtest::Atom;
using moxtest::ContainerProcs;
using moxtest::TakeMessage;

// Instances record their destruction in a shared log.
struct Instance {
  std::string name;
  std::vector<std::string>* log;
};
void DestroyInstance(void* instance) {
  auto* self = static_cast<Instance*>(instance);
  self->log->push_back(self->name);
}

const MOXPrimaryInstanceRecord& RecordOf(MOXContainer container) {
  const int64_t offset = ContainerProcs().GetOffsetToPrimaryInstance();
  return *reinterpret_cast<const MOXPrimaryInstanceRecord*>(
      reinterpret_cast<const char*>(container) + offset);
}

MOXContainer NewFull(void* instance, MOXStringAtom name, MOXStringAtom interfaceName,
                     MOXReleaseProc destroy = DestroyInstance) {
  MOXContainer container = nullptr;
  MOXErrorRef error = ContainerProcs().NewFullContainer(&container, instance, name, destroy,
                                                        interfaceName, 0, 0, 0);
  EXPECT_EQ(error, nullptr) << TakeMessage(error);
  return container;
}

uint32_t CountOf(MOXContainer container) {
  return *ContainerProcs().DebugGetRefCountAddr(container);
}

TEST(ContainersTest, FreshContainerCountsZeroAndCarriesItsRecord) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  Atom signature("TestInterface");
  MOXContainer container = NewFull(&instance, name, signature);
  ASSERT_NE(container, nullptr);
  EXPECT_EQ(CountOf(container), 0u);
  EXPECT_EQ(Runtime::Get().Counts().containers, counts.before().containers + 1);

  EXPECT_NE(procs.GetOffsetToPrimaryInstance(), 0);
  const MOXPrimaryInstanceRecord& record = RecordOf(container);
  EXPECT_EQ(record.instanceName, moxtest::StringProcs().GetCString(name));
  EXPECT_EQ(record.signature, moxtest::StringProcs().GetCString(signature));
  EXPECT_EQ(record.instance, &instance);

  EXPECT_EQ(procs.AddRef(container), 1u);
  EXPECT_EQ(procs.AddRef(container), 2u);
  procs.Release(container);
  EXPECT_TRUE(log.empty());
  procs.Release(container);
  EXPECT_EQ(log, std::vector<std::string>{"primary"});
}

TEST(ContainersTest, NullSignatureAndTheContainerHoldsItsAtoms) {
  moxtest::ScopedCountsCheck counts;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  MOXContainer container = nullptr;
  {
    Atom name("AtomOnlyHeldByTheContainer");
    container = NewFull(&instance, name, nullptr);
  }
  EXPECT_STREQ(RecordOf(container).instanceName, "AtomOnlyHeldByTheContainer");
  EXPECT_EQ(RecordOf(container).signature, nullptr);
  ContainerProcs().DeleteUnownedContainer(container);
  EXPECT_EQ(log.size(), 1u);
}

TEST(ContainersTest, DecrementWithoutDeleteKeepsTheContainerForItsNextOwner) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  MOXContainer container = NewFull(&instance, name, nullptr);
  procs.AddRef(container);
  procs.DecrementWithoutDelete(container);
  EXPECT_EQ(CountOf(container), 0u);
  EXPECT_TRUE(log.empty());

  // DeleteUnownedContainer does nothing to an owned container...
  procs.AddRef(container);
  procs.DeleteUnownedContainer(container);
  EXPECT_TRUE(log.empty());
  // ...and destroys one at zero.
  procs.DecrementWithoutDelete(container);
  procs.DeleteUnownedContainer(container);
  EXPECT_EQ(log.size(), 1u);
  EXPECT_TRUE(Runtime::Get().Reports().empty());
}

TEST(ContainersTest, MisusedCountsAreReportedNotApplied) {
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  MOXContainer container = NewFull(&instance, name, nullptr);
  procs.Release(nullptr);
  EXPECT_EQ(procs.AddRef(nullptr), 0u);
  procs.Release(container);
  procs.DecrementWithoutDelete(container);
  EXPECT_EQ(Runtime::Get().Reports().size(), 2u);
  EXPECT_TRUE(log.empty()) << "a container at zero is not destroyed by a stray Release";
  procs.DeleteUnownedContainer(container);
}

// The destroy procedure of a dying container sees it refuse new references.
MOXContainer gDying = nullptr;
uint32_t gAddRefWhileDying = 99;
void DestroyAndTryAddRef(void*) {
  gAddRefWhileDying = ContainerProcs().AddRef(gDying);
}

TEST(ContainersTest, AddRefFailsWhileTheContainerIsBeingDestroyed) {
  moxtest::ScopedCountsCheck counts;
  Atom name("TestImpl");
  gDying = NewFull(nullptr, name, nullptr, DestroyAndTryAddRef);
  ContainerProcs().AddRef(gDying);
  ContainerProcs().Release(gDying);
  EXPECT_EQ(gAddRefWhileDying, 0u);
}

TEST(ContainersTest, InstancesAreFoundByNameAndDestroyedPrimaryFirst) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance primary{"primary", &log};
  Instance second{"second", &log};
  Instance third{"third", &log};
  Atom primaryName("PrimaryImpl");
  Atom secondName("SecondImpl");
  Atom thirdName("ThirdImpl");
  Atom unknownName("UnknownImpl");
  MOXContainer container = NewFull(&primary, primaryName, nullptr);
  EXPECT_EQ(procs.RegisterInstance(container, &second, secondName, DestroyInstance), nullptr);
  EXPECT_EQ(procs.RegisterInstance(container, &third, thirdName, DestroyInstance), nullptr);
  EXPECT_NE(TakeMessage(procs.RegisterInstance(container, &third, secondName, DestroyInstance)), "")
      << "names are unique within a container";

  void* found = nullptr;
  for (auto [atom, expected] : {std::pair<MOXStringAtom, void*>{primaryName, &primary},
                                {secondName, &second},
                                {thirdName, &third},
                                {unknownName, nullptr}}) {
    EXPECT_EQ(procs.NGetInstance(&found, container, atom), nullptr);
    EXPECT_EQ(found, expected);
  }
  // A null container answers like an absent name: no instance, no error.
  found = &primary;
  EXPECT_EQ(procs.NGetInstance(&found, nullptr, primaryName), nullptr);
  EXPECT_EQ(found, nullptr);

  procs.AddRef(container);
  procs.Release(container);
  EXPECT_EQ(log, (std::vector<std::string>{"primary", "second", "third"}));
}

TEST(ContainersTest, BareContainerTakesItsFirstInstanceAndInterfaceAsPrimary) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  Atom interfaceName("TestInterface");
  MOXContainer container = nullptr;
  ASSERT_EQ(procs.NewContainer(&container, 0, 0, 0, 0, 0), nullptr);
  EXPECT_EQ(RecordOf(container).instance, nullptr);
  EXPECT_EQ(RecordOf(container).signature, nullptr);
  MOXContainer refused = nullptr;
  EXPECT_NE(TakeMessage(procs.NewContainer(&refused, 1, 0, 0, 0, 0)), "") << "reserved words";

  ASSERT_EQ(procs.RegisterInstance(container, &instance, name, DestroyInstance), nullptr);
  ASSERT_EQ(procs.RegisterInterface(container, interfaceName), nullptr);
  EXPECT_EQ(RecordOf(container).instance, &instance);
  EXPECT_STREQ(RecordOf(container).instanceName, "TestImpl");
  EXPECT_STREQ(RecordOf(container).signature, "TestInterface");
  procs.DeleteUnownedContainer(container);
  EXPECT_EQ(log.size(), 1u);
}

TEST(ContainersTest, ClonesShareInstancesUntilTheLastOneDies) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  Atom signature("TestInterface");
  MOXContainer original = NewFull(&instance, name, signature);
  MOXContainer clone = nullptr;
  ASSERT_EQ(procs.CloneContainer(&clone, original), nullptr);
  MOXContainer cloneOfClone = nullptr;
  ASSERT_EQ(procs.CloneContainer(&cloneOfClone, clone), nullptr);
  EXPECT_EQ(CountOf(clone), 0u);
  EXPECT_EQ(RecordOf(clone).instance, &instance);
  EXPECT_EQ(RecordOf(clone).signature, RecordOf(original).signature);

  procs.DeleteUnownedContainer(original);
  procs.DeleteUnownedContainer(cloneOfClone);
  EXPECT_TRUE(log.empty());
  void* found = nullptr;
  EXPECT_EQ(procs.NGetInstance(&found, clone, name), nullptr);
  EXPECT_EQ(found, &instance);
  procs.DeleteUnownedContainer(clone);
  EXPECT_EQ(log.size(), 1u);
}

TEST(ContainersTest, FailedCreationDestroysTheInstance) {
  moxtest::ScopedCountsCheck counts;
  std::vector<std::string> log;
  Instance instance{"primary", &log};
  Atom name("TestImpl");
  MOXContainer container = reinterpret_cast<MOXContainer>(&log);
  EXPECT_NE(TakeMessage(ContainerProcs().NewFullContainer(&container, &instance, name,
                                                          DestroyInstance, nullptr, 1, 0, 0)),
            "");
  EXPECT_EQ(container, nullptr);
  EXPECT_EQ(log.size(), 1u) << "the runtime owns the instance from the call on";
}

// Many threads take and drop references to shared containers; each must be
// destroyed exactly once, after the last Release.
TEST(ContainersTest, ConcurrentCountingDestroysEachContainerOnce) {
  moxtest::ScopedCountsCheck counts;
  ContainerProcs procs;
  constexpr int kContainers = 64;
  constexpr int kThreads = 8;
  static std::atomic<int> destroyed{0};
  destroyed = 0;
  Atom name("TestImpl");
  std::vector<MOXContainer> containers;
  for (int i = 0; i < kContainers; ++i) {
    MOXContainer container = NewFull(nullptr, name, nullptr, [](void*) { destroyed.fetch_add(1); });
    procs.AddRef(container);  // the test's own reference
    containers.push_back(container);
  }
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        for (MOXContainer container : containers) {
          ASSERT_NE(procs.AddRef(container), 0u);
          procs.AddRef(container);
          procs.DecrementWithoutDelete(container);
          procs.Release(container);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(destroyed.load(), 0);
  for (MOXContainer container : containers) {
    EXPECT_EQ(CountOf(container), 1u);
    procs.Release(container);
  }
  EXPECT_EQ(destroyed.load(), kContainers);
}

}  // namespace
